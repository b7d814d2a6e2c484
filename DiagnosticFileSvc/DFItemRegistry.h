#pragma once

#include "DFDiagnosticItem.h"
#include "DFGatrixClient.h"
#include "DFHarvestSystemInfo.h"

#include <memory>
#include <string>
#include <vector>

namespace DiagnosticFileSvc
{
/**
 * The items that an upload can choose from, in order of registration: built-in ones, those that other services
 * register, and temporary ones for custom uploads. Sub-types are unique but for those of temporary items.
 *
 * A part of the trigger handler. Runs on the task's thread.
 */
class DFItemRegistry
{
public:
    using Items = std::vector<std::unique_ptr<DFDiagnosticItem>>;
    using TextCallback = DFGatrixClient::TextCallback;

    /** What the items are given to work with. */
    struct Links
    {
        std::shared_ptr<DFHarvestSystemInfo> harvester;
        /** Receives the outcome of each harvest. */
        DFHarvestSystemInfo::Answer onDone;
        /** Receive what a service has answered to an item, or why it has not. */
        TextCallback onFilepath;
        TextCallback onFilepathError;
        TextCallback onPayload;
        TextCallback onPayloadError;
    };

    explicit DFItemRegistry(Links links);

    /** For the gateway items that are registered from now on; may be empty. */
    void SetGatrixClient(std::shared_ptr<DFGatrixClient> gatrixClient);

    /** Whether an item exceeds what DFLimits.h grants, which is logged under the operation's name. Thread-safe. */
    static bool IsRefused(const char* operation, const DFDiagnosticItem& item);

    /** Adds an item, unless its sub-type is there, it is refused, the registry is full, or no kind serves its type. */
    void DiagItemRegistrationCB(const DFDiagnosticItem& item);

    /** Adds the items that every device has, whatever items are there. */
    void RegisterBuiltInItems();

    /** Adds a temporary item for a file. */
    void AddCustomItem(const std::string& path, DFSCommonPB::DiagFileType fileType, const std::string& subType);

    /** Removes, and destroys, the temporary items. */
    void RemoveCustomItems();

    /** The first item of that input, or null. Owned by the registry. */
    DFDiagnosticItem* Find(const std::string& input) const;

    const Items& GetItems() const { return m_items; }

private:
    void AppendByHarvestType(const DFDiagnosticItem& item);
    template <class Kind, class... Values>
    void Append(Values&&... values);
    template <class Kind>
    void AppendGatrix(const DFDiagnosticItem& item, TextCallback& onResponse, TextCallback& onError);

    Links m_links;
    std::shared_ptr<DFGatrixClient> m_gatrixClient;
    Items m_items;
};
} // namespace DiagnosticFileSvc
