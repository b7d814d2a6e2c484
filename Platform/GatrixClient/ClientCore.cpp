#include "ClientCore.h"

#include "DPrint.h"
#include "DeliveredRequest.h"

#include <exception>
#include <pthread.h>
#include <thread>
#include <utility>
#include <variant>

namespace Gatrix
{
namespace
{
const DPrint s_log("GatrixClient");

double Fraction(std::minstd_rand& random)
{
    return std::uniform_real_distribution<double>()(random);
}

// May run when there is no memory left.
void LogFailure(const std::exception& error) noexcept
{
    try {
        s_log.Log(1, "the connection is given up: %s", error.what());
    } catch (const std::exception&) {
        // The client goes on without the line.
        return;
    }
}
} // namespace

ClientCore::ClientCore(Settings settings)
    : m_settings(std::move(settings)),
      m_reconnect(m_loop.Context()),
      m_answerAlarm(m_loop.Context()),
      m_finishAlarm(m_loop.Context()),
      m_random(std::random_device()()),
      m_outstanding(m_settings.common.requestLimit)
{
    Post([](ClientCore& client) { client.Connect(); });
}

void ClientCore::Run()
{
    constexpr char kThreadName[] = "GatrixClient";
    pthread_setname_np(pthread_self(), kThreadName);
    constexpr std::chrono::milliseconds kRest(100);
    bool hasFailed = false;
    while (true) {
        try {
            if (std::exchange(hasFailed, false)) {
                OnDown("an exception on the client's thread");
            }
            m_loop.Run();
            return;
        } catch (const std::exception& error) {
            LogFailure(error);
            hasFailed = true;
            // What is missing, such as memory, takes a moment to come back.
            std::this_thread::sleep_for(kRest);
        }
    }
}

void ClientCore::Post(std::function<void(ClientCore&)> work)
{
    m_loop.Post([this, work = std::move(work)] { work(*this); });
}

void ClientCore::Stop()
{
    m_isStopping = true;
    m_reconnect.Cancel();
    RefuseOutstanding();
    if (!m_isUp) {
        m_loop.Stop();
        return;
    }
    m_finishAlarm.Set(Alarm::Clock::now() + m_settings.finishLimit, [this] { m_loop.Stop(); });
    m_connection->Finish();
}

void ClientCore::Connect()
{
    const Wire::Hello hello{m_settings.name, m_settings.platform};
    Observer& observer = *this;
    m_connection = std::make_unique<GatrixConnection>(
        m_loop, observer,
        GatrixConnection::Target{m_settings.host, m_settings.port, Wire::Serialize(hello), m_settings.connectLimit});
}

void ClientCore::OnUp()
{
    m_isUp = true;
    m_delay.OnUp(Alarm::Clock::now());
    ++m_connectionNumber;
    m_lastFailure.clear();
    s_log.Log(3, "connected to %s:%u", m_settings.host.c_str(), static_cast<unsigned int>(m_settings.port));
    m_settings.connection(true);
}

void ClientCore::OnDown(const std::string& reason)
{
    m_connection.reset();
    if (m_isStopping) {
        m_loop.Stop();
        return;
    }
    const auto now = Alarm::Clock::now();
    m_reconnect.Set(now + m_delay.OnDown(now, Fraction(m_random)), [this] { Connect(); });
    RefuseOutstanding();
    if (std::exchange(m_isUp, false)) {
        m_handlers = {};
        m_settings.connection(false);
        Report(GATRIX_CLIENT_ERRORS::CONNECTION_FAILED, "the connection to the gateway is lost: " + reason);
    } else if (reason != m_lastFailure) {
        m_lastFailure = reason;
        Report(GATRIX_CLIENT_ERRORS::CONNECTION_FAILED, "no connection to the gateway, still trying: " + reason);
    }
}

void ClientCore::Report(GATRIX_CLIENT_ERRORS kind, const std::string& text)
{
    s_log.LogWarning("%s", text.c_str());
    if (m_settings.error) {
        (*m_settings.error)(text, kind);
    }
}

std::optional<Error> ClientCore::Send(const std::string& endpoint, const Wire::Frame& frame)
{
    const auto problem = [&endpoint](int statusCode, const std::string& reason) {
        return MakeError(statusCode, endpoint + ": " + reason);
    };
    if (!m_isUp || m_isStopping) {
        return problem(503, "there is no connection to the gateway");
    }
    try {
        std::string text = Wire::Serialize(frame);
        if (text.size() > Wire::kMaxFrameBytes) {
            return problem(413, "a frame of " + std::to_string(text.size()) + " bytes is too large for the gateway");
        }
        if (!m_connection->Send(std::move(text))) {
            return problem(503, "too much waits for the gateway to read it");
        }
    } catch (const Wire::FrameError& error) {
        return problem(400, error.what());
    }
    return std::nullopt;
}

bool ClientCore::SendOrLog(const std::string& endpoint, const Wire::Frame& frame)
{
    const std::optional<Error> problem = Send(endpoint, frame);
    if (problem) {
        s_log.LogWarning("not sent: %s", problem->message().c_str());
    }
    return !problem;
}

void ClientCore::Declare(const Wire::Interest& interest, EndpointsCallback ready, EndpointsCallback notReady)
{
    if (SendOrLog("endpoints of interest", interest)) {
        m_handlers.ready = std::move(ready);
        m_handlers.notReady = std::move(notReady);
    }
}

void ClientCore::Offer(const Wire::Register& registration, RequestHandler handler)
{
    if (SendOrLog(registration.endpoint, registration)) {
        m_handlers.requests[{registration.method, registration.endpoint}] = std::move(handler);
    }
}

void ClientCore::Subscribe(const Wire::Subscribe& subscription, BodyHandler handler)
{
    if (SendOrLog(subscription.endpoint, subscription)) {
        m_handlers.notifications[subscription.endpoint] = std::move(handler);
    }
}

void ClientCore::Publish(const Wire::Notify& notification)
{
    SendOrLog(notification.endpoint, notification);
}

void ClientCore::Ask(Wire::Request request, BodyHandler onAnswer, const AsyncCallback<Error>& onError)
{
    request.id = m_outstanding.NewId();
    m_outstanding.Add(request.id, {request.endpoint, std::move(onAnswer), onError}, Alarm::Clock::now());
    if (const std::optional<Error> problem = Send(request.endpoint, request)) {
        m_outstanding.Take(request.id);
        onError(*problem);
    }
    SetAnswerAlarm();
}

void ClientCore::Reply(const Delivery& delivery, const Wire::Frame& reply)
{
    if (!m_isUp || delivery.connection != m_connectionNumber) {
        s_log.LogWarning("%s: the connection dropped before the answer, which is dropped", delivery.endpoint.c_str());
        return;
    }
    const std::optional<Error> problem = Send(delivery.endpoint, reply);
    if (problem) {
        s_log.LogWarning("not sent: %s", problem->message().c_str());
        SendOrLog(delivery.endpoint, Wire::Refusal{delivery.id, problem->statuscode(), problem->message()});
    }
}

void ClientCore::RefuseOutstanding()
{
    while (const auto request = m_outstanding.TakeExpired(Alarm::Clock::time_point::max())) {
        request->onError(MakeError(503, request->endpoint + ": the connection to the gateway ended before the answer"));
    }
    SetAnswerAlarm();
}

void ClientCore::SetAnswerAlarm()
{
    const auto deadline = m_outstanding.NextDeadline();
    if (deadline == m_answerDeadline) {
        return;
    }
    m_answerDeadline = deadline;
    if (!deadline) {
        m_answerAlarm.Cancel();
        return;
    }
    m_answerAlarm.Set(*deadline, [this] {
        while (const auto request = m_outstanding.TakeExpired(Alarm::Clock::now())) {
            request->onError(MakeError(504, request->endpoint + ": no answer in time"));
        }
        SetAnswerAlarm();
    });
}

template <class FrameOfAClient>
void ClientCore::Take(const FrameOfAClient& /*frame*/)
{
    Report(GATRIX_CLIENT_ERRORS::PROTOCOL_ERROR, "a frame from the gateway is dropped: only clients send its kind");
}

void ClientCore::OnMessage(const std::string& payload, bool isText)
{
    if (m_isStopping) {
        return;
    }
    try {
        if (!isText) {
            throw Wire::FrameError("binary data");
        }
        std::visit([this](const auto& frame) { Take(frame); }, Wire::Parse(payload));
    } catch (const Wire::FrameError& error) {
        Report(GATRIX_CLIENT_ERRORS::PROTOCOL_ERROR,
               std::string("a frame from the gateway is dropped: ") + error.what());
        if (error.GetExchange()) {
            Refuse(*error.GetExchange(), error.what());
        }
    }
}

void ClientCore::Refuse(const Wire::FrameError::Exchange& exchange, const std::string& reason)
{
    const Wire::Refusal refusal{exchange.id, 400, reason};
    if (exchange.isRequest) {
        Reply(Delivery{m_connectionNumber, exchange.id, "a request that cannot be read"}, refusal);
    } else {
        Take(refusal);
    }
}

void ClientCore::Take(const Wire::Request& request)
{
    const auto responder = std::make_shared<DeliveredRequest>(
        weak_from_this(), Delivery{m_connectionNumber, request.id, request.endpoint});
    const auto found = m_handlers.requests.find({request.method, request.endpoint});
    if (found == m_handlers.requests.end()) {
        responder->Refuse(
            MakeError(404, std::string("nobody here handles ") + ToText(request.method) + " " + request.endpoint));
        return;
    }
    try {
        found->second(request.body.value_or(""), responder);
    } catch (const std::exception& error) {
        s_log.Log(1, "%s: the request cannot be handled: %s", request.endpoint.c_str(), error.what());
        responder->Refuse(MakeError(500, error.what()));
    }
}

void ClientCore::Take(const Wire::Answer& answer)
{
    const auto request = m_outstanding.Take(answer.id);
    if (!request) {
        s_log.LogWarning("a late answer, or one to no request, is dropped");
        return;
    }
    SetAnswerAlarm();
    try {
        request->onAnswer(answer.body.value_or(""));
    } catch (const std::exception& error) {
        request->onError(MakeError(400, error.what()));
    }
}

void ClientCore::Take(const Wire::Refusal& refusal)
{
    const auto request = m_outstanding.Take(refusal.id);
    if (!request) {
        s_log.LogWarning("a late refusal, or one of no request, is dropped: %s", refusal.message.c_str());
        return;
    }
    SetAnswerAlarm();
    request->onError(MakeError(refusal.statusCode, refusal.message));
}

void ClientCore::Take(const Wire::Notify& notification)
{
    const auto found = m_handlers.notifications.find(notification.endpoint);
    if (found == m_handlers.notifications.end()) {
        s_log.LogWarning("%s: a notification that nobody subscribed to is dropped", notification.endpoint.c_str());
        return;
    }
    try {
        found->second(notification.body.value_or(""));
    } catch (const std::exception& error) {
        s_log.LogWarning("%s: a notification is dropped: %s", notification.endpoint.c_str(), error.what());
    }
}

void ClientCore::Take(const Wire::Ready& ready)
{
    m_delay.OnReady();
    m_handlers.ready(ready.endpoints);
}

void ClientCore::Take(const Wire::NotReady& notReady)
{
    m_handlers.notReady(notReady.endpoints);
}
} // namespace Gatrix
