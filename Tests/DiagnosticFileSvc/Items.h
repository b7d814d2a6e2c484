#pragma once

#include "DFItemRegistry.h"
#include "UploadSysInfo.pb.h"

#include <string>
#include <vector>

using SubTypes = std::vector<std::string>;

inline DiagnosticFileSvc::DFDiagnosticItem Item(const std::string& input, const std::string& subType,
                                                DFSCommonPB::HarvestType harvestType = DFSCommonPB::SCRIPT,
                                                DFSCommonPB::DiagFileType fileType = DFSCommonPB::EXE_SCRIPT)
{
    return {input, "/mnt/nv/product-persistence/dfs_" + subType, fileType, subType, harvestType};
}

/** In order. */
inline SubTypes SubTypesOf(const DiagnosticFileSvc::DFItemRegistry& registry)
{
    SubTypes subTypes;
    for (const auto& item : registry.GetItems()) {
        subTypes.push_back(item->GetSubType());
    }
    return subTypes;
}

/** As it comes from the wire: an empty text is the same as none. A path asks for a custom file. */
inline DFSCommonPB::UploadRequest RequestOf(const std::vector<DFSCommonPB::DiagFileType>& types,
                                            const std::string& subType = "", const std::string& path = "")
{
    DFSCommonPB::UploadRequest request;
    // A number that is not declared becomes an unknown field.
    const auto* const field = request.GetDescriptor()->FindFieldByNumber(request.kFileTypeFieldNumber);
    for (const auto type : types) {
        request.GetReflection()->AddEnumValue(&request, field, type);
    }
    request.set_subtype(subType);
    request.set_filetoupload(path);
    return request;
}
