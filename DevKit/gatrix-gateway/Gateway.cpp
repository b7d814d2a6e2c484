#include "Gateway.h"

#include <sys/socket.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include <cerrno>
#include <deque>
#include <exception>
#include <list>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "Connection.h"
#include "GatrixWire.h"
#include "LoopbackListener.h"
#include "Router.h"

namespace GatrixGateway
{

namespace
{

namespace asio = boost::asio;
using asio::ip::tcp;

constexpr std::chrono::milliseconds kPause{100};
constexpr std::size_t kLongestLine = 400;
constexpr std::size_t kLongestFrameLine = 4000;
constexpr int kUnavailable = 503;

/** A listening socket. */
struct Door
{
    Door(asio::io_context& context, FileDescriptor socket) : acceptor(context)
    {
        acceptor.assign(tcp::v4(), socket.Get());
        socket.Release();
    }

    tcp::acceptor acceptor;
    bool isWatched = false;
};

} // namespace

/** All but construction and Stop runs on the one thread. */
class Gateway::Implementation final : public Connection::Owner
{
public:
    explicit Implementation(GatewaySettings settings) : m_settings(std::move(settings)), m_pause(m_context)
    {
        LoopbackListener listener = ListenOnLoopback(m_settings.port);
        m_port = listener.port;
        for (FileDescriptor& socket : listener.sockets) {
            m_doors.emplace_back(m_context, std::move(socket));
        }
        WatchDoors();
        m_thread = std::thread([this] { Run(); });
    }

    ~Implementation() { Stop(); }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    void Stop()
    {
        const std::lock_guard<std::mutex> lock(m_stopMutex);
        if (m_thread.joinable()) {
            asio::post(m_context, [this] { CloseAll(); });
            m_thread.join();
        }
    }

    std::uint16_t Port() const { return m_port; }

private:
    struct Client
    {
        std::unique_ptr<Connection> connection;
        bool isDismissed = false; //!< Its connection is being closed; the router has forgotten it.
    };

    /** Ends when nothing is left to wait for. */
    void Run()
    {
        for (bool hasEnded = false; !hasEnded;) {
            try {
                m_context.run();
                hasEnded = true;
            } catch (const std::exception& error) {
                Print(std::string("an event is lost: ") + error.what());
            }
        }
    }

    void CloseAll()
    {
        m_isStopping = true;
        m_pause.cancel();
        for (Door& door : m_doors) {
            door.acceptor.close();
        }
        for (auto& [number, client] : m_clients) {
            client.isDismissed = true;
            client.connection->Close(CloseCode::kGoingAway, "the gateway ends");
        }
    }

    /** With as many clients as may be, the next ones wait in the listening sockets' queues. */
    void WatchDoors()
    {
        for (Door& door : m_doors) {
            if (!door.isWatched && !m_isStopping && m_clients.size() < m_settings.limits.connections) {
                door.isWatched = true;
                door.acceptor.async_wait(tcp::acceptor::wait_read, [this, &door](boost::system::error_code error) {
                    door.isWatched = false;
                    if (!error) {
                        Accept(door);
                    }
                });
            }
        }
    }

    void Accept(Door& door)
    {
        while (m_clients.size() < m_settings.limits.connections) {
            FileDescriptor socket(accept4(door.acceptor.native_handle(), nullptr, nullptr, SOCK_CLOEXEC));
            if (socket) {
                m_isShort = false;
                Serve(std::move(socket));
            } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
                break;
            } else if (errno != EINTR && errno != ECONNABORTED) {
                Pause(std::generic_category().message(errno));
                return;
            }
        }
        WatchDoors();
    }

    /** Out of descriptors or memory: no use in trying at once. */
    void Pause(const std::string& why)
    {
        if (!std::exchange(m_isShort, true)) {
            Print("clients have to wait: " + why);
        }
        m_pause.expires_after(kPause);
        m_pause.async_wait([this](boost::system::error_code error) {
            if (!error) {
                WatchDoors();
            }
        });
    }

