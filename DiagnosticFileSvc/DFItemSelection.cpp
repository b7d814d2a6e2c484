#include "DFItemSelection.h"

#include "DFConstants.h"
#include "DFLog.h"
#include "UploadSysInfo.pb.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kTriggerHandler);
} // namespace

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

std::deque<std::string> PopulateReqDiagItemsInputList(const std::vector<DFSCommonPB::DiagFileType>& types,
                                                      const std::string& subTypeFilter,
                                                      const std::vector<std::unique_ptr<DFDiagnosticItem>>& items)
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
