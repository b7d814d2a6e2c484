#pragma once

#include "CliWire.h"
#include "ServiceLink.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Vcli
{

/** How vcli ends; with several commands, as the first of them that failed. */
enum class ExitStatus
{
    Done = 0,
    NoService = 1,
    WrongUsage = 2,
    NoSuchCommand = 3,
    NoReply = 4,
    HandlerFailed = 5,
    ServiceGone = 6,
    NoOutcome = 7,
};

/** How long to wait, and for what. */
struct Options
{
    std::chrono::seconds timeout{5};
    /** Whether to wait for the outcome after a reply. By default if it ends in "Triggered", but not at a prompt. */
    std::optional<bool> isWaiting;
    std::chrono::seconds waitTimeout{15 * 60};
};

/**
 * Runs commands on the services of this machine. What they send goes to standard output, what is wrong to standard
 * error. Connections are kept from one command to the next. Not thread-safe.
 */
class Console
{
public:
    /** @param isPrompted whether somebody sits at a prompt */
    Console(const Options& options, bool isPrompted);

    /** Runs a command to its reply and, as the options say, to its outcome. Blocks. */
    ExitStatus Run(const std::vector<std::string>& words);

    /** Prints what services have sent by themselves, and drops connections that were closed. */
    void ShowArrived();

    /** The descriptors of the connections, to be watched for arrivals. */
    std::vector<int> Descriptors() const;

private:
    using Links = std::map<std::string, ServiceLink>;
    using Offers = std::vector<std::pair<std::string, std::vector<CliWire::Command>>>;

    /** Connects to the services that are not connected yet. */
    void Connect();
    /** What the services offer. A service that does not answer in time is left out, with a line on standard error. */
    Offers AskForCommands();
    ExitStatus RunOn(ServiceLink& link, const std::string& line);
    ExitStatus AwaitOutcome(ServiceLink& link);
    void DropClosed();
    bool IsToWait(const std::string& reply) const;
    ServiceLink::Clock::time_point ReplyDeadline() const { return ServiceLink::Clock::now() + m_options.timeout; }

    const Options m_options;
    const bool m_isPrompted;
    Links m_links;
    int m_lastId = 0;
};

} // namespace Vcli
