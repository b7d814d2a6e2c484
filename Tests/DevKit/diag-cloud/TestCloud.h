#pragma once

#include "CloudServer.h"
#include "TemporaryFolder.h"

#include <cstdint>
#include <string>
#include <vector>

/** What an HTTP client got. */
struct Reply
{
    int curlCode = 0; //!< libcurl's code, 0 for a whole answer.
    long status = 0;
    std::string headers;
    std::string body;
};

/** A request that libcurl sends. */
struct ClientRequest
{
    std::string method = "POST";
    std::string url = {};
    std::string proxy = {};
    std::vector<std::string> headers = {};
    std::string body = {};
};

Reply SendRequest(const ClientRequest& request);

/** A TCP connection for what no HTTP client would do. */
class RawClient
{
public:
    explicit RawClient(std::uint16_t port);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    void Send(const std::string& bytes) const;

    /** Reads to the end of the connection, at most 10 seconds. */
    std::string ReadAll();

    /** After ReadAll: the connection ended by a reset. */
    bool WasReset() const { return m_reset; }

private:
    int m_socket;
    bool m_reset = false;
};

/** A cloud with a store of its own. */
class TestCloud
{
public:
    explicit TestCloud(std::vector<DiagCloud::Outcome> script = {}, DiagCloud::CloudSettings settings = {});

    DiagCloud::CloudServer& Server() { return *m_server; }
    const std::string& Folder() const { return m_folder.Path(); }

    /** The names of the files in the store. */
    std::vector<std::string> Stored() const;

    /** Posts metadata as a device does, through the proxy. */
    Reply PostMetadata(const std::string& body = GoodMetadata());

    /** Posts metadata and returns the upload URL. */
    std::string Announce();

    static Reply PostArchive(const std::string& url, const std::string& archive, const std::string& md5);

    static std::string GoodMetadata();

private:
    TemporaryFolder m_folder;
    std::unique_ptr<DiagCloud::CloudServer> m_server;
};
