#pragma once

#include "Alarm.h"
#include "EventLoop.h"
#include "GatrixClient.h"
#include "GatrixConnection.h"
#include "GatrixResponder.h"
#include "GatrixWire.h"
#include "OutstandingRequests.h"
#include "ReconnectDelay.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>

namespace Gatrix
{
/**
 * What a client does on its own thread: it keeps a connection, and knows what was offered on it and who waits for what.
 * Only work that was given to Post may call its operations, Post excepted. Not thread-safe.
 */
class ClientCore : public std::enable_shared_from_this<ClientCore>, private GatrixConnection::Observer
{
public:
    using RequestHandler = std::function<void(const std::string& body, const std::shared_ptr<Responder>& responder)>;
    using BodyHandler = std::function<void(const std::string& body)>;
    using EndpointsCallback = AsyncCallback<const std::vector<std::string>>;

    /** Which request a reply is for. On another connection, its number means another request or none. */
    struct Delivery
    {
        std::uint64_t connection;
        std::uint64_t id;
        std::string endpoint;
    };

    struct Settings
    {
        std::string name;
        std::string host;
        std::uint16_t port = 0;
        std::string platform;
        GatrixClient::ConnectionCallback connection;
        std::optional<GatrixClient::ErrorCallback> error;
        CommonClientCreationInfo common;
        /** Time limits: of connecting, up to the first frame written; of sending what waits at the end. @{ */
        std::chrono::milliseconds connectLimit = std::chrono::seconds(10);
        std::chrono::milliseconds finishLimit = std::chrono::seconds(1);
        /** @} */
    };

    /** @throws std::system_error when the kernel has no descriptor to give */
    explicit ClientCore(Settings settings);

    /** The body of the thread: returns after Stop. No exception leaves it. */
    void Run();

    /** Runs the work on the client's thread, in the order of the calls. Thread-safe. */
    void Post(std::function<void(ClientCore&)> work);

    /** Refuses all that is in flight, sends what waits, as far as there is time, closes, and lets Run return. */
    void Stop();

    void Declare(const Wire::Interest& interest, EndpointsCallback ready, EndpointsCallback notReady);
    void Offer(const Wire::Register& registration, RequestHandler handler);
    void Subscribe(const Wire::Subscribe& subscription, BodyHandler handler);
    void Publish(const Wire::Notify& notification);

    /** @param request its number is chosen here */
    void Ask(Wire::Request request, BodyHandler onAnswer, const AsyncCallback<Error>& onError);

    /** Sends what came of a request that was delivered; a reply that is too large becomes a refusal of status 413. */
    void Reply(const Delivery& delivery, const Wire::Frame& reply);

private:
    struct Handlers
    {
        std::map<std::pair<Method, std::string>, RequestHandler> requests;
        std::map<std::string, BodyHandler> notifications;
        EndpointsCallback ready;
        EndpointsCallback notReady;
    };

    void OnUp() override;
    void OnMessage(const std::string& payload, bool isText) override;
    void OnDown(const std::string& reason) override;

    void Take(const Wire::Request& request);
    void Take(const Wire::Answer& answer);
    void Take(const Wire::Refusal& refusal);
    void Take(const Wire::Notify& notification);
    void Take(const Wire::Ready& ready);
    void Take(const Wire::NotReady& notReady);
    template <class FrameOfAClient>
    void Take(const FrameOfAClient& frame);

    /** Ends, with status 400, the request that waits for what a frame was to bring. */
    void Refuse(const Wire::FrameError::Exchange& exchange, const std::string& reason);

    void Connect();
    /** Nothing when the frame is on its way; otherwise why it is not. */
    std::optional<Error> Send(const std::string& endpoint, const Wire::Frame& frame);
    /** Whether the frame is on its way; the log says why not. */
    bool SendOrLog(const std::string& endpoint, const Wire::Frame& frame);
    void Report(GATRIX_CLIENT_ERRORS kind, const std::string& text);
    void RefuseOutstanding();
    /** Sets the answer alarm to the earliest time limit, if any. */
    void SetAnswerAlarm();

    const Settings m_settings;
    EventLoop m_loop;
    Alarm m_reconnect;
    Alarm m_answerAlarm;
    Alarm m_finishAlarm;
    std::minstd_rand m_random;
    std::unique_ptr<GatrixConnection> m_connection;
    /** Of the latest connection that was up, counted from 1. */
    std::uint64_t m_connectionNumber = 0;
    bool m_isUp = false;
    bool m_isStopping = false;
    ReconnectDelay m_delay;
    /** Why the latest attempt to connect failed, so that a gateway that stays away is not reported again and again. */
    std::string m_lastFailure;
    Handlers m_handlers;
    OutstandingRequests m_outstanding;
    /** What the answer alarm is set to. */
    std::optional<OutstandingRequests::Time> m_answerDeadline;
};
} // namespace Gatrix
