#include "Route.h"

namespace DiagCloud
{

namespace
{

std::string PathOf(const std::string& target)
{
    static const std::string kScheme = "http://";
    std::string path = target;
    if (path.compare(0, kScheme.size(), kScheme) == 0) {
        const std::size_t slash = path.find('/', kScheme.size());
        path = slash == std::string::npos ? "/" : path.substr(slash);
    }
    return path.substr(0, path.find('?'));
}

// The text between prefix and suffix, if the path is made of these three and the text is one path segment.
std::string Between(const std::string& path, const std::string& prefix, const std::string& suffix)
{
    if (path.size() <= prefix.size() + suffix.size() || path.compare(0, prefix.size(), prefix) != 0 ||
        path.compare(path.size() - suffix.size(), suffix.size(), suffix) != 0) {
        return {};
    }
    const std::string middle = path.substr(prefix.size(), path.size() - prefix.size() - suffix.size());
    return middle.find('/') == std::string::npos ? middle : std::string();
}

} // namespace

Route FindRoute(const std::string& method, const std::string& target)
{
    const std::string path = PathOf(target);
    Route route{RequestKind::Metadata, Between(path, "/senders/", "/metadata")};
    if (route.id.empty()) {
        route = {RequestKind::Archive, Between(path, "/archives/", "")};
    }
    if (route.id.empty() || method != "POST") {
        route.kind = RequestKind::Other;
    }
    return route;
}

} // namespace DiagCloud
