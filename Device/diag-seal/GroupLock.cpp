#include "GroupLock.h"

#include <poll.h>
#include <seccomp.h>

namespace DiagSeal
{

namespace
{

bool AddRules(scmp_filter_ctx filter)
{
    // Left to the caller's rights: under no_new_privs, sudo(8) and its like would fail.
    return seccomp_attr_set(filter, SCMP_FLTATR_CTL_NNP, 0) == 0 &&
           // The filter keeps no secret from the command, which would run slower on older kernels.
           seccomp_attr_set(filter, SCMP_FLTATR_CTL_SSB, 1) == 0 &&
           seccomp_attr_set(filter, SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_ALLOW) == 0 &&
           seccomp_rule_add(filter, SCMP_ACT_NOTIFY, SCMP_SYS(setsid), 0) == 0 &&
           seccomp_rule_add(filter, SCMP_ACT_NOTIFY, SCMP_SYS(setpgid), 0) == 0;
}

} // namespace

int GroupLock::Install()
{
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    if (filter == nullptr) {
        return -1;
    }
    const bool isInstalled = AddRules(filter) && seccomp_load(filter) == 0;
    const int listener = isInstalled ? seccomp_notify_fd(filter) : -1;
    seccomp_release(filter);
    return listener;
}

void GroupLock::LetPass(short events)
{
    if ((events & POLLIN) == 0) {
        if (events != 0) {
            // Nobody is left who could ask.
            m_listener.Close();
        }
        return;
    }
    seccomp_notif* call = nullptr;
    seccomp_notif_resp* answer = nullptr;
    if (seccomp_notify_alloc(&call, &answer) != 0) {
        // The call waits on.
        return;
    }
    if (seccomp_notify_receive(m_listener.Get(), call) == 0) {
        answer->id = call->id;
        answer->flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        // Without effect when a signal has interrupted the call or ended its process.
        seccomp_notify_respond(m_listener.Get(), answer);
    }
    seccomp_notify_free(call, answer);
}

} // namespace DiagSeal
