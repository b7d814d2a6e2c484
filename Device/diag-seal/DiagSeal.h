#pragma once

namespace DiagSeal
{

struct Options;

/**
 * Seals what the options name, to standard output. A command that fails, or that a limit ends, is no failure: its text
 * says so at its end. Nothing is written when there is nothing to seal to, or no file. Blocks for the time limits' sum
 * and some seconds at most. For a process of one thread without children; call it once.
 *
 * @throws std::runtime_error with the reason when nothing, or not all, is sealed
 */
void Seal(const Options& options);

} // namespace DiagSeal
