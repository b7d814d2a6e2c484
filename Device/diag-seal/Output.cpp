#include "Output.h"

#include "ErrorText.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <poll.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace DiagSeal
{

namespace
{

constexpr std::size_t kBlockSize = 32768;

} // namespace

Output::Output(int descriptor, std::string name, std::chrono::steady_clock::time_point deadline)
    : m_descriptor(descriptor), m_name(std::move(name)), m_deadline(deadline)
{
    struct stat status = {};
    m_isFile = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    m_block.reserve(kBlockSize);
}

void Output::Write(std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::string_view piece = bytes.substr(0, kBlockSize - m_block.size());
        m_block.insert(m_block.end(), piece.begin(), piece.end());
        bytes.remove_prefix(piece.size());
        if (m_block.size() == kBlockSize) {
            Flush();
        }
    }
}

void Output::Flush()
{
    std::size_t written = 0;
    while (written < m_block.size()) {
        std::size_t size = m_block.size() - written;
        if (!m_isFile) {
            // A pipe that poll(2) calls writable takes so much without blocking, see pipe(7).
            size = std::min<std::size_t>(size, PIPE_BUF);
            AwaitReader();
        }
        const ssize_t count = write(m_descriptor, m_block.data() + written, size);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno != EINTR && errno != EAGAIN) {
            Fail(ErrorText());
        }
    }
    m_block.clear();
}

void Output::Fail(const std::string& reason) const
{
    throw std::runtime_error(m_name + ": " + reason);
}

void Output::AwaitReader() const
{
    pollfd descriptor = {m_descriptor, POLLOUT, 0};
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - std::chrono::steady_clock::now());
        const int ready = poll(&descriptor, 1, static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, INT_MAX)));
        if (ready > 0) {
            return;
        }
        if (ready == 0) {
            Fail("nobody takes what is written");
        }
        if (errno != EINTR) {
            Fail(ErrorText());
        }
    }
}

} // namespace DiagSeal
