#pragma once

#include "AsyncCallback.h"
#include "Callback.h"
#include "NotifyTargetTaskIF.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class CliServer;

/**
 * Offers a service's commands on the product's command line.
 *
 * Tools reach the commands through a socket of this client's name (see CliWire.h). A thread of this library serves
 * them; it sleeps while nothing happens. No operation waits for a tool, and no tool for another. Up to 8 tools may be
 * connected, with 16 commands each that wait for their replies. A tool that does not read what it is sent is
 * disconnected.
 */
class CliClientMT
{
public:
    /**
     * Answers one command: the text, and the integer that the handler was given with it. To be invoked once, at once or
     * later. Later invocations, and those after the tool has gone, do nothing. Thread-safe.
     */
    using Reply = AsyncCallback<std::string, int>;

    /**
     * Runs a command: its key, the words behind the command's own words, the reply and the integer to invoke it with.
     * When it throws, the tool is told that no reply will come, and the exception goes on to the task.
     */
    using Handler = Callback<std::uint16_t, std::vector<std::string>, Reply, int>;

    /** @param name of the client, a file name: tools show it, and no other client may have it. */
    explicit CliClientMT(const std::string& name);

    /** Disconnects all tools. Commands on their way to a handler still reach it. */
    ~CliClientMT();
    CliClientMT(const CliClientMT&) = delete;
    CliClientMT& operator=(const CliClientMT&) = delete;

    /**
     * Starts listening. When the name is taken or no descriptor is left, it logs the reason at level 1, and the service
     * goes on without a command line. To be called once.
     *
     * @param task runs the handlers of commands that are registered without a task; must outlive this client
     */
    void Initialize(NotifyTargetTaskIF* task);

    /**
     * Adds a command, before or after Initialize. A command of the same words is replaced. What cannot be called (no
     * words, no handler, no task) is logged at level 1 and dropped.
     *
     * @param words   the command's words, separated by blanks. A command line calls the longest command that it
     *                begins with.
     * @param help    one line for people: what it does
     * @param usage   one line for people: how to call it
     * @param task    runs the handler; null for the task given to Initialize; must outlive this client
     * @param handler copied
     * @param key     handed to the handler, which may serve several commands
     *
     * Thread-safe.
     */
    void RegisterCLIServerCommands(const std::string& words, const std::string& help, const std::string& usage,
                                   NotifyTargetTaskIF* task, Handler handler, std::uint16_t key);

    /** Shows a line on every connected tool. Thread-safe. */
    void SendAsyncResponse(const std::string& text);

private:
    const std::unique_ptr<CliServer> m_server;
    NotifyTargetTaskIF* m_task = nullptr;
};
