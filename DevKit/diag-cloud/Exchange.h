#pragma once

#include "Outcome.h"
#include "ReceivedRequest.h"
#include "RequestLog.h"
#include "Script.h"
#include "Store.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace DiagCloud
{

/** What all exchanges of a server share. */
struct Cloud
{
    Script script;
    Store store;
    RequestLog log;
    std::string baseUrl; //!< What upload URLs begin with, without a slash at its end.
};

/** What a connection does with a request that has arrived. */
struct Answer
{
    int status = 200;
    Headers headers;
    std::string body;
    std::chrono::milliseconds delay{0};           //!< Before anything is sent.
    std::optional<std::uint64_t> resetAfterBytes; //!< Reset the connection when so many bytes are sent.
    bool hang = false;                            //!< Send nothing, ever.
};

/**
 * One request and its answer: the cloud's ordinary behaviour, or what the script has for it. Knows nothing of how bytes
 * travel. One thread at a time; ends by Finish or by Lose.
 */
class Exchange
{
public:
    /** Takes a request's header in; the script's outcome for it is chosen here. */
    Exchange(Cloud& cloud, std::string method, std::string target, Headers headers);

    /** How many bytes of the body are read before the connection is reset, if it is to be. */
    std::optional<std::uint64_t> ResetAfterRequestBytes() const;

    /** Takes the next bytes of the body. */
    void Receive(const char* data, std::size_t size);

    /** The body is complete: has the request's effect, records it and tells the answer. */
    Answer Finish();

    /** The request never became complete, or is dropped: records it with the reason. */
    void Lose(const std::string& reason);

private:
    bool IsDiscarded() const;
    Answer Decide();
    Answer TakeMetadata();
    Answer TakeArchive();
    Answer Refuse(int status, const std::string& reason);

    Cloud& m_cloud;
    ReceivedRequest m_request;
    Route m_route;
    std::optional<Outcome> m_outcome;
    std::optional<std::string> m_metadata;
    std::unique_ptr<IncomingFile> m_archive;
    Md5 m_md5;
    std::string m_storeFault;
    std::string m_remark;
};

} // namespace DiagCloud
