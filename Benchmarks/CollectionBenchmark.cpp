// The digest of an archive beside openssl(1), and the run of many items beside the programs that it starts.
// Prints lines of: figure, ours, floor, goal, separated by tabs. Runs in a device box.
// usage: collection-benchmark FILE ITEMS

#include "APTask.h"
#include "AsyncCallback.h"
#include "DFItemCollector.h"
#include "DFItemSelection.h"
#include "DFLimits.h"
#include "DFUploadArchive.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{
using namespace DiagnosticFileSvc;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int kRounds = 5;
constexpr char kOutput[] = "/mnt/nv/product-persistence/dfs_true.txt";

double TimeOf(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return Milliseconds(std::chrono::steady_clock::now() - start).count();
}

// In turns, so that both meet the same machine.
void PrintMedians(const std::string& figure, const char* goal, const std::function<void()>& ours,
                  const std::function<void()>& floor)
{
    std::vector<double> ourTimes, floorTimes;
    for (int round = 0; round < kRounds; ++round) {
        ourTimes.push_back(TimeOf(ours));
        floorTimes.push_back(TimeOf(floor));
    }
    for (auto* times : {&ourTimes, &floorTimes}) {
        std::nth_element(times->begin(), times->begin() + kRounds / 2, times->end());
    }
    std::printf("%s, ms\t%.0f\t%.0f\t%s\n", figure.c_str(), ourTimes[kRounds / 2], floorTimes[kRounds / 2], goal);
}

// Runs the command by the shell, as bare as posix_spawn(3) lets it.
void Spawn(std::string command)
{
    std::string shell = "sh", option = "-c";
    char* const arguments[] = {shell.data(), option.data(), command.data(), nullptr};
    pid_t child = 0;
    int status = 0;
    if (posix_spawn(&child, "/bin/sh", nullptr, nullptr, arguments, environ) != 0 ||
        waitpid(child, &status, 0) != child || status != 0) {
        throw std::runtime_error("cannot run " + command);
    }
}

// Stands for the trigger handler: selects every item of its registry and has them run.
class Collection : public APTask
{
public:
    explicit Collection(std::size_t items)
        : APTask("Collection", 0, CTask::NOT_REALTIME, -1),
          m_harvester(std::make_shared<DFHarvestSystemInfo>()),
          m_registry({m_harvester, {this, &m_collector, &DFItemCollector::HarvestSysInfoResponseCB}, {}, {}, {}, {}}),
          m_collector(m_registry, m_files, {[this] { m_done.set_value(); }, [] { std::abort(); }})
    {
        for (std::size_t item = 0; item < items; ++item) {
            const std::string number = std::to_string(item);
            m_registry.DiagItemRegistrationCB(
                {"true " + number, kOutput, DFSCommonPB::EXE_SCRIPT, number, DFSCommonPB::SCRIPT});
        }
        m_harvester->Start();
        Start();
    }

    ~Collection() override { Stop(); }

    // Blocks.
    void RunAll()
    {
        m_done = {};
        Post([this] {
            m_collector.Collect(
                PopulateReqDiagItemsInputList({DFSCommonPB::UPLOAD_EVERYTHING}, "", m_registry.GetItems()));
        });
        m_done.get_future().wait();
    }

private:
    std::shared_ptr<DFHarvestSystemInfo> m_harvester;
    DFItemRegistry m_registry;
    DFUploadFiles m_files;
    DFItemCollector m_collector;
    std::promise<void> m_done;
};
} // namespace

int main(int argc, char* argv[])
{
    if (argc != 3) {
        std::fputs("usage: collection-benchmark FILE ITEMS\n", stderr);
        return EXIT_FAILURE;
    }
    const std::string file = argv[1];
    PrintMedians(
        "MD5 of " + file, "at most 1.05",
        [&file] {
            if (!CalculateMD5Checksum(file)) {
                throw std::runtime_error("cannot read " + file);
            }
        },
        [&file] { Spawn("openssl md5 " + file + " >/dev/null"); });

    // As many at a time as a registry takes. Each item is two programs: its command, and the one that packs its output.
    const std::size_t items = std::strtoul(argv[2], nullptr, 10);
    const std::size_t batch = std::min(items, kMaxRegisteredItems);
    Collection collection(batch);
    PrintMedians(
        std::to_string(batch * kRounds) + " items of `true`, in " + std::to_string(kRounds) + " batches, each",
        "at most 1.10", [&collection] { collection.RunAll(); },
        [batch] {
            for (std::size_t item = 0; item < batch; ++item) {
                Spawn("true " + std::to_string(item) + " >" + kOutput + " 2>&1");
                Spawn(std::string("compress-diag-file.sh ") + kOutput);
            }
        });
    return EXIT_SUCCESS;
}
