#pragma once

#include "HSMResponse.h"

namespace Http
{
/** Where the outcome of an operation goes. */
class ISimpleURLFetcherCallback
{
public:
    virtual ~ISimpleURLFetcherCallback() = default;

    /** Called once, on the thread that ran the operation. */
    virtual void OnFetchCompleted(HSMResponse response) = 0;
};
} // namespace Http
