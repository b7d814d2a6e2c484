#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <fstream>
#include <future>
#include <stdexcept>
#include <thread>

#include "APTask.h"
#include "APTaskManager.h"
#include "AsyncCallback.h"
#include "CallbackConnection.h"
#include "Deadline.h"

namespace
{
using testing::ElementsAre;

/** Remembers what its handler was called with. */
class Recorder : public APTask
{
public:
    explicit Recorder(unsigned int stackSize = 0) : APTask("RecorderOfCallbacks", stackSize, CTask::NOT_REALTIME, -1) {}
    ~Recorder() override { Stop(); }

    void Record(const std::string& text, int number)
    {
        if (number < 0) {
            throw std::out_of_range("negative");
        }
        entries.push_back(text + std::to_string(number));
    }

    // NOLINTNEXTLINE(performance-unnecessary-value-param): a handler that takes its argument over
    void CountOwners(std::shared_ptr<int> value) { owners = value.use_count(); }

    /** Waits until everything posted before has run. */
    void Drain()
    {
        const auto done = std::make_shared<std::promise<void>>();
        Post([done] { done->set_value(); });
        ASSERT_EQ(done->get_future().wait_for(kDeadline), std::future_status::ready);
    }

    std::vector<std::string> entries;
    long owners = 0;
    std::string thread;
    const AsyncCallback<std::string const, int> record{this, this, &Recorder::Record};

protected:
    void OnEntry() override { std::getline(std::ifstream("/proc/thread-self/comm"), thread); }
};
} // namespace

TEST(Task, RunsWhatWasPostedBeforeAndAfterStart_InOrderOnItsThread)
{
    Recorder task;
    const auto copy = task.record;
    task.record("a", 1);
    task.Start();
    task.Start();
    copy("b", 2);
    task.Drain();
    EXPECT_THAT(task.entries, ElementsAre("a1", "b2"));
    EXPECT_EQ(task.thread, "RecorderOfCallb");
}

TEST(Task, GoesOnAfterAnException)
{
    Recorder task;
    task.Start();
    testing::internal::CaptureStderr();
    task.record("bad", -1);
    task.record("good", 1);
    task.Drain();
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("RecorderOfCallbacks: a handler ended with an exception: negative"));
    EXPECT_THAT(task.entries, ElementsAre("good1"));
}

TEST(Task, KeepsTheOrderOfEachOfManyCallers)
{
    constexpr int kCalls = 2000;
    Recorder task;
    task.Start();
    std::array<std::thread, 4> callers;
    for (std::size_t caller = 0; caller < callers.size(); ++caller) {
        callers[caller] = std::thread([&task, caller] {
            for (int call = 0; call < kCalls; ++call) {
                task.record(std::string(1, "abcd"[caller]), call);
            }
        });
    }
    for (auto& caller : callers) {
        caller.join();
    }
    task.Drain();
    std::array<int, callers.size()> next{};
    for (const std::string& entry : task.entries) {
        ASSERT_EQ(std::stoi(entry.substr(1)), next[static_cast<std::size_t>(entry[0] - 'a')]++);
    }
    EXPECT_THAT(next, testing::Each(kCalls));
}

TEST(Task, StopDropsWhatWaitsAndLetsTheRunningHandlerEnd)
{
    Recorder task;
    task.Start();
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<bool> isFinished{false};
    task.Post([&] {
        entered.set_value();
        release.get_future().wait();
        isFinished = true;
    });
    task.record("never", 1);
    entered.get_future().wait();
    auto waiting = std::make_shared<int>();
    const std::weak_ptr<int> dropped = waiting;
    task.Post([&task, owned = std::move(waiting)] { task.Record("never", 2); });
    std::thread stopper([&task] { task.Stop(); });
    EXPECT_TRUE(WaitUntil([&dropped] { return dropped.expired(); }));
    release.set_value();
    stopper.join();
    EXPECT_TRUE(isFinished);
    EXPECT_TRUE(task.entries.empty());
}

TEST(Task, CanBeDestroyedInItsOwnHandler)
{
    auto* task = new Recorder;
    task->Start();
    std::promise<void> destroyed;
    task->Post([task, &destroyed] {
        delete task;
        destroyed.set_value();
    });
    EXPECT_EQ(destroyed.get_future().wait_for(kDeadline), std::future_status::ready);
}

