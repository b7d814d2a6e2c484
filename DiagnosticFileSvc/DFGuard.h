#pragma once

#include "DFLog.h"

#include <exception>

/** How the service keeps an exception from ending work that somebody waits for. */
namespace DiagnosticFileSvc
{
/**
 * Runs a step. If it throws a std::exception, that is logged under the operation's name as the end of `what`, and
 * recover(exception) runs. Thread-safe.
 */
template <class Step, class Recover>
void GuardStep(const DPrint& log, const char* operation, const char* what, Step step, Recover recover)
{
    try {
        step();
    } catch (const std::exception& error) {
        LogLine(log, LogLevel::Error, operation, what, " ends with an exception: ", error.what());
        recover(error);
    }
}
} // namespace DiagnosticFileSvc
