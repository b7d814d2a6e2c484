#include "Sealed.h"

#include <gmock/gmock.h>

namespace
{

using testing::EndsWith;

TEST(DiagSealFileTest, RegularFile_ArrivesByteForByte)
{
    Shell("cd /tmp; head -c 300000 /dev/urandom >random; : >empty; cp random ./-f; cd /tmp; ln -s /tmp tmp");
    for (const std::string path :
         {"/tmp/random", "/tmp/empty", "/tmp/tmp/random", "/proc/self/../version", "/tmp/./-f"}) {
        const Sealed sealed = RunDiagSeal("file -- " + path);
        EXPECT_EQ(sealed.status, 0) << path << ' ' << sealed.errors;
        EXPECT_FALSE(sealed.written.empty());
        EXPECT_TRUE(sealed.text == ReadWholeFile(path)) << path;
    }
}

TEST(DiagSealFileTest, WhatIsNoRegularFile_IsRefused)
{
    Shell("cd /tmp; : >file; mkdir folder; mkfifo fifo; ln -s file link");
    const std::pair<std::string, std::string> cases[] = {
        {"/tmp/missing", "No such file or directory"},    {"/tmp/folder", "not a regular file but a folder"},
        {"/tmp/fifo", "not a regular file but a FIFO"},   {"/tmp/link", "not a regular file but a symbolic link"},
        {"/dev/zero", "not a regular file but a device"}, {"/proc/self/mem", "Input/output error"},
    };
    for (const auto& [path, reason] : cases) {
        const Sealed sealed = RunDiagSeal("file -- " + path);
        EXPECT_EQ(sealed.status, 1) << path;
        EXPECT_EQ(sealed.written, "") << path;
        EXPECT_EQ(sealed.errors, std::string("diag-seal: ").append(path).append(": ").append(reason).append("\n"));
    }
}

TEST(DiagSealFileTest, LongFile_KeepsHeadAndTail)
{
    const std::string numbers = RunProgram({"seq", "-w", "1000000"}).output;
    const TemporaryFolder folder;
    const std::string path = folder.Write("numbers", numbers);
    constexpr std::size_t kSize = 65536;
    constexpr std::size_t kLine = 64;
    const std::string missing = std::to_string(numbers.size() - kSize + kLine);
    const Sealed sealed = RunDiagSeal("file --size " + std::to_string(kSize) + " -- " + path);
    EXPECT_TRUE(sealed.text == numbers.substr(0, kSize / 2 - kLine) + "\ndiag-seal: " + missing +
                                   " bytes are missing here\n" + numbers.substr(numbers.size() - kSize / 2));
    EXPECT_TRUE(RunDiagSeal("file --size " + std::to_string(numbers.size()) + " -- " + path).text == numbers);
    // A file of the kernel does not tell its size.
    EXPECT_THAT(
        RunDiagSeal("file --size 1024 -- /proc/self/status").text,
        EndsWith("\ndiag-seal: the reading ended early: /proc/self/status: what follows the first 1024 bytes is "
                 "missing\n"));
}

TEST(DiagSealFileTest, ReadingWithoutEnd_CostsItsTimeLimit)
{
    RunProgram({"truncate", "-s", "100G", "/tmp/endless"});
    const Sealed sealed = RunDiagSeal("file --time-limit 0.05 --size 200000000000 -- /tmp/endless");
    EXPECT_EQ(sealed.status, 0);
    EXPECT_THAT(sealed.text, EndsWith("\ndiag-seal: the reading was ended after 0.050 seconds\n"));
    EXPECT_TRUE(sealed.isAlone);
}

TEST(DiagSealFileTest, FileThatBecomesShorter_IsToldOf)
{
    for (const std::string size : {"3000000", "8000000"}) {
        Shell("head -c 4000000 /dev/urandom >/tmp/shrinking");
        const Finished run = Shell(
            Program("diag-seal") + " file --size " + size + " -- /tmp/shrinking | { sleep 0.3; : >/tmp/shrinking; " +
            "openssl cms -decrypt -binary -inform DER -inkey " DEVELOPMENT_KEY " | gzip -dc | tail -n 1; }");
        EXPECT_EQ(run.output,
                  "diag-seal: the reading ended early: /tmp/shrinking: it has become shorter while it was read\n");
    }
}

/** A FIFO with no writer would block whoever opens it between a look and the opening. */
TEST(DiagSealFileTest, FileThatBecomesAFifo_IsReadOrRefused)
{
    const std::string swap = R"(for (;;) { for (qw(fifo file)) { link $_, "next"; rename "next", "swapped" } })";
    const Finished runs = RunProgram(
        {"bash", "-c",
         "export LC_ALL=C; cd /tmp; mkfifo fifo; head -c 2000 /dev/urandom | tee file >swapped; perl -e '" + swap +
             "' & for run in {1..200}; do " + Program("diag-seal") + " file -- /tmp/swapped 2>&1 >sealed; status=$?;" +
             "read -rN 2001 <sealed; echo $status $?; done | sort -u; kill $!"});
    EXPECT_EQ(runs.output, "0 0\n1 1\ndiag-seal: /tmp/swapped: not a regular file but a FIFO\n");
}

/** Seals with /tmp/certificate, which the preparation makes, and its key beside it. */
Sealed RunWithCertificate(const std::string& preparation, const std::string& command)
{
    Shell("cd /tmp; rm -f certificate; " + preparation);
    return RunDiagSeal("--certificate /tmp/certificate command -- " + command, "/tmp/key");
}

const std::string kSelfSigned = "openssl req -x509 -nodes -subj /CN=t -keyout key -out certificate -newkey ";

TEST(CertificateTest, UnusableOne_IsRefusedBeforeTheCommandStarts)
{
    const std::pair<std::string, std::string> cases[] = {
        {"true", "No such file or directory"},
        {"mkfifo certificate", "it holds no certificate in PEM"},
        // So large that the command could have run by the time of the refusal.
        {"yes | head -c 30000000 >certificate", "it holds no certificate in PEM"},
        {kSelfSigned + "rsa:1024", "its key of 1024 bits is too weak; 2048 are the least"},
        {kSelfSigned + "ec -pkeyopt ec_paramgen_curve:secp192k1", "its key of 192 bits is too weak; 224 are the least"},
        {kSelfSigned + "ed25519", "its key is neither RSA nor of an elliptic curve"},
    };
    for (const auto& [preparation, reason] : cases) {
        const Sealed sealed = RunWithCertificate(preparation, "touch /tmp/ran");
        EXPECT_EQ(sealed.status, 1) << preparation;
        EXPECT_EQ(sealed.written, "");
        EXPECT_EQ(sealed.errors, "diag-seal: certificate /tmp/certificate: " + reason + '\n');
        EXPECT_EQ(NamesIn("/tmp").count("ran"), 0U);
    }
}

TEST(CertificateTest, EllipticCurveAndExpiredOnes_AreUsed)
{
    const std::string curve = kSelfSigned + "ec -pkeyopt ec_paramgen_curve:prime256v1";
    const Sealed used = RunWithCertificate(curve, "echo sealed");
    EXPECT_EQ(used.text + used.errors, "sealed\n");

    const std::string yesterdays =
        "openssl req -new -nodes -newkey rsa:2048 -subj /CN=t -keyout key -out request; "
        "openssl x509 -req -in request -signkey key -days -1 -out certificate";
    const Sealed expired = RunWithCertificate(yesterdays, "echo sealed");
    EXPECT_EQ(expired.text, "sealed\n");
    EXPECT_EQ(expired.errors, "diag-seal: certificate /tmp/certificate has expired and is used all the same\n");
    // Where both streams are one file, as for an item of the service, the line must not spoil the item.
    EXPECT_EQ(RunWithCertificate(yesterdays, "echo sealed 2>&1").text, "sealed\n");
}

} // namespace
