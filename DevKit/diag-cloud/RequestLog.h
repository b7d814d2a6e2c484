#pragma once

#include "EventLine.h"
#include "ReceivedRequest.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace DiagCloud
{

/** Numbers, records and prints the requests. Thread-safe. */
class RequestLog
{
public:
    /** @param keep the requests, for Requests and WaitFor @param writer takes a line for each; may be empty */
    RequestLog(bool keep, LineWriter writer);

    /** Gives the request its number; the remark ends its line. */
    void Add(ReceivedRequest request, const std::string& remark);

    /** Prints a line that is about no request. */
    void Print(const std::string& text);

    std::vector<ReceivedRequest> Requests() const;

    /** The request of that number, counted from 1; none when it does not come in time. Blocks. */
    std::optional<ReceivedRequest> WaitFor(std::size_t number, std::chrono::milliseconds timeout) const;

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_added;
    bool m_keep;
    LineWriter m_writer;
    std::size_t m_count = 0;
    std::vector<ReceivedRequest> m_requests;
};

} // namespace DiagCloud
