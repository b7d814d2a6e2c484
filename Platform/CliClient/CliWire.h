#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/**
 * What a command-line tool and a service say to each other.
 *
 * A service listens on the Unix-domain stream socket /run/vantor/cli/<client name>.sock, which only its owner may open.
 * Both sides send JSON objects (RFC 8259), one a line, each ended by a line feed. The tool sends requests, with an id
 * of its choice (0..2147483647) that comes back with the answer:
 *
 *     {"request":"list","id":1}
 *     {"request":"run","id":2,"line":"diagfileservice upload 9"}
 *
 * The service sends events. Each request is answered by one of the first four, in any order and at any time, or never
 * when the service's handler keeps silent:
 *
 *     {"event":"commands","id":1,"commands":[{"words":"...","help":"...","usage":"..."}]}
 *     {"event":"reply","id":2,"text":"..."}
 *     {"event":"unknown","id":2,"text":"...","commands":[...]}    no such command; these are there
 *     {"event":"failed","id":2,"text":"..."}                      no reply will come, and why
 *     {"event":"async","text":"..."}                              a line to every tool, whenever the service has one
 *     {"event":"error","text":"..."}                              not a request: the service closes the connection
 *
 * Members that a receiver does not know are ignored. Texts are UTF-8; other bytes arrive as U+FFFD.
 */
namespace CliWire
{
constexpr char kSocketFolder[] = "/run/vantor/cli";
constexpr char kSocketSuffix[] = ".sock";

/** Bytes of a line, its line feed not counted. */
constexpr std::size_t kMaxRequestLength = std::size_t{16} * 1024;
constexpr std::size_t kMaxEventLength = std::size_t{1024} * 1024;

struct Request
{
    enum class Kind
    {
        List,
        Run
    };
    Kind kind = Kind::List;
    int id = 0;
    std::string line;
};

struct Command
{
    std::string words;
    std::string help;
    std::string usage;
};

struct Event
{
    enum class Kind
    {
        Commands,
        Reply,
        UnknownCommand,
        Failed,
        Async,
        Error
    };
    Kind kind = Kind::Error;
    int id = 0;
    std::string text;
    std::vector<Command> commands;
};

/** The line of a message, its line feed included. */
std::string Encode(const Request& request);
std::string Encode(const Event& event);

/** The message of a line without its line feed; nothing when the line is none. */
std::optional<Request> DecodeRequest(const std::string& line);
std::optional<Event> DecodeEvent(const std::string& line);

/** Cuts what a socket brings into lines. */
class LineCutter
{
public:
    explicit LineCutter(std::size_t maxLength) : m_maxLength(maxLength) {}

    void Append(const char* bytes, std::size_t length);

    /** The next whole line, without its line feed; nothing while there is none. */
    std::optional<std::string> Next();

    /** Whether the line to come is longer than lines may be. Meaningful when Next had nothing. */
    bool IsTooLong() const noexcept { return m_bytes.size() - m_begin > m_maxLength; }

private:
    const std::size_t m_maxLength;
    std::string m_bytes;
    std::size_t m_begin = 0;
};
} // namespace CliWire
