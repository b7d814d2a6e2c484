#include "AsyncTaskRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

#include "CapturedLog.h"
#include "Deadline.h"

using Http::AsyncTaskRunner;

namespace
{
class Job final : public Threads_Http::IRunnable
{
public:
    explicit Job(std::function<void()> work) : m_work(std::move(work)) {}
    void Run() override { m_work(); }

private:
    const std::function<void()> m_work;
};

/** Starts jobs, and knows when the runner has let go of them. */
class Jobs
{
public:
    void Start(std::function<void()> work)
    {
        auto job = std::make_shared<Job>(std::move(work));
        m_started.push_back(job);
        AsyncTaskRunner::GetInstance().Run(std::move(job));
    }

    bool WaitUntilAllAreGone() const
    {
        return WaitUntil([this] {
            return std::all_of(m_started.begin(), m_started.end(), [](const auto& job) { return job.expired(); });
        });
    }

private:
    std::vector<std::weak_ptr<Job>> m_started;
};
} // namespace

TEST(AsyncTaskRunner, WarnsOfTheTwentiethTask_AndForgetsFinishedOnes)
{
    // The second round shows that the first one's tasks are counted no more.
    for (int round = 0; round < 2; ++round) {
        CapturedLog log(2);
        Jobs jobs;
        std::promise<void> release;
        const std::shared_future<void> released = release.get_future().share();
        for (int i = 0; i < 21; ++i) {
            jobs.Start([released] { released.wait(); });
        }
        EXPECT_THAT(log.LinesOf("AsyncTaskRunner"),
                    testing::ElementsAre("2 Potentially too many async tasks running: 20",
                                         "2 Potentially too many async tasks running: 21"));
        release.set_value();
        EXPECT_TRUE(jobs.WaitUntilAllAreGone());
    }
}

TEST(AsyncTaskRunner, RemovesAJobThatThrows)
{
    Jobs jobs;
    jobs.Start([] { throw std::runtime_error("no luck"); });
    EXPECT_TRUE(jobs.WaitUntilAllAreGone());
}

TEST(AsyncTaskRunner, RunsJobsOfManyThreads)
{
    constexpr int kThreads = 3;
    constexpr int kJobs = 100;
    std::atomic<int> runs{0};
    std::vector<Jobs> jobs(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (Jobs& own : jobs) {
        threads.emplace_back([&own, &runs] {
            for (int i = 0; i < kJobs; ++i) {
                own.Start([&runs] { ++runs; });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const Jobs& own : jobs) {
        EXPECT_TRUE(own.WaitUntilAllAreGone());
    }
    EXPECT_EQ(runs, kThreads * kJobs);
}