    void Serve(FileDescriptor socket)
    {
        try {
            const ClientNumber number = ++m_lastClient;
            m_clients[number].connection =
                std::make_unique<Connection>(m_context, std::move(socket), number, m_settings.limits, *this);
        } catch (const std::exception& error) {
            m_clients.erase(m_lastClient);
            Print(std::string("a client is turned away: ") + error.what());
        }
    }

    void OnFrame(ClientNumber client, const std::string& text) override
    {
        if (m_settings.verbose) {
            PrintFrame(client, " > ", text);
        }
        try {
            Effects effects = m_router.Take(client, Gatrix::Wire::Parse(text));
            const std::optional<std::string> violation = effects.violation;
            Apply(std::move(effects));
            if (violation) {
                Apply(Dismiss(client, CloseCode::kPolicyViolation, *violation));
            }
        } catch (const Gatrix::Wire::FrameError& error) {
            Apply(Dismiss(client, CloseCode::kPolicyViolation, error.what()));
        } catch (const std::exception& error) {
            Apply(Dismiss(client, CloseCode::kInternalError, error.what()));
        }
    }

    void OnLeave(ClientNumber number, const std::string& why) override
    {
        Print(m_router.Label(number) + " left: " + why);
        m_clients[number].isDismissed = true;
        Apply(m_router.Drop(number));
    }

    void OnEnd(ClientNumber number) override
    {
        m_clients.erase(number);
        WatchDoors();
    }

    void Apply(Effects effects)
    {
        std::deque<Effects> pending;
        pending.push_back(std::move(effects));
        for (; !pending.empty(); pending.pop_front()) {
            for (const std::string& line : pending.front().lines) {
                Print(line);
            }
            for (const Delivery& delivery : pending.front().deliveries) {
                pending.push_back(Deliver(delivery));
            }
        }
    }

    /** Sends a frame, and tells what comes of it. */
    Effects Deliver(const Delivery& delivery)
    {
        const auto client = m_clients.find(delivery.client);
        if (client == m_clients.end() || client->second.isDismissed) {
            return {};
        }
        Connection& connection = *client->second.connection;
        // Those who ask cannot bring a handler down: its queue keeps room for what is no request.
        if (delivery.request && connection.IsHalfFull()) {
            return m_router.Refuse(*delivery.request, kUnavailable,
                                   "the handler does not keep up with requests such as");
        }
        if (m_settings.verbose) {
            PrintFrame(delivery.client, " < ", *delivery.text);
        }
        return connection.Send(delivery.text)
                   ? Effects()
                   : Dismiss(delivery.client, CloseCode::kTryAgainLater, "frames are not read in time");
    }

    Effects Dismiss(ClientNumber number, CloseCode code, const std::string& reason)
    {
        Client& client = m_clients[number];
        if (client.isDismissed) {
            return {};
        }
        Print(m_router.Label(number) + " is dropped: " + std::to_string(static_cast<int>(code)) + " " + reason);
        client.isDismissed = true;
        client.connection->Close(code, reason);
        return m_router.Drop(number);
    }

    void PrintFrame(ClientNumber client, const char* direction, const std::string& text) const
    {
        Print(m_router.Label(client) + direction + text, kLongestFrameLine);
    }

    void Print(const std::string& text, std::size_t longest = kLongestLine) const
    {
        if (m_settings.writer) {
            m_settings.writer(TimeOfDay() + Printable(text, longest));
        }
    }

    const GatewaySettings m_settings;
    asio::io_context m_context{1};
    std::uint16_t m_port = 0;
    std::list<Door> m_doors;
    asio::steady_timer m_pause;
    std::map<ClientNumber, Client> m_clients;
    ClientNumber m_lastClient = 0;
    Router m_router;
    bool m_isShort = false; //!< The last client could not be accepted; the log says so once.
    bool m_isStopping = false;
    std::mutex m_stopMutex;
    std::thread m_thread;
};

Gateway::Gateway(GatewaySettings settings) : m_implementation(std::make_unique<Implementation>(std::move(settings))) {}

Gateway::~Gateway() = default;

void Gateway::Stop()
{
    m_implementation->Stop();
}

std::uint16_t Gateway::Port() const
{
    return m_implementation->Port();
}

std::string Gateway::Url() const
{
    return "ws://localhost:" + std::to_string(Port()) + "/";
}

} // namespace GatrixGateway
