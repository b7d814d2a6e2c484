#include <gmock/gmock.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <stdexcept>

#include "APTask.h"
#include "CliClientMT.h"

namespace
{
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

struct Result
{
    int status;
    std::string output;
};

/** Runs vcli by a shell; standard error joins the output. */
Result Vcli(const std::string& arguments, const std::string& input = "")
{
    const std::string command = "printf '%b' '" + input + "' | " VCLI_PROGRAM " " + arguments + " 2>&1";
    FILE* const pipe = popen(command.c_str(), "r");
    std::string output;
    for (int c = 0; (c = fgetc(pipe)) != EOF;) {
        output += static_cast<char>(c);
    }
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

using Handle = std::function<void(const std::vector<std::string>&, const std::function<void(std::string)>&)>;

/** A service with a command of every temper. */
class Service
{
public:
    explicit Service(const std::string& name, const std::string& word = "service")
        : m_client(std::make_unique<CliClientMT>(name))
    {
        m_task.Start();
        m_client->Initialize(&m_task);
        Offer(word + " show", [](const auto& arguments, const auto& reply) {
            std::string text = "shown";
            for (const std::string& argument : arguments) {
                text += "<" + argument + ">";
            }
            reply(text);
        });
        Offer(word + " upload", [this](const auto&, const auto& reply) {
            reply("Upload Request Triggered");
            m_client->SendAsyncResponse("Upload status code = 200");
        });
        Offer(word + " number",
              [](const auto& arguments, const auto& reply) { reply(std::to_string(std::stoi(arguments.at(0)))); });
        Offer(word + " silent", [](const auto&, const auto&) {});
        Offer(word + " vanish", [this](const auto&, const auto&) { m_client.reset(); });
        Offer(word + " forget", [](const auto&, const auto& reply) { reply("Triggered"); });
    }

    /** A handler may still be at work on the client. */
    ~Service() { m_task.Stop(); }

private:
    void Offer(const std::string& words, Handle handle)
    {
        m_client->RegisterCLIServerCommands(
            words, "Help of " + words, words + " [x]", &m_task,
            CliClientMT::Handler([handle = std::move(handle)](std::uint16_t, const std::vector<std::string>& arguments,
                                                              const CliClientMT::Reply& reply, int context) {
                handle(arguments, [&](std::string text) { reply(std::move(text), context); });
            }),
            1);
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
        const char* arguments;
        int status;
        const char* output;
    } cases[] = {
        {"service show 'a b' '' '\"'", 0, "shown<a b><><\">\n"},
        {"service upload 9", 0, "Upload Request Triggered\nUpload status code = 200\n"},
        {"--no-wait service upload 9", 0, "Upload Request Triggered\n"},
        {"service number 12abc", 0, "12\n"},
        {"service number -- -7", 5, "vcli: no reply came: stoi\n"},
        {"service number -7", 0, "-7\n"},
        {"service number abc", 5, "vcli: no reply came: stoi\n"},
        {"--timeout=1 service silent", 4, "vcli: Service sent no reply within 1 s\n"},
        {"--wait=1 service show", 7, "shown\nvcli: the outcome did not come within 1 s\n"},
        {"--timeout 0 service show", 2, "vcli: cannot make sense of --timeout; see vcli --help\n"},
        {"--quick service show", 2, "vcli: cannot make sense of --quick; see vcli --help\n"},
    };
    for (const auto& one : cases) {
        const Result result = Vcli(one.arguments);
        EXPECT_EQ(result.output, one.output) << one.arguments;
        EXPECT_EQ(result.status, one.status) << one.arguments;
    }
    const Result unknown = Vcli("service jump");
    EXPECT_EQ(unknown.status, 3);
    EXPECT_THAT(unknown.output, AllOf(HasSubstr("'service jump'"), HasSubstr("service upload [x]")));
}

TEST(Vcli, ServiceThatGoesBeforeTheReply_IsNoticed)
{
    const Service service("Service");
    const Result result = Vcli("service vanish");
    EXPECT_EQ(result.status, 6);
    EXPECT_EQ(result.output, "vcli: Service closed the connection before it replied\n");
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
    FILE* const pipe = popen("until " VCLI_PROGRAM " help >/dev/null 2>&1; do :; done; " VCLI_PROGRAM
                             " service forget 2>&1; echo status $?",
                             "r");
    char line[200] = "";
    ASSERT_NE(fgets(line, sizeof line, pipe), nullptr);
    EXPECT_STREQ(line, "Triggered\n");
    kill(child, SIGKILL);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    ASSERT_NE(fgets(line, sizeof line, pipe), nullptr);
    EXPECT_STREQ(line, "vcli: Service closed the connection before it told the outcome\n");
    ASSERT_NE(fgets(line, sizeof line, pipe), nullptr);
    EXPECT_STREQ(line, "status 6\n");
    pclose(pipe);

    const Result refused = Vcli("service show");
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.output, HasSubstr("Service cannot be reached: Connection refused"));
}

TEST(Vcli, NoService_IsSaid)
{
    const Result result = Vcli("help");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "vcli: no service can be reached in /run/vantor/cli\n");
    EXPECT_THAT(Vcli("--help").output, HasSubstr("Exit status"));
}

TEST(Vcli, SeveralServices_AreListedAndEachGetsItsCommands)
{
    const Service one("One", "one");
    const Service two("Two", "two");
    const Result help = Vcli("help");
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output,
                AllOf(HasSubstr("One\n  one show [x]\n      Help of one show\n"), HasSubstr("Two\n  two show [x]\n")));
    EXPECT_EQ(Vcli("two show 2").output, "shown<2>\n");
}

TEST(Vcli, CommandsFromAPipe_AllRunAndTheFirstFailureIsTheStatus)
{
    const Service service("Service");
    const Result result = Vcli("", "service show 1\\n\\nservice number x\\n\"\\nservice upload\\nservice show last");
    EXPECT_EQ(result.status, 5);
    EXPECT_EQ(result.output,
              "shown<1>\nvcli: no reply came: stoi\nvcli: a quote is not closed\nUpload Request Triggered\n"
              "Upload status code = 200\nshown<last>\n");
    EXPECT_EQ(Vcli("", "service show\\nquit\\nservice show 2\\n").output, "shown\n");
    EXPECT_EQ(Vcli("", "").status, 0);
}

TEST(Vcli, Terminal_HasAPromptAndShowsOutcomesAsTheyCome)
{
    const Service service("Service");
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        execl(VCLI_PROGRAM, "vcli", nullptr);
        _exit(127);
    }
    std::string shown;
    const auto readUntil = [&](const std::string& text) {
        char chunk[500];
        ssize_t got = 0;
        while (shown.find(text) == std::string::npos && (got = read(terminal, chunk, sizeof chunk)) > 0) {
            shown.append(chunk, static_cast<std::size_t>(got));
        }
        EXPECT_THAT(shown, HasSubstr(text));
        shown.erase(0, shown.find(text) + text.size());
    };
    alarm(30);
    readUntil("vcli> ");
    ASSERT_EQ(write(terminal, "service upload\n", 15), 15);
    readUntil("Upload Request Triggered\r\n");
    readUntil("Upload status code = 200\r\n");
    readUntil("vcli> ");
    ASSERT_EQ(write(terminal, "quit\n", 5), 5);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    close(terminal);
}
