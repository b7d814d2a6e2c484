#pragma once

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
