#include "APTask.h"
#include "ChildProcess.h"
#include "CliClientMT.h"
#include "CliWire.h"
#include "FileDescriptor.h"
#include "TemporaryFolder.h"
#include "Texts.h"
#include "UnixSocket.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace
{
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;
using Words = std::vector<std::string>;

const std::string kSocketFolder = std::string(CliWire::kSocketFolder) + '/';

/** Runs vcli by a shell, so that its words may be quoted. */
Finished Vcli(const std::string& words, const std::string& input = "")
{
    WriteWholeFile("/tmp/input", input);
    return RunProgram({"sh", "-c", "exec " + Program("vcli") + " " + words + " </tmp/input"});
}

/** A service with commands that reply at once, later, or never. */
class Service
{
public:
    explicit Service(const std::string& name, const std::string& word = "service")
        : m_client(std::make_unique<CliClientMT>(name))
    {
        m_task.Start();
        m_client->Initialize(&m_task);
        Offer(word + " show", [](const Words& words, auto reply) { reply("shown" + testing::PrintToString(words)); });
        Offer(word + " number", [](const Words& words, auto reply) { reply(std::to_string(std::stoi(words.at(0)))); });
        Offer(word + " raw", [](const Words&, auto reply) { reply("\x1b[2J\r\x7f\xc2\x9b\n\tä\\"); });
        Offer(word + " throw", [](auto...) { throw std::runtime_error("\x1b!"); });
        Offer(word + " silent", [](auto...) {});
        Offer(word + " forget", [](const Words&, auto reply) { reply("Triggered"); });
        Offer(word + " vanish", [this](auto...) { m_client.reset(); });
        Offer(word + " upload", [this](const Words&, auto reply) {
            reply("Upload Request Triggered");
            m_client->SendAsyncResponse("Upload status code = 200");
        });
    }

    /** A handler may still be at work on the client. */
    ~Service() { m_task.Stop(); }

private:
    template <class Handle>
    void Offer(const std::string& words, Handle handle)
    {
        const CliClientMT::Handler handler(
            [handle](std::uint16_t, const Words& arguments, const CliClientMT::Reply& reply, int context) {
                handle(arguments, [&](const std::string& text) { reply(text, context); });
            });
        m_client->RegisterCLIServerCommands(words, "Help\r of " + words, words + " [x]", &m_task, handler, 1);
    }

    APTask m_task{"Handler", 0, CTask::NOT_REALTIME, -1};
    std::unique_ptr<CliClientMT> m_client;
};
} // namespace

