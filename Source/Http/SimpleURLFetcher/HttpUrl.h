#pragma once

#include <string>

namespace Http
{
/**
 * Whether libcurl takes the text for an address of the web (http or https; http where the scheme is left out). What it
 * does not take fails at every attempt. Thread-safe.
 */
bool IsHttpUrl(const std::string& text);
} // namespace Http
