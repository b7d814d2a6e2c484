#pragma once

#include <cerrno>
#include <string>
#include <system_error>

namespace DiagSeal
{

/** The words for errno. Thread-safe. */
inline std::string ErrorText()
{
    return std::generic_category().message(errno);
}

} // namespace DiagSeal
