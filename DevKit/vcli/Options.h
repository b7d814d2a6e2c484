#pragma once

#include <chrono>
#include <optional>

namespace Vcli
{

/** How vcli ends; with several commands, as the first of them that failed. */
enum class ExitStatus
{
    Done = 0,
    NoService = 1,
    WrongUsage = 2,
    NoSuchCommand = 3,
    NoReply = 4,
    HandlerFailed = 5,
    ServiceGone = 6,
    NoOutcome = 7,
};

/** How long to wait, and for what. */
struct Options
{
    std::chrono::seconds timeout{5};
    /** Whether to wait for the outcome after a reply. By default if it ends in "Triggered", but not at a prompt. */
    std::optional<bool> isWaiting;
    std::chrono::seconds waitTimeout{15 * 60};
};

} // namespace Vcli
