#pragma once

#include "AsyncCallback.h"
#include "CallbackConnection.h"
#include "CliClientMT.h"
#include "NotifyTargetTaskIF.h"

#include <cstdint>
#include <string>
#include <vector>

namespace DiagnosticFileSvc
{
class DFTriggerHandler;

/** What the library hands back with each command. */
enum CLICmdKeys : std::uint16_t
{
    DIAG_FILE_SERVICE_UPLOAD = 1,
    DIAG_FILE_SERVICE_SHOW_UPLOAD_TYPES = 2,
};

/**
 * The service's commands on the product's diagnostic command line: one starts an upload, the other shows the upload
 * types. The outcome of an upload follows its reply as an asynchronous line.
 */
class DFCliHandler
{
public:
    /**
     * The single instance, made by the first call, whose arguments it keeps; later ones are ignored. Called during
     * start-up only.
     *
     * @param task           where the handler runs; not owned
     * @param triggerHandler takes the upload requests; not owned
     *
     * Not thread-safe.
     */
    static DFCliHandler* GetInstance(NotifyTargetTaskIF* task, DFTriggerHandler* triggerHandler);

    /**
     * Carries out a command and replies to it with a text and the context, unchanged.
     *
     * An upload asks for the file types that the arguments give as decimal numbers, or for everything if there are
     * none.
     * @throws std::invalid_argument, std::out_of_range for an argument that is no number, or none that fits an int:
     *         then nothing is requested, and no reply is given
     *
     * Runs on the task's thread.
     */
    void HandleCliCmd(std::uint16_t key, const std::vector<std::string>& arguments,
                      const AsyncCallback<std::string, int>& reply, int context);

private:
    DFCliHandler(NotifyTargetTaskIF* task, DFTriggerHandler* triggerHandler);

    void RegisterCliCommands();
    void RequestUpload(const std::vector<std::string>& arguments);
    void DiagUploadResponseCB(const std::string& message, int statusCode);

    CliClientMT m_cliClient;
    NotifyTargetTaskIF* const m_task;
    DFTriggerHandler* const m_triggerHandler;
    const CallbackConnection m_connection;
    /** Given to the trigger handler with each upload. */
    AsyncCallback<const std::string, int> m_uploadResponseCB;
};
} // namespace DiagnosticFileSvc
