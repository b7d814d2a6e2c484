#pragma once

#include "Acceptor.h"
#include "EventLine.h"
#include "FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace boost::asio
{
class io_context;
}

/**
 * Accepts clients on the loopback addresses 127.0.0.1 and, where the machine has it, ::1, and serves them on a thread
 * of its own. Thread-safe, but for Context.
 */
class LoopbackServer
{
public:
    /** A client's place among those that are served. When it is given up, another client is accepted. */
    using Seat = std::shared_ptr<void>;
    /** Takes a client's socket, which is non-blocking, on the server's thread; an exception turns the client away. */
    using Serve = std::function<void(FileDescriptor socket, Seat seat)>;

    /**
     * Listens. Clients are accepted after Start.
     * @param port 0 for any that is free
     * @param seats clients at a time; others wait in the listening sockets' queues
     * @param print takes a line when clients have to wait or are turned away, or when serving them throws
     * @throws std::system_error when the port cannot be had
     */
    LoopbackServer(std::uint16_t port, std::size_t seats, Serve serve, LineWriter print);

    /** Drops what the context still has to do, and with it the clients that it serves. Blocks. */
    ~LoopbackServer();

    /** Starts the thread. To be called once. */
    void Start();

    /** Ends the thread, whatever it has left to do. Clients end with the object. Blocks. */
    void Stop();

    /** Frees the port, runs the work on the thread, and returns when the context has nothing left to do. Blocks. */
    void Finish(const std::function<void()>& lastWork);

    /** What the thread runs. Only work of its own may use it. */
    boost::asio::io_context& Context() noexcept { return *m_context; }

    std::uint16_t Port() const noexcept { return m_port; }

private:
    void Admit(FileDescriptor socket);
    void Vacate();
    void Run();

    const Serve m_serve;
    const LineWriter m_print;
    std::size_t m_freeSeats;
    std::unique_ptr<boost::asio::io_context> m_context;
    std::list<Acceptor> m_doors;
    std::uint16_t m_port = 0;
    std::mutex m_finishMutex;
    std::thread m_thread;
};
