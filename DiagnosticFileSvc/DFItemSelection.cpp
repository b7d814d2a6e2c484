#include "DFItemSelection.h"

#include "DFConstants.h"
#include "DFLimits.h"
#include "DFLog.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kTriggerHandler);

constexpr char kOperation[] = "UploadDiagFileRequestCB";

// The file types that a request lists, with the numbers among them that are not declared, which match no item.
std::vector<DFSCommonPB::DiagFileType> TypesOf(const DFSCommonPB::UploadRequest& request)
{
    std::vector<DFSCommonPB::DiagFileType> types;
    for (const int type : request.filetype()) {
        types.push_back(static_cast<DFSCommonPB::DiagFileType>(type));
    }
    const google::protobuf::UnknownFieldSet& unknown = request.unknown_fields();
    for (int index = 0; index < unknown.field_count(); ++index) {
        if (unknown.field(index).number() == DFSCommonPB::UploadRequest::kFileTypeFieldNumber &&
            unknown.field(index).type() == google::protobuf::UnknownField::TYPE_VARINT) {
            types.push_back(static_cast<DFSCommonPB::DiagFileType>(unknown.field(index).varint()));
        }
    }
    return types;
}

ItemSelection SelectCustomFile(const DFSCommonPB::UploadRequest& request, DFItemRegistry& registry)
{
    const std::string& path = request.filetoupload();
    LogProgress(s_log, kOperation, "Processing custom file upload: ", path);
    if (request.filetype_size() != 1) {
        LogLine(s_log, LogLevel::Error, kOperation, kCustomFileNeedsOneType, ", got: ", request.filetype_size());
        return {{}, kCustomFileNeedsOneType};
    }
    std::string subType = "custom_file";
    if (!request.subtype().empty()) {
        subType = request.subtype();
        LogProgress(s_log, kOperation, "Using provided subType: ", subType);
    }
    registry.AddCustomItem(path, request.filetype(0), subType);
    return {{path}, {}};
}

ItemSelection SelectByType(const DFSCommonPB::UploadRequest& request, const DFItemRegistry& registry)
{
    LogProgress(s_log, kOperation, "Processing standard file types upload");
    LogProgress(s_log, kOperation, "uploadRequest.filetype_size(): ", request.filetype_size());
    for (const int type : request.filetype()) {
        LogProgress(s_log, kOperation, "fileToUpload:", type);
    }
    if (!request.subtype().empty()) {
        LogProgress(s_log, kOperation, "Filtering by subType: ", request.subtype());
    }
    return {PopulateReqDiagItemsInputList(TypesOf(request), request.subtype(), registry.GetItems()), {}};
}
} // namespace

ItemSelection SelectItems(const DFSCommonPB::UploadRequest& request, DFItemRegistry& registry)
{
    const std::string refusal = WhyRefused(request);
    if (!refusal.empty()) {
        LogLine(s_log, LogLevel::Error, kOperation, refusal);
        return {{}, refusal};
    }
    return request.filetoupload().empty() ? SelectByType(request, registry) : SelectCustomFile(request, registry);
}

std::deque<std::string> PopulateReqDiagItemsInputList(const std::vector<DFSCommonPB::DiagFileType>& types,
                                                      const std::string& subTypeFilter,
                                                      const DFItemRegistry::Items& items)
{
    const LogScope scope(s_log, __func__);
    std::deque<std::string> inputs;
    const bool isEverything = types.size() == 1 && types.front() == DFSCommonPB::UPLOAD_EVERYTHING;
    if (isEverything) {
        LogProgress(s_log, __func__, "UPLOAD_EVERYTHING");
    }
    for (const DFSCommonPB::DiagFileType type : types) {
        LogProgress(s_log, __func__, "diagFileType loop");
        for (const auto& item : items) {
            LogProgress(s_log, __func__, "m_diagnosticItems loop");
            if (!isEverything && item->GetDiagFileType() != type) {
                continue;
            }
            if (!subTypeFilter.empty() && subTypeFilter != item->GetSubType()) {
                LogProgress(s_log, __func__, "Filtering out item with subType: ", item->GetSubType(),
                            " (requested: ", subTypeFilter, ")");
                continue;
            }
            LogProgress(s_log, __func__, "Including diagnostic item with subType: ", item->GetSubType());
            inputs.push_back(item->GetInput());
        }
    }
    return inputs;
}
} // namespace DiagnosticFileSvc
