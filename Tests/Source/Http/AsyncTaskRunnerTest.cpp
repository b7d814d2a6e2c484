#include "AsyncTaskRunner.h"
#include "CapturedLog.h"
#include "Deadline.h"

#include <future>
#include <stdexcept>

TEST(AsyncTaskRunner, WarnsOfTheTwentiethTask_AndForgetsFinishedOnes_ThatThrow)
{
    struct Job final : Threads_Http::IRunnable
    {
        void Run() override
        {
            released.wait();
            throw std::runtime_error("no luck");
        }
        std::promise<void> release;
        const std::shared_future<void> released = release.get_future();
    };
    // The second round shows that the first one's tasks are counted no more.
    for (int round = 0; round < 2; ++round) {
        const auto job = std::make_shared<Job>();
        const auto run = [&job](int count) {
            for (; count > 0; --count) {
                Http::AsyncTaskRunner::GetInstance().Run(job);
            }
        };
        const CapturedLog log(2);
        const auto other = std::async(std::launch::async, run, 10);
        run(11);
        other.wait();
        EXPECT_THAT(CapturedLog::LinesOf("AsyncTaskRunner"),
                    testing::UnorderedElementsAre("2 Potentially too many async tasks running: 20",
                                                  "2 Potentially too many async tasks running: 21"));
        job->release.set_value();
        EXPECT_TRUE(WaitUntil([&] { return job.use_count() == 1; })) << "the runner has let go of the job";
    }
}
