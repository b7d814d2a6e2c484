#include "APTask.h"
#include "APTaskManager.h"
#include "AsyncCallback.h"
#include "CallbackConnection.h"
#include "Deadline.h"

#include <gmock/gmock.h>

#include <atomic>
#include <fstream>
#include <future>
#include <stdexcept>
#include <thread>

using namespace testing; // NOLINT(google-build-using-namespace): its matchers

struct Recorder : APTask
{
    explicit Recorder(unsigned int stackSize = 0) : APTask("RecorderOfCallbacks", stackSize, CTask::NOT_REALTIME, -1) {}
    ~Recorder() override { Stop(); }

    void Record(const std::string& text, int number)
    {
        if (number < 0) {
            throw std::out_of_range("negative");
        }
        entries.push_back(text + std::to_string(number));
    }

    void Drain()
    {
        const auto done = std::make_shared<std::promise<void>>();
        Post([done] { done->set_value(); });
        ASSERT_EQ(done->get_future().wait_for(kDeadline), std::future_status::ready);
    }

    void OnEntry() override { std::getline(std::ifstream("/proc/thread-self/comm"), thread); }

    std::vector<std::string> entries;
    std::string thread;
    const AsyncCallback<std::string const, int> record{this, this, &Recorder::Record};
};

struct Touched
{
    void Touch(int times) { touches += times; }
    int& touches;
};

TEST(Task, WhatIsPosted_RunsInOrderOnItsThreadAlsoBehindAnException)
{
    Recorder task;
    const auto copy = task.record;
    task.record("a", 1);
    testing::internal::CaptureStderr();
    task.Start();
    task.Start();
    task.record("bad", -1);
    copy("b", 2);
    task.Drain();
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("RecorderOfCallbacks: a handler ended with an exception: negative"));
    EXPECT_THAT(task.entries, ElementsAre("a1", "b2"));
    EXPECT_EQ(task.thread, "RecorderOfCallb");
}

TEST(Task, ManyCallers_KeepTheirOrder)
{
    constexpr int kCalls = 2000;
    Recorder task;
    task.Start();
    const auto call = [&task](const char* caller) {
        for (int number = 0; number < kCalls; ++number) {
            task.record(caller, number);
        }
    };
    auto other = std::async(std::launch::async, call, "a");
    call("b");
    other.wait();
    task.Drain();
    std::map<char, int> next;
    for (const std::string& entry : task.entries) {
        ASSERT_EQ(std::stoi(entry.substr(1)), next[entry[0]]++);
    }
    EXPECT_EQ(task.entries.size(), 2U * kCalls);
}

TEST(Task, Stop_DropsWhatWaitsAndLetsTheRunningHandlerEnd)
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
    entered.get_future().wait();
    auto waiting = std::make_shared<int>();
    const std::weak_ptr<int> dropped = waiting;
    task.Post([&task, owned = std::move(waiting)] { task.Record("never", 1); });
    std::thread stopper([&task] { task.Stop(); });
    EXPECT_TRUE(WaitUntil([&dropped] { return dropped.expired(); }));
    release.set_value();
    stopper.join();
    EXPECT_TRUE(isFinished);
    EXPECT_TRUE(task.entries.empty());
}

TEST(Task, StopBeforeTheStart_RunsNothingOnWhateverStack)
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
                HasSubstr("Callbacks: runs with the default stack, not with 1 bytes: Invalid argument"));
}

TEST(Task, DestructionInItsOwnHandler_Ends)
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

TEST(AsyncCallback, Target_IsKeptWhenSharedAndNotMissedWhenGone)
{
    EXPECT_FALSE(AsyncCallback<int>());
    AsyncCallback<int>()(1);

    auto gone = std::make_unique<Recorder>();
    gone->Start();
    const auto late = gone->record;
    gone.reset();
    late("late", 1);

    int touches = 0;
    Recorder task;
    Touched connected{touches};
    auto connection = std::make_unique<CallbackConnection>(&task);
    AsyncCallback<int>(*connection, &connected, &Touched::Touch)(1);
    connection.reset();
    auto shared = std::shared_ptr<Touched>(new Touched{touches});
    const std::weak_ptr<Touched> watched = shared;
    AsyncCallback<int>(&task, std::move(shared), &Touched::Touch)(2);
    EXPECT_FALSE(watched.expired());
    task.Start();
    task.Drain();
    EXPECT_EQ(touches, 2);
    EXPECT_TRUE(WaitUntil([&] { return watched.expired(); }));
}

TEST(TaskManager, Join_EndsWhenAllTasksAreStoppedOrTheTaskThatWaits)
{
    Recorder first;
    Recorder second;
    APTaskManager manager;
    manager.AddTask(&first);
    manager.AddTask(&second);
    manager.StartAllTasks();
    first.Drain();
    second.Drain();
    // At the first ones, the task is not yet or just about to wait.
    for (int round = 0; round < 100; ++round) {
        Recorder joining;
        joining.Start();
        joining.Post([&manager] { manager.JoinAllTasks(); });
        std::this_thread::sleep_for(std::chrono::microseconds(round * 20));
        auto stopped = std::async(std::launch::async, [&joining] { joining.Stop(); });
        ASSERT_EQ(stopped.wait_for(kDeadline), std::future_status::ready);
    }
    auto joined = std::async(std::launch::async, [&manager] { manager.JoinAllTasks(); });
    first.Stop();
    EXPECT_NE(joined.wait_for(std::chrono::milliseconds(50)), std::future_status::ready);
    second.Stop();
    EXPECT_EQ(joined.wait_for(kDeadline), std::future_status::ready);
}
