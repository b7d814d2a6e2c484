#include "LoopbackAcceptor.h"

#include "Acceptor.h"
#include "FileDescriptor.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cerrno>
#include <list>
#include <string>
#include <system_error>
#include <utility>

namespace
{
namespace asio = boost::asio;
using asio::ip::tcp;

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

/** A client's seat may outlive them. */
class LoopbackAcceptor::Doors : public std::enable_shared_from_this<Doors>
{
public:
    Doors(asio::io_context& context, std::size_t seats, Serve serve, LineWriter print)
        : m_context(context), m_seats(seats), m_serve(std::move(serve)), m_print(std::move(print))
    {}

    void Open(std::uint16_t port)
    {
        if (!Add({asio::ip::address_v4::loopback(), port})) {
            Fail("127.0.0.1:", port);
        }
        sockaddr_in address{};
        socklen_t size = sizeof address;
        ::getsockname(m_doors.front().Listener().Get(), reinterpret_cast<sockaddr*>(&address), &size);
        m_port = ntohs(address.sin_port);
        if (!Add({asio::ip::address_v6::loopback(), m_port}) && errno == EADDRINUSE) {
            Fail("[::1]:", m_port);
        }
    }

    std::uint16_t Port() const { return m_port; }

private:
    /** False, with errno set, when it cannot listen there. */
    bool Add(const tcp::endpoint& place)
    {
        FileDescriptor socket = ListenOn(place);
        if (!socket) {
            return false;
        }
        const auto admit = [this, protocol = place.protocol()](FileDescriptor client) {
            Admit(protocol, std::move(client));
        };
        m_doors.emplace_back(m_context, std::move(socket), admit,
                             [this](const std::string& reason) { m_print("clients have to wait: " + reason); });
        m_doors.back().Open();
        return true;
    }

    void Admit(tcp protocol, FileDescriptor descriptor)
    {
        try {
            tcp::socket socket(m_context, protocol, descriptor.Get());
            descriptor.Release();
            if (--m_seats == 0) {
                for (Acceptor& door : m_doors) {
                    door.Close();
                }
            }
            m_serve(std::move(socket), Seat(nullptr, [doors = weak_from_this()](std::nullptr_t) {
                        if (const auto self = doors.lock()) {
                            self->Vacate();
                        }
                    }));
        } catch (const std::exception& error) {
            m_print(std::string("a client is turned away: ") + error.what());
        }
    }

    void Vacate()
    {
        if (m_seats++ == 0) {
            for (Acceptor& door : m_doors) {
                door.Open();
            }
        }
    }

    asio::io_context& m_context;
    std::list<Acceptor> m_doors;
    std::uint16_t m_port = 0;
    /** That are free. */
    std::size_t m_seats;
    const Serve m_serve;
    const LineWriter m_print;
};

LoopbackAcceptor::LoopbackAcceptor(asio::io_context& context, std::uint16_t port, std::size_t seats, Serve serve,
                                   LineWriter print)
    : m_doors(std::make_shared<Doors>(context, seats, std::move(serve), std::move(print)))
{
    m_doors->Open(port);
}

LoopbackAcceptor::~LoopbackAcceptor() = default;

std::uint16_t LoopbackAcceptor::Port() const
{
    return m_doors->Port();
}
