#pragma once

namespace DiagSeal
{

/**
 * Sends one byte with a descriptor, which stays the sender's own, over a socket of the UNIX domain, see unix(7).
 * Without the descriptor if it is negative. What fails is seen at the other end, which then gets none. Thread-safe.
 */
void SendDescriptor(int socket, int descriptor);

/**
 * Waits for what SendDescriptor sends, without a bound of its own: the sender is to do nothing before that could block.
 * Thread-safe.
 *
 * @return the descriptor, which is closed by exec and owned by the caller; negative when none has come, or the sender
 * is gone
 */
int ReceiveDescriptor(int socket);

} // namespace DiagSeal
