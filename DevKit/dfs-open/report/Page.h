#pragma once

#include "Compare.h"
#include "View.h"

namespace DfsReport
{

/**
 * Writes an archive as one HTML page, in pieces: the findings, the facts as charts, and the text of every item. The
 * page loads nothing, and runs no script but its own, by a content security policy (W3C CSP Level 3).
 *
 * @param other an archive to compare with; none if null
 */
void WritePage(const Archive& archive, const Archive* other, const PageSink& page);

} // namespace DfsReport
