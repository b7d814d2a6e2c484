#include "CloudServer.h"

#include "Connection.h"
#include "Exchange.h"

#include <mutex>
#include <thread>
#include <utility>

namespace DiagCloud
{

struct CloudServer::Implementation
{
    explicit Implementation(CloudSettings settings)
        : cloud{Script(std::move(settings.script)),
                Store(std::move(settings.storeFolder)),
                RequestLog(settings.keepRequests, std::move(settings.writer)),
                {}},
          context(std::make_unique<boost::asio::io_context>(1)),
          acceptor(std::make_unique<LoopbackAcceptor>(
              *context, settings.port, settings.maxConnections,
              [this, maxBodySize = settings.maxBodySize](auto socket, auto seat) {
                  Serve(std::move(socket), std::move(seat), cloud, maxBodySize);
              },
              [this](const std::string& line) { cloud.log.Print(line); })),
          port(acceptor->Port())
    {
        cloud.baseUrl = "http://localhost:" + std::to_string(port);
        thread = std::thread([this] { Run(); });
    }

    ~Implementation() { Stop(); }

    void Stop()
    {
        const std::lock_guard<std::mutex> lock(stopMutex);
        if (thread.joinable()) {
            context->stop();
            thread.join();
            acceptor.reset();
            // The connections end with it: it owns their operations.
            context.reset();
        }
    }

    void Run()
    {
        while (!context->stopped()) {
            try {
                context->run();
            } catch (const std::exception& error) {
                cloud.log.Print(std::string("a connection ends: ") + error.what());
            }
        }
    }

    Cloud cloud;
    std::unique_ptr<boost::asio::io_context> context;
    std::unique_ptr<LoopbackAcceptor> acceptor;
    const std::uint16_t port;
    std::mutex stopMutex;
    std::thread thread;
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
    return m_implementation->port;
}

std::string CloudServer::Url() const
{
    return m_implementation->cloud.baseUrl;
}

std::vector<ReceivedRequest> CloudServer::Requests() const
{
    return m_implementation->cloud.log.Requests();
}

std::optional<ReceivedRequest> CloudServer::WaitForRequest(std::size_t number, std::chrono::milliseconds timeout) const
{
    return m_implementation->cloud.log.WaitFor(number, timeout);
}

} // namespace DiagCloud
