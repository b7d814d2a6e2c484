#pragma once

#include "Facts.h"
#include "View.h"

namespace DfsReport
{

/** Sets what the page's template shows of the logs: lines over time by severity, and the most frequent errors. */
void SetTimeline(View& page, const std::optional<Log>& log);

/** Error messages, the most frequent first, at most so many. */
std::vector<View> MessageViews(const std::vector<const Message*>& messages, std::size_t most);

} // namespace DfsReport
