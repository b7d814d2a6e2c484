#include "AsyncTaskRunner.h"
#include "CapturedLog.h"
#include "Deadline.h"

#include <future>
#include <stdexcept>

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

TEST(AsyncTaskRunner, WarnsOfTheTwentiethTask_AndForgetsFinishedOnes_ThatThrow)
{
    // The second round shows that the first one's tasks are counted no more.
    for (int round = 0; round < 2; ++round) {
        const CapturedLog log(2);
        std::promise<void> release;
        const auto released = std::make_shared<std::shared_future<void>>(release.get_future());
        const auto start = [&released](int count) {
            for (; count > 0; --count) {
                Start([released] {
                    released->wait();
                    throw std::runtime_error("no luck");
                });
            }
        };
        const auto other = std::async(std::launch::async, start, 10);
        start(11);
        other.wait();
        EXPECT_THAT(CapturedLog::LinesOf("AsyncTaskRunner"),
                    testing::UnorderedElementsAre("2 Potentially too many async tasks running: 20",
                                                  "2 Potentially too many async tasks running: 21"));
        release.set_value();
        EXPECT_TRUE(WaitUntil([&] { return released.use_count() == 1; })) << "the runner has let go of the jobs";
    }
}
