#pragma once

#include <map>
#include <string>

namespace StringUtils
{
std::string FindReplace(std::string text, const std::string& from, const std::string& to);
std::string trim(std::string text);
std::string ToJson(const std::map<std::string, std::string>& values);
template <class T>
std::string ToString(const T& value);
} // namespace StringUtils
