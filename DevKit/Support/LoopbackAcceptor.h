#pragma once

#include "EventLine.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

/**
 * Accepts clients on the loopback addresses 127.0.0.1 and, where the machine has it, ::1. Only the thread that runs the
 * context may use it. Not thread-safe.
 */
class LoopbackAcceptor
{
public:
    /** A client's place among those that are served. When it is given up, another client is accepted. */
    using Seat = std::shared_ptr<void>;
    /** Takes a client; an exception turns it away. */
    using Serve = std::function<void(boost::asio::ip::tcp::socket socket, Seat seat)>;

    /**
     * Listens.
     * @param port 0 for any that is free
     * @param seats clients at a time; others wait in the listening sockets' queues
     * @param print takes a line when clients have to wait or are turned away
     * @throws std::system_error when the port cannot be had
     */
    LoopbackAcceptor(boost::asio::io_context& context, std::uint16_t port, std::size_t seats, Serve serve,
                     LineWriter print);

    /** Accepts no more, and frees the port. */
    ~LoopbackAcceptor();
    LoopbackAcceptor(const LoopbackAcceptor&) = delete;
    LoopbackAcceptor& operator=(const LoopbackAcceptor&) = delete;

    std::uint16_t Port() const;

private:
    class Doors;

    std::shared_ptr<Doors> m_doors;
};
