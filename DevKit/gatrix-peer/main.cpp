#include "Peer.h"
#include "Tool.h"

#include <iostream>
#include <unistd.h>

namespace
{
int Run(const GatrixPeer::Options& options)
{
    GatrixPeer::Peer peer(options);
    if (!peer.WaitUntilReady()) {
        std::cerr << "gatrix-peer: the gateway or the diagnostic-file service did not come in time" << std::endl;
        return 3;
    }
    const bool hasSucceeded = peer.WaitForAnswer();
    while (options.isStaying) {
        pause();
    }
    return hasSucceeded ? 0 : 1;
}
} // namespace

int main(int argc, char** argv)
{
    constexpr int kMostSeconds = 3600;
    GatrixPeer::Options options;
    DFSCommonPB::UploadRequest& upload = options.upload;
    int timeout = static_cast<int>(options.timeout.count());
    CLI::App app(
        "Takes part as an on-device service: offers \"/system/info\", an endpoint that answers with a file path\n"
        "and one that answers with a payload, registers these two as diagnostic items, posts an upload and shows\n"
        "its answer.",
        "gatrix-peer");
    app.footer(
        "Exit status: 0 the upload succeeded, 1 it was refused or failed, 2 wrong usage,\n"
        "3 gateway or service did not come.");
    app.add_option_function<std::vector<std::string>>(
           "--type",
           [&upload](const std::vector<std::string>& names) {
               for (const std::string& name : names) {
                   DFSCommonPB::DiagFileType type{};
                   if (!DFSCommonPB::DiagFileType_Parse(name, &type)) {
                       throw CLI::ValidationError("--type", "there is no file type '" + name + "'");
                   }
                   upload.add_filetype(type);
               }
           },
           "what to upload, such as LOGREAD or TOP; may be given several times; everything if not given")
        ->allow_extra_args(false)
        ->type_name("TYPE");
    app.add_option_function<std::string>(
           "--sub-type", [&upload](const std::string& text) { upload.set_subtype(text); },
           "only the items of that sub-type; the peer's own are \"peer note\" and \"peer state\"")
        ->type_name("TEXT");
    app.add_option_function<std::string>(
           "--file", [&upload](const std::string& path) { upload.set_filetoupload(path); },
           "upload this one file, instead of registered items")
        ->type_name("PATH");
    app.add_option("--payload", options.payload, "what the payload endpoint answers with")
        ->type_name("TEXT")
        ->capture_default_str();
    app.add_flag("--stay", options.isStaying, "go on offering the endpoints after the answer");
    AddNumberOption(app, "--port", options.port, 1, kLargestPort, "PORT", "of the gateway, on this machine");
    AddNumberOption(app, "--timeout", timeout, 1, kMostSeconds, "SECONDS",
                    "how long to wait for the gateway and the service; the upload itself may take an hour");

    return RunTool(app, argc, argv, [&] {
        options.timeout = std::chrono::seconds(timeout);
        if (upload.filetype_size() == 0) {
            upload.add_filetype(upload.has_filetoupload() ? DFSCommonPB::USER_SPECIFIED_FILE
                                                          : DFSCommonPB::UPLOAD_EVERYTHING);
        }
        return Run(options);
    });
}
