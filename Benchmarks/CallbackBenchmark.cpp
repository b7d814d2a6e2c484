// A cross-task callback, from post to run, beside boost::asio::post to an io_context that one thread runs.
//
// Both post copies of the same arguments, a text and a number, to the same kind of handler. Throughput: producers post
// as fast as they can until the receiver has run everything. Latency: producers post at a pace that lets the receiver
// fall asleep between posts, as it does in the service; the time from post to run is taken for each.

#include "APTask.h"
#include "AsyncCallback.h"

#include <benchmark/benchmark.h>
#include <boost/asio.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;

constexpr int kThroughputPosts = 100000;
constexpr int kLatencyPosts = 4000; // of each producer
constexpr std::chrono::microseconds kPace(100);

std::int64_t Now()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

// What the receiving task does: the same for both.
class Receiver
{
public:
    void Expect(int calls)
    {
        m_left = calls;
        m_latencies.clear();
        m_latencies.reserve(static_cast<std::size_t>(calls));
    }

    void Handle(const std::string& text, std::int64_t postedAt)
    {
        benchmark::DoNotOptimize(text.data());
        if (postedAt != 0) {
            m_latencies.push_back(Now() - postedAt);
        }
        if (--m_left == 0) {
            const std::lock_guard lock(m_mutex);
            m_isDone = true;
            m_done.notify_one();
        }
    }

    void WaitForAll()
    {
        std::unique_lock lock(m_mutex);
        m_done.wait(lock, [this] { return m_isDone; });
        m_isDone = false;
    }

    const std::vector<std::int64_t>& Latencies() const { return m_latencies; }

private:
    int m_left = 0;
    std::vector<std::int64_t> m_latencies;
    std::mutex m_mutex;
    std::condition_variable m_done;
    bool m_isDone = false;
};

// Ours.
class TaskTarget : public Receiver, public APTask
{
public:
    TaskTarget() : APTask("Receiver", 0, CTask::NOT_REALTIME, -1), m_callback(this, this, &TaskTarget::Run) { Start(); }
    ~TaskTarget() override { Stop(); }

    void Post(const std::string& text, std::int64_t postedAt) { m_callback(text, postedAt); }

private:
    void Run(const std::string& text, std::int64_t postedAt) { Handle(text, postedAt); }
    const AsyncCallback<std::string, std::int64_t> m_callback;
};

// The floor.
class AsioTarget : public Receiver
{
public:
    AsioTarget() : m_context(1), m_work(m_context.get_executor()), m_thread([this] { m_context.run(); }) {}
    ~AsioTarget()
    {
        m_work.reset();
        m_thread.join();
    }

    void Post(const std::string& text, std::int64_t postedAt)
    {
        boost::asio::post(m_context, [this, text, postedAt] { Handle(text, postedAt); });
    }

private:
    boost::asio::io_context m_context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work;
    std::thread m_thread;
};

template <class Produce>
void RunProducers(int producers, Produce produce)
{
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(producers));
    for (int index = 0; index < producers; ++index) {
        threads.emplace_back(produce);
    }
    for (auto& thread : threads) {
        thread.join();
    }
}

template <class Target>
void Throughput(benchmark::State& state)
{
    const int producers = static_cast<int>(state.range(0));
    const std::string text = "Success message";
    Target target;
    for (auto _ : state) {
        target.Expect(kThroughputPosts / producers * producers);
        const auto start = Clock::now();
        RunProducers(producers, [&] {
            for (int post = 0; post < kThroughputPosts / producers; ++post) {
                target.Post(text, 0);
            }
        });
        target.WaitForAll();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
    state.counters["posts_per_second"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * kThroughputPosts, benchmark::Counter::kIsRate);
}

template <class Target>
void Latency(benchmark::State& state)
{
    const int producers = static_cast<int>(state.range(0));
    const std::string text = "Success message";
    Target target;
    std::vector<std::int64_t> all;
    for (auto _ : state) {
        target.Expect(kLatencyPosts * producers);
        const auto start = Clock::now();
        RunProducers(producers, [&] {
            for (int post = 0; post < kLatencyPosts; ++post) {
                std::this_thread::sleep_for(kPace);
                target.Post(text, Now());
            }
        });
        target.WaitForAll();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        all.insert(all.end(), target.Latencies().begin(), target.Latencies().end());
    }
    std::sort(all.begin(), all.end());
    state.counters["p50_ns"] = static_cast<double>(all[all.size() / 2]);
    state.counters["p99_ns"] = static_cast<double>(all[all.size() * 99 / 100]);
}

BENCHMARK_TEMPLATE(Throughput, TaskTarget)->Name("throughput/ours")->Arg(1)->Arg(4)->UseManualTime();
BENCHMARK_TEMPLATE(Throughput, AsioTarget)->Name("throughput/floor")->Arg(1)->Arg(4)->UseManualTime();
BENCHMARK_TEMPLATE(Latency, TaskTarget)->Name("latency/ours")->Arg(1)->Arg(4)->UseManualTime()->Iterations(1);
BENCHMARK_TEMPLATE(Latency, AsioTarget)->Name("latency/floor")->Arg(1)->Arg(4)->UseManualTime()->Iterations(1);
} // namespace

BENCHMARK_MAIN();
