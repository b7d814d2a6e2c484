#include "CloudServer.h"

#include "Connection.h"

#include <utility>

namespace DiagCloud
{

CloudServer::CloudServer(CloudSettings settings)
    : m_cloud{Script(std::move(settings.script)),
              Store(std::move(settings.storeFolder)),
              RequestLog(settings.keepRequests, std::move(settings.writer)),
              {}},
      m_server(std::make_unique<LoopbackServer>(
          settings.port, settings.maxConnections,
          [this, maxBodySize = settings.maxBodySize](FileDescriptor socket, LoopbackServer::Seat seat) {
              Serve(m_server->Context(), std::move(socket), std::move(seat), m_cloud, maxBodySize);
          },
          [this](const std::string& line) { m_cloud.log.Print(line); })),
      m_port(m_server->Port())
{
    m_cloud.baseUrl = "http://localhost:" + std::to_string(m_port);
    m_server->Start();
}

void CloudServer::Stop()
{
    const std::lock_guard<std::mutex> lock(m_stopMutex);
    if (m_server) {
        // Its thread looks at m_server.
        m_server->Stop();
        m_server.reset();
    }
}

} // namespace DiagCloud
