#pragma once

#include "HSMSimpleURLFetcherCallback.h"

#include <string>

namespace Http
{
/**
 * Writes the body of a successful answer to a file, through to the storage, and then posts the outcome to the caller's
 * task. Flash is spared: a file that holds the body already (by its CRC) is left untouched. The outcome is a
 * success if both the fetch and the file were.
 */
class HSMFileFetcherCallback final : public ISimpleURLFetcherCallback
{
public:
    HSMFileFetcherCallback(std::string path, AsyncCallback<HSMResponse> callback);

    void OnFetchCompleted(HSMResponse response) override;

private:
    bool StoreBody(const std::string& body) const;

    const std::string m_path;
    HSMSimpleURLFetcherCallback m_forward;
};
} // namespace Http
