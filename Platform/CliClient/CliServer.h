#pragma once

#include "Acceptor.h"
#include "CTask.h"
#include "CliClientMT.h"
#include "CliConnection.h"
#include "CliWire.h"
#include "DescriptorWatch.h"
#include "EventLoop.h"
#include "FileDescriptor.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

/**
 * What a CliClientMT does on a thread of its own: it keeps the commands, the tools and the requests that wait for their
 * replies. It waits neither for a tool nor for a handler.
 */
class CliServer : private CTask
{
public:
    struct Registration
    {
        CliWire::Command command;
        NotifyTargetTaskIF* task;
        CliClientMT::Handler handler;
        std::uint16_t key;
    };

    explicit CliServer(const std::string& clientName);
    ~CliServer() override;

    /** Listens and starts the thread. @throws std::runtime_error with the reason when that is not possible */
    void Open();

    /** Thread-safe. */
    void Register(const Registration& registration)
    {
        m_loop.Post([this, registration] { OnRegister(registration); });
    }

    /** Thread-safe. */
    void SendToAll(const std::string& text)
    {
        m_loop.Post([this, text] { OnSendToAll(text); });
    }

private:
    struct Tool
    {
        Tool(EventLoop& loop, FileDescriptor socket)
            : connection(std::move(socket)), watch(loop.Context(), connection.Socket())
        {}
        CliConnection connection;
        DescriptorWatch watch;
        /** Of the requests that wait for their replies. */
        std::set<int> contexts;
    };
    using Tools = std::map<std::uint64_t, Tool>;

    /** A request that waits for its reply. */
    struct Waiting
    {
        std::uint64_t tool;
        int id;
    };

    void ThreadBody() override;
    void Close();
    void OnRegister(const Registration& registration);
    void OnSendToAll(const std::string& text);
    void OnTool(FileDescriptor socket);
    void OnReply(std::string text, int context);
    void OnHandlerFailed(std::string reason, int context);

    CliConnection::State Serve(Tools::iterator tool);
    CliConnection::State Handle(Tools::iterator tool, const CliWire::Request& request);
    CliConnection::State Run(Tools::iterator tool, const CliWire::Request& request);
    void Dispatch(const Registration& registration, std::vector<std::string> arguments, int context);
    void Answer(int context, CliWire::Event event);
    /** Goes on with a tool that is connected, and forgets one that is lost. */
    void Settle(Tools::iterator tool, CliConnection::State state);
    std::vector<CliWire::Command> Commands() const;

    const std::string m_path;
    EventLoop m_loop;
    std::optional<Acceptor> m_acceptor;
    std::vector<Registration> m_registrations;
    Tools m_tools;
    std::uint64_t m_lastTool = 0;
    std::map<int, Waiting> m_waiting;
    int m_lastContext = 0;
};
