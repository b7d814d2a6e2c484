#include "HSMResponse.h"

#include <ostream>

namespace Http
{
std::string HSMResponse::ToString() const
{
    return "HSMResponse { success: " + std::to_string(success) + ", status: " + std::to_string(status) +
           ", response{ " + response + " } }, ";
}

std::ostream& operator<<(std::ostream& stream, const HSMResponse& response)
{
    return stream << response.ToString();
}
} // namespace Http
