#include "APTask.h"
#include "ChildProcess.h"
#include "CliClientMT.h"
#include "CliWire.h"
#include "Escape.h"
#include "FileDescriptor.h"
#include "TemporaryFolder.h"
#include "UnixSocket.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
using testing::ContainsRegex;
using testing::HasSubstr;
using Words = std::vector<std::string>;

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
    const Service service("Service");
    const struct
    {
        const char* words;
        int status;
        std::string output; ///< Its beginning, when no line feed ends it.
    } cases[] = {
        {"service show 'a b' '' '\"'", 0, "shown{ \"a b\", \"\", \"\\\"\" }\n"},
        {"service raw", 0, "\\x1b[2J\\x0d\\x7f\\xc2\\x9b\n\tä\\\n"},
        {"service throw", 5, "vcli: no reply came: \\x1b!\n"},
        {"service upload 9", 0, "Upload Request Triggered\nUpload status code = 200\n"},
        {"--no-wait service upload 9", 0, "Upload Request Triggered\n"},
        {"service number -- -7", 5, "vcli: no reply came: stoi\n"},
        {"service number -7", 0, "-7\n"},
        {"--timeout=1 service silent", 4, "vcli: Service sent no reply within 1 s\n"},
        {"--wait=1 service show", 7, "shown{}\nvcli: the outcome did not come within 1 s\n"},
        {"service jump", 3, "vcli: no service offers the command 'service jump'. There are:\nService\n  service show"},
        {"service show $(printf %09000d 0)", 2, "vcli: the command is too long\n"},
        {"service vanish", 6, "vcli: Service closed the connection before it replied\n"},
        {"help", 1, "vcli: no service can be reached in /run/vantor/cli\n"},
    };
    for (const auto& [words, status, output] : cases) {
        const Finished result = Vcli(words);
        EXPECT_EQ(result.status, status) << words;
        EXPECT_EQ(output.back() == '\n' ? result.output : result.output.substr(0, output.size()), output) << words;
    }
}

TEST(Vcli, ServiceThatIsKilledBeforeTheOutcome_IsNoticed)
{
    const pid_t child = fork();
    if (child == 0) {
        const Service service("Service");
        while (true) {
            pause();
        }
    }
    EXPECT_TRUE(WaitUntil([] { return Vcli("help").status == 0; }));
    ChildProcess vcli({Program("vcli"), "service", "forget"});
    EXPECT_TRUE(vcli.WaitForOutput("Triggered\n"));
    kill(child, SIGKILL);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_EQ(vcli.WaitForExit(), 6);
    EXPECT_EQ(vcli.Output(), "Triggered\nvcli: Service closed the connection before it told the outcome\n");

    const Finished refused = Vcli("service show");
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.output, HasSubstr("Service cannot be reached: Connection refused"));
}

TEST(Vcli, ServiceThatTalksWithoutPause_DoesNotHoldUpATimeLimit)
{
    const FileDescriptor listener = UnixSocket::Listen(std::string(CliWire::kSocketFolder) + "/Service.sock");
    ChildProcess vcli({Program("vcli"), "--timeout=1", "service", "show"});
    FileDescriptor talker;
    ASSERT_TRUE(WaitUntil([&] { return bool(talker = FileDescriptor(accept(listener.Get(), nullptr, nullptr))); }));
    std::string lines;
    for (int line = 0; line < 10000; ++line) {
        lines += CliWire::Encode(CliWire::Event{CliWire::Event::Kind::Async, 0, "talk", {}});
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (send(talker.Get(), lines.data(), lines.size(), MSG_NOSIGNAL) > 0) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
    }
    EXPECT_EQ(vcli.WaitForExit(), 4);
    EXPECT_THAT(vcli.Output(), HasSubstr("vcli: Service does not answer\n"));
}

TEST(Vcli, BytesThatAreNoUtf8_AreEscaped)
{
    EXPECT_EQ(Escape::Text("\xff \xc3 \xe2\x82 \xe2\x82\xac \xc3"), "\\xff \\xc3 \\xe2\\x82 \xe2\x82\xac \\xc3");
}

TEST(Vcli, SeveralServices_AreListedAndEachGetsItsCommands)
{
    const Service one("One", "one");
    const Service two("Two", "two");
    const Finished help = Vcli("help");
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, HasSubstr("One\n  one show [x]\n      Help\\x0d of one show\n"));
    EXPECT_THAT(help.output, HasSubstr("Two\n  two show [x]\n"));
    EXPECT_EQ(Vcli("two number 2").output, "2\n");
}

TEST(Vcli, CommandsFromAPipe_AllRunAndTheFirstFailureIsTheStatus)
{
    const Service service("Service");
    const Finished result = Vcli("", "service number 1\n\nservice number x\n\"\nservice upload\nservice number 2");
    EXPECT_EQ(result.status, 5);
    EXPECT_EQ(result.output,
              "1\nvcli: no reply came: stoi\nvcli: a quote is not closed\nUpload Request Triggered\n"
              "Upload status code = 200\n2\n");
    EXPECT_EQ(Vcli("", "service number 1\nquit\nservice number 2\n").output, "1\n");
    EXPECT_EQ(Vcli("").status, 0);
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
