#include "HSMResponse.h"

#include "LogLine.h"

#include <sstream>

namespace Http
{
std::string HSMResponse::ToString() const
{
    std::ostringstream text;
    text << *this;
    return text.str();
}

std::ostream& operator<<(std::ostream& stream, const HSMResponse& response)
{
    return stream << "HSMResponse { success: " << response.success << ", status: " << response.status << ", response{ "
                  << Logged<std::string>{response.response} << " } }, ";
}
} // namespace Http
