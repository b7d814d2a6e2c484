#pragma once

#include <cstddef>
#include <string>

/** The text, that many times over. */
inline std::string Repeated(const std::string& text, std::size_t count)
{
    std::string all;
    for (; count > 0; --count) {
        all += text;
    }
    return all;
}

/** The reason that the action gives when it throws. */
template <class Exception, class Action>
std::string ErrorOf(Action action)
{
    try {
        action();
    } catch (const Exception& error) {
        return error.what();
    }
    return "no error";
}
