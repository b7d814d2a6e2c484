#pragma once

namespace Gatrix
{
/** How an endpoint is asked. */
enum class Method
{
    GET,
    POST,
};

/** "GET" or "POST" */
constexpr const char* ToText(Method method) noexcept
{
    return method == Method::GET ? "GET" : "POST";
}
} // namespace Gatrix
