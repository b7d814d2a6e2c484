#include "AsyncTaskRunner.h"
#include "CapturedLog.h"
#include "Deadline.h"

#include <atomic>
#include <future>

static void Start(std::function<void()> work)
{
    struct Job final : Threads_Http::IRunnable
    {
        void Run() override { work(); }
        std::function<void()> work;
    };
    const auto job = std::make_shared<Job>();
    job->work = std::move(work);
    Http::AsyncTaskRunner::GetInstance().Run(job);
}

TEST(AsyncTaskRunner, WarnsOfTheTwentiethTask_AndForgetsFinishedOnes)
{
    // The second round shows that the first one's tasks are counted no more.
    for (int round = 0; round < 2; ++round) {
        const CapturedLog log(2);
        std::promise<void> release;
        const auto released = std::make_shared<std::shared_future<void>>(release.get_future());
        for (int i = 0; i < 21; ++i) {
            Start([released] { released->wait(); });
        }
        EXPECT_THAT(CapturedLog::LinesOf("AsyncTaskRunner"),
                    testing::ElementsAre("2 Potentially too many async tasks running: 20",
                                         "2 Potentially too many async tasks running: 21"));
        release.set_value();
        EXPECT_TRUE(WaitUntil([&] { return released.use_count() == 1; })) << "the runner has let go of the jobs";
    }
}

TEST(AsyncTaskRunner, RunsJobsOfManyThreads_ThatThrow)
{
    const auto runs = std::make_shared<std::atomic<int>>(0);
    const auto start = [&runs] {
        for (int i = 0; i < 100; ++i) {
            Start([runs] { std::string("no luck").at(10 + ++*runs); });
        }
    };
    const auto other = std::async(std::launch::async, start);
    start();
    other.wait();
    EXPECT_TRUE(WaitUntil([&] { return runs.use_count() == 1; }));
    EXPECT_EQ(*runs, 200);
}
