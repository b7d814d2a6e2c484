#pragma once

#include "APTask.h"
#include "AsyncCallback.h"
#include "CHttpInterface.h"
#include "DeviceManager.pb.h"
#include "HSMResponse.h"
#include "QuillaneTokens.h"
#include "UploadSysInfo.pb.h"

#include <cstddef>
#include <memory>
#include <string>

namespace DiagnosticFileSvc
{
/**
 * The task that sends an archive to the cloud in two phases: a metadata record, whose answer names an upload URL, then
 * the archive itself. Retries happen below it, in the HTTP interface; it sees final responses only.
 *
 * It holds the archive in memory, once, and at most kMaxBodySize of an answer, of which it parses at most
 * kMaxJsonSize.
 *
 * One upload at a time: the starter does not begin another before it has the result. Public operations only post
 * to the task. Thread-safe.
 */
class DFUploadDiagnosticFiles : public APTask
{
public:
    /** Receives the last response's body and its HTTP status, 0 when there was no response. */
    using Result = AsyncCallback<const std::string, int>;

    /** In bytes, of an answer's body. What is beyond is dropped: the gateway carries no more to the requester. */
    static constexpr std::size_t kMaxBodySize = std::size_t{1} << 20U;

    /** A longer answer counts as one that is not JSON: the parser takes some 50 times the memory of its text. */
    static constexpr std::size_t kMaxJsonSize = std::size_t{64} << 10U;

    /**
     * The single instance, made and started by the first call and never destroyed.
     *
     * @throws std::system_error when its thread cannot start; the next call tries again
     *
     * Thread-safe.
     */
    static DFUploadDiagnosticFiles& GetInstance();

    /**
     * Starts an upload.
     *
     * @param items       what the archive holds, for the metadata
     * @param archivePath full path of the archive, which must stay until the result is known
     * @param result      invoked once: with 400 when the archive cannot be read or anything throws, otherwise with what
     *                    the cloud said. Not owned; must stay alive until then.
     *
     * Without the product's identity in the manufacturing data the process ends with status 1.
     */
    void PostMetadata(DFSCommonPB::UploadTypes items, std::string archivePath, Result* result);

    /** The device information from which later uploads take the device's name. */
    void SetDeviceInfo(DeviceManagerPb::DeviceInfo info);

protected:
    void OnEntry() override;

private:
    /** What the upload under way needs until its last response. */
    struct Upload
    {
        std::string archivePath;
        /** Null when it has been invoked. */
        Result* result = nullptr;
        /** The post under way, which holds its connection. */
        std::shared_ptr<Http::IHttpOpHandle> operation;
    };

    DFUploadDiagnosticFiles();

    /** The handler, with a guard: a std::exception that leaves it ends the upload with an answer to its starter. */
    template <auto handler, typename... Args>
    void Guarded(Args... args);

    void PostMetadataCB(const DFSCommonPB::UploadTypes& items, const std::string& archivePath, Result* result);
    void SetDeviceInfoCB(const DeviceManagerPb::DeviceInfo& info);
    void MetaDataPostRespCB(const Http::HSMResponse& response);
    void PostDiagnosticFile(const std::string& uploadUrl);
    void DiagFilePostRespCB(const Http::HSMResponse& response);
    void Answer(const std::string& text, int status);

    const AsyncCallback<DFSCommonPB::UploadTypes, std::string, Result*> m_postMetadataCB;
    const AsyncCallback<DeviceManagerPb::DeviceInfo> m_setDeviceInfoCB;
    const AsyncCallback<Http::HSMResponse> m_metaDataPostRespCB;
    const AsyncCallback<Http::HSMResponse> m_diagFilePostRespCB;

    /** For the archive, straight to the upload URL. */
    Http::CHttpInterface m_directHttp;
    /** For the metadata. */
    Http::CHttpInterface m_proxiedHttp;
    JwtUtils::QuillaneTokens m_productTokens;
    DeviceManagerPb::DeviceInfo m_deviceInfo;
    Upload m_upload;
};
} // namespace DiagnosticFileSvc
