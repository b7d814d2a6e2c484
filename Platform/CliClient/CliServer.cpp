#include "CliServer.h"

#include "CommandWords.h"
#include "DPrint.h"
#include "UnixSocket.h"

#include <limits>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace
{
using CliWire::Event;
using State = CliConnection::State;

const DPrint s_log("CliClient");

constexpr std::size_t kMaxTools = 8;
constexpr std::size_t kMaxWaitingOfATool = 16;

State SendEvent(CliConnection& connection, Event event)
{
    std::string line = CliWire::Encode(event);
    if (line.size() > CliWire::kMaxEventLength) {
        event.kind = event.kind == Event::Kind::Reply ? Event::Kind::Failed : event.kind;
        event.text = "a text of " + std::to_string(event.text.size()) + " bytes is too long for the command line";
        line = CliWire::Encode(event);
    }
    const State state = connection.Send(line);
    if (state == State::Lost) {
        s_log.LogWarning("a tool is gone or does not read what it is sent: it is disconnected");
    }
    return state;
}
} // namespace

CliServer::CliServer(const std::string& clientName)
    : CTask("CliClient", false, NOT_REALTIME, -1),
      m_path(std::string(CliWire::kSocketFolder) + "/" + clientName + CliWire::kSocketSuffix)
{}

CliServer::~CliServer()
{
    m_loop.Stop();
    Join();
    Close();
}

void CliServer::Open()
{
    if (m_path.find('/', sizeof CliWire::kSocketFolder) != std::string::npos) {
        m_loop.Stop();
        throw std::runtime_error("a '/' in the client name of " + m_path);
    }
    try {
        m_acceptor.emplace(
            m_loop.Context(), UnixSocket::Listen(m_path), [this](FileDescriptor socket) { OnTool(std::move(socket)); },
            [](const std::string& reason) { s_log.LogWarning("cannot accept a tool: %s", reason.c_str()); });
        m_acceptor->Open();
        Start();
    } catch (const std::runtime_error&) {
        m_loop.Stop();
        Close();
        throw;
    }
}

void CliServer::Close()
{
    if (m_acceptor) {
        ::unlink(m_path.c_str());
        m_acceptor.reset();
    }
}

void CliServer::ThreadBody()
{
    for (bool hasEnded = false; !hasEnded;) {
        try {
            m_loop.Run();
            hasEnded = true;
        } catch (const std::exception& error) {
            s_log.Log(1, "%s: a handler ended with an exception: %s", TaskName().c_str(), error.what());
        }
    }
}

void CliServer::OnRegister(const Registration& registration)
{
    for (Registration& present : m_registrations) {
        if (present.command.words == registration.command.words) {
            s_log.LogWarning("'%s' is registered again", registration.command.words.c_str());
            present = registration;
            return;
        }
    }
    m_registrations.push_back(registration);
}

void CliServer::OnSendToAll(const std::string& text)
{
    for (auto tool = m_tools.begin(); tool != m_tools.end();) {
        const auto next = std::next(tool);
        Settle(tool, SendEvent(tool->second.connection, {Event::Kind::Async, 0, text, {}}));
        tool = next;
    }
}

void CliServer::OnTool(FileDescriptor socket)
{
    if (m_tools.size() == kMaxTools) {
        CliConnection refused(std::move(socket));
        SendEvent(refused, {Event::Kind::Error, 0, "too many tools are connected", {}});
        return;
    }
    Settle(m_tools.try_emplace(++m_lastTool, m_loop, std::move(socket)).first, State::Open);
}

State CliServer::Serve(Tools::iterator tool)
{
    CliConnection& connection = tool->second.connection;
    if (connection.Flush() == State::Lost || connection.Receive() == State::Lost) {
        return State::Lost;
    }
    while (const std::optional<std::string> line = connection.Requests().Next()) {
        const std::optional<CliWire::Request> request = CliWire::DecodeRequest(*line);
        if (!request) {
            SendEvent(connection, {Event::Kind::Error, 0, "not a request", {}});
            return State::Lost;
        }
        if (Handle(tool, *request) == State::Lost) {
            return State::Lost;
        }
    }
    if (connection.Requests().IsTooLong()) {
        SendEvent(connection, {Event::Kind::Error, 0, "the line is too long", {}});
        return State::Lost;
    }
    return State::Open;
}

