#pragma once

#include "DFItemRegistry.h"
#include "UploadSysInfo.pb.h"

#include <deque>
#include <string>
#include <vector>

/** Which items an upload request selects. Each decision is logged. */
namespace DiagnosticFileSvc
{
/** What comes of a request. */
struct ItemSelection
{
    /** Of the items to collect, in order. */
    std::deque<std::string> inputs;
    /** Why the request is refused, as the text of its answer; empty when it is not. */
    std::string refusal;
};

/**
 * Selects the items of a request. For a custom file it adds a temporary item to the registry.
 *
 * Runs on the task's thread.
 */
ItemSelection SelectItems(const DFSCommonPB::UploadRequest& request, DFItemRegistry& registry);

/**
 * The inputs of the items that types and sub-type select: type by type, each in the items' order, an item that is
 * selected twice named twice. UPLOAD_EVERYTHING as the only type selects every item.
 *
 * @param subTypeFilter the sub-type that an item must have, exactly; empty for any
 *
 * Thread-safe.
 */
std::deque<std::string> PopulateReqDiagItemsInputList(const std::vector<DFSCommonPB::DiagFileType>& types,
                                                      const std::string& subTypeFilter,
                                                      const DFItemRegistry::Items& items);
} // namespace DiagnosticFileSvc
