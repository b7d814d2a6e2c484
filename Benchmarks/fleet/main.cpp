// What a fleet of devices does to a cloud that was down. Usage: fleet IMAGE.svg. Prints a table in Markdown.

#include "Chart.h"
#include "DPrint.h"
#include "Simulation.h"

#include <cstdio>
#include <fstream>
#include <vector>

namespace
{
constexpr Fleet::Scenario kScenarios[] = {
    {"503 and nothing else", Fleet::Unavailable},
    {"503, Retry-After: 600", Fleet::RetryAfter},
    {"503, Retry-After: 600, X-Retry-Count: -1", Fleet::RetryAfterUnlimited},
    {"503, Retry-After: 600, X-Retry-Count: -1; devices without a seed", Fleet::RetryAfterUnlimited, false},
    {"503, Retry-After: 60, X-Retry-Count: -1, X-Retry-Behavior: exponential", Fleet::Exponential},
    {"once up, 429 and nothing else", Fleet::BareRateLimit},
    {"once up, 429, X-Ratelimit-Reset: the next full ten minutes", Fleet::SharedReset},
    {"once up, 429, X-Ratelimit-Reset: the next full ten minutes; devices without a seed", Fleet::SharedReset, false},
    {"once up, 429, X-Ratelimit-Reset: a time of its own for each request", Fleet::ResetBySlot},
};

void PrintRow(const Fleet::Setting& setting, const Fleet::Panel& panel)
{
    const Fleet::Outcome& outcome = panel.outcome;
    const std::uint32_t peak = outcome.PeakOnceUp(setting);
    std::printf("| %s | %u (%.1f) | %.1f | %u | %u | ", panel.scenario.title, peak,
                static_cast<double>(peak) / setting.capacity, static_cast<double>(outcome.Requests()) / setting.devices,
                outcome.uploaded, outcome.gaveUp);
    if (outcome.uploaded == 0) {
        std::puts("- |");
    } else {
        const std::uint32_t minutes = (outcome.lastUpload - setting.outage + 59) / 60;
        std::printf("%u h %02u min |\n", minutes / 60, minutes % 60);
    }
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: fleet IMAGE.svg\n", stderr);
        return 2;
    }
    DPrint::Initialize();
    const Fleet::Setting setting;
    std::puts(
        "| the cloud answers | most requests in a second once up (times what it serves) | requests an upload | "
        "uploads | given up | last upload after |");
    std::puts("|---|---|---|---|---|---|");
    std::vector<Fleet::Panel> panels;
    for (const Fleet::Scenario& scenario : kScenarios) {
        panels.push_back({scenario, Fleet::Simulate(setting, scenario)});
        PrintRow(setting, panels.back());
    }
    std::ofstream image(argv[1]);
    Fleet::Draw(image, setting, panels);
    image.close();
    if (!image) {
        std::perror(argv[1]);
        return 1;
    }
    return 0;
}
