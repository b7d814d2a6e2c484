#include "Sanitized.h"
#include "Sealed.h"

#include <gmock/gmock.h>

#include <regex>

namespace
{

using testing::HasSubstr;
using testing::MatchesRegex;

/** Short limits, so that a run that uses them all takes two seconds. A sanitizer begins slowly. */
const std::string kTimeLimit = kIsSanitized ? "3" : "1";
const std::string kBounds = "command --kill-delay 0.4 --grace 0.3 --time-limit ";
const std::string kCommand = kBounds + kTimeLimit + " ";
const std::string kCut = "diag-seal: the command was ended after " + kTimeLimit + " seconds\n";
const std::string kLeftBehind = "diag-seal: what the command left behind was ended\n";

struct Ending
{
    const char* what;
    std::string script;
    std::string text;
    int status = 0;
    std::string errors = {};
};

void ExpectEndings(const std::string& options, const std::vector<Ending>& endings)
{
    constexpr std::chrono::seconds kBound(8);
    const std::set<std::string> before = Processes();
    for (const Ending& ending : endings) {
        SCOPED_TRACE(ending.what);
        const Sealed sealed = RunDiagSeal(options + "-- sh -c " + Quoted(ending.script));
        EXPECT_EQ(sealed.status, ending.status);
        EXPECT_EQ(sealed.text, ending.text);
        EXPECT_EQ(sealed.errors, ending.errors);
        EXPECT_EQ(sealed.written.empty(), ending.status != 0);
        if (ending.status == 0) {
            EXPECT_LT(sealed.time, kBound);
            EXPECT_TRUE(sealed.isAlone);
        }
        EXPECT_TRUE(WaitUntil([&before] { return Processes() == before; }));
    }
}

TEST(DiagSealCommandTest, EndOfACommand_IsTheLastLine)
{
    ExpectEndings(
        "command ",
        {
            {"nothing to tell", "echo out; printf err >&2", "out\nerr"},
            {"exit status", "printf out; exit 3", "out\ndiag-seal: the command ended with exit status 3\n"},
            {"SIGPIPE, ignored before", "echo out; kill -PIPE $$",
             "out\ndiag-seal: the command was ended by signal 13 (Broken pipe)\n"},
            {"SIGUSR1, blocked before", "kill -USR1 $$",
             "diag-seal: the command was ended by signal 10 (User defined signal 1)\n"},
            {"no input, and no other descriptor", "cat; ls /proc/$$/fd", "0\n1\n2\n"},
            {"limits", "ulimit -c; ulimit -d; ulimit -f; cat /proc/self/oom_score_adj", "0\n262144\n131072\n500\n"},
            {"what is left behind and ends by itself", "(sleep 0.1; echo late) &", "late\n"},
        });
    ExpectEndings("command --grace 60 ",
                  {{"left behind, cannot print", "setsid sleep 99 >&- 2>&- & echo out", "out\n"}});
    const std::string tool = "(kill -64 $DIAG_SEAL_PID; exec sleep 99) & ";
    ExpectEndings("command --tool-limit 1 ",
                  {{"two tools at one time", tool + tool + "wait; sleep 1.3; echo $DIAG_SEAL_TOOL_SECONDS", "1\n"}});
    // A zombie is there after its KILL as well.
    ExpectEndings("command --tool-limit 0.3 ",
                  {{"a tool that KILL does not end",
                    "exec perl -e '$SIG{URG} = sub { exec qw(echo woken) }; if (!fork) { kill 64, $ENV{DIAG_SEAL_PID}; "
                    "sleep 99 } sleep 99 while 1'",
                    "woken\n"}});
    ExpectEndings("command --tool-limit 0.5 ", {{"a part of a second", "echo $DIAG_SEAL_TOOL_SECONDS", "1\n"}});
    const Sealed missing = RunDiagSeal("command -- --no-such-program");
    EXPECT_EQ(missing.status, 0);
    EXPECT_EQ(missing.text,
              "diag-seal: the command ended with exit status 127: --no-such-program: No such file or "
              "directory\n");
    EXPECT_EQ(RunDiagSeal("command -- -- printf %s -x").text, "-x");
    // The reason is longer than a pipe holds.
    const std::string longName(70000, 'a');
    if (!kIsSanitized) { // which needs more memory for it than a command may take
        EXPECT_THAT(RunDiagSeal("command --time-limit 3 -- " + longName).text, HasSubstr(" exit status 127: aaa"));
    }
}

TEST(DiagSealCommandTest, NothingOutlivesItsLimit)
{
    const std::string relay = "trap '' TERM; [ $0 -lt 9999 ] && { setsid sh -c \"$1\" $(($0 + 1)) \"$1\" & }; exit 0";
    ExpectEndings(
        kCommand,
        {
            {"last words of a grandchild in a session of its own, more than a pipe holds",
             "setsid sh -c \"trap 'seq 20000; exit' TERM; sleep 99 & wait\" & wait",
             RunProgram({"seq", "20000"}).output + kCut},
            {"a session and a group of its own", "trap '' TERM; setsid sleep 99 & timeout 99 sleep 99 & wait; sleep 99",
             kCut},
            {"closed outputs", "echo kept; exec >&- 2>&-; sleep 99", "kept\n" + kCut},
            {"stopped, and goes on for its TERM", "trap 'echo last; exit' TERM; kill -STOP $$", "last\n" + kCut},
            {"left behind, holds the output", "sleep 99 & echo kept; exit 4",
             "kept\n" + kLeftBehind + "diag-seal: the command ended with exit status 4\n"},
            {"daemon that has closed everything and ignores TERM",
             "trap '' TERM; (setsid sleep 99 <&- >&- 2>&- &) & echo kept", "kept\n" + kLeftBehind},
            {"a program whose name looks like its state and parent",
             "ln -s /bin/sleep '/tmp/) S 1 ('; setsid '/tmp/) S 1 (' 99 & echo kept", "kept\n" + kLeftBehind},
        });
    // On a slow machine many have ended before one is reaped.
    ExpectEndings(kCommand + "--processes 1000 ", {{"each process starts the next and ends",
                                                    "sh -c " + Quoted(relay) + " 0 " + Quoted(relay), kLeftBehind}});
}

/** What a program in perl does, for 20 s at most. Nothing in it heeds TERM. */
std::string Perl(const std::string& loop)
{
    return "exec perl -MPOSIX=setsid -e '$SIG{TERM} = \"IGNORE\"; $end = time + 20; " + loop + "'";
}

TEST(DiagSealCommandTest, TooManyProcesses_AreEndedThoughNoneMoreCanStart)
{
    const std::string end = "diag-seal: the command was ended: it had more than 40 processes\n";
    const std::string flood =
        "trap '' TERM; (i=0; while [ $i -lt 200 ]; do setsid sleep 99 & i=$((i + 1)); done) 2>/dev/null &";
    ExpectEndings(
        "command --processes 40 ",
        {
            {"a flood that is left behind and ignores TERM", flood, end},
            {"zombies", "for i in $(seq 200); do sleep 0.1 & done; exec sleep 99", end},
            {"each process starts others", Perl("while (time < $end) { fork }"), end},
            {"the same, in sessions of their own", Perl("while (time < $end) { setsid if !fork }"), end},
            {"chains of processes, faster than they can be seen", "exec " + Program("process-relay") + " 300", end},
            {"the same in one group", "setsid -w " + Program("process-relay") + " 300 stay", end},
        });
    if (!kIsSanitized) { // which needs more memory than a command may take
        // Under the filter of another one there is no second.
        ExpectEndings(
            "command --processes 400 ",
            {{"within another one",
              Program("diag-seal") + " command --processes 40 -- sh -c " + Quoted(flood) + " >/tmp/inner", ""}});
        EXPECT_EQ(Opened("/tmp/inner"), end);
    }
    ExpectEndings(kCommand, {{"few chains", "exec " + Program("process-relay") + " 10", kCut}});
    ExpectEndings(
        "command --processes 40 --time-limit 0.5 --kill-delay 60 ",
        {{"a flood that TERM lets loose", "trap 'for i in $(seq 200); do sleep 99 & done; wait' TERM; sleep 99 & wait",
          "diag-seal: the command was ended after 0.500 seconds\n"}});
}

TEST(DiagSealCommandTest, CutOutput_KeepsHeadAndTail)
{
    constexpr std::size_t kLine = 8;
    constexpr std::size_t kSize = 80000;
    for (const std::size_t lines : {10000, 10001, 500000}) {
        const std::string sequence = "seq -w 1000000 " + std::to_string(999999 + lines);
        const std::string numbers = Shell(sequence).output;
        const std::size_t missing = lines * kLine - kSize;
        const std::string cut = numbers.substr(0, kSize / 2) + "\ndiag-seal: " + std::to_string(missing) +
                                " bytes are missing here\n" + numbers.substr(numbers.size() - kSize / 2);
        EXPECT_TRUE(RunDiagSeal("command --size " + std::to_string(kSize) + " -- " + sequence).text ==
                    (missing == 0 ? numbers : cut))
            << lines;
    }
}

/** What compresses badly leaves less room for the newest, but what keeps to the bound is whole. */
TEST(DiagSealCommandTest, RandomOutput_IsWholeAtTheBound)
{
    const TemporaryFolder folder;
    const std::string random = folder.Path() + "/random";
    // Without the letters of which names of secrets are made.
    const std::string letters = "0-9B-DF-HL-NQRTVXZb-df-hl-nqrtvxz";
    Shell("LC_ALL=C tr -dc " + letters + " </dev/urandom | fold -w 76 | head -c 4000000 >" + random);
    const std::string all = ReadWholeFile(random);
    EXPECT_TRUE(RunDiagSeal("command --size 4000000 -- cat " + random).text == all);
    const Sealed cut = RunDiagSeal("command --size 3000000 -- cat " + random);
    EXPECT_LE(cut.text.size(), 3000000U + 64);
    EXPECT_TRUE(std::regex_search(cut.text, std::regex("\ndiag-seal: 10[0-9]{5} bytes are missing here\n")));
    constexpr std::size_t kTail = 400000;
    EXPECT_TRUE(cut.text.substr(cut.text.size() - kTail) == all.substr(all.size() - kTail));
}

TEST(DiagSealCommandTest, LongOutput_TakesLittleMemory)
{
    // The command, a grandchild of this shell, reads the peak of diag-seal, see proc(5).
    // A sanitizer takes memory of its own, and minutes for as much output.
    const std::string million = kIsSanitized ? "00000" : "000000";
    const std::string script = "shuf -r " SECRET_LINES " | head -c 6" + million + "; head -c 6" + million +
                               " /dev/urandom; yes | head -c 8" + million + "; grep VmHWM /proc/$PPID/status";
    const Sealed sealed = RunDiagSeal("command --size 16" + million + " -- sh -c " + Quoted(script));
    EXPECT_THAT(sealed.text, HasSubstr(" bytes are missing here\n"));
    std::smatch found;
    const std::string end = sealed.text.substr(sealed.text.size() - 40);
    ASSERT_TRUE(std::regex_search(end, found, std::regex("VmHWM:\\s+([0-9]+) kB\n$"))) << end;
    constexpr int kMostKilobytes = 8192;
    EXPECT_TRUE(kIsSanitized || std::stoi(found[1]) <= kMostKilobytes) << end;
}

TEST(DiagSealCommandTest, Secrets_AreMaskedInWhatACommandPrintsOnly)
{
    const std::string rules = "/opt/Vantor/etc/diag-mask.conf";
    const std::string line = "00:1b:21:3c:9d:4e 00:1b:21:3c:9d:4e password=hunter2\n";
    const std::string command = "command -- printf " + Quoted(line);
    const std::regex masked("(00:1b:21:(?!3c:9d:4e)[0-9a-f:]{8}) \\1 password=\\[masked:secret\\]\n");
    const Sealed one = RunDiagSeal(command);
    EXPECT_TRUE(std::regex_match(one.text, masked)) << one.text;
    EXPECT_EQ(one.errors, "");
    EXPECT_NE(RunDiagSeal(command).text, one.text) << "the same pseudonym in two items";
    WriteWholeFile(rules, "secret (\n");
    const Sealed byBuiltInRules = RunDiagSeal(command);
    EXPECT_TRUE(std::regex_match(byBuiltInRules.text, masked)) << byBuiltInRules.text;
    EXPECT_THAT(byBuiltInRules.errors,
                MatchesRegex("diag-seal: " + rules + " cannot be used, the built-in rules apply: .*\n"));
    const TemporaryFolder folder;
    EXPECT_EQ(RunDiagSeal("file -- " + folder.Write("file", line)).text, line);
    EXPECT_EQ(RunDiagSeal("text -- " + Quoted(line)).text, line);
}

TEST(DiagSealCommandTest, OutputThatNobodyTakes_EndsTheCommand)
{
    const std::pair<std::string, std::string> cases[] = {
        {"cat /dev/urandom >/dev/full", "standard output: No space left on device"},
        {"echo little >/dev/full", "standard output: No space left on device"},
        {"cat /dev/urandom >/tmp/limited", "standard output: File too large"},
        {"cat /dev/urandom | true", "standard output: Broken pipe"},
        {"cat /dev/urandom | { head -c 5000 >/tmp/taken; sleep 4; }", "standard output: nobody takes what is written"},
        {"echo little >&-", "standard output is closed"},
    };
    const std::string shell = "set -o pipefail; ulimit -f 100; " + Program("diag-seal") + ' ' + kBounds + "1 -- ";
    constexpr std::chrono::seconds kBound(10);
    const std::set<std::string> before = Processes();
    for (const auto& [command, error] : cases) {
        SCOPED_TRACE(command);
        const auto start = std::chrono::steady_clock::now();
        const Finished run = RunProgram({"bash", "-c", shell + command});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.output, "diag-seal: " + error + '\n');
        EXPECT_LT(std::chrono::steady_clock::now() - start, kBound);
        EXPECT_EQ(Processes(), before);
    }
}

