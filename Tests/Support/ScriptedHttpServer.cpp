#include "ScriptedHttpServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <strings.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "Deadline.h"

namespace
{
constexpr std::size_t kRecordedBody = 65536;

/** False when the server is to stop. */
bool WaitForInput(int descriptor, int stop)
{
    std::array<pollfd, 2> entries{{{descriptor, POLLIN, 0}, {stop, POLLIN, 0}}};
    return poll(entries.data(), entries.size(), -1) > 0 && entries[1].revents == 0;
}

void Send(int connection, const std::string& bytes)
{
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return;
        }
        sent += static_cast<std::size_t>(count);
    }
}

std::string Receive(int connection, int stop)
{
    static thread_local std::array<char, 65536> buffer;
    const ssize_t count = WaitForInput(connection, stop) ? recv(connection, buffer.data(), buffer.size(), 0) : 0;
    return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}
} // namespace

std::vector<std::string> ScriptedHttpServer::Request::Fields(const std::string& name) const
{
    std::vector<std::string> values;
    std::istringstream lines(head);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(": ");
        if (colon == name.size() && strncasecmp(line.c_str(), name.c_str(), colon) == 0) {
            values.push_back(line.substr(colon + 2, line.size() - colon - 3));
        }
    }
    return values;
}

ScriptedHttpServer::ScriptedHttpServer(std::vector<Step> script, std::uint16_t port)
    : m_script(std::move(script)),
      m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)),
      m_stop(eventfd(0, EFD_CLOEXEC))
{
    const int on = 1;
    setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_listener, generic, length) != 0 || listen(m_listener, 16) != 0 ||
        getsockname(m_listener, generic, &length) != 0) {
        throw std::runtime_error("the scripted server cannot listen");
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { Serve(); });
}

ScriptedHttpServer::~ScriptedHttpServer()
{
    eventfd_write(m_stop, 1);
    m_thread.join();
    for (const int connection : m_hanging) {
        close(connection);
    }
    close(m_listener);
    close(m_stop);
}

void ScriptedHttpServer::Serve()
{
    while (WaitForInput(m_listener, m_stop)) {
        const int connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) {
            ServeConnection(connection);
        }
    }
}

void ScriptedHttpServer::ServeConnection(int connection)
{
    const std::string end = "\r\n\r\n";
    Request request;
    std::string received;
    while (received.find(end) == std::string::npos) {
        const std::string more = Receive(connection, m_stop);
        if (more.empty()) {
            close(connection);
            return;
        }
        received += more;
    }
    request.head = received.substr(0, received.find(end) + end.size());
    request.body = received.substr(request.head.size());
    request.bodySize = request.body.size();
    if (!request.Fields("Expect").empty()) {
        Send(connection, "HTTP/1.1 100 Continue\r\nX-Interim: yes\r\n\r\n");
    }
    const auto length = request.Fields("Content-Length");
    const std::size_t wanted = length.empty() ? 0 : std::strtoull(length[0].c_str(), nullptr, 10);
    while (request.bodySize < wanted) {
        const std::string more = Receive(connection, m_stop);
        if (more.empty()) {
            break;
        }
        request.bodySize += more.size();
        request.body.append(more, 0, kRecordedBody - std::min(kRecordedBody, request.body.size()));
    }

    Step step{Answer(500, "beyond the script"), Then::Close};
    {
        const std::lock_guard lock(m_mutex);
        if (m_requests.size() < m_script.size()) {
            step = m_script[m_requests.size()];
        }
        m_requests.push_back(request);
    }
    Send(connection, step.answer);
    if (step.then == Then::Hang) {
        m_hanging.push_back(connection);
        return;
    }
    if (step.then == Then::Reset) {
        const linger immediately{1, 0};
        setsockopt(connection, SOL_SOCKET, SO_LINGER, &immediately, sizeof immediately);
    }
    close(connection);
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
