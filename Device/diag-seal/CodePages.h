#pragma once

namespace DiagSeal
{

/**
 * Drops the code and the constants of this program and its libraries from its resident memory. Start-up touches 4 MiB
 * of them that nothing needs later; the page cache gives back what is needed again, see madvise(2). Does nothing where
 * the kernel refuses. Breakpoints that a debugger has set are lost. Thread-safe.
 */
void ReleaseCodePages();

} // namespace DiagSeal
