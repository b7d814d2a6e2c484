#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <fstream>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "APTask.h"
#include "APTaskManager.h"
#include "AsyncCallback.h"
#include "CallbackConnection.h"
#include "Deadline.h"
#include "IL.h"

namespace
{
/** Remembers what its handler was called with, and on which thread. */
class Recorder : public APTask
{
public:
    Recorder() : APTask("RecorderOfCallbacks", 0, CTask::NOT_REALTIME, -1) {}
    ~Recorder() override { Stop(); }

    void Record(const std::string& text, int number)
    {
        if (number < 0) {
            throw std::out_of_range("negative");
        }
        entries.push_back(text + std::to_string(number));
        threads.push_back(std::this_thread::get_id());
    }

    void Finish(std::shared_ptr<std::promise<void>> done) { done->set_value(); }

    /** Waits until everything posted before has run. */
    void Drain()
    {
        auto done = std::make_shared<std::promise<void>>();
        const AsyncCallback<std::shared_ptr<std::promise<void>>> finish(this, this, &Recorder::Finish);
        finish(done);
        ASSERT_EQ(done->get_future().wait_for(kDeadline), std::future_status::ready);
    }

    bool isEntered = false;
    std::vector<std::string> entries;
    std::vector<std::thread::id> threads;

protected:
    void OnEntry() override { isEntered = true; }
};

class Victim : public CTask
{
public:
    explicit Victim(std::promise<void>& bodyEnded) : CTask("Victim", false, NOT_REALTIME, -1), m_bodyEnded(bodyEnded) {}

    std::unique_ptr<CTask> self;

private:
    void ThreadBody() override
    {
        auto& bodyEnded = m_bodyEnded;
        self.reset();
        bodyEnded.set_value();
    }
    std::promise<void>& m_bodyEnded;
};
} // namespace

TEST(Task, RunsWhatWasPostedBeforeAndAfterStart_InOrderOnItsThread)
{
    Recorder task;
    const AsyncCallback<std::string const, int> callback(&task, &task, &Recorder::Record);
    const auto copy = callback;
    callback("a", 1);
    task.Start();
    task.Start();
    copy("b", 2);
    task.Drain();

    EXPECT_TRUE(task.isEntered);
    EXPECT_EQ(task.entries, (std::vector<std::string>{"a1", "b2"}));
    EXPECT_EQ(task.threads[0], task.threads[1]);
    EXPECT_NE(task.threads[0], std::this_thread::get_id());
}

TEST(Task, GoesOnAfterAnException)
{
    Recorder task;
    task.Start();
    const AsyncCallback<std::string, int> callback(&task, &task, &Recorder::Record);
    testing::internal::CaptureStderr();
    callback("bad", -1);
    callback("good", 1);
    task.Drain();
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("RecorderOfCallbacks: a handler ended by an exception: negative"));
    EXPECT_EQ(task.entries, std::vector<std::string>{"good1"});
}

TEST(Task, KeepsTheOrderOfEachOfManyCallers)
{
    constexpr int kCallers = 4;
    constexpr int kCalls = 2000;
    Recorder task;
    task.Start();
    const AsyncCallback<std::string, int> callback(&task, &task, &Recorder::Record);
    std::vector<std::thread> callers;
    for (int caller = 0; caller < kCallers; ++caller) {
        callers.emplace_back([&callback, caller] {
            for (int call = 0; call < kCalls; ++call) {
                callback(std::string(1, static_cast<char>('a' + caller)), call);
            }
        });
    }
    for (auto& caller : callers) {
        caller.join();
    }
    task.Drain();
    std::array<int, kCallers> next{};
    for (const std::string& entry : task.entries) {
        ASSERT_EQ(std::stoi(entry.substr(1)), next[static_cast<std::size_t>(entry[0] - 'a')]++);
    }
    EXPECT_EQ(task.entries.size(), static_cast<std::size_t>(kCallers * kCalls));
}

TEST(AsyncCallback, DoesNothingWithoutATarget)
{
    const AsyncCallback<int> empty;
    EXPECT_FALSE(empty);
    empty(1);

    auto gone = std::make_unique<Recorder>();
    gone->Start();
    const AsyncCallback<std::string, int> callback(gone.get(), gone.get(), &Recorder::Record);
    gone.reset();
    callback("late", 1);

    struct Object
    {
        explicit Object(const NotifyTargetTaskIF* task) : connection(task) {}
        void Touch(int value) { touched.push_back(value); }
        std::vector<int> touched;
        CallbackConnection connection;
    };
    Recorder task;
    auto object = std::make_unique<Object>(&task);
    const AsyncCallback<int> connected(object->connection, object.get(), &Object::Touch);
    connected(1);
    object.reset();
    task.Start();
    task.Drain();
}

TEST(AsyncCallback, MovesItsArgumentsToTheHandler)
{
    struct Counted
    {
        Counted() = default;
        Counted(const Counted& other) : copies(other.copies + 1) {}
        Counted(Counted&& other) noexcept : copies(other.copies) {}
        int copies = 0;
    };
    struct Receiver : APTask
    {
        Receiver() : APTask("Receiver", 0, CTask::NOT_REALTIME, -1) {}
        ~Receiver() override { Stop(); }
        void Take(Counted value) { taken.set_value(value.copies); }
        std::promise<int> taken;
    };
    Receiver task;
    task.Start();
    const AsyncCallback<Counted> callback(&task, &task, &Receiver::Take);
    callback(Counted());
    EXPECT_EQ(task.taken.get_future().get(), 0);
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
    const AsyncCallback<std::string, int> callback(&task, &task, &Recorder::Record);
    callback("never", 1);
    entered.get_future().wait();
    std::thread stopper([&task] { task.Stop(); });
    while (!task.Queue()->IsClosed()) {
        std::this_thread::yield();
    }
    release.set_value();
    stopper.join();
    EXPECT_TRUE(isFinished);
    EXPECT_TRUE(task.entries.empty());
}

TEST(Task, CanBeDestroyedInItsOwnBody)
{
    std::promise<void> bodyEnded;
    auto victim = std::make_unique<Victim>(bodyEnded);
    Victim& running = *victim;
    running.self = std::move(victim);
    running.Start();
    EXPECT_EQ(bodyEnded.get_future().wait_for(kDeadline), std::future_status::ready);
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

TEST(Task, ShowsItsNameToTheSystem)
{
    auto* task = IL::CreateTask("CommandsOfTheLine", "");
    std::promise<std::string> name;
    task->Post([&name] {
        std::string text;
        std::getline(std::ifstream("/proc/thread-self/comm"), text);
        name.set_value(text);
    });
    EXPECT_EQ(name.get_future().get(), "CommandsOfTheLi");
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
    manager.StopAllTasks();
    EXPECT_EQ(joined.wait_for(kDeadline), std::future_status::ready);
}