TEST(Vcli, EveryEndOfACommand_HasItsWordsAndItsStatus)
{
    EXPECT_EQ(Vcli("help").output, "vcli: no service can be reached in /run/vantor/cli\n");
    const Service service("Service");
    const Service other("Other", "other");
    const struct
    {
        const char* words;
        int status;
        testing::Matcher<std::string> output;
        const char* input = "";
    } cases[] = {
        {"service show 'a b' '' '\"'", 0, "shown{ \"a b\", \"\", \"\\\"\" }\n"},
        {"service raw", 0, "\\x1b[2J\\x0d\\x7f\\xc2\\x9b\n\tä\\\n"},
        {"service throw", 5, "vcli: no reply came: \\x1b!\n"},
        {"service upload 9", 0, "Upload Request Triggered\nUpload status code = 200\n"},
        {"--no-wait service upload 9", 0, "Upload Request Triggered\n"},
        {"service number -- -7", 5, "vcli: no reply came: stoi\n"},
        {"service number -7", 0, "-7\n"},
        {"other number 2", 0, "2\n"},
        {"--timeout=1 service silent", 4, "vcli: Service sent no reply within 1 s\n"},
        {"--wait=1 service show", 7, "shown{}\nvcli: the outcome did not come within 1 s\n"},
        {"help", 0,
         AllOf(StartsWith("Other\n  other show [x]\n      Help\\x0d of other show\n"), HasSubstr("\nService\n"))},
        {"service 'j\xff\xc3|\xe2\x82|\xe2\x82\xac\xc3'", 3,
         StartsWith("vcli: no service offers the command 'service j\\xff\\xc3|\\xe2\\x82|\xe2\x82\xac\\xc3'. There "
                    "are:\nOther\n  other show")},
        {"service show $(printf %09000d 0)", 2, "vcli: the command is too long\n"},
        // Of commands from a pipe, the first failure is the status.
        {"", 2,
         "1\nvcli: a quote is not closed\nvcli: no reply came: stoi\nUpload Request Triggered\n"
         "Upload status code = 200\n2\n",
         "service number 1\n\n\"\nservice number x\nservice upload\nservice number 2"},
        {"", 0, "1\n", "service number 1\nquit\nservice number 2\n"},
        {"", 0, ""},
        {"other vanish", 6, "vcli: Other closed the connection before it replied\n"},
    };
    for (const auto& [words, status, output, input] : cases) {
        const Finished result = Vcli(words, input);
        EXPECT_EQ(result.status, status) << words;
        EXPECT_THAT(result.output, output) << words;
    }
    ChildProcess waiting({Program("vcli"), "service", "forget"});
    EXPECT_TRUE(waiting.WaitForOutput("Triggered\n"));
    Vcli("service vanish");
    EXPECT_EQ(waiting.WaitForExit(), 6);
    EXPECT_EQ(waiting.Output(), "Triggered\nvcli: Service closed the connection before it told the outcome\n");
    // A service that is killed leaves its socket behind.
    UnixSocket::Listen(kSocketFolder + "Killed.sock");
    EXPECT_THAT(Vcli("help").output, HasSubstr("Killed cannot be reached: Connection refused"));
}

TEST(Vcli, ServiceThatTalksWithoutPause_DoesNotHoldUpATimeLimit)
{
    const FileDescriptor listener = UnixSocket::Listen(kSocketFolder + "Service.sock");
    ChildProcess vcli({Program("vcli"), "--timeout=1", "service", "show"});
    FileDescriptor talker;
    ASSERT_TRUE(WaitUntil([&] { return bool(talker = FileDescriptor(accept(listener.Get(), nullptr, nullptr))); }));
    const std::string lines =
        Repeated(CliWire::Encode(CliWire::Event{CliWire::Event::Kind::Async, 0, "talk", {}}), 10000);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (send(talker.Get(), lines.data(), lines.size(), MSG_NOSIGNAL) > 0) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
    }
    EXPECT_EQ(vcli.WaitForExit(), 4);
    EXPECT_THAT(vcli.Output(), HasSubstr("vcli: Service does not answer\n"));
}

TEST(Vcli, Terminal_HasAPromptAndShowsOutcomesAsTheyCome)
{
    const Service service("Service");
    ASSERT_EQ(mkfifo("/tmp/keys", 0600), 0);
    ChildProcess terminal({"sh", "-c", "exec script -qec " + Program("vcli") + " /dev/null </tmp/keys"});
    const FileDescriptor keys(open("/tmp/keys", O_WRONLY | O_CLOEXEC));
    ASSERT_TRUE(terminal.WaitForOutput("vcli> "));
    keys.WriteAll("service forget\nservice upload\n");
    ASSERT_TRUE(terminal.WaitForOutput("Upload Request Triggered\r\n"));
    ASSERT_TRUE(terminal.WaitForOutput("Upload status code = 200\r\n"));
    keys.WriteAll("quit\n");
    EXPECT_EQ(terminal.WaitForExit(), 0);

    // What is waited for shows on a terminal only: the table above has its cases without one.
    const std::string wait = Program("vcli") + " --wait=2 service show";
    EXPECT_THAT(RunProgram({"script", "-qec", wait, "/dev/null"}).output,
                ContainsRegex("\rwaiting for the outcome, 1 s\r.*\x1b\\[Kvcli: the outcome did not come"));
}
