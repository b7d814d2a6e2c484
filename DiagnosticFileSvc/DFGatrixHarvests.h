#pragma once

#include "AsyncCallback.h"
#include "GatrixClientIF.h"
#include "UploadSysInfo.pb.h"

#include <memory>
#include <string>

namespace DiagnosticFileSvc
{
class DFGatrixClient;

/**
 * What gateway items ask of other services: a file path or a payload. One request of each kind at a time: a newer one's
 * callbacks replace those of one in progress.
 *
 * A part of the gateway client. Runs on the task's thread.
 */
class DFGatrixHarvests
{
public:
    using TextCallback = AsyncCallback<const std::string>;

    /**
     * @param client whose part this is, and which an awaited answer keeps alive
     * @param gatrix the client's connection, a member of it; empty means that there is none
     */
    DFGatrixHarvests(DFGatrixClient& client, const std::shared_ptr<Gatrix::GatrixClientIF>& gatrix);

    /** Asks an endpoint for a path. One of the callbacks is invoked, once; not owned, they stay alive until then. */
    void HarvestFilePathRequestCB(const std::string& endpoint, TextCallback* onSuccess, TextCallback* onError);

    /** The same for a payload, which comes with a backslash before each single and double quote. */
    void HarvestPayloadRequestCB(const std::string& endpoint, TextCallback* onSuccess, TextCallback* onError);

private:
    /** Whom to tell about a request in progress. Not owned. */
    struct Requester
    {
        TextCallback* onSuccess = nullptr;
        TextCallback* onError = nullptr;
    };

    void HarvestFilepathResponseCB(const DFSCommonPB::FilepathResponseMsg& answer);
    void HarvestFilepathErrorResponse(const Gatrix::Error& error);
    void HarvestPayloadResponseCB(const std::string& payload);
    void HarvestPayloadErrorResponse(const Gatrix::Error& error);
    std::shared_ptr<DFGatrixHarvests> Self();

    DFGatrixClient& m_client;
    const std::shared_ptr<Gatrix::GatrixClientIF>& m_gatrix;
    Requester m_filepath;
    Requester m_payload;
};
} // namespace DiagnosticFileSvc
