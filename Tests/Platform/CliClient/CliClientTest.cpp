#include "APTask.h"
#include "CliClientMT.h"
#include "CliWire.h"
#include "Deadline.h"
#include "Sanitized.h"
#include "ServiceLink.h"
#include "UnixSocket.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <future>
#include <signal.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

using CliWire::Request;
using testing::HasSubstr;
using Words = std::vector<std::string>;
using Reply = CliClientMT::Reply;

constexpr char kSocket[] = "/run/vantor/cli/Service.sock";

/** A tool that asks with any bytes. */
struct Tool : Vcli::ServiceLink
{
    Tool() : ServiceLink("Service", UnixSocket::Connect(kSocket)) {}

    void Say(const std::string& bytes) const
    {
        EXPECT_EQ(send(Descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    void Run(int id, const std::string& line) const { Say(CliWire::Encode(Request{Request::Kind::Run, id, line})); }

    /** Asks for the commands, and returns the answer. */
    std::string List(int id = 1)
    {
        Say(CliWire::Encode(Request{Request::Kind::List, id, ""}));
        return Next();
    }

    /** The next event as "kind id text", with the help of the commands; "end" when the connection is closed. */
    std::string Next()
    {
        static const char* const kinds[] = {"commands", "reply", "unknown", "failed", "async", "error"};
        const auto event = ServiceLink::Next(Clock::now() + kDeadline);
        if (!event) {
            return IsOpen() ? "nothing came" : "end";
        }
        std::string text = kinds[static_cast<int>(event->kind)] + (" " + std::to_string(event->id)) + " " + event->text;
        for (const CliWire::Command& command : event->commands) {
            text += "; " + command.help;
        }
        return text;
    }
};

struct CliClientTest : testing::Test
{
    CliClientTest()
    {
        signal(SIGPIPE, SIG_IGN);
        task.Start();
        client->Initialize(&task);
    }

    template <class Handle>
    void Offer(const std::string& words, Handle handle, std::uint16_t key = 1)
    {
        client->RegisterCLIServerCommands(words, "help of " + words, "", &task, CliClientMT::Handler(handle), key);
    }

    void OfferEcho(const std::string& words, std::uint16_t key)
    {
        const auto echo = [](std::uint16_t givenKey, const Words& arguments, const Reply& reply, int context) {
            reply(std::to_string(givenKey) + testing::PrintToString(arguments), context);
        };
        Offer(words, echo, key);
    }

    APTask task{"Handler", 0, CTask::NOT_REALTIME, -1};
    std::unique_ptr<CliClientMT> client = std::make_unique<CliClientMT>("Service");
};

TEST_F(CliClientTest, Command_IsRunWithItsArgumentsAndAnsweredToWhoAsked)
{
    OfferEcho("service show", 1);
    OfferEcho("service  show types", 2);
    OfferEcho("worse", 7);
    Offer("worse", [](auto, auto, const Reply& reply, int context) {
        reply("done", context);
        throw std::out_of_range("stoi");
    });
    Offer("big", [](auto, auto, const Reply& reply, int context) {
        reply(std::string(CliWire::kMaxEventLength, 'x'), context);
    });
    constexpr char kUnknown[] =
        "unknown 5 no such command; help of service show; help of service  show types; "
        "help of worse; help of big";
    const std::pair<std::string, std::string> cases[] = {
        {"service show 'a b' \"\"", R"(reply 5 1{ "a b", "" })"},
        {" service show types 9 ", R"(reply 5 2{ "9" })"},
        {"Service show", kUnknown},
        {"service show 'a", "failed 5 a quote is not closed"},
        {"worse", "reply 5 done"},
        {"big", "failed 5 a text of 1048576 bytes is too long for the command line"},
    };
    Tool other;
    Tool tool;
    for (const auto& [line, event] : cases) {
        tool.Run(5, line);
        EXPECT_EQ(tool.Next(), event);
    }
    EXPECT_THAT(other.List(2), HasSubstr("commands 2 ; help of service show; "));
}

TEST_F(CliClientTest, Replies_MayComeLaterInAnyOrderAndOnlyOnce)
{
    std::promise<std::pair<Reply, int>> kept;
    Offer("later", [&kept](auto, auto, const Reply& reply, int context) { kept.set_value({reply, context}); });
    OfferEcho("now", 2);
    Tool tool;
    tool.Run(1, "later");
    tool.Run(2, "now");
    EXPECT_EQ(tool.Next(), "reply 2 2{}");
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

TEST_F(CliClientTest, WhatIsNoRequest_EndsThatConnectionOnly)
{
    OfferEcho("echo", 1);
    Tool bystander;
    const auto nested = [](std::size_t levels) {
        return R"({"request":"list","id":0,"later":)" + std::string(levels, '[') + std::string(levels, ']') + "}";
    };
    const std::string tooLong(CliWire::kMaxRequestLength, 'x');
    const std::string lines[] = {
        "",
        {"\0", 1},
        "[]",
        nested(16),
        R"({"request":"run","line":"a"})",
        R"({"request":"run","id":1})",
        R"({"request":"run","id":1,"line":7})",
        R"({"request":"jump","id":1})",
        R"({"request":["list"],"id":1})",
        R"({"request":"list","id":-1})",
        R"({"request":"list","id":2147483648})",
        R"({"request":"list","id":1.5})",
        R"({"request":"run","id":1,"line":")" + tooLong + "\"}",
    };
    for (const std::string& line : lines) {
        Tool tool;
        tool.Say(line + "\n");
        EXPECT_THAT(tool.Next(), HasSubstr("error 0 ")) << line.substr(0, 50);
        EXPECT_EQ(tool.Next(), "end");
    }
    Tool endless;
    endless.Say(tooLong + "x");
    EXPECT_THAT(endless.Next(), HasSubstr("error 0 "));
    for (const char byte : nested(15) + "\n") {
        bystander.Say({byte});
    }
    EXPECT_EQ(bystander.Next(), "commands 0 ; help of echo");
}

TEST_F(CliClientTest, ToolThatDoesNotRead_IsDroppedAndOthersAreServed)
{
    Tool sleeper;
    Tool tool;
    EXPECT_EQ(sleeper.List() + tool.List(), "commands 1 commands 1 ");
    const std::string text(500000, 'x');
    for (int count = 0; count < 10; ++count) {
        client->SendAsyncResponse(text);
        EXPECT_EQ(tool.Next(), "async 0 " + text);
    }
    int events = 0;
    while (sleeper.Next() == "async 0 " + text) {
        ++events;
    }
    EXPECT_LT(events, 10);
    EXPECT_EQ(sleeper.Next(), "end");
    EXPECT_EQ(tool.List(2), "commands 2 ");
}

TEST_F(CliClientTest, NumbersOfToolsAndOfOpenRequests_AreBounded)
{
    Offer("silent", [](auto...) {});
    std::vector<Tool> tools(8);
    for (Tool& tool : tools) {
        EXPECT_EQ(tool.List(), "commands 1 ; help of silent");
    }
    EXPECT_EQ(Tool().Next(), "error 0 too many tools are connected");
    for (int id = 1; id <= 17; ++id) {
        tools[0].Run(id, "silent");
    }
    EXPECT_EQ(tools[0].Next(), "failed 17 too many commands wait for their replies");
    tools.pop_back();
    EXPECT_TRUE(WaitUntil([] { return Tool().List() == "commands 1 ; help of silent"; }));
}

TEST_F(CliClientTest, ServiceOutOfDescriptors_AcceptsWhenThereAreSomeAgain)
{
    SKIP_IF_SANITIZED("the sanitizer needs descriptors itself");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    Tool tool;
    EXPECT_EQ(tool.List(), "commands 1 ");
    // The limit counts numbers, not descriptors: the one that the tool itself gets is the last.
    const int next = dup(0);
    close(next);
    const rlimit low{static_cast<rlim_t>(next) + 1, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
    Tool waiting;
    waiting.Say(CliWire::Encode(Request{Request::Kind::List, 2, ""}));
    EXPECT_EQ(tool.List(3), "commands 3 ");
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(waiting.Next(), "commands 2 ");
}

TEST_F(CliClientTest, SocketOfADeadProcess_IsReplacedAndThatOfALiveOneIsNot)
{
    namespace fs = std::filesystem;
    client.reset();
    fs::remove_all("/run/vantor");
    umask(0);
    UnixSocket::Listen(kSocket); // whose descriptor is closed at once
    client = std::make_unique<CliClientMT>("Service");
    client->Initialize(&task);
    EXPECT_EQ(fs::status(kSocket).permissions(), fs::perms(0600));
    EXPECT_EQ(fs::status("/run/vantor/cli").permissions(), fs::perms(0700));
    Tool tool;
    EXPECT_EQ(tool.List(), "commands 1 ");
    for (const std::string& name : {std::string("Service"), std::string(200, 'x'), std::string("../Service")}) {
        testing::internal::CaptureStderr();
        CliClientMT second(name);
        second.Initialize(&task);
        second.SendAsyncResponse("unheard");
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("there is no command line"));
    }
    EXPECT_EQ(tool.List(2), "commands 2 ");
}
