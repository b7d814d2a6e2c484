#include "Headers.h"

#include <strings.h>

#include <algorithm>

namespace DiagCloud
{

namespace
{

Headers::const_iterator Find(const Headers& headers, const std::string& name)
{
    return std::find_if(headers.begin(), headers.end(), [&name](const Headers::value_type& field) {
        return strcasecmp(field.first.c_str(), name.c_str()) == 0;
    });
}

} // namespace

std::string FindHeader(const Headers& headers, const std::string& name)
{
    const auto found = Find(headers, name);
    return found != headers.end() ? found->second : std::string();
}

bool HasHeader(const Headers& headers, const std::string& name)
{
    return Find(headers, name) != headers.end();
}

} // namespace DiagCloud
