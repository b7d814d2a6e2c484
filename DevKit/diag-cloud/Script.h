#pragma once

#include "Outcome.h"

#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace DiagCloud
{

/**
 * Reads a script: a JSON array of outcomes, each an object whose members are named as those of Outcome are, but for
 * "delayMs" and "match" ("metadata", "archive" or "any"). "body" is a text or any other JSON value, which is sent as
 * JSON; "repeat" is a number or "forever".
 * @throws std::invalid_argument with one line for the user when the text is anything else
 */
std::vector<Outcome> ParseScript(const std::string& text);

/**
 * Hands out outcomes in their order. Only the one at the head counts: a request that it does not match is treated as
 * usual, and the outcome goes on waiting for its kind. Not thread-safe.
 */
class Script
{
public:
    explicit Script(std::vector<Outcome> outcomes);

    /** The outcome for the request of that kind that has arrived; none for the ordinary behaviour. */
    std::optional<Outcome> Take(RequestKind kind);

private:
    std::deque<Outcome> m_outcomes;
};

} // namespace DiagCloud
