#pragma once

#include "CloudServer.h"
#include "FileDescriptor.h"
#include "TemporaryFolder.h"

#include <string>
#include <vector>

/** What an HTTP client got. */
struct Reply
{
    int status = 0;   ///< HTTP status; 0 when there was no whole answer.
    std::string text; ///< Header fields and body.
};

/** A request by curl(1). */
Reply SendRequest(const std::string& method, const std::string& url, const std::vector<std::string>& headers = {},
                  const std::string& body = {}, const std::string& proxy = {});

/** A TCP connection for what no HTTP client would do. */
class RawClient
{
public:
    RawClient(const DiagCloud::CloudServer& cloud, const std::string& bytes);

    /** What is sent up to the end of the connection; " RESET" follows when it ended so. */
    std::string ReadAll() const;

private:
    FileDescriptor m_socket;
};

/** A cloud with a store of its own. */
class TestCloud : private TemporaryFolder, public DiagCloud::CloudServer
{
public:
    explicit TestCloud(std::vector<DiagCloud::Outcome> script = {}, DiagCloud::CloudSettings settings = {});

    const std::string& Folder() const { return TemporaryFolder::Path(); }

    /** The number of files in the store. */
    std::ptrdiff_t Stored() const;

    /** Posts metadata as a device does, through the proxy. */
    Reply PostMetadata(const std::string& body = kMetadata) const;

    /** Posts metadata and returns the upload URL. */
    std::string Announce() const;

    /** Takes the request of that number as it was recorded; an empty one when it does not come in time. */
    DiagCloud::ReceivedRequest Request(std::size_t number) const;

    static const std::string kMetadata;
};

/** Posts kContent as an archive. */
Reply PostArchive(const std::string& url);

const std::string kContent = "The quick brown fox jumps over the lazy dog";
const std::string kMd5 = "Content-MD5: 9e107d9d372bb6826bd81d3542a419d6";
