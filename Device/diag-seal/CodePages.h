#pragma once

namespace DiagSeal
{

/**
 * Takes what has been used of the code and the constants of this program and its libraries out of its resident memory.
 * Starting up touches 4 MiB of them that nothing needs later; what is needed again comes from the page cache, see
 * madvise(2). Does nothing where the kernel refuses. Breakpoints that a debugger has set before are lost. Thread-safe.
 */
void ReleaseCodePages();

} // namespace DiagSeal
