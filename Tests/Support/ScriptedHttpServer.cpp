#include "ScriptedHttpServer.h"

#include "Deadline.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

std::vector<std::string> ScriptedHttpServer::Request::Fields(const std::string& name) const
{
    std::vector<std::string> values;
    const std::string start = "\r\n" + name + ": ";
    for (const char* at = head.c_str(); (at = strcasestr(at, start.c_str())) != nullptr;) {
        at += start.size();
        values.emplace_back(at, std::strcspn(at, "\r"));
    }
    return values;
}

ScriptedHttpServer::ScriptedHttpServer(std::vector<Step> script, std::uint16_t port)
    : m_script(std::move(script)), m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const int on = 1;
    setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_listener, generic, length) != 0 || listen(m_listener, 16) != 0 ||
        getsockname(m_listener, generic, &length) != 0) {
        throw std::runtime_error("the scripted server cannot listen");
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] {
        for (int connection = 0; (connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
            ServeConnection(connection);
        }
    });
}

ScriptedHttpServer::~ScriptedHttpServer()
{
    shutdown(m_listener, SHUT_RDWR); // accept returns
    m_thread.join();
    close(m_listener);
}

void ScriptedHttpServer::ServeConnection(int connection)
{
    const auto sendAll = [connection](const std::string& bytes) {
        send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    };
    const timeval deadline{kDeadline.count(), 0};
    setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &deadline, sizeof deadline);
    const std::shared_ptr<std::FILE> stream(fdopen(connection, "r"), std::fclose);

    Request request;
    char buffer[65536] = "";
    while (std::strcmp(buffer, "\r\n") != 0) {
        if (std::fgets(buffer, sizeof buffer, stream.get()) == nullptr) {
            return;
        }
        request.head += buffer;
    }
    if (!request.Fields("Expect").empty()) {
        sendAll("HTTP/1.1 100 Continue\r\nX-Interim: yes\r\n\r\n");
    }
    const auto length = request.Fields("Content-Length");
    const std::size_t wanted = length.empty() ? 0 : std::stoul(length[0]);
    for (std::size_t more = 1; more != 0 && request.bodySize < wanted; request.bodySize += more) {
        more = std::fread(buffer, 1, std::min(sizeof buffer, wanted - request.bodySize), stream.get());
        request.body.append(buffer, request.body.size() < sizeof buffer ? more : 0);
    }

    Step step{Answer(500, "beyond the script")};
    {
        const std::lock_guard lock(m_mutex);
        if (m_requests.size() < m_script.size()) {
            step = m_script[m_requests.size()];
        }
        m_requests.push_back(request);
    }
    sendAll(step.answer);
    if (step.then == Then::Hang) {
        m_hanging.push_back(stream);
    }
    const linger immediately{step.then == Then::Reset ? 1 : 0, 0};
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &immediately, sizeof immediately);
}

std::vector<ScriptedHttpServer::Request> ScriptedHttpServer::Requests() const
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

bool ScriptedHttpServer::WaitForRequests(std::size_t count) const
{
    return WaitUntil([this, count] { return Requests().size() >= count; });
}

std::string ScriptedHttpServer::Answer(int status, const std::string& body,
                                       const std::map<std::string, std::string>& headers)
{
    std::string answer = "HTTP/1.1 " + std::to_string(status) + " Scripted\r\nConnection: close\r\n";
    for (const auto& [name, value] : headers) {
        answer.append(name).append(": ").append(value).append("\r\n");
    }
    return answer + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}
