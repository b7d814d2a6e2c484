#pragma once

#include "Collection.h"
#include "Facts.h"
#include "Findings.h"
#include "View.h"

namespace DfsReport
{

/** Sets what the page's template shows first: what could not be read, what the device is, the tiles, the findings. */
void SetGlance(View& page, const Collection& collection, const Facts& facts, const std::vector<Finding>& findings);

/** What is missing, damaged, refused, cut or not understood, in words for the user. */
std::vector<std::string> Unread(const Collection& collection, const Facts& facts);

} // namespace DfsReport
