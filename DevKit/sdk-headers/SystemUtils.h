#pragma once

#include <string>

namespace SystemUtils
{
void ThereCanBeOnlyOne();
std::string GetEXE();
bool Exists(const std::string& path);
std::string ReadFile(const std::string& path);
} // namespace SystemUtils
