#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "DFDiagnosticItem.h"

namespace DFSCommonPB
{
class UploadRequest;
} // namespace DFSCommonPB

/** Which items an upload request selects. */
namespace DiagnosticFileSvc
{
/** The file types that a request lists, with the numbers among them that are not declared, which match no item.
 *  Thread-safe. */
std::vector<DFSCommonPB::DiagFileType> TypesOf(const DFSCommonPB::UploadRequest& request);

/**
 * The inputs of the items that types and sub-type select: type by type, each in the items' order, an item that is
 * selected twice named twice. UPLOAD_EVERYTHING as the only type selects every item.
 *
 * @param subTypeFilter the sub-type that an item must have, exactly; empty for any
 *
 * Logs each decision. Runs on the trigger handler's task.
 */
std::deque<std::string> PopulateReqDiagItemsInputList(const std::vector<DFSCommonPB::DiagFileType>& types,
                                                      const std::string& subTypeFilter,
                                                      const std::vector<std::unique_ptr<DFDiagnosticItem>>& items);
} // namespace DiagnosticFileSvc
