#include "Descriptor.h"

#include <unistd.h>

namespace DiagSeal
{

void Descriptor::Reset(int number)
{
    if (m_number >= 0) {
        close(m_number);
    }
    m_number = number;
}

} // namespace DiagSeal
