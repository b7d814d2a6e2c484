#pragma once

/** The item configuration file in the persistence directory, from which a start takes the registry. */
namespace DiagnosticFileSvc
{
class DFItemRegistry;

/**
 * Registers the items of the configuration file. When there is no file, or one of another version, the built-in items
 * are registered and the file is written. A file that is not JSON is kept aside first; of one that cannot be read or
 * is too large nothing is registered.
 *
 * Runs on the trigger handler's task. Blocks.
 */
void LoadDiagItemsFromConfigFile(DFItemRegistry& registry);

/** Writes the configuration file from the registry; a failure is logged. Blocks. */
void CreateDiagItemConfigFile(const DFItemRegistry& registry);
} // namespace DiagnosticFileSvc
