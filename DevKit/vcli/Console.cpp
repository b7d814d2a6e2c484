#include "Console.h"

#include "CommandWords.h"
#include "Escape.h"
#include "UnixSocket.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <iostream>
#include <set>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Vcli
{

namespace
{
using CliWire::Event;
using Clock = ServiceLink::Clock;

ExitStatus Complain(ExitStatus status, const std::string& text)
{
    std::cout.flush();
    std::cerr << "vcli: " << Escape::Text(text) << std::endl;
    return status;
}

void Print(const std::string& text)
{
    std::cout << Escape::Text(text) << std::endl;
}

// Prints an event that nobody waits for.
void ShowUnasked(const std::string& service, const Event& event)
{
    switch (event.kind) {
        case Event::Kind::Async:
            Print(event.text);
            break;
        case Event::Kind::Reply:
            Print("(late reply) " + event.text);
            break;
        case Event::Kind::Failed:
        case Event::Kind::Error:
            Complain(ExitStatus::HandlerFailed, service + ": " + event.text);
            break;
        case Event::Kind::Commands:
        case Event::Kind::UnknownCommand:
            break;
    }
}

std::function<bool(const Event&)> AnswerTo(int id)
{
    return [id](const Event& event) {
        return event.id == id && event.kind != Event::Kind::Async && event.kind != Event::Kind::Error;
    };
}

// Waits for such an event, until the deadline or the link's end. Prints those that come before it.
std::optional<Event> Await(ServiceLink& link, const std::function<bool(const Event&)>& isAwaited,
                           Clock::time_point deadline)
{
    while (auto event = link.Next(deadline)) {
        if (isAwaited(*event)) {
            return event;
        }
        ShowUnasked(link.Name(), *event);
        if (Clock::now() >= deadline) {
            break;
        }
    }
    return std::nullopt;
}

std::string ListOf(const std::string& service, const std::vector<CliWire::Command>& commands)
{
    std::string list = service + "\n";
    for (const CliWire::Command& command : commands) {
        list += "  " + command.usage + "\n      " + command.help + "\n";
    }
    return Escape::Text(list);
}

std::set<std::filesystem::path> SocketFiles()
{
    std::set<std::filesystem::path> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(CliWire::kSocketFolder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == CliWire::kSocketSuffix) {
            files.insert(entry->path());
        }
    }
    if (error && error != std::errc::no_such_file_or_directory) {
        Complain(ExitStatus::NoService, std::string(CliWire::kSocketFolder) + ": " + error.message());
    }
    return files;
}
} // namespace

Console::Console(const Options& options, bool isPrompted) : m_options(options), m_isPrompted(isPrompted) {}

ExitStatus Console::Run(const std::vector<std::string>& words)
{
    const std::string line = CommandWords::Join(words);
    if (line.size() > CliWire::kMaxRequestLength / 2) {
        return Complain(ExitStatus::WrongUsage, "the command is too long");
    }
    ShowArrived();
    Connect();
    if (m_links.empty()) {
        return Complain(ExitStatus::NoService, std::string("no service can be reached in ") + CliWire::kSocketFolder);
    }
    const std::size_t asked = m_links.size();
    const Offers offers = AskForCommands();
    if (offers.empty()) {
        return m_links.empty() ? ExitStatus::NoService : ExitStatus::NoReply;
    }

    std::string list;
    std::vector<std::vector<std::string>> commands;
    std::vector<std::string> owners;
    for (const auto& [service, offered] : offers) {
        list += ListOf(service, offered);
        for (const CliWire::Command& command : offered) {
            commands.push_back(CommandWords::Split(command.words).value_or(std::vector<std::string>()));
            owners.push_back(service);
        }
    }
    if (words.front() == "help") {
        std::cout << list << std::flush;
        return offers.size() == asked ? ExitStatus::Done : ExitStatus::NoReply;
    }
    const auto found = CommandWords::FindCommand(commands, words);
    if (!found) {
        Complain(ExitStatus::NoSuchCommand, "no service offers the command '" + line + "'. There are:");
        std::cerr << list << std::flush;
        return offers.size() == asked ? ExitStatus::NoSuchCommand : ExitStatus::NoReply;
    }
    const std::string& owner = owners[*found];
    const ExitStatus status = RunOn(m_links.at(owner), line);
    if (status == ExitStatus::ServiceGone) {
        m_links.erase(owner);
    }
    return status;
}

void Console::Connect()
{
    for (const std::filesystem::path& file : SocketFiles()) {
        const std::string name = file.stem().string();
        if (m_links.count(name) != 0) {
            continue;
        }
        FileDescriptor socket = UnixSocket::Connect(file.string());
        if (socket) {
            m_links.emplace(name, ServiceLink(name, std::move(socket)));
        } else {
            Complain(ExitStatus::NoService, name + " cannot be reached: " + std::generic_category().message(errno));
        }
    }
}

