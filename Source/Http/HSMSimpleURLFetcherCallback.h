#pragma once

#include "AsyncCallback.h"
#include "ISimpleURLFetcherCallback.h"

namespace Http
{
/** Posts the outcome to the task of the operation's caller. */
class HSMSimpleURLFetcherCallback final : public ISimpleURLFetcherCallback
{
public:
    explicit HSMSimpleURLFetcherCallback(AsyncCallback<HSMResponse> callback);

    void OnFetchCompleted(HSMResponse response) override;

private:
    const AsyncCallback<HSMResponse> m_callback;
};
} // namespace Http
