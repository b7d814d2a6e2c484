#pragma once

namespace Http
{
/** What the caller of an HTTP operation holds of it. Dropping it does not cancel the operation. */
class IHttpOpHandle
{
public:
    virtual ~IHttpOpHandle() = default;

    /**
     * Ends the retries of the operation. If it waits for its next attempt, it ends at once with its last response. If
     * an exchange is under way, it ends with that exchange. Thread-safe.
     */
    virtual void Cancel() = 0;
};
} // namespace Http
