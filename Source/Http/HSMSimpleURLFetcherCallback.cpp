#include "HSMSimpleURLFetcherCallback.h"

#include "HttpLog.h"

#include <utility>

namespace Http
{
namespace
{
const DPrint s_log("HSMSimpleURLFetcherCallback");
}

HSMSimpleURLFetcherCallback::HSMSimpleURLFetcherCallback(AsyncCallback<HSMResponse> callback)
    : m_callback(std::move(callback))
{}

void HSMSimpleURLFetcherCallback::OnFetchCompleted(HSMResponse response)
{
    LogLine(s_log, kMostDetailedLevel, __func__, response);
    m_callback(std::move(response));
}
} // namespace Http
