#pragma once

#include "DFItemRegistry.h"
#include "DFUploadFiles.h"

#include <deque>
#include <functional>
#include <string>

namespace DiagnosticFileSvc
{
/**
 * Collects the items of a request, one at a time. When an item has reported, it is listed or left out, and the next one
 * runs.
 *
 * A part of the trigger handler. Runs on the task's thread.
 */
class DFItemCollector
{
public:
    /** How a collection ends. */
    struct Ends
    {
        /** No item is left to run. */
        std::function<void()> onCollected;
        /** A step that an item's report began has thrown, which is logged. onCollected is such a step. */
        std::function<void()> onFailed;
    };

    /** Registry and files must outlive the object. */
    DFItemCollector(const DFItemRegistry& items, DFUploadFiles& files, Ends ends);

    /** Starts with the first of the items that have these inputs. An input without an item ends the collection. */
    void Collect(std::deque<std::string> inputs);

    /** Forgets the item that ran last, which may be removed from the registry then. */
    void Forget() { m_currentItem = nullptr; }

    /** An item has reported: 200 means that its file is there. A report that no item runs for is logged and dropped. */
    void HarvestSysInfoResponseCB(const std::string& text, int code);

    /** A service has answered to the item that runs, or failed to. What comes for no item is logged and dropped. */
    void GXHarvestFilepathResponseCB(const std::string& filepath);
    void GXHarvestFilepathErrorResponseCB(const std::string& error);
    void GXHarvestPayloadResponseCB(const std::string& payload);
    void GXHarvestPayloadErrorResponseCB(const std::string& error);

private:
    DFDiagnosticItem* FindRequestedDiagItem();
    void ProcessDiagnosticItem();
    void SkipCurrentItem();
    template <class Step>
    void Guard(const char* operation, Step step);

    const DFItemRegistry& m_items;
    DFUploadFiles& m_files;
    const Ends m_ends;
    /** Of the items still to run. */
    std::deque<std::string> m_requestedInputs;
    /** The item that runs, one of the registry. */
    DFDiagnosticItem* m_currentItem = nullptr;
};
} // namespace DiagnosticFileSvc
