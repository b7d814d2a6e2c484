#pragma once

namespace Http
{
/** What the caller of an HTTP operation holds of it. Dropping it does not cancel the operation. */
class IHttpOpHandle
{
public:
    virtual ~IHttpOpHandle() = default;

    /**
     * Has the operation not be tried again. One that waits for its next attempt ends at once with its last response;
     * one whose exchange is under way ends with that exchange. Thread-safe.
     */
    virtual void Cancel() = 0;
};
} // namespace Http
