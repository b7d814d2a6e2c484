#pragma once

#include "Descriptor.h"

namespace DiagSeal
{

/**
 * Keeps a command and its descendants from leaving their process groups. A filter of system calls (seccomp(2)) has the
 * kernel ask this process before each setsid(2) and setpgid(2), and keeps the caller waiting meanwhile. While none is
 * let pass, one kill(2) of a group ends all of it for good, also what is being forked: nothing outruns that, however
 * fast it forks. When this process has died, the calls fail with ENOSYS.
 *
 * Forks themselves are not asked for: a fork that waits is interrupted by any signal, and shells do not expect that.
 *
 * Not thread-safe.
 */
class GroupLock
{
public:
    /**
     * Puts the calling process, and all that will descend from it, under the filter. Programs of another architecture,
     * as 32-bit ones on a 64-bit PC, pass unasked.
     *
     * @return where the calls ask, a descriptor that the caller owns. Negative when there is no such filter: Linux
     * before 5.5; a process with neither CAP_SYS_ADMIN nor no_new_privs (prctl(2)); one that has such a filter already
     */
    static int Install();

    /** @param listener what Install has returned in the child, or negative; it is owned from now on */
    void Own(int listener) { m_listener.Reset(listener); }

    /** Is readable while a call waits, see poll(2). Negative when none can. */
    int Waiting() const { return m_listener.Get(); }

    /**
     * Lets the call pass that has waited longest. Does not block.
     * @param events what poll(2) has returned for Waiting(); 0 has no effect
     */
    void LetPass(short events);

private:
    Descriptor m_listener;
};

} // namespace DiagSeal
