#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "APTask.h"
#include "CliClientMT.h"
#include "CliConnection.h"
#include "CliWire.h"
#include "FileDescriptor.h"
#include "ReadinessPoller.h"

/**
 * The task behind a CliClientMT: it owns the commands, the connections and the requests that wait for their replies.
 * It waits neither for a tool nor for a handler.
 */
class CliServer : public APTask
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

    /** Listens and starts the task. @throws std::runtime_error with the reason when that is not possible. */
    void Open();

    /** Any thread. */
    void Register(const Registration& registration)
    {
        Post([this, registration] { OnRegister(registration); });
    }
    void SendToAll(const std::string& text)
    {
        Post([this, text] { OnSendToAll(text); });
    }

private:
    /** One tool. */
    struct Tool
    {
        explicit Tool(FileDescriptor socket) : connection(std::move(socket)) {}
        CliConnection connection;
        /** Of the requests that wait for their replies. */
        std::set<int> contexts;
    };
    using Tools = std::map<std::uint64_t, Tool>;

    /** A request that waits for its reply. */
    struct Asked
    {
        std::uint64_t tool;
        int id;
    };

    void Close();
    void OnRegister(const Registration& registration);
    void OnSendToAll(const std::string& text);
    void OnReady(std::uint64_t token, std::uint32_t events);
    void OnReply(std::string text, int context);
    void OnHandlerFailed(std::string reason, int context);

    void AcceptTools();
    CliConnection::State Serve(Tools::iterator tool, std::uint32_t events);
    CliConnection::State Handle(Tools::iterator tool, const CliWire::Request& request);
    CliConnection::State Run(Tools::iterator tool, const CliWire::Request& request);
    void Dispatch(const Registration& registration, std::vector<std::string> arguments, int context);
    void Answer(int context, CliWire::Event event);
    /** Brings the poller up to date with an open connection, or closes a lost one. */
    void Settle(Tools::iterator tool, CliConnection::State state);
    std::vector<CliWire::Command> Commands() const;

    const std::string m_path;
    FileDescriptor m_listener;
    /** Runs while the process is out of descriptors and cannot accept. */
    FileDescriptor m_acceptLater;
    std::vector<Registration> m_registrations;
    Tools m_tools;
    std::uint64_t m_nextTool;
    std::map<int, Asked> m_asked;
    int m_nextContext = 0;
    std::unique_ptr<ReadinessPoller> m_poller;
};
