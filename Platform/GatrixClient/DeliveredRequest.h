#pragma once

#include "ClientCore.h"
#include "GatrixResponder.h"

#include <atomic>
#include <memory>

namespace Gatrix
{
/** The responder of a request that came over a client's connection. It may outlive both. */
class DeliveredRequest final : public Responder
{
public:
    DeliveredRequest(std::weak_ptr<ClientCore> core, ClientCore::Delivery delivery);

    /** Sends a refusal of status 500 when nothing was sent before. */
    ~DeliveredRequest() override;

    /** A message that does not convert refuses the request with status 500 and the converter's reason. */
    void Answer(const google::protobuf::Message& message) override;
    void Refuse(const Error& error) override;

private:
    /** Whether this is the first attempt to answer. */
    bool Begin();
    void Send(Wire::Frame reply);

    const std::weak_ptr<ClientCore> m_core;
    const ClientCore::Delivery m_delivery;
    std::atomic<bool> m_isAnswered{false};
};
} // namespace Gatrix
