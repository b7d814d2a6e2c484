#include "ScriptedHttpServer.h"

#include "Deadline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>

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
    : m_script(std::move(script)),
      m_server(
          port, 16, [this](FileDescriptor connection, const auto& /*seat*/) { Serve(std::move(connection)); },
          [](const std::string& line) { ADD_FAILURE() << "the scripted server: " << line; })
{
    m_server.Start();
}

void ScriptedHttpServer::Serve(FileDescriptor connection)
{
    const int socket = connection.Get();
    const auto sendAll = [socket](const std::string& bytes) { send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL); };
    const timeval deadline{kDeadline.count(), 0};
    fcntl(socket, F_SETFL, 0); // it blocks
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &deadline, sizeof deadline);
    const std::shared_ptr<std::FILE> stream(fdopen(connection.Release(), "r"), std::fclose);

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
    setsockopt(socket, SOL_SOCKET, SO_LINGER, &immediately, sizeof immediately);
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
