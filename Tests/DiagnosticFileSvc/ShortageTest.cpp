#include "Pipeline.h"
#include "Sanitized.h"
#include "TemporaryFolder.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <new>
#include <pthread.h>
#include <unistd.h>

namespace
{
/** The size from which on this thread is refused what it wants to allocate by `new`; 0 for none. */
thread_local std::size_t s_refusedFrom = 0;
/** Whether threads other than the test's own are refused to start more threads. */
std::atomic<bool> s_areThreadsShort{false};

class ShortOfMemory : public Pipeline
{
protected:
    static constexpr std::size_t kRefusedSize = 3000;

    /** Has the trigger handler's thread be refused what is as large as that; 0 ends it. */
    void RefuseHandler(std::size_t size)
    {
        m_handler.Post([size] { s_refusedFrom = size; });
        Drain();
    }
};
} // namespace

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return s_refusedFrom != 0 && size >= s_refusedFrom ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* operator new(std::size_t size)
{
    void* const memory = operator new(size, std::nothrow);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument)
{
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    return s_areThreadsShort && gettid() != getpid() ? EAGAIN : create(thread, attributes, body, argument);
}
#endif

TEST_F(ShortOfMemory, EveryRequestIsAnsweredOnce_AndTheNextOneServed)
{
    StartWithRegistry();
    const std::string large(kRefusedSize, 'x');
    m_handler.DiagItemRegistration({"while [ ! -e /tmp/go ]; do sleep 0.02; done", "dfs_slow", DFSCommonPB::EXE_SCRIPT,
                                    large, DFSCommonPB::SCRIPT});
    DiagCloud::Outcome refusal;
    refusal.status = 404;
    refusal.body = large;
    DiagCloud::CloudServer cloud(CloudOnItsPort({refusal}));
    const Answer internal("Unable to process request, internal error", 400);

    RefuseHandler(kRefusedSize);
    EXPECT_EQ(Ask(RequestOf({DFSCommonPB::USER_SPECIFIED_FILE}, "", "/" + large)), internal) << "at its beginning";
    EXPECT_EQ(Ask(RequestOf({DFSCommonPB::PROC_LOADAVG})), internal) << "at its answer, the cloud's large one";

    RefuseHandler(0);
    AnswerProbe probe;
    m_handler.UploadDiagFileRequest(RequestOf({DFSCommonPB::EXE_SCRIPT}), &probe.callback);
    RefuseHandler(kRefusedSize);
    WriteWholeFile("/tmp/go", "");
    EXPECT_EQ(probe.Next(), internal) << "when an item was collected";

    RefuseHandler(0);
    EXPECT_EQ(Ask(RequestOf({DFSCommonPB::PROC_LOADAVG})).second, 200);
}

TEST(ShortOfThreads, RequestIsAnswered_AndTheUploadClientStartedWhenThereAreThreads)
{
    SKIP_IF_SANITIZED("a sanitizer starts threads its own way");
    // Before there is a handler: its harvester starts the upload client.
    s_areThreadsShort = true;
    const DiagCloud::CloudServer cloud(CloudOnItsPort());
    Http::InitializeProcess();
    auto& handler = DiagnosticFileSvc::DFTriggerHandler::GetInstance();
    handler.SetGatrixClient(nullptr);
    handler.Start();
    handler.SetDeviceInfo({});
    AnswerProbe probe;
    const auto request = RequestOf({DFSCommonPB::PROC_LOADAVG});
    handler.UploadDiagFileRequest(request, &probe.callback);
    EXPECT_EQ(probe.Next(), Answer("Unable to process request, the upload client cannot be started", 400));
    DiagnosticFileSvc::DFHarvestSystemInfo harvester;
    harvester.Start();
    harvester.CollectWifiSiteScan("echo networks", &probe.callback);
    EXPECT_EQ(probe.Next(), Answer("Development failure message", 400));

    s_areThreadsShort = false;
    handler.UploadDiagFileRequest(request, &probe.callback);
    EXPECT_EQ(probe.Next().second, 200);
}
