#include "DFLimits.h"

#include "DFDiagnosticItem.h"
#include "UploadSysInfo.pb.h"

#include <initializer_list>
#include <utility>

namespace DiagnosticFileSvc
{
namespace
{
using NamedText = std::pair<const char*, const std::string*>;

// What is wrong with the first text that is not fit for the kernel or the shell; empty when all are.
std::string WhatIsWrong(const std::string& owner, std::initializer_list<NamedText> texts)
{
    for (const auto& [name, text] : texts) {
        if (text->size() > kMaxTextSize) {
            return owner + name + " is longer than " + std::to_string(kMaxTextSize) + " bytes";
        }
        // The kernel and the shell would take what stands before it for the whole.
        if (text->find('\0') != std::string::npos) {
            return owner + name + " holds a NUL";
        }
    }
    return {};
}
} // namespace

std::string WhyRefused(const DFSCommonPB::UploadRequest& request)
{
    // Numbers that are not declared are kept as unknown fields.
    if (request.filetype_size() + request.unknown_fields().field_count() > kMaxRequestedTypes) {
        return "Upload request names more than " + std::to_string(kMaxRequestedTypes) + " file types";
    }
    return WhatIsWrong("Upload request's ",
                       {{"fileToUpload", &request.filetoupload()}, {"subType", &request.subtype()}});
}

std::string WhyRefused(const DFDiagnosticItem& item)
{
    return WhatIsWrong("its ", {{"input", &item.GetInput()},
                                {"output file name", &item.GetOutputFilename()},
                                {"sub-type", &item.GetSubType()}});
}
} // namespace DiagnosticFileSvc
