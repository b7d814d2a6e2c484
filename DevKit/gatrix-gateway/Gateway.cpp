#include "Gateway.h"

#include "Connection.h"
#include "GatrixWire.h"
#include "LoopbackServer.h"
#include "Router.h"

#include <deque>
#include <exception>
#include <map>
#include <utility>

namespace GatrixGateway
{

constexpr std::size_t kLongestLine = 400;
constexpr std::size_t kLongestFrameLine = 4000;

/** All but construction and Stop runs on the gateway's thread. */
class Gateway::Implementation final : public Connection::Owner
{
public:
    explicit Implementation(GatewaySettings settings)
        : m_settings(std::move(settings)),
          m_server(
              m_settings.port, m_settings.limits.connections,
              [this](FileDescriptor socket, LoopbackServer::Seat seat) { Serve(std::move(socket), std::move(seat)); },
              [this](const std::string& line) { Print(line); })
    {
        m_server.Start();
    }

    ~Implementation() { Stop(); }

    void Stop()
    {
        m_server.Finish([this] { CloseAll(); });
    }

    std::uint16_t Port() const { return m_server.Port(); }

private:
    struct Client
    {
        std::unique_ptr<Connection> connection;
        LoopbackServer::Seat seat;
        bool isDismissed = false; ///< Its connection is being closed; the router has forgotten it.
    };

    void CloseAll()
    {
        for (auto& [number, client] : m_clients) {
            client.isDismissed = true;
            client.connection->Close(CloseCode::GoingAway, "the gateway ends");
        }
    }

    void Serve(FileDescriptor socket, LoopbackServer::Seat seat)
    {
        const ClientNumber number = ++m_lastClient;
        Connection::Owner& owner = *this;
        m_clients[number] = {
            std::make_unique<Connection>(m_server.Context(), std::move(socket), number, m_settings.limits, owner),
            std::move(seat)};
    }

    void OnFrame(ClientNumber client, const std::string& text) override
    {
        if (m_settings.verbose) {
            PrintFrame(client, " > ", text);
        }
        try {
            Apply(m_router.Take(client, Gatrix::Wire::Parse(text)));
        } catch (const Gatrix::Wire::FrameError& error) {
            Apply(Dismiss(client, CloseCode::PolicyViolation, error.what()));
        } catch (const std::exception& error) {
            Apply(Dismiss(client, CloseCode::InternalError, error.what()));
        }
    }

    void OnLeave(ClientNumber number, const std::string& why) override
    {
        Print(m_router.Label(number) + " left: " + why);
        m_clients[number].isDismissed = true;
        Apply(m_router.Drop(number));
    }

    void OnEnd(ClientNumber number) override { m_clients.erase(number); }

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

    /** Sends a frame. @return what comes of that */
    Effects Deliver(const Delivery& delivery)
    {
        const auto client = m_clients.find(delivery.client);
        if (client == m_clients.end() || client->second.isDismissed) {
            return {};
        }
        Connection& connection = *client->second.connection;
        // Requesters cannot bring a handler down: its queue keeps room for what is no request.
        if (delivery.request && connection.IsHalfFull()) {
            return m_router.Refuse(*delivery.request, 503, "the handler does not keep up with requests such as");
        }
        if (m_settings.verbose) {
            PrintFrame(delivery.client, " < ", *delivery.text);
        }
        return connection.Send(delivery.text)
                   ? Effects()
                   : Dismiss(delivery.client, CloseCode::TryAgainLater, "frames are not read in time");
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
    LoopbackServer m_server;
    std::map<ClientNumber, Client> m_clients;
    ClientNumber m_lastClient = 0;
    Router m_router;
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
