#pragma once

/** The item configuration file in the persistence directory, from which a start takes the registry. */
namespace DiagnosticFileSvc
{
class DFItemRegistry;

/**
 * Registers the items of the configuration file. When there is none, or one of another version, the built-in items are
 * registered and the file is written. A file that is no such message is replaced likewise, and kept beside its place.
 * When a file cannot be read, or is too large, nothing is registered.
 *
 * Blocks.
 */
void LoadDiagItemsFromConfigFile(DFItemRegistry& registry);

/** Writes the file from the registry; a failure is logged. Blocks. */
void CreateDiagItemConfigFile(const DFItemRegistry& registry);
} // namespace DiagnosticFileSvc
