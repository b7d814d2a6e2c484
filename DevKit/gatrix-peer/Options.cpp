#include "Options.h"

#include <stdexcept>
#include <utility>

#include "CommandLine.h"

const char kHelpText[] =
    R"(usage: gatrix-peer [OPTION...]

Takes part as an on-device service: offers "/system/info", an endpoint that answers with a file path and one that
answers with a payload, registers these two as diagnostic items, posts an upload and shows its answer.

  --type TYPE        what to upload, such as LOGREAD or TOP; may be given several times (default: everything)
  --sub-type TEXT    only the items of that sub-type; the peer's own are "peer note" and "peer state"
  --file PATH        upload this one file, instead of registered items
  --payload TEXT     what the payload endpoint answers with
  --stay             go on offering the endpoints after the answer
  --port PORT        of the gateway, on this machine (default 8084)
  --timeout SECONDS  how long to wait for the gateway and the service (default 30); the upload itself may take an hour
  --help             show this text

Exit status: 0 the upload succeeded, 1 it was refused or failed, 2 wrong usage, 3 gateway or service did not come.
)";

namespace
{
enum Option
{
    kType = 1,
    kSubType,
    kFile,
    kPayload,
    kStay,
    kPort,
    kTimeout,
};

DFSCommonPB::DiagFileType FileType(const std::string& name)
{
    DFSCommonPB::DiagFileType type{};
    if (!DFSCommonPB::DiagFileType_Parse(name, &type)) {
        throw std::invalid_argument("--type: there is no file type '" + name + "'");
    }
    return type;
}
} // namespace

Options ParseOptions(std::vector<std::string> arguments)
{
    Options options;
    const auto words = CommandLine::TakeOptions(
        std::move(arguments),
        {{"type", required_argument, nullptr, kType},
         {"sub-type", required_argument, nullptr, kSubType},
         {"file", required_argument, nullptr, kFile},
         {"payload", required_argument, nullptr, kPayload},
         {"stay", no_argument, nullptr, kStay},
         {"port", required_argument, nullptr, kPort},
         {"timeout", required_argument, nullptr, kTimeout},
         {"help", no_argument, nullptr, CommandLine::kHelp}},
        CommandLine::Words::kAnywhere, [&options](int option, const std::string& argument) {
            switch (option) {
                case kType:
                    options.upload.add_filetype(FileType(argument));
                    break;
                case kSubType:
                    options.upload.set_subtype(argument);
                    break;
                case kFile:
                    options.upload.set_filetoupload(argument);
                    break;
                case kPayload:
                    options.payload = argument;
                    break;
                case kStay:
                    options.isStaying = true;
                    break;
                case kPort:
                    options.port = static_cast<std::uint16_t>(CommandLine::Number("--port", argument, 1, 65535));
                    break;
                case kTimeout:
                    options.timeout = std::chrono::seconds(CommandLine::Number("--timeout", argument, 1, 3600));
                    break;
                default:
                    options.showHelp = true;
            }
        });
    if (!options.showHelp) {
        CommandLine::RefuseWords(words);
    }
    if (options.upload.filetype_size() == 0) {
        options.upload.add_filetype(options.upload.has_filetoupload() ? DFSCommonPB::USER_SPECIFIED_FILE
                                                                      : DFSCommonPB::UPLOAD_EVERYTHING);
    }
    return options;
}