State CliServer::Handle(Tools::iterator tool, const CliWire::Request& request)
{
    switch (request.kind) {
        case CliWire::Request::Kind::List:
            return SendEvent(tool->second.connection, {Event::Kind::Commands, request.id, "", Commands()});
        case CliWire::Request::Kind::Run:
            return Run(tool, request);
    }
    return State::Lost;
}

State CliServer::Run(Tools::iterator tool, const CliWire::Request& request)
{
    CliConnection& connection = tool->second.connection;
    std::optional<std::vector<std::string>> words = CommandWords::Split(request.line);
    if (!words) {
        return SendEvent(connection, {Event::Kind::Failed, request.id, "a quote is not closed", {}});
    }
    std::vector<std::vector<std::string>> commands;
    for (const Registration& registration : m_registrations) {
        commands.push_back(CommandWords::Split(registration.command.words).value_or(std::vector<std::string>()));
    }
    const std::optional<std::size_t> found = CommandWords::FindCommand(commands, *words);
    if (!found) {
        return SendEvent(connection, {Event::Kind::UnknownCommand, request.id, "no such command", Commands()});
    }
    if (tool->second.contexts.size() == kMaxWaitingOfATool) {
        return SendEvent(connection, {Event::Kind::Failed, request.id, "too many commands wait for their replies", {}});
    }

    do {
        m_lastContext = m_lastContext == std::numeric_limits<int>::max() ? 1 : m_lastContext + 1;
    } while (m_waiting.count(m_lastContext) != 0);
    m_waiting[m_lastContext] = {tool->first, request.id};
    tool->second.contexts.insert(m_lastContext);
    words->erase(words->begin(), words->begin() + static_cast<std::ptrdiff_t>(commands[*found].size()));
    Dispatch(m_registrations[*found], *std::move(words), m_lastContext);
    return State::Open;
}

void CliServer::Dispatch(const Registration& registration, std::vector<std::string> arguments, int context)
{
    const CliClientMT::Reply reply(&m_loop, this, &CliServer::OnReply);
    const AsyncCallback<std::string, int> failed(&m_loop, this, &CliServer::OnHandlerFailed);
    registration.task->Post([handler = registration.handler, key = registration.key, arguments = std::move(arguments),
                             reply, failed, context] {
        try {
            handler(key, arguments, reply, context);
        } catch (const std::exception& error) {
            failed(error.what(), context);
            throw;
        } catch (...) {
            failed("an exception of unknown type", context);
            throw;
        }
    });
}

void CliServer::OnReply(std::string text, int context)
{
    Answer(context, {Event::Kind::Reply, 0, std::move(text), {}});
}

void CliServer::OnHandlerFailed(std::string reason, int context)
{
    Answer(context, {Event::Kind::Failed, 0, std::move(reason), {}});
}

void CliServer::Answer(int context, Event event)
{
    const auto waiting = m_waiting.find(context);
    if (waiting == m_waiting.end()) {
        s_log.LogWarning("no tool waits for the reply %d", context);
        return;
    }
    const auto tool = m_tools.find(waiting->second.tool);
    event.id = waiting->second.id;
    m_waiting.erase(waiting);
    tool->second.contexts.erase(context);
    Settle(tool, SendEvent(tool->second.connection, std::move(event)));
}

void CliServer::Settle(Tools::iterator tool, State state)
{
    const auto serve = [this, tool] { Settle(tool, Serve(tool)); };
    if (state == State::Open) {
        tool->second.watch.Await(DescriptorWatch::For::Reading, serve);
        if (tool->second.connection.HasBacklog()) {
            tool->second.watch.Await(DescriptorWatch::For::Writing, serve);
        }
        return;
    }
    for (const int context : tool->second.contexts) {
        m_waiting.erase(context);
    }
    m_tools.erase(tool);
}

std::vector<CliWire::Command> CliServer::Commands() const
{
    std::vector<CliWire::Command> commands;
    for (const Registration& registration : m_registrations) {
        commands.push_back(registration.command);
    }
    return commands;
}
