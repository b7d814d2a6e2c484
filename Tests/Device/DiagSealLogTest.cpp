#include "Descriptor.h"
#include "Sealed.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdlib>
#include <sys/socket.h>
#include <sys/un.h>

namespace
{

using testing::MatchesRegex;

/** Reads what diag-seal writes to the system log. Other programs of the box write nothing there. */
class DiagSealLogTest : public testing::Test
{
protected:
    static constexpr sockaddr_un kLog = {AF_UNIX, "/dev/log"};

    DiagSealLogTest() : m_log(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        EXPECT_EQ(bind(m_log.Get(), reinterpret_cast<const sockaddr*>(&kLog), sizeof(kLog)), 0);
        Shell(
            "cd /tmp; openssl req -new -nodes -newkey rsa:2048 -subj /CN=t -keyout key -out request; "
            "openssl x509 -req -in request -signkey key -days -1 -out expired");
    }
    ~DiagSealLogTest() override { unlink(kLog.sun_path); }

    std::string Read() const
    {
        std::array<char, 1000> line{};
        const ssize_t size = recv(m_log.Get(), line.data(), line.size(), MSG_DONTWAIT);
        return {line.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }

    /** Both streams go to one file, as for an item of the service. */
    static Sealed Run(const std::string& command)
    {
        return RunDiagSeal("--certificate /tmp/expired command -- " + command + " 2>&1", "/tmp/key");
    }

    DiagSeal::Descriptor m_log;
};

TEST_F(DiagSealLogTest, HoldsWhatWouldSpoilTheItem)
{
    const std::string begin = "<1[0-9]>[A-Z][a-z]+ [ 1-3][0-9] [0-9:]+ diag-seal: ";
    EXPECT_EQ(Run("echo sealed").text, "sealed\n");
    EXPECT_THAT(Read(), MatchesRegex(begin + "certificate /tmp/expired has expired and is used all the same"));
    EXPECT_EQ(Run("sh -c 'kill -KILL $PPID; sleep 99'").status, 1);
    Read();
    EXPECT_THAT(Read(), MatchesRegex(begin + "was killed"));
}

TEST_F(DiagSealLogTest, ThatNobodyReads_KeepsNoItem)
{
    const DiagSeal::Descriptor other(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    while (sendto(other.Get(), "", 1, 0, reinterpret_cast<const sockaddr*>(&kLog), sizeof(kLog)) > 0) {
    }
    const Sealed sealed = Run("echo sealed");
    EXPECT_EQ(sealed.text, "sealed\n");
    EXPECT_LT(sealed.time, std::chrono::seconds(5));
}

} // namespace
