#include "CloudServer.h"

#include "Connection.h"
#include "LoopbackListener.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <list>
#include <mutex>
#include <system_error>
#include <thread>

namespace DiagCloud
{

namespace
{

constexpr int kPauseMs = 100;

struct Worker
{
    Worker(FileDescriptor socket, Cloud& cloud, const ConnectionLimits& limits)
        : connection(std::move(socket), cloud, limits)
    {}

    Connection connection;
    std::atomic<bool> ended{false};
    std::thread thread;
};

} // namespace

class CloudServer::Implementation
{
public:
    explicit Implementation(CloudSettings settings)
        : m_listener(ListenOnLoopback(settings.port)),
          m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
          m_url("http://localhost:" + std::to_string(m_listener.port)),
          m_cloud{Script(std::move(settings.script)), Store(std::move(settings.storeFolder)),
                  RequestLog(settings.keepRequests, std::move(settings.writer)), m_url},
          m_limits{settings.maxBodySize},
          m_maxConnections(settings.maxConnections)
    {
        if (!m_wake) {
            throw std::system_error(errno, std::generic_category(), "cannot make an event descriptor");
        }
        m_acceptor = std::thread([this] { Accept(); });
    }

    ~Implementation() { Stop(); }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    void Stop()
    {
        const std::lock_guard<std::mutex> lock(m_stopMutex);
        m_stopping = true;
        Wake();
        if (m_acceptor.joinable()) {
            m_acceptor.join();
        }
    }

    std::uint16_t Port() const { return m_listener.port; }
    const std::string& Url() const { return m_url; }
    const RequestLog& Log() const { return m_cloud.log; }

private:
    void Wake() const { eventfd_write(m_wake.Get(), 1); }

    /** Runs on the accepting thread, which alone touches the workers. */
    void Accept()
    {
        int timeout = -1;
        while (!m_stopping) {
            std::vector<pollfd> watched = {{m_wake.Get(), POLLIN, 0}};
            // With as many clients as may be, the next ones wait in the listening sockets' queues.
            if (m_workers.size() < m_maxConnections && timeout < 0) {
                for (const FileDescriptor& socket : m_listener.sockets) {
                    watched.push_back({socket.Get(), POLLIN, 0});
                }
            }
            poll(watched.data(), watched.size(), timeout);
            eventfd_t ignored = 0;
            eventfd_read(m_wake.Get(), &ignored);
            RemoveEnded();
            timeout = -1;
            for (std::size_t index = 1; index < watched.size() && !m_stopping; ++index) {
                if (watched[index].revents != 0 && !AcceptFrom(watched[index].fd)) {
                    timeout = kPauseMs; // out of descriptors or threads: no use in trying at once
                }
            }
        }
        m_listener.sockets.clear();
        for (Worker& worker : m_workers) {
            worker.connection.Cancel();
        }
        for (Worker& worker : m_workers) {
            worker.thread.join();
        }
        m_workers.clear();
    }

    bool AcceptFrom(int listening)
    {
        FileDescriptor socket(accept4(listening, nullptr, nullptr, SOCK_CLOEXEC));
        if (!socket) {
            return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR || errno == ECONNABORTED;
        }
        bool listed = false;
        try {
            Worker& worker = m_workers.emplace_back(std::move(socket), m_cloud, m_limits);
            listed = true;
            worker.thread = std::thread([this, &worker] {
                Serve(worker.connection);
                worker.ended = true;
                Wake();
            });
            return true;
        } catch (const std::exception& error) {
            m_cloud.log.Print(std::string("a client is turned away: ") + error.what());
            if (listed) {
                m_workers.pop_back();
            }
            return false;
        }
    }

    void Serve(Connection& connection)
    {
        try {
            connection.Run();
        } catch (const std::exception& error) {
            m_cloud.log.Print(std::string("a connection ends: ") + error.what());
        }
    }

    void RemoveEnded()
    {
        for (auto worker = m_workers.begin(); worker != m_workers.end();) {
            if (worker->ended) {
                worker->thread.join();
                worker = m_workers.erase(worker);
            } else {
                ++worker;
            }
        }
    }

    LoopbackListener m_listener;
    FileDescriptor m_wake;
    std::string m_url;
    Cloud m_cloud;
    ConnectionLimits m_limits;
    std::size_t m_maxConnections;
    std::list<Worker> m_workers;
    std::atomic<bool> m_stopping{false};
    std::mutex m_stopMutex;
    std::thread m_acceptor;
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
    return m_implementation->Url();
}

std::vector<ReceivedRequest> CloudServer::Requests() const
{
    return m_implementation->Log().Requests();
}

std::optional<ReceivedRequest> CloudServer::WaitForRequest(std::size_t number, std::chrono::milliseconds timeout) const
{
    return m_implementation->Log().WaitFor(number, timeout);
}

} // namespace DiagCloud
