#pragma once

#include "AsyncCallback.h"
#include "Gatrix.pb.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace Gatrix
{
/** A request whose answer is awaited, and who is told. */
struct OutstandingRequest
{
    std::string endpoint;
    /** Takes the answer's body. Throws std::exception for one that does not convert. */
    std::function<void(const std::string& body)> onAnswer;
    AsyncCallback<Error> onError;
};

/** The requests of a client that wait for their answers, each with the same time limit. Not thread-safe. */
class OutstandingRequests
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /** @param limit zero for none */
    explicit OutstandingRequests(std::chrono::milliseconds limit) : m_limit(limit) {}

    /** A number that no request had before. */
    std::uint64_t NewId() noexcept { return ++m_lastId; }

    void Add(std::uint64_t id, OutstandingRequest request, Time now);

    /** The request of that number, which is outstanding no longer; nothing when it was not. */
    std::optional<OutstandingRequest> Take(std::uint64_t id);

    /** When the earliest limit runs out; nothing when none will. */
    std::optional<Time> NextDeadline() const;

    /** The next whose limit has run out, which is outstanding no longer; nothing when there is none. */
    std::optional<OutstandingRequest> TakeExpired(Time now);

private:
    struct Waiting
    {
        OutstandingRequest request;
        Time deadline;
    };

    const std::chrono::milliseconds m_limit;
    std::uint64_t m_lastId = 0;
    /** By number, which with one limit for all is the order of the deadlines too. */
    std::map<std::uint64_t, Waiting> m_waiting;
};
} // namespace Gatrix
