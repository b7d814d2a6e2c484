#pragma once

namespace DiagSeal
{

struct Options;

/**
 * Seals what the options name, to standard output. A command that fails, or that a limit ends, is no failure: the last
 * line of its text says so. Writes nothing if the certificate cannot be used or the file cannot be read.
 *
 * For a process of one thread without children; call it once. Blocks, for the time limit, three times the sum of kill
 * delay and grace, and 12 s at most. A file or a text that takes longer, as when the certificate is on a dead file
 * system, ends the process by SIGALRM.
 *
 * @throws std::runtime_error with the reason when nothing, or not all, is sealed
 */
void Seal(const Options& options);

} // namespace DiagSeal
