#include "ConnectedClient.h"

#include "DPrint.h"

#include <utility>

namespace Gatrix
{
namespace
{
const DPrint s_log("GatrixClient");
}

ConnectedClient::ConnectedClient(ClientCore::Settings settings)
    : m_core(std::make_shared<ClientCore>(std::move(settings))), m_thread([core = m_core] { core->Run(); })
{}

ConnectedClient::~ConnectedClient()
{
    m_core->Post([](ClientCore& client) { client.Stop(); });
    if (m_thread.get_id() == std::this_thread::get_id()) {
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

void ConnectedClient::RegisterEndpointsOfInterest(const std::vector<std::string>& endpoints, EndpointsCallback ready,
                                                  EndpointsCallback notReady)
{
    m_core->Post([interest = Wire::Interest{endpoints}, ready = std::move(ready),
                  notReady = std::move(notReady)](ClientCore& client) { client.Declare(interest, ready, notReady); });
}

void ConnectedClient::SendNotification(const std::string& endpoint, const google::protobuf::Message& message,
                                       double version)
{
    try {
        m_core->Post([notification = Wire::Notify{endpoint, version, ProtoToMarkup::ToJson(message, false)}](
                         ClientCore& client) { client.Publish(notification); });
    } catch (const ProtoToMarkup::MarkupError& error) {
        s_log.LogWarning("%s: a notification is not sent: %s", endpoint.c_str(), error.what());
    }
}

void ConnectedClient::RegisterHandler(Method method, const std::string& endpoint, double version,
                                      const std::string& group, RequestHandler handler)
{
    m_core->Post([registration = Wire::Register{method, endpoint, version, group},
                  handler = std::move(handler)](ClientCore& client) { client.Offer(registration, handler); });
}

void ConnectedClient::Subscribe(const std::string& endpoint, double version, BodyHandler handler)
{
    m_core->Post([subscription = Wire::Subscribe{endpoint, version}, handler = std::move(handler)](ClientCore& client) {
        client.Subscribe(subscription, handler);
    });
}

void ConnectedClient::SendRequest(Method method, const std::string& endpoint, double version,
                                  const std::optional<std::string>& body, BodyHandler onAnswer, ErrorCallback onError)
{
    m_core->Post([request = Wire::Request{0, method, endpoint, version, body}, onAnswer = std::move(onAnswer),
                  onError = std::move(onError)](ClientCore& client) { client.Ask(request, onAnswer, onError); });
}
} // namespace Gatrix
