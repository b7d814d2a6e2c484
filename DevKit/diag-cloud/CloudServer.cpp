#include "CloudServer.h"

#include "Connection.h"
#include "Exchange.h"

#include <mutex>
#include <thread>
#include <utility>

namespace DiagCloud
{

class CloudServer::Implementation
{
public:
    explicit Implementation(CloudSettings settings)
        : m_cloud{Script(std::move(settings.script)),
                  Store(std::move(settings.storeFolder)),
                  RequestLog(settings.keepRequests, std::move(settings.writer)),
                  {}},
          m_context(std::make_unique<boost::asio::io_context>(1)),
          m_acceptor(std::make_unique<LoopbackAcceptor>(
              *m_context, settings.port, settings.maxConnections,
              [this, maxBodySize = settings.maxBodySize](auto socket, auto seat) {
                  Serve(std::move(socket), std::move(seat), m_cloud, maxBodySize);
              },
              [this](const std::string& line) { m_cloud.log.Print(line); })),
          m_port(m_acceptor->Port())
    {
        m_cloud.baseUrl = "http://localhost:" + std::to_string(m_port);
        m_thread = std::thread([this] { Run(); });
    }

    ~Implementation() { Stop(); }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    void Stop()
    {
        const std::lock_guard<std::mutex> lock(m_stopMutex);
        if (m_thread.joinable()) {
            m_context->stop();
            m_thread.join();
            m_acceptor.reset();
            m_context.reset(); // and with it the connections, whose operations it owns
        }
    }

    std::uint16_t Port() const { return m_port; }
    const Cloud& GetCloud() const { return m_cloud; }

private:
    void Run()
    {
        while (!m_context->stopped()) {
            try {
                m_context->run();
            } catch (const std::exception& error) {
                m_cloud.log.Print(std::string("a connection ends: ") + error.what());
            }
        }
    }

    Cloud m_cloud;
    std::unique_ptr<boost::asio::io_context> m_context;
    std::unique_ptr<LoopbackAcceptor> m_acceptor;
    const std::uint16_t m_port;
    std::mutex m_stopMutex;
    std::thread m_thread;
};

CloudServer::CloudServer(CloudSettings settings)
    : m_implementation(std::make_unique<Implementation>(std::move(settings)))
{}

CloudServer::~CloudServer() = default;

void CloudServer::Stop()
{
    m_implementation->Stop();
}

std::uint16_t CloudServer::Port() const
{
    return m_implementation->Port();
}

std::string CloudServer::Url() const
{
    return m_implementation->GetCloud().baseUrl;
}

std::vector<ReceivedRequest> CloudServer::Requests() const
{
    return m_implementation->GetCloud().log.Requests();
}

std::optional<ReceivedRequest> CloudServer::WaitForRequest(std::size_t number, std::chrono::milliseconds timeout) const
{
    return m_implementation->GetCloud().log.WaitFor(number, timeout);
}

} // namespace DiagCloud
