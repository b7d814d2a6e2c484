#pragma once

#include "APTask.h"
#include "AsyncCallback.h"

#include <string>

namespace DiagnosticFileSvc
{
class DFUploadDiagnosticFiles;
class posixSpawnUtils;

/**
 * The task that does the slow work of an upload: it runs the commands that collect items, and packs what they
 * collected.
 *
 * Requests run one after another, in order of arrival. A collection's and an archive's callback is invoked exactly
 * once, whatever fails, and must stay alive until then. Public operations only post. Thread-safe.
 */
class DFHarvestSystemInfo : public APTask
{
public:
    using Answer = AsyncCallback<const std::string, int>;

    DFHarvestSystemInfo();
    ~DFHarvestSystemInfo() override;

    /**
     * Runs a command by the shell, its output going to outputPath, which is then compressed to outputPath with ".gz".
     * Answers with 200, or with 400 when the command could not be run or failed.
     */
    void CollectRequestedInfo(const std::string& command, const std::string& outputPath, Answer* onDone);

    /** Runs the archive script with the target as its arguments. Answers true, whatever the script's outcome. */
    void CreateUploadTarball(const std::string& target, AsyncCallback<bool>* onDone);

    /**
     * Runs a site-scan command and uploads its output by itself. Answers with 400, or what the upload came to; that
     * answer goes to whoever asked for a collection or a scan last, so ask for nothing else meanwhile.
     */
    void CollectWifiSiteScan(const std::string& command, Answer* onDone);

protected:
    void OnEntry() override;

private:
    void CollectRequestedInfoCB(const std::string& command, const std::string& outputPath, Answer* onDone);
    void CreateUploadTarballCB(const std::string& target, AsyncCallback<bool>* onDone);
    void CollectWifiSiteScanCB(const std::string& command, Answer* onDone);
    void UploadDiagFileRespCB(const std::string& text, int statusCode);
    bool IsCollected(const char* operation, const std::string& command, const std::string& outputPath) const;

    const AsyncCallback<std::string, std::string, Answer*> m_collectRequestedInfoCB;
    const AsyncCallback<std::string, AsyncCallback<bool>*> m_createUploadTarballCB;
    const AsyncCallback<std::string, Answer*> m_collectWifiSiteScanCB;
    /** Given to the upload client, which keeps a pointer to it. */
    Answer m_uploadDiagFileRespCB;
    posixSpawnUtils& m_spawner;
    DFUploadDiagnosticFiles* m_uploadClient = nullptr;
    /** Whom to answer: the requester of the collection, and of the archive, in progress. Not owned. */
    Answer* m_pendingAnswer = nullptr;
    AsyncCallback<bool>* m_pendingArchiveAnswer = nullptr;
};
} // namespace DiagnosticFileSvc
