#pragma once

namespace Http
{
/** What the caller of an HTTP operation holds of it. Dropping it does not cancel the operation. */
class IHttpOpHandle
{
public:
    virtual ~IHttpOpHandle() = default;

    /**
     * Any thread: the operation is not tried again. One that waits for its next attempt ends at once with its last
     * response; one whose exchange is under way ends with that exchange.
     */
    virtual void Cancel() = 0;
};
} // namespace Http
