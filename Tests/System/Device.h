#pragma once

#include "ChildProcess.h"

#include <gmock/gmock.h>

/** A device in its box: the daemon runs as on the product, and is asked over its command line or by another service. */
class Device : public testing::Test
{
protected:
    /** Starts the daemon, and waits until its registry is loaded and its command line answers. */
    void StartService()
    {
        m_service = std::make_unique<ChildProcess>(std::vector<std::string>{Program("DiagnosticFileService")});
        ASSERT_TRUE(m_service->WaitForOutput("LoadDiagItemsFromConfigFile - END"));
        ASSERT_TRUE(m_service->WaitForOutput("GetInstance - END"));
    }

    /** The daemon's file in proc(5). */
    std::string ProcPath(const std::string& file) const
    {
        return "/proc/" + std::to_string(m_service->Pid()) + "/" + file;
    }

    /** Gives vcli these words of the service, and waits until it ends. */
    static Finished Vcli(std::vector<std::string> words)
    {
        words.insert(words.begin(), {Program("vcli"), "diagfileservice"});
        return RunProgram(words);
    }

    /** Gives gatrix-peer these words; it is to end with that status, and say that. Returns all that it says. */
    static std::string Peer(std::vector<std::string> words, int status, const std::string& text)
    {
        words.insert(words.begin(), Program("gatrix-peer"));
        const Finished peer = RunProgram(words);
        EXPECT_EQ(peer.status, status) << peer.output;
        EXPECT_THAT(peer.output, testing::HasSubstr(text));
        return peer.output;
    }

    std::unique_ptr<ChildProcess> m_service;
};
