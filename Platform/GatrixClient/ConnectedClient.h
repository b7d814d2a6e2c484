#pragma once

#include "ClientCore.h"
#include "GatrixClientIF.h"

#include <memory>
#include <thread>

namespace Gatrix
{
/** A client and its thread. */
class ConnectedClient final : public GatrixClientIF
{
public:
    /** @throws std::system_error when the kernel has no thread or descriptor to give */
    explicit ConnectedClient(ClientCore::Settings settings);

    /** Waits for the thread to end, unless it is the caller. */
    ~ConnectedClient() override;

    void RegisterEndpointsOfInterest(const std::vector<std::string>& endpoints, EndpointsCallback ready,
                                     EndpointsCallback notReady) override;
    void SendNotification(const std::string& endpoint, const google::protobuf::Message& message,
                          double version) override;

protected:
    void RegisterHandler(Method method, const std::string& endpoint, double version, const std::string& group,
                         RequestHandler handler) override;
    void Subscribe(const std::string& endpoint, double version, BodyHandler handler) override;
    void SendRequest(Method method, const std::string& endpoint, double version, const std::optional<std::string>& body,
                     BodyHandler onAnswer, ErrorCallback onError) override;

private:
    /** Shared with the thread, which outlives the client when the client is destroyed on it. */
    const std::shared_ptr<ClientCore> m_core;
    std::thread m_thread;
};
} // namespace Gatrix