Console::Offers Console::AskForCommands()
{
    const int id = ++m_lastId;
    const auto deadline = ReplyDeadline();
    for (auto& [name, link] : m_links) {
        link.Send({CliWire::Request::Kind::List, id, ""}, deadline);
    }
    Offers offers;
    for (auto& [name, link] : m_links) {
        if (auto event = Await(link, AnswerTo(id), deadline)) {
            offers.emplace_back(name, std::move(event->commands));
        } else if (link.IsOpen()) {
            Complain(ExitStatus::NoReply, name + " does not answer");
        }
    }
    DropClosed();
    return offers;
}

ExitStatus Console::RunOn(ServiceLink& link, const std::string& line)
{
    const int id = ++m_lastId;
    const auto deadline = ReplyDeadline();
    link.Send({CliWire::Request::Kind::Run, id, line}, deadline);
    const auto event = Await(link, AnswerTo(id), deadline);
    if (!event) {
        const std::string time = std::to_string(m_options.timeout.count());
        return link.IsOpen()
                   ? Complain(ExitStatus::NoReply, link.Name() + " sent no reply within " + time + " s")
                   : Complain(ExitStatus::ServiceGone, link.Name() + " closed the connection before it replied");
    }
    switch (event->kind) {
        case Event::Kind::Reply:
            Print(event->text);
            return IsToWait(event->text) ? AwaitOutcome(link) : ExitStatus::Done;
        case Event::Kind::UnknownCommand:
            return Complain(ExitStatus::NoSuchCommand, link.Name() + ": " + event->text);
        default:
            return Complain(ExitStatus::HandlerFailed, "no reply came: " + event->text);
    }
}

ExitStatus Console::AwaitOutcome(ServiceLink& link)
{
    // Somebody at a terminal sees how long it has been waiting, in a line whose place the next one takes.
    const auto show = [isTerminal = isatty(STDOUT_FILENO) == 1 && isatty(STDERR_FILENO) == 1](const std::string& line) {
        if (isTerminal) {
            std::cerr << '\r' << line << std::flush;
        }
    };
    // Erases up to the end of the line: ECMA-48, EL.
    const std::string nothing = "\x1b[K";
    const auto isOutcome = [&](const Event& event) {
        show(nothing);
        return event.kind == Event::Kind::Async;
    };
    using std::chrono::seconds;
    const auto start = Clock::now();
    const auto deadline = start + m_options.waitTimeout;
    std::optional<Event> event;
    while (!(event = Await(link, isOutcome, std::min(deadline, Clock::now() + seconds(1)))) && link.IsOpen() &&
           Clock::now() < deadline) {
        const auto waited = std::chrono::duration_cast<seconds>(Clock::now() - start).count();
        show("waiting for the outcome, " + std::to_string(waited) + " s");
    }
    show(nothing);
    if (!event) {
        const std::string time = std::to_string(m_options.waitTimeout.count());
        return link.IsOpen() ? Complain(ExitStatus::NoOutcome, "the outcome did not come within " + time + " s")
                             : Complain(ExitStatus::ServiceGone,
                                        link.Name() + " closed the connection before it told the outcome");
    }
    Print(event->text);
    return ExitStatus::Done;
}

void Console::ShowArrived()
{
    // A service that talks without pause must not keep the input waiting.
    const auto deadline = Clock::now() + std::chrono::seconds(1);
    for (auto& [name, link] : m_links) {
        while (const auto event = Clock::now() < deadline ? link.Next(Clock::now()) : std::nullopt) {
            ShowUnasked(name, *event);
        }
    }
    DropClosed();
}

void Console::DropClosed()
{
    for (auto next = m_links.begin(); next != m_links.end();) {
        const auto current = next++;
        if (!current->second.IsOpen()) {
            Complain(ExitStatus::ServiceGone, current->first + " closed the connection");
            m_links.erase(current);
        }
    }
}

std::vector<int> Console::Descriptors() const
{
    std::vector<int> descriptors;
    for (const auto& [name, link] : m_links) {
        descriptors.push_back(link.Descriptor());
    }
    return descriptors;
}

bool Console::IsToWait(const std::string& reply) const
{
    const std::string mark = "Triggered";
    const bool isTriggered =
        reply.size() >= mark.size() && reply.compare(reply.size() - mark.size(), mark.size(), mark) == 0;
    return m_options.isWaiting.value_or(isTriggered && !m_isPrompted);
}

} // namespace Vcli
