#include "CommandLoop.h"

#include "CliWire.h"
#include "CommandWords.h"

#include <array>
#include <iostream>
#include <optional>
#include <poll.h>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Vcli
{

namespace
{
// Reads lines, and meanwhile shows what services send.
class LineReader
{
public:
    // An empty prompt is none.
    LineReader(Console& console, std::string prompt) : m_console(console), m_prompt(std::move(prompt)) {}

    // None at the end of the input. The last line may lack its line feed.
    std::optional<std::string> Next()
    {
        // What was read with the last reply does not wake poll.
        m_console.ShowArrived();
        std::cout << m_prompt << std::flush;
        while (true) {
            if (auto line = m_lines.Next()) {
                return line;
            }
            if (m_isEnded) {
                return std::nullopt;
            }
            if (m_lines.IsTooLong()) {
                std::cerr << "vcli: the line is too long" << std::endl;
                return std::nullopt;
            }
            Wait();
        }
    }

private:
    void Wait()
    {
        std::vector<pollfd> watched{{STDIN_FILENO, POLLIN, 0}};
        for (const int descriptor : m_console.Descriptors()) {
            watched.push_back({descriptor, POLLIN, 0});
        }
        if (::poll(watched.data(), watched.size(), -1) < 0) {
            return;
        }
        if (watched[0].revents != 0) {
            Read();
            return;
        }
        std::cout << (m_prompt.empty() ? "" : "\n") << std::flush;
        m_console.ShowArrived();
        std::cout << m_prompt << std::flush;
    }

    void Read()
    {
        std::array<char, 4096> chunk;
        const ssize_t got = ::read(STDIN_FILENO, chunk.data(), chunk.size());
        if (got > 0) {
            m_lines.Append(chunk.data(), static_cast<std::size_t>(got));
            return;
        }
        m_isEnded = true;
        m_lines.Append("\n", 1);
    }

    Console& m_console;
    const std::string m_prompt;
    CliWire::LineCutter m_lines{CliWire::kMaxRequestLength};
    bool m_isEnded = false;
};
} // namespace

ExitStatus RunCommandLoop(const Options& options)
{
    const bool isPrompted = ::isatty(STDIN_FILENO) == 1;
    Console console(options, isPrompted);
    LineReader lines(console, isPrompted ? "vcli> " : "");
    ExitStatus first = ExitStatus::Done;
    while (const auto line = lines.Next()) {
        ExitStatus status = ExitStatus::Done;
        const auto words = CommandWords::Split(*line);
        if (!words) {
            std::cerr << "vcli: a quote is not closed" << std::endl;
            status = ExitStatus::WrongUsage;
        } else if (words->size() == 1 && (words->front() == "quit" || words->front() == "exit")) {
            break;
        } else if (!words->empty()) {
            status = console.Run(*words);
        }
        first = first == ExitStatus::Done ? status : first;
    }
    return first;
}

} // namespace Vcli
