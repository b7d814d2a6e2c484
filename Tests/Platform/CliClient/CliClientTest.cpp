#include <gmock/gmock.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <future>
#include <mutex>
#include <stdexcept>

#include "APTask.h"
#include "CliClientMT.h"
#include "CliConnection.h"
#include "CliWire.h"
#include "Deadline.h"
#include "UnixSocket.h"

namespace
{
using Clock = std::chrono::steady_clock;
using CliWire::Event;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr char kSocket[] = "/run/vantor/cli/Service.sock";

/** A tool that is served line by line; the test fails when nothing comes. */
class Tool
{
public:
    Tool() : m_socket(UnixSocket::Connect(kSocket)) { EXPECT_TRUE(m_socket) << strerror(errno); }

    void SendBytes(const std::string& bytes) const
    {
        EXPECT_EQ(send(m_socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }

    void Run(int id, const std::string& line) const
    {
        SendBytes(CliWire::Encode(CliWire::Request{CliWire::Request::Kind::Run, id, line}));
    }

    void List(int id) const { SendBytes(CliWire::Encode(CliWire::Request{CliWire::Request::Kind::List, id, ""})); }

    /** The next event as "kind id text"; "end" when the service closed the connection. */
    std::string Next()
    {
        m_last = {};
        const auto deadline = Clock::now() + kDeadline;
        while (Clock::now() < deadline) {
            if (const auto line = m_lines.Next()) {
                m_last = CliWire::DecodeEvent(*line).value_or(Event{Event::Kind::Error, -1, "undecodable", {}});
                static const char* const names[] = {"commands", "reply", "unknown", "failed", "async", "error"};
                return names[static_cast<int>(m_last.kind)] + (" " + std::to_string(m_last.id)) + " " + m_last.text;
            }
            pollfd ready{m_socket.Get(), POLLIN, 0};
            poll(&ready, 1, 1000);
            char chunk[4096];
            const ssize_t got = recv(m_socket.Get(), chunk, sizeof chunk, 0);
            if (got > 0) {
                m_lines.Append(chunk, static_cast<std::size_t>(got));
            } else if (got == 0 || errno != EAGAIN) {
                return "end";
            }
        }
        return "nothing came";
    }

    const std::vector<CliWire::Command>& Commands() const { return m_last.commands; }

private:
    FileDescriptor m_socket;
    CliWire::LineCutter m_lines{CliWire::kMaxEventLength};
    Event m_last;
};

using Handle = std::function<void(std::uint16_t, std::vector<std::string>, CliClientMT::Reply, int)>;

/** A client whose command line is up. */
class CliClient : public testing::Test
{
protected:
    void SetUp() override
    {
        task.Start();
        client->Initialize(&task);
    }

    void Offer(const std::string& words, std::uint16_t key, Handle handle)
    {
        client->RegisterCLIServerCommands(words, "help of " + words, words + " [x]", &task,
                                          CliClientMT::Handler(std::move(handle)), key);
    }

    void OfferEcho(const std::string& words, std::uint16_t key)
    {
        Offer(words, key,
              [](std::uint16_t givenKey, const std::vector<std::string>& arguments, const CliClientMT::Reply& reply,
                 int context) {
                  std::string text = std::to_string(givenKey);
                  for (const std::string& argument : arguments) {
                      text += "|" + argument;
                  }
                  reply(text, context);
              });
    }

    APTask task{"Handler", 0, CTask::NOT_REALTIME, -1};
    std::unique_ptr<CliClientMT> client = std::make_unique<CliClientMT>("Service");
};
} // namespace

TEST_F(CliClient, Command_IsRunWithItsArgumentsAndAnsweredToWhoAsked)
{
    OfferEcho("service show", 1);
    OfferEcho("service  show types", 2);
    Tool other;
    Tool tool;
    tool.Run(5, "service show 'a b' \"\"");
    EXPECT_EQ(tool.Next(), "reply 5 1|a b|");
    tool.Run(6, " service show types 9 ");
    EXPECT_EQ(tool.Next(), "reply 6 2|9");
    OfferEcho("service show", 7);
    tool.Run(7, "service show");
    EXPECT_EQ(tool.Next(), "reply 7 7");
    tool.Run(8, "service show 'a");
    EXPECT_EQ(tool.Next(), "failed 8 a quote is not closed");

    other.Run(1, "service");
    EXPECT_EQ(other.Next(), "unknown 1 no such command");
    ASSERT_EQ(other.Commands().size(), 2U);
    EXPECT_EQ(other.Commands()[1].help, "help of service  show types");
    other.List(2);
    EXPECT_EQ(other.Next(), "commands 2 ");
    EXPECT_EQ(other.Commands().size(), 2U);
}

TEST_F(CliClient, Replies_MayComeLaterInAnyOrderAndOnlyOnce)
{
    std::promise<std::pair<CliClientMT::Reply, int>> kept;
    Offer("later", 1, [&kept](std::uint16_t, const auto&, const CliClientMT::Reply& reply, int context) {
        kept.set_value({reply, context});
    });
    OfferEcho("now", 2);
    Tool tool;
    tool.Run(1, "later");
    tool.Run(2, "now");
    EXPECT_EQ(tool.Next(), "reply 2 2");
    const auto [reply, context] = kept.get_future().get();
    reply("at last", context);
    reply("again", context);
    reply("nobody asked", 12345);
    client->SendAsyncResponse("outcome");
    EXPECT_EQ(tool.Next(), "reply 1 at last");
    EXPECT_EQ(tool.Next(), "async 0 outcome");

    client.reset();
    EXPECT_EQ(tool.Next(), "end");
    EXPECT_FALSE(std::filesystem::exists(kSocket));
    reply("too late", context);
}

TEST_F(CliClient, HandlerThatThrows_IsReportedAndTheTaskGoesOn)
{
    Offer("bad", 1, [](auto...) { throw std::invalid_argument("stoi"); });
    Offer("worse", 2, [](std::uint16_t, const auto&, const CliClientMT::Reply& reply, int context) {
        reply("done", context);
        throw std::out_of_range("stoi");
    });
    Tool tool;
    tool.Run(1, "bad");
    EXPECT_EQ(tool.Next(), "failed 1 stoi");
    tool.Run(2, "worse");
    EXPECT_EQ(tool.Next(), "reply 2 done");
    tool.Run(3, "bad");
    EXPECT_EQ(tool.Next(), "failed 3 stoi");
}

TEST_F(CliClient, WhatIsNoRequest_EndsThatConnectionOnly)
{
    OfferEcho("echo", 1);
    Tool bystander;
    const std::string wrong[] = {"hello\n",
                                 "{}\n",
                                 "\n",
                                 std::string(CliWire::kMaxRequestLength + 1, 'x'),
                                 std::string("\0\n", 2),
                                 std::string(10000, '[') + "\n"};
    for (const std::string& bytes : wrong) {
        Tool tool;
        tool.SendBytes(bytes);
        EXPECT_THAT(tool.Next(), HasSubstr("error 0 ")) << bytes.substr(0, 20);
        EXPECT_EQ(tool.Next(), "end");
    }
    const std::string request = CliWire::Encode(CliWire::Request{CliWire::Request::Kind::Run, 1, "echo a"});
    for (const char byte : request) {
        bystander.SendBytes({byte});
    }
    EXPECT_EQ(bystander.Next(), "reply 1 1|a");
}

TEST_F(CliClient, ToolThatDoesNotRead_IsDroppedAndOthersAreServed)
{
    OfferEcho("echo", 1);
    Tool sleeper;
    Tool tool;
    sleeper.List(1);
    tool.List(1);
    EXPECT_EQ(tool.Next(), "commands 1 ");
    const std::string text(500 * 1000, 'x');
    for (int count = 0; count < 10; ++count) {
        client->SendAsyncResponse(text);
        EXPECT_EQ(tool.Next(), "async 0 " + text);
    }
    std::string last;
    int events = 0;
    for (; (last = sleeper.Next()) != "end" && last != "nothing came"; ++events) {
    }
    EXPECT_EQ(last, "end");
    EXPECT_LT(events, 10);
    tool.Run(2, "echo");
    EXPECT_EQ(tool.Next(), "reply 2 1");
}

TEST_F(CliClient, TextBeyondTheLimit_IsReplacedByANotice)
{
    Offer("big", 1, [](std::uint16_t, const auto&, const CliClientMT::Reply& reply, int context) {
        reply(std::string(CliWire::kMaxEventLength, 'x'), context);
    });
    Tool tool;
    tool.Run(1, "big");
    EXPECT_EQ(tool.Next(), "failed 1 a text of 1048576 bytes is too long for the command line");
}

TEST_F(CliClient, NumbersOfToolsAndOfOpenRequests_AreBounded)
{
    Offer("silent", 1, [](auto...) {});
    std::vector<Tool> tools(8);
    for (Tool& tool : tools) {
        tool.List(1);
        EXPECT_EQ(tool.Next(), "commands 1 ");
    }
    EXPECT_EQ(Tool().Next(), "error 0 too many tools are connected");
    for (int id = 1; id <= 17; ++id) {
        tools[0].Run(id, "silent");
    }
    EXPECT_EQ(tools[0].Next(), "failed 17 too many commands wait for their replies");
    tools.pop_back();
    std::string answer;
    for (const auto deadline = Clock::now() + kDeadline; answer != "commands 2 " && Clock::now() < deadline;) {
        Tool tool;
        tool.List(2);
        answer = tool.Next();
    }
    EXPECT_EQ(answer, "commands 2 ");
}

TEST_F(CliClient, ServiceOutOfDescriptors_AcceptsWhenThereAreSomeAgain)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer needs descriptors itself";
#endif
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    Tool tool;
    tool.List(1);
    EXPECT_EQ(tool.Next(), "commands 1 ");
    // The limit counts numbers, not descriptors: the one that the tool itself gets is the last.
    const int next = dup(0);
    close(next);
    const rlimit low{static_cast<rlim_t>(next) + 1, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
    Tool waiting;
    waiting.List(2);
    tool.List(3);
    EXPECT_EQ(tool.Next(), "commands 3 ");
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(waiting.Next(), "commands 2 ");
}

TEST(CliClientSocket, FileOfADeadProcess_IsReplacedAndThatOfALiveOneIsNot)
{
    std::filesystem::remove_all("/run/vantor");
    const pid_t child = fork();
    if (child == 0) {
        umask(0);
        APTask task("Handler", 0, CTask::NOT_REALTIME, -1);
        CliClientMT client("Service");
        client.Initialize(&task);
        kill(getpid(), SIGKILL);
    }
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    struct stat status
    {};
    ASSERT_EQ(stat(kSocket, &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    ASSERT_EQ(stat("/run/vantor/cli", &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);

    APTask task("Handler", 0, CTask::NOT_REALTIME, -1);
    CliClientMT client("Service");
    client.Initialize(&task);
    Tool tool;
    tool.List(1);
    EXPECT_EQ(tool.Next(), "commands 1 ");

    for (const std::string& name : {std::string("Service"), std::string(200, 'x'), std::string("../Service")}) {
        testing::internal::CaptureStderr();
        {
            CliClientMT second(name);
            second.Initialize(&task);
            second.SendAsyncResponse("unheard");
        }
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("there is no command line"));
    }
    tool.List(2);
    EXPECT_EQ(tool.Next(), "commands 2 ");
}