/** diag-seal is two processes, of which either ends everything when the other cannot. */
TEST(DiagSealCommandTest, SignalsToDiagSeal_EndWhatItRuns)
{
    const std::string script = "trap '' TERM; guard=$(cut -d' ' -f4 /proc/$PPID/stat); setsid sleep 99 & ";
    const auto kill = [&script](const std::string& words) { return script + "kill " + words + "; sleep 99"; };
    const std::string guard = " $guard";
    ExpectEndings(kBounds + "60 ", {{"TERM", kill("-TERM" + guard), "", 1, "diag-seal: ended by signal 15\n"},
                                    {"INT", kill("-INT" + guard), "", 1, "diag-seal: ended by signal 2\n"},
                                    {"HUP", kill("-HUP" + guard), "", 1, "diag-seal: ended by signal 1\n"},
                                    {"KILL", kill("-KILL" + guard), "", 128 + 9, "Killed\n"},
                                    {"KILL of the other", kill("-KILL $PPID"), "", 1, "diag-seal: was killed\n"},
                                    {"STOP", script + "kill -STOP" + guard + "; echo kept", "kept\n" + kLeftBehind},
                                    {"TERM, when the other is stopped", kill("-STOP $PPID; kill -TERM" + guard), "", 1,
                                     "diag-seal: gave up, after signal 15\n"}});
    // Sends KILL to its whole process group. Then the worker's output fails.
    const std::set<std::string> before = Processes();
    Shell("timeout -s KILL 0.3 " + Program("diag-seal") + " command -- sh -c " +
          Quoted(script + "sleep 0.5; cat /dev/urandom") + " >/dev/full");
    EXPECT_TRUE(WaitUntil([&before] { return Processes() == before; }));
}

TEST(DiagSealCommandTest, StoppedOne_IsGivenUp)
{
    ExpectEndings(kBounds + "0.1 ", {{"for good", "trap '' TERM; setsid sleep 99 & kill -STOP $PPID; sleep 99", "", 1,
                                      "diag-seal: gave up, far beyond the time limit\n"}});
}

TEST(DiagSealCommandTest, ChildrenThatItWasBornWith_AreNotItsOwn)
{
    const std::string script = "sleep 99 & exec " + Program("diag-seal") + " command -- sh -c 'sleep 98 & exit 3' >";
    EXPECT_EQ(Shell(script + "/dev/full").status, 1);
    EXPECT_EQ(Shell(script + "/tmp/sealed").status, 0);
    EXPECT_THAT(RunProgram({"pgrep", "-a", "sleep"}).output, testing::EndsWith(" sleep 99\n"));
}

} // namespace
