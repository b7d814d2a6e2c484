#include "CodePages.h"

#include <cstdint>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

namespace DiagSeal
{

namespace
{

int ReleaseObject(dl_phdr_info* object, std::size_t /*size*/, void* /*context*/)
{
    const std::uintptr_t page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const auto& segment = object->dlpi_phdr[i];
        // What is writable when it is loaded has relocations, which would be lost.
        if (segment.p_type == PT_LOAD && (segment.p_flags & PF_W) == 0) {
            const std::uintptr_t begin = (object->dlpi_addr + segment.p_vaddr) / page * page;
            const std::uintptr_t end = object->dlpi_addr + segment.p_vaddr + segment.p_memsz;
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader tells addresses as numbers.
            madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
        }
    }
    return 0;
}

} // namespace

void ReleaseCodePages()
{
    dl_iterate_phdr(ReleaseObject, nullptr);
}

} // namespace DiagSeal
