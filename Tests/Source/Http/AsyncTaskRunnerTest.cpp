#include "AsyncTaskRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

#include "CapturedLog.h"
#include "Deadline.h"

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

void Start(std::function<void()> work)
{
    Http::AsyncTaskRunner::GetInstance().Run(std::make_shared<Job>(std::move(work)));
}
} // namespace

TEST(AsyncTaskRunner, WarnsOfTheTwentiethTask_AndForgetsFinishedOnes)
{
    // The second round shows that the first one's tasks are counted no more.
    for (int round = 0; round < 2; ++round) {
        CapturedLog log(2);
        std::promise<void> release;
        const auto released = std::make_shared<std::shared_future<void>>(release.get_future());
        for (int i = 0; i < 21; ++i) {
            Start([released] { released->wait(); });
        }
        EXPECT_THAT(log.LinesOf("AsyncTaskRunner"),
                    testing::ElementsAre("2 Potentially too many async tasks running: 20",
                                         "2 Potentially too many async tasks running: 21"));
        release.set_value();
        EXPECT_TRUE(WaitUntil([&] { return released.use_count() == 1; })) << "the runner has let go of the jobs";
    }
}

TEST(AsyncTaskRunner, RunsJobsOfManyThreads_AlsoSomeThatThrow)
{
    const auto runs = std::make_shared<std::atomic<int>>(0);
    std::vector<std::thread> threads(3);
    for (std::thread& thread : threads) {
        thread = std::thread([runs] {
            for (int i = 0; i < 100; ++i) {
                Start([runs] { ++*runs % 10 == 0 ? throw std::runtime_error("no luck") : void(); });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(WaitUntil([&] { return runs.use_count() == 1; }));
    EXPECT_EQ(*runs, 300);
}
