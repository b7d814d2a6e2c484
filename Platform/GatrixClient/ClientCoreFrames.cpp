#include <exception>
#include <variant>

#include "ClientCore.h"
#include "DPrint.h"
#include "DeliveredRequest.h"

namespace Gatrix
{
namespace
{
const DPrint s_log("GatrixClient");
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
