#pragma once

#include "Digest.h"
#include "Outcome.h"
#include "ReceivedRequest.h"
#include "RequestLog.h"
#include "Script.h"
#include "Store.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace DiagCloud
{

/** What the exchanges of a server share. */
struct Cloud
{
    Script script;
    Store store;
    RequestLog log;
    std::string baseUrl; ///< What upload URLs begin with, without a slash at its end.
};

/**
 * One request and what comes of it: the cloud's ordinary behaviour, or what the script has for it. It ends by Finish or
 * by Lose. Not thread-safe.
 */
class Exchange
{
public:
    /** Takes a request's header, and the script's outcome for it. */
    Exchange(Cloud& cloud, std::string method, std::string target, Headers headers);

    /** What the script has for the request; an Outcome that changes nothing when it has nothing. */
    const Outcome& Scripted() const { return m_outcome; }

    /** Takes the next bytes of the body. */
    void Receive(std::string_view bytes);

    /** Bytes of the body that have arrived. */
    std::uint64_t BodySize() const { return m_request.bodySize; }

    /** Ends a request whose body is complete: has its effect, and records it. @return the answer, or that it hangs */
    Outcome Finish();

    /** Ends a request that did not become complete, or is dropped: records it with the reason. */
    void Lose(const std::string& reason);

private:
    void Decide();
    void TakeMetadata();
    void TakeArchive();
    void Refuse(int status, const std::string& reason);

    Cloud& m_cloud;
    ReceivedRequest m_request;
    Route m_route;
    Outcome m_outcome;
    std::optional<std::string> m_metadata;
    std::unique_ptr<IncomingFile> m_archive;
    Digest m_md5;
    std::string m_storeFault;
    std::string m_remark;
};

} // namespace DiagCloud
