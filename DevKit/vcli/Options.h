#pragma once

#include <chrono>
#include <optional>

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

/** How long vcli waits, and for what. */
struct Options
{
    std::chrono::seconds timeout{5};
    /**
     * Whether to wait, after a command's reply, for the line that tells its outcome. If it is not said: if the reply
     * ends in "Triggered" and nobody sits at a prompt, where the line shows when it comes.
     */
    std::optional<bool> isWaiting;
    std::chrono::seconds waitTimeout{15 * 60};
};
