#pragma once

#include "LoopbackServer.h"

#include <cstdio>
#include <map>
#include <vector>

/**
 * An HTTP server on the loopback interface that plays a list of answers, byte by byte and one a connection, and records
 * what it was sent. A request beyond the list is answered with 500.
 */
class ScriptedHttpServer
{
public:
    /** What becomes of the connection: closed in order, closed with RST, or left open until the server goes. */
    enum class Then
    {
        Close,
        Reset,
        Hang,
    };

    struct Step
    {
        std::string answer;
        Then then = Then::Close;
    };

    struct Request
    {
        std::string head; ///< request line and header section, with the empty line at its end
        std::string body; ///< its first 64 KiB or so
        std::size_t bodySize = 0;

        std::string Line() const { return head.substr(0, head.find("\r\n")); }
        std::vector<std::string> Fields(const std::string& name) const;
    };

    explicit ScriptedHttpServer(std::vector<Step> script, std::uint16_t port = 0 /* any that is free */);

    std::uint16_t Port() const { return m_server.Port(); }
    std::string Url(const std::string& path = "/") const { return "http://127.0.0.1:" + std::to_string(Port()) + path; }
    std::vector<Request> Requests() const;
    bool WaitForRequests(std::size_t count) const;

    /** An answer with its Content-Length. */
    static std::string Answer(int status, const std::string& body = {},
                              const std::map<std::string, std::string>& headers = {});

private:
    void Serve(FileDescriptor connection);

    const std::vector<Step> m_script;
    mutable std::mutex m_mutex;
    std::vector<Request> m_requests;
    std::vector<std::shared_ptr<std::FILE>> m_hanging;
    LoopbackServer m_server; ///< Last: its thread uses the others.
};
