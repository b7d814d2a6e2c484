#include "LoopbackAcceptor.h"

#include <sys/socket.h>

#include <boost/asio/steady_timer.hpp>

#include <cerrno>
#include <chrono>
#include <list>
#include <string>
#include <system_error>
#include <utility>

#include "FileDescriptor.h"

namespace
{
namespace asio = boost::asio;
using asio::ip::tcp;

constexpr std::chrono::milliseconds kPause{100};

/** Binds and listens; empty, with errno set, on failure. */
FileDescriptor ListenOn(const tcp::endpoint& place)
{
    const int family = place.protocol().family();
    const int on = 1;
    FileDescriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const bool isListening =
        socket && setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
        (family != AF_INET6 || setsockopt(socket.Get(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on) == 0) &&
        bind(socket.Get(), place.data(), static_cast<socklen_t>(place.size())) == 0 &&
        listen(socket.Get(), SOMAXCONN) == 0;
    return isListening ? std::move(socket) : FileDescriptor();
}

[[noreturn]] void Fail(const std::string& address, std::uint16_t port)
{
    throw std::system_error(errno, std::generic_category(), "cannot listen on " + address + std::to_string(port));
}
} // namespace

/** Operations that wait keep it alive. */
class LoopbackAcceptor::Doors : public std::enable_shared_from_this<Doors>
{
public:
    Doors(asio::io_context& context, std::size_t seats, Serve serve, LineWriter print)
        : m_context(context), m_pause(context), m_seats(seats), m_serve(std::move(serve)), m_print(std::move(print))
    {}

    void Open(std::uint16_t port)
    {
        if (!Add({asio::ip::address_v4::loopback(), port})) {
            Fail("127.0.0.1:", port);
        }
        m_port = m_doors.front().acceptor.local_endpoint().port();
        if (!Add({asio::ip::address_v6::loopback(), m_port}) && errno == EADDRINUSE) {
            Fail("[::1]:", m_port);
        }
        Watch();
    }

    void Close()
    {
        m_isClosed = true;
        m_pause.cancel();
        for (Door& door : m_doors) {
            door.acceptor.close();
        }
    }

    std::uint16_t Port() const { return m_port; }

private:
    struct Door
    {
        tcp::acceptor acceptor;
        bool isWatched = false;
    };

    /** False, with errno set, when it cannot listen there. */
    bool Add(const tcp::endpoint& place)
    {
        FileDescriptor socket = ListenOn(place);
        if (socket) {
            m_doors.push_back({tcp::acceptor(m_context, place.protocol(), socket.Get())});
            socket.Release();
            return true;
        }
        return false;
    }

    void Watch()
    {
        for (Door& door : m_doors) {
            if (!door.isWatched && !m_isClosed && m_seats > 0) {
                door.isWatched = true;
                door.acceptor.async_wait(tcp::acceptor::wait_read,
                                         [self = shared_from_this(), &door](boost::system::error_code error) {
                                             door.isWatched = false;
                                             if (!error) {
                                                 self->Accept(door.acceptor);
                                             }
                                         });
            }
        }
    }

    void Accept(tcp::acceptor& acceptor)
    {
        while (m_seats > 0) {
            FileDescriptor socket(accept4(acceptor.native_handle(), nullptr, nullptr, SOCK_CLOEXEC));
            if (socket) {
                m_isShort = false;
                Admit(acceptor.local_endpoint().protocol(), std::move(socket));
            } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
                break;
            } else if (errno != EINTR && errno != ECONNABORTED) {
                Pause(std::generic_category().message(errno));
                return;
            }
        }
        Watch();
    }

    void Admit(tcp protocol, FileDescriptor descriptor)
    {
        try {
            tcp::socket socket(m_context, protocol, descriptor.Get());
            descriptor.Release();
            --m_seats;
            m_serve(std::move(socket), Seat(nullptr, [doors = weak_from_this()](std::nullptr_t) {
                        if (const auto self = doors.lock()) {
                            ++self->m_seats;
                            self->Watch();
                        }
                    }));
        } catch (const std::exception& error) {
            m_print(std::string("a client is turned away: ") + error.what());
        }
    }

    /** Out of descriptors or memory: no use in trying at once. */
    void Pause(const std::string& why)
    {
        if (!std::exchange(m_isShort, true)) {
            m_print("clients have to wait: " + why);
        }
        m_pause.expires_after(kPause);
        m_pause.async_wait([self = shared_from_this()](boost::system::error_code error) {
            if (!error) {
                self->Watch();
            }
        });
    }

    asio::io_context& m_context;
    asio::steady_timer m_pause;
    std::list<Door> m_doors;
    std::uint16_t m_port = 0;
    std::size_t m_seats; ///< That are free.
    const Serve m_serve;
    const LineWriter m_print;
    bool m_isShort = false; ///< The last client could not be accepted; the log says so once.
    bool m_isClosed = false;
};

LoopbackAcceptor::LoopbackAcceptor(asio::io_context& context, std::uint16_t port, std::size_t seats, Serve serve,
                                   LineWriter print)
    : m_doors(std::make_shared<Doors>(context, seats, std::move(serve), std::move(print)))
{
    m_doors->Open(port);
}

LoopbackAcceptor::~LoopbackAcceptor()
{
    m_doors->Close();
}

std::uint16_t LoopbackAcceptor::Port() const
{
    return m_doors->Port();
}
