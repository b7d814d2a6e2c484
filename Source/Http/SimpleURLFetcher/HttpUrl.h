#pragma once

#include <string>

namespace Http
{
/**
 * Whether libcurl takes the whole text for a URL of http or https. One without a scheme counts as http. What libcurl
 * does not take would fail at every attempt. Thread-safe.
 */
bool IsHttpUrl(const std::string& text);
} // namespace Http
