#include "LoopbackServer.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>

#include <arpa/inet.h>
#include <cerrno>
#include <exception>
#include <sys/socket.h>
#include <system_error>
#include <utility>

namespace
{
namespace asio = boost::asio;

// Binds and listens; empty, with errno set, on failure.
FileDescriptor ListenOn(const asio::ip::address& address, std::uint16_t port)
{
    const asio::ip::tcp::endpoint place(address, port);
    const int on = 1;
    FileDescriptor socket(::socket(place.protocol().family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const bool isListening =
        socket && setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
        (address.is_v4() || setsockopt(socket.Get(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on) == 0) &&
        bind(socket.Get(), place.data(), static_cast<socklen_t>(place.size())) == 0 &&
        listen(socket.Get(), SOMAXCONN) == 0;
    return isListening ? std::move(socket) : FileDescriptor();
}

std::uint16_t PortOf(const FileDescriptor& socket)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

[[noreturn]] void Fail(const std::string& address, std::uint16_t port)
{
    throw std::system_error(errno, std::generic_category(), "cannot listen on " + address + std::to_string(port));
}
} // namespace

LoopbackServer::LoopbackServer(std::uint16_t port, std::size_t seats, Serve serve, LineWriter print)
    : m_serve(std::move(serve)),
      m_print(std::move(print)),
      m_freeSeats(seats),
      m_context(std::make_unique<asio::io_context>(1))
{
    const auto add = [this](FileDescriptor listener) {
        m_doors.emplace_back(
            *m_context, std::move(listener), [this](FileDescriptor client) { Admit(std::move(client)); },
            [this](const std::string& reason) { m_print("clients have to wait: " + reason); });
        m_doors.back().Open();
    };
    FileDescriptor first = ListenOn(asio::ip::address_v4::loopback(), port);
    if (!first) {
        Fail("127.0.0.1:", port);
    }
    m_port = PortOf(first);
    add(std::move(first));
    if (FileDescriptor second = ListenOn(asio::ip::address_v6::loopback(), m_port)) {
        add(std::move(second));
    } else if (errno == EADDRINUSE) {
        Fail("[::1]:", m_port);
    }
}

LoopbackServer::~LoopbackServer()
{
    Stop();
    m_doors.clear();
    // The clients end with the context, which owns their operations, and give up their seats.
    m_context.reset();
}

void LoopbackServer::Start()
{
    m_thread = std::thread([this] { Run(); });
}

void LoopbackServer::Stop()
{
    if (m_thread.joinable()) {
        m_context->stop();
        m_thread.join();
    }
}

void LoopbackServer::Finish(const std::function<void()>& lastWork)
{
    const std::lock_guard<std::mutex> lock(m_finishMutex);
    if (m_thread.joinable()) {
        asio::post(*m_context, [this, &lastWork] {
            m_doors.clear();
            lastWork();
        });
        m_thread.join();
    }
}

void LoopbackServer::Run()
{
    while (!m_context->stopped()) {
        try {
            m_context->run();
        } catch (const std::exception& error) {
            m_print(std::string("an event is lost: ") + error.what());
        }
    }
}

void LoopbackServer::Admit(FileDescriptor socket)
{
    if (--m_freeSeats == 0) {
        for (Acceptor& door : m_doors) {
            door.Close();
        }
    }
    try {
        m_serve(std::move(socket), Seat(nullptr, [this](std::nullptr_t) { Vacate(); }));
    } catch (const std::exception& error) {
        m_print(std::string("a client is turned away: ") + error.what());
    }
}

void LoopbackServer::Vacate()
{
    if (m_freeSeats++ == 0) {
        for (Acceptor& door : m_doors) {
            door.Open();
        }
    }
}
