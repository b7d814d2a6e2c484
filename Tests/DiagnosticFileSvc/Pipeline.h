#pragma once

#include "AnswerProbe.h"
#include "CloudServer.h"
#include "DFTriggerHandler.h"
#include "HttpGlobal.h"
#include "Items.h"
#include "Upload.h"

#include <gtest/gtest.h>

#include <future>

/** The real tasks of the service, with the cloud's stand-in, and without the process around them. */
struct Pipeline : testing::Test
{
    static constexpr char kPersistence[] = "/mnt/nv/product-persistence/";

    Pipeline() { Http::InitializeProcess(); }

    void StartWithRegistry()
    {
        m_handler.SetGatrixClient(nullptr);
        m_handler.Start();
        Drain();
    }

    /** Waits until the trigger handler has done what was posted to it. */
    void Drain()
    {
        std::promise<void> done;
        m_handler.Post([&done] { done.set_value(); });
        done.get_future().wait();
    }

    Answer Ask(const DFSCommonPB::UploadRequest& request)
    {
        AnswerProbe probe;
        m_handler.UploadDiagFileRequest(request, &probe.callback);
        return probe.Next();
    }

    DiagnosticFileSvc::DFTriggerHandler& m_handler = DiagnosticFileSvc::DFTriggerHandler::GetInstance();
};
