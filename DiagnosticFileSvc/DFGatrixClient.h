#pragma once

#include "APTask.h"
#include "AsyncCallback.h"
#include "DFGatrixEndpoints.h"
#include "DFGatrixHarvests.h"
#include "DeviceManager.pb.h"
#include "GatrixClientIF.h"

#include <memory>
#include <string>
#include <vector>

namespace DiagnosticFileSvc
{
class DFTriggerHandler;

/**
 * The service's face towards the other on-device services, which reach it through the local API gateway. It connects,
 * offers the service's endpoints, fetches the device information whenever there is somebody to ask, and asks other
 * services for what the gateway items collect.
 *
 * Public operations only post to its own task, which has all its state. Thread-safe.
 */
class DFGatrixClient : public APTask, public std::enable_shared_from_this<DFGatrixClient>
{
public:
    /** Receives a text, in one of two such callbacks: what was asked for, or why it is unavailable. */
    using TextCallback = DFGatrixHarvests::TextCallback;

    /**
     * The single instance. The first call makes it and begins to connect; later ones ignore the argument. Called during
     * start-up only.
     *
     * @param triggerHandler not owned; outlives the client. It is given the instance as it stands while that is made:
     * empty.
     *
     * Not thread-safe.
     */
    static std::shared_ptr<DFGatrixClient> GetInstance(DFTriggerHandler* triggerHandler);

    /** The single instance, empty as long as none has been made. Thread-safe. */
    static std::shared_ptr<DFGatrixClient> ExistingInstance();

    ~DFGatrixClient() override;

    /**
     * Asks an endpoint for the path of a file to collect. One of the callbacks is invoked, once; they are
     * not owned and must stay alive until then. One such request at a time: a newer one's callbacks replace those of
     * one in progress.
     */
    void HarvestFilePathRequest(const std::string& endpoint, TextCallback* onSuccess, TextCallback* onError);

    /**
     * The same for a payload: whatever JSON value the endpoint answers with, as text, with a backslash before each
     * single and double quote.
     */
    void HarvestPayloadRequest(const std::string& endpoint, TextCallback* onSuccess, TextCallback* onError);

protected:
    void OnEntry() override;

private:
    using HarvestRequest = AsyncCallback<std::string, TextCallback*, TextCallback*>;

    explicit DFGatrixClient(DFTriggerHandler* triggerHandler);

    void CreateGatrixClient();
    void ProcessWebsocketConnectionStatusCB(bool isConnected);
    void RegisterGXEndPointsOfInterest();
    void HandleEndpointsReady(const std::vector<std::string>& endpoints);
    void HandleEndpointsNotReady(const std::vector<std::string>& endpoints);
    void GetDeviceInfo();
    void HandleGetDeviceInfoResponse(const DeviceManagerPb::DeviceInfo& info);
    void HandleErrorResponse(const Gatrix::Error& error);

    DFTriggerHandler* const m_triggerHandler;
    /** Empty only when the library could not make one: then the service goes on without the gateway. */
    std::shared_ptr<Gatrix::GatrixClientIF> m_gatrixClient;
    /** Set with the first report that the endpoints of interest are ready, and never cleared. */
    bool m_areEndpointsReady = false;
    /** As last reported. */
    bool m_isWebsocketConnected = false;
    const AsyncCallback<const bool> m_connectionStatusCB;
    DFGatrixEndpoints m_endpoints;
    DFGatrixHarvests m_harvests;
    const HarvestRequest m_harvestFilePathRequestCB;
    const HarvestRequest m_harvestPayloadRequestCB;
    const std::string m_persistenceSubdirectory;
};
} // namespace DiagnosticFileSvc