TEST(AsyncCallback, DoesNothingWithoutATarget)
{
    const AsyncCallback<int> empty;
    EXPECT_FALSE(empty);
    empty(1);

    auto gone = std::make_unique<Recorder>();
    gone->Start();
    const auto late = gone->record;
    gone.reset();
    late("late", 1);

    static int touches = 0;
    struct Object
    {
        void Touch(int) { ++touches; }
        CallbackConnection connection;
    };
    Recorder task;
    std::unique_ptr<Object> object(new Object{CallbackConnection(&task)});
    const AsyncCallback<int> connected(object->connection, object.get(), &Object::Touch);
    connected(1);
    object.reset();
    task.Start();
    task.Drain();
    EXPECT_EQ(touches, 0);
}

TEST(AsyncCallback, KeepsASharedTargetAlive_UntilItsTurnHasPassed)
{
    struct Object
    {
        explicit Object(int& count) : touches(count) {}
        void Touch(int times) { touches += times; }
        int& touches;
    };
    int touches = 0;
    auto object = std::make_shared<Object>(touches);
    const std::weak_ptr<Object> watched = object;
    Recorder task;
    {
        const AsyncCallback<int> callback(&task, std::move(object), &Object::Touch);
        callback(2);
    }
    EXPECT_FALSE(watched.expired());
    task.Start();
    task.Drain();
    EXPECT_EQ(touches, 2);
    EXPECT_TRUE(WaitUntil([&] { return watched.expired(); }));
}

TEST(AsyncCallback, MovesItsArgumentsToTheHandler)
{
    Recorder task;
    task.Start();
    const AsyncCallback<std::shared_ptr<int>> callback(&task, &task, &Recorder::CountOwners);
    callback(std::make_shared<int>());
    task.Drain();
    EXPECT_EQ(task.owners, 1);
}

TEST(Task, StoppedBeforeItsStart_RunsNothingOnWhateverStack)
{
    Recorder task(1);
    task.record("never", 1);
    task.Stop();
    testing::internal::CaptureStderr();
    task.Start();
    task.Join();
    EXPECT_EQ(task.thread, "");
    EXPECT_TRUE(task.entries.empty());
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("Callbacks: runs with the default stack, not with 1 bytes: Invalid argument"));
}

TEST(TaskManager, WaitsForItsTasks_UntilTheyAreStopped)
{
    Recorder first;
    Recorder second;
    APTaskManager manager;
    manager.AddTask(&first);
    manager.AddTask(&second);
    manager.StartAllTasks();
    auto joined = std::async(std::launch::async, [&manager] { manager.JoinAllTasks(); });
    first.Drain();
    second.Drain();
    first.Stop();
    EXPECT_NE(joined.wait_for(std::chrono::milliseconds(0)), std::future_status::ready);
    second.Stop();
    EXPECT_EQ(joined.wait_for(kDeadline), std::future_status::ready);
}

TEST(TaskManager, WaitsInATask_UntilThatIsStopped)
{
    class Service : public APTaskManager, private APTask
    {
    public:
        explicit Service(APTask& part) : APTask("Service", 0, CTask::NOT_REALTIME, -1), m_part(part) { Start(); }
        ~Service() override { APTask::Stop(); }

    private:
        void OnEntry() override
        {
            AddTask(&m_part);
            StartAllTasks();
            JoinAllTasks();
        }
        APTask& m_part;
    };
    Recorder lasting;
    // At the first ones, the task is not yet or just about to wait.
    for (int round = 0; round < 100; ++round) {
        auto service = std::make_unique<Service>(lasting);
        std::this_thread::sleep_for(std::chrono::microseconds(round * 20));
        auto destroyed = std::async(std::launch::async, [&service] { service.reset(); });
        ASSERT_EQ(destroyed.wait_for(std::chrono::seconds(1)), std::future_status::ready);
    }
    lasting.record("a", 1);
    lasting.Drain();
    EXPECT_THAT(lasting.entries, ElementsAre("a1"));
}
