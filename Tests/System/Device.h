#pragma once

#include "ChildProcess.h"
#include "Deadline.h"

#include <gtest/gtest.h>

/** A device in its box: the daemon runs as on the product, and is asked over its command line. */
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

    /** Gives the tool these words, and waits until it ends. */
    static Finished Vcli(std::vector<std::string> words)
    {
        words.insert(words.begin(), Program("vcli"));
        return RunProgram(words);
    }

    std::unique_ptr<ChildProcess> m_service;
};
