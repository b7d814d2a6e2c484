#include "DeliveredRequest.h"

#include "DPrint.h"
#include "FittingReply.h"

#include <exception>
#include <utility>

namespace Gatrix
{
namespace
{
const DPrint s_log("GatrixClient");
}

DeliveredRequest::DeliveredRequest(std::weak_ptr<ClientCore> core, ClientCore::Delivery delivery)
    : m_core(std::move(core)), m_delivery(std::move(delivery))
{}

DeliveredRequest::~DeliveredRequest()
{
    if (m_isAnswered) {
        return;
    }
    try {
        Send(Wire::Refusal{m_delivery.id, 500, "the handler of " + m_delivery.endpoint + " gave no answer"});
    } catch (const std::exception& error) {
        s_log.Log(1, "%s: nobody is told that no answer comes: %s", m_delivery.endpoint.c_str(), error.what());
    }
}

void DeliveredRequest::Answer(const google::protobuf::Message& message)
{
    if (!Begin()) {
        return;
    }
    try {
        Send(FittingReply::Answer(m_delivery.id, message));
    } catch (const ProtoToMarkup::MarkupError& error) {
        s_log.Log(1, "%s: the answer cannot be sent: %s", m_delivery.endpoint.c_str(), error.what());
        Send(Wire::Refusal{m_delivery.id, 500, error.what()});
    }
}

void DeliveredRequest::Refuse(const Error& error)
{
    if (Begin()) {
        Send(FittingReply::Refusal(m_delivery.id, error));
    }
}

bool DeliveredRequest::Begin()
{
    const bool isFirst = !m_isAnswered.exchange(true);
    if (!isFirst) {
        s_log.LogWarning("%s: a second answer to one request is dropped", m_delivery.endpoint.c_str());
    }
    return isFirst;
}

void DeliveredRequest::Send(Wire::Frame reply)
{
    if (const auto core = m_core.lock()) {
        core->Post(
            [delivery = m_delivery, reply = std::move(reply)](ClientCore& client) { client.Reply(delivery, reply); });
    } else {
        s_log.LogWarning("%s: the client is gone, the answer is dropped", m_delivery.endpoint.c_str());
    }
}
} // namespace Gatrix
