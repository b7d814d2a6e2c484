#include "Gateway.h"

#include "Alarm.h"
#include "GatrixWire.h"
#include "LoopbackServer.h"
#include "Router.h"
#include "WebSocketSession.h"

#include <deque>
#include <exception>
#include <map>
#include <optional>
#include <utility>

namespace GatrixGateway
{

using Gatrix::CloseCode;
using Gatrix::WebSocketSession;

constexpr std::size_t kLongestLine = 400;
constexpr std::size_t kLongestFrameLine = 4000;

// All but construction and Stop runs on the gateway's thread.
class Gateway::Implementation
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
    // One client: its WebSocket, and the time limit of its first frame.
    struct Client final : private WebSocketSession::Owner
    {
        Client(Implementation& gateway, ClientNumber newNumber, FileDescriptor socket, LoopbackServer::Seat seat)
            : number(newNumber), hello(gateway.m_server.Context()), m_gateway(gateway), m_seat(std::move(seat))
        {
            const ConnectionLimits& limits = gateway.m_settings.limits;
            session = WebSocketSession::Accept(gateway.m_server.Context(), std::move(socket),
                                               {limits.queuedFrames, limits.queuedBytes, limits.closeTime}, *this);
            hello.Set(Alarm::Clock::now() + limits.helloTime, [this] {
                m_gateway.OnLeave(*this, "no hello in time");
                OnEnd();
            });
        }

        const ClientNumber number;
        Alarm hello;
        std::shared_ptr<WebSocketSession> session;
        bool isDismissed = false; ///< The connection is being closed; the router has forgotten the client.

    private:
        void OnOpen() override { m_isOpen = true; }

        void OnMessage(const std::string& payload, bool isText) override
        {
            hello.Cancel();
            if (isText) {
                m_gateway.OnFrame(*this, payload);
                return;
            }
            session->Close(CloseCode::UnsupportedData, "frames are texts");
            m_gateway.OnLeave(*this, "a frame that is no text");
        }

        void OnLeave(std::optional<unsigned> code, const std::string& reason) override
        {
            if (code) {
                m_gateway.OnLeave(*this, "closed by the client, code " + std::to_string(*code) +
                                             (reason.empty() ? "" : " " + reason));
            } else {
                m_gateway.OnLeave(*this, m_isOpen ? reason : "no WebSocket handshake: " + reason);
            }
        }

        void OnEnd() override { m_gateway.m_clients.erase(number); }

        Implementation& m_gateway;
        const LoopbackServer::Seat m_seat;
        bool m_isOpen = false;
    };

    void CloseAll()
    {
        for (auto& [number, client] : m_clients) {
            Close(*client, CloseCode::GoingAway, "the gateway ends");
        }
    }

    void Serve(FileDescriptor socket, LoopbackServer::Seat seat)
    {
        const ClientNumber number = ++m_lastClient;
        m_clients[number] = std::make_unique<Client>(*this, number, std::move(socket), std::move(seat));
    }

    void OnFrame(Client& client, const std::string& text)
    {
        if (m_settings.verbose) {
            PrintFrame(client, " > ", text);
        }
        try {
            Apply(m_router.Take(client.number, Gatrix::Wire::Parse(text)));
        } catch (const Gatrix::Wire::FrameError& error) {
            Apply(Drop(client, CloseCode::PolicyViolation, error.what()));
        } catch (const std::exception& error) {
            Apply(Drop(client, CloseCode::InternalError, error.what()));
        }
    }

    void OnLeave(Client& client, const std::string& why)
    {
        Print(m_router.Label(client.number) + " left: " + why);
        client.isDismissed = true;
        client.hello.Cancel();
        Apply(m_router.Drop(client.number));
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

    // Sends a frame. Returns what comes of that.
    Effects Deliver(const Delivery& delivery)
    {
        const auto found = m_clients.find(delivery.client);
        if (found == m_clients.end() || found->second->isDismissed) {
            return {};
        }
        Client& client = *found->second;
        // Requesters cannot bring a handler down: its queue keeps room for what is no request.
        if (delivery.request && client.session->IsHalfFull()) {
            return m_router.Refuse(*delivery.request, 503, "the handler does not keep up with requests such as");
        }
        if (m_settings.verbose) {
            PrintFrame(client, " < ", *delivery.text);
        }
        return client.session->Send(delivery.text)
                   ? Effects()
                   : Drop(client, CloseCode::TryAgainLater, "frames are not read in time");
    }

    Effects Drop(Client& client, CloseCode code, const std::string& reason)
    {
        if (client.isDismissed) {
            return {};
        }
        Print(m_router.Label(client.number) + " is dropped: " + std::to_string(static_cast<int>(code)) + " " + reason);
        Close(client, code, reason);
        return m_router.Drop(client.number);
    }

    static void Close(Client& client, CloseCode code, const std::string& reason)
    {
        client.isDismissed = true;
        client.hello.Cancel();
        client.session->Close(code, reason);
    }

    void PrintFrame(const Client& client, const char* direction, const std::string& text) const
    {
        Print(m_router.Label(client.number) + direction + text, kLongestFrameLine);
    }

    void Print(const std::string& text, std::size_t longest = kLongestLine) const
    {
        WriteEvent(m_settings.writer, Printable(text, longest));
    }

    const GatewaySettings m_settings;
    LoopbackServer m_server;
    std::map<ClientNumber, std::unique_ptr<Client>> m_clients;
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
