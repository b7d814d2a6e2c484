#include "CliServer.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "CommandWords.h"
#include "DPrint.h"
#include "UnixSocket.h"

namespace
{
using CliWire::Event;
using State = CliConnection::State;

const DPrint s_log("CliClient");

constexpr std::size_t kMaxTools = 8;
constexpr std::size_t kMaxAskedByOneTool = 16;

constexpr std::uint64_t kListenerToken = 0;
constexpr std::uint64_t kAcceptLaterToken = 1;
constexpr std::uint64_t kFirstToolToken = 2;

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
    : APTask("CliClient", 0, NOT_REALTIME, -1),
      m_path(std::string(CliWire::kSocketFolder) + "/" + clientName + CliWire::kSocketSuffix),
      m_nextTool(kFirstToolToken)
{}

CliServer::~CliServer()
{
    Stop();
    Close();
}

void CliServer::Open()
{
    if (m_path.find('/', sizeof CliWire::kSocketFolder) != std::string::npos) {
        throw std::runtime_error("a '/' in the client name of " + m_path);
    }
    try {
        m_acceptLater = FileDescriptor(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
        m_poller = std::make_unique<ReadinessPoller>(ReadinessPoller::Notify(this, this, &CliServer::OnReady));
        m_listener = UnixSocket::Listen(m_path);
        if (!m_acceptLater || !m_poller->Watch(m_listener, kListenerToken, EPOLLIN)) {
            throw std::system_error(errno, std::generic_category(), m_path);
        }
        Start();
    } catch (const std::runtime_error&) {
        Close();
        throw;
    }
}

void CliServer::Close()
{
    m_poller.reset();
    if (m_listener) {
        ::unlink(m_path.c_str());
        m_listener.Reset();
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

void CliServer::OnReady(std::uint64_t token, std::uint32_t events)
{
    if (token == kListenerToken || token == kAcceptLaterToken) {
        AcceptTools();
        return;
    }
    const auto tool = m_tools.find(token);
    if (tool != m_tools.end()) {
        Settle(tool, Serve(tool, events));
    }
}

void CliServer::AcceptTools()
{
    while (true) {
        FileDescriptor socket(::accept4(m_listener.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (!socket && errno != EINTR && errno != ECONNABORTED) {
            break;
        }
        if (socket && m_tools.size() < kMaxTools) {
            const auto tool = m_tools.try_emplace(m_nextTool++, std::move(socket)).first;
            Settle(tool, State::Open);
        } else if (socket) {
            CliConnection refused(std::move(socket));
            SendEvent(refused, {Event::Kind::Error, 0, "too many tools are connected", {}});
        }
    }
    if (errno == EAGAIN) {
        m_poller->Watch(m_listener, kListenerToken, EPOLLIN);
        return;
    }
    // Out of descriptors: the tool that waits keeps the listener ready, and would keep this task busy.
    s_log.LogWarning("cannot accept a tool: %s", std::generic_category().message(errno).c_str());
    itimerspec oneSecond{};
    oneSecond.it_value.tv_sec = 1;
    ::timerfd_settime(m_acceptLater.Get(), 0, &oneSecond, nullptr);
    m_poller->Watch(m_acceptLater, kAcceptLaterToken, EPOLLIN);
}

State CliServer::Serve(Tools::iterator tool, std::uint32_t events)
{
    CliConnection& connection = tool->second.connection;
    if (connection.Flush() == State::Lost ||
        ((events & ~static_cast<std::uint32_t>(EPOLLOUT)) != 0 && connection.Receive() == State::Lost)) {
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
    if (tool->second.contexts.size() == kMaxAskedByOneTool) {
        return SendEvent(connection, {Event::Kind::Failed, request.id, "too many commands wait for their replies", {}});
    }

    do {
        m_nextContext = m_nextContext == std::numeric_limits<int>::max() ? 1 : m_nextContext + 1;
    } while (m_asked.count(m_nextContext) != 0);
    m_asked[m_nextContext] = {tool->first, request.id};
    tool->second.contexts.insert(m_nextContext);
    words->erase(words->begin(), words->begin() + static_cast<std::ptrdiff_t>(commands[*found].size()));
    Dispatch(m_registrations[*found], *std::move(words), m_nextContext);
    return State::Open;
}

void CliServer::Dispatch(const Registration& registration, std::vector<std::string> arguments, int context)
{
    const CliClientMT::Reply reply(this, this, &CliServer::OnReply);
    const AsyncCallback<std::string, int> failed(this, this, &CliServer::OnHandlerFailed);
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
    const auto asked = m_asked.find(context);
    if (asked == m_asked.end()) {
        s_log.LogWarning("no tool waits for the reply %d", context);
        return;
    }
    const auto tool = m_tools.find(asked->second.tool);
    event.id = asked->second.id;
    m_asked.erase(asked);
    tool->second.contexts.erase(context);
    Settle(tool, SendEvent(tool->second.connection, std::move(event)));
}

void CliServer::Settle(Tools::iterator tool, State state)
{
    const CliConnection& connection = tool->second.connection;
    const std::uint32_t events = EPOLLIN | (connection.HasBacklog() ? static_cast<std::uint32_t>(EPOLLOUT) : 0U);
    if (state == State::Open && m_poller->Watch(connection.Socket(), tool->first, events)) {
        return;
    }
    for (const int context : tool->second.contexts) {
        m_asked.erase(context);
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
