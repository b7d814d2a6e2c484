#pragma once

/** What the process inherits from whoever starts it. */
namespace DiagnosticFileSvc
{
/**
 * Makes an odd inheritance harmless. Standard descriptors that are closed are opened on /dev/null, so that no file that
 * the service opens later is taken for its log. SIGCHLD gets its default action: if it were ignored,
 * waitpid(2) would lose the outcome of every command. SIGTERM, SIGUSR1, SIGUSR2 and SIGALRM get theirs too: commands
 * inherit what is ignored, and could not be ended at their time limit. No signal is blocked, neither here nor in the
 * commands, which inherit that. A limit on the size of files makes a write fail with EFBIG (see setrlimit(2)) and does
 * not end the service.
 *
 * For the main thread, before anything is opened or started.
 *
 * @throws std::system_error when /dev/null cannot be opened
 */
void SanitizeStartEnvironment();
} // namespace DiagnosticFileSvc
