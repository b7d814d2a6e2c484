#include "DFLimits.h"

#include <utility>

#include "DFDiagnosticItem.h"
#include "UploadSysInfo.pb.h"

namespace DiagnosticFileSvc
{
namespace
{
/** What is wrong with a text that is given to the kernel or the shell; null when nothing is. */
const char* WhatIsWrongWith(const std::string& text)
{
    if (text.size() > kMaxTextSize) {
        return " is longer than 4096 bytes";
    }
    // The kernel and the shell would take what stands before it for the whole.
    return text.find('\0') == std::string::npos ? nullptr : " holds a NUL";
}
} // namespace

std::string WhyRefused(const DFSCommonPB::UploadRequest& request)
{
    // Numbers that are not declared are kept as unknown fields.
    if (request.filetype_size() + request.unknown_fields().field_count() > kMaxRequestedTypes) {
        return "Upload request names more than " + std::to_string(kMaxRequestedTypes) + " file types";
    }
    const std::pair<const char*, const std::string*> texts[] = {
        {"fileToUpload", &request.filetoupload()},
        {"subType", &request.subtype()},
    };
    for (const auto& [name, text] : texts) {
        if (const char* const wrong = WhatIsWrongWith(*text)) {
            return std::string("Upload request's ") + name + wrong;
        }
    }
    return {};
}

std::string WhyRefused(const DFDiagnosticItem& item)
{
    const std::pair<const char*, const std::string*> texts[] = {
        {"input", &item.GetInput()},
        {"output file name", &item.GetOutputFilename()},
        {"sub-type", &item.GetSubType()},
    };
    for (const auto& [name, text] : texts) {
        if (const char* const wrong = WhatIsWrongWith(*text)) {
            return std::string("its ") + name + wrong;
        }
    }
    return {};
}
} // namespace DiagnosticFileSvc
