#include "DFItemCollector.h"

#include "DFConstants.h"
#include "DFGuard.h"
#include "DFLog.h"

#include <utility>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kTriggerHandler);
} // namespace

DFItemCollector::DFItemCollector(const DFItemRegistry& items, DFUploadFiles& files, Ends ends)
    : m_items(items), m_files(files), m_ends(std::move(ends))
{}

// Goes on with the item that has reported.
template <class Step>
void DFItemCollector::Guard(const char* operation, Step step)
{
    // An item that has failed may still report when the request that it belonged to has ended.
    if (m_currentItem == nullptr) {
        LogLine(s_log, LogLevel::Warning, operation, "No item is waited for, the report is dropped");
        return;
    }
    GuardStep(s_log, operation, "The request", step, [this](const std::exception&) { m_ends.onFailed(); });
}

void DFItemCollector::Collect(std::deque<std::string> inputs)
{
    m_requestedInputs = std::move(inputs);
    ProcessDiagnosticItem();
}

DFDiagnosticItem* DFItemCollector::FindRequestedDiagItem()
{
    const LogScope scope(s_log, __func__);
    if (m_requestedInputs.empty()) {
        LogProgress(s_log, __func__, "No more diagnostic items to process - inputs list is empty");
        return nullptr;
    }
    const std::string input = std::move(m_requestedInputs.front());
    m_requestedInputs.pop_front();
    LogProgress(s_log, __func__, "requested input:", input);
    DFDiagnosticItem* const item = m_items.Find(input);
    if (item == nullptr) {
        // This ends the collection, whatever is left of the list: deliberate.
        LogLine(s_log, LogLevel::Warning, __func__, "Could not find diagnostic item with input: ", input);
    }
    return item;
}

void DFItemCollector::ProcessDiagnosticItem()
{
    const LogScope scope(s_log, __func__, "ProcessDiagnosticItem", "ProcessDiagnosticIte");
    m_currentItem = FindRequestedDiagItem();
    if (m_currentItem == nullptr) {
        LogProgress(s_log, __func__, "ProcessDiagnosticItem - All diagnostic items have  been processed");
        LogProgress(s_log, __func__, "UploadManifest size: ", m_files.Count());
        m_ends.onCollected();
        return;
    }
    LogProgress(s_log, __func__, "GetInput(): ", m_currentItem->GetInput());
    LogProgress(s_log, __func__, "GetOutputFilename(): ", m_currentItem->GetOutputFilename());
    LogProgress(s_log, __func__, "GetHarvestType(): ", m_currentItem->GetHarvestType());
    LogProgress(s_log, __func__, "GetDiagFileType(): ", m_currentItem->GetDiagFileType());
    m_currentItem->ProcessDiagnosticItem();
}

void DFItemCollector::HarvestSysInfoResponseCB(const std::string& /*text*/, int code)
{
    const LogScope scope(s_log, __func__);
    if (code != 200) {
        LogProgress(s_log, __func__, "Harvesting system information FAILED");
        SkipCurrentItem();
        return;
    }
    LogProgress(s_log, __func__, "System information was harvested successfully");
    Guard(__func__, [this] {
        m_files.Add(*m_currentItem);
        ProcessDiagnosticItem();
    });
}

void DFItemCollector::SkipCurrentItem()
{
    Guard(__func__, [this] {
        m_files.Drop(*m_currentItem);
        ProcessDiagnosticItem();
    });
}

void DFItemCollector::GXHarvestFilepathResponseCB(const std::string& filepath)
{
    const LogScope scope(s_log, __func__);
    Guard(__func__, [&] { m_currentItem->ProcessGXResponse(filepath); });
}

void DFItemCollector::GXHarvestPayloadResponseCB(const std::string& payload)
{
    const LogScope scope(s_log, __func__);
    Guard(__func__, [&] { m_currentItem->ProcessGXResponse(payload); });
}

void DFItemCollector::GXHarvestFilepathErrorResponseCB(const std::string& /*error*/)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "Harvesting Gatrix Filepath FAILED");
    SkipCurrentItem();
}

void DFItemCollector::GXHarvestPayloadErrorResponseCB(const std::string& /*error*/)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "Harvesting Gatrix Payload FAILED");
    SkipCurrentItem();
}
} // namespace DiagnosticFileSvc
