#include "Columns.h"
#include "Lines.h"
#include "Readers.h"

#include <algorithm>
#include <array>

namespace DfsReport
{

namespace
{

constexpr double kPercent = 100;

double Value(const Columns& columns, const std::vector<std::string_view>& row, std::string_view title)
{
    return Number(columns.Get(row, title)).value_or(0);
}

// The first eight times of a line of /proc/stat: user, nice, system, idle, iowait, irq, softirq, steal.
using Times = std::array<double, 8>;

struct Sample
{
    std::string_view name;
    Times times{};
    std::size_t line = 1;
};

std::vector<Sample> Samples(const Section& section)
{
    std::vector<Sample> samples;
    Lines lines(section.body, section.firstLine);
    for (Line line; samples.size() < kMostEntries && lines.Next(line);) {
        const auto words = Words(line.text, Times().size() + 1);
        if (words.size() > Times().size() && StartsWith(words[0], "cpu")) {
            Sample sample{words[0], {}, line.number};
            for (std::size_t index = 0; index < sample.times.size(); ++index) {
                sample.times[index] = Number(words[index + 1]).value_or(0);
            }
            samples.push_back(sample);
        }
    }
    return samples;
}

} // namespace

bool ReadLoadAverage(const Section& section, Facts& facts)
{
    const auto words = Words(section.body.substr(0, section.body.find('\n')), 4);
    if (words.size() < 3 || !Number(words[0]) || !Number(words[1]) || !Number(words[2])) {
        return false;
    }
    // Several items have one; the first was collected before the other items made a load of their own.
    if (!facts.load) {
        facts.load = {*Number(words[0]), *Number(words[1]), *Number(words[2]), {section.document, section.firstLine}};
    }
    return true;
}

bool ReadProcessorCount(const Section& section, Facts& facts)
{
    const auto words = Words(section.body.substr(0, section.body.find('\n')), kMostEntries);
    const auto count = std::count_if(words.begin(), words.end(), [](auto word) { return StartsWith(word, "CPU"); });
    if (count > 0) {
        facts.processorCount = static_cast<std::size_t>(count);
    }
    return count > 0;
}

bool ReadProcessors(const Section& section, Facts& facts)
{
    Columns columns("");
    std::vector<Processor> processors;
    Lines lines(section.body, section.firstLine);
    for (Line line; processors.size() < kMostEntries && lines.Next(line);) {
        const auto words = Words(line.text);
        if (words.empty() || words[0] != "Average:") {
            continue;
        }
        if (Contains(line.text, "%idle")) {
            columns = Columns(line.text);
        } else if (Number(columns.Get(words, "%idle"))) {
            processors.push_back({std::string(columns.Get(words, "CPU")),
                                  Value(columns, words, "%usr") + Value(columns, words, "%nice"),
                                  Value(columns, words, "%sys") + Value(columns, words, "%irq") +
                                      Value(columns, words, "%soft") + Value(columns, words, "%steal"),
                                  Value(columns, words, "%iowait"),
                                  Value(columns, words, "%idle"),
                                  {section.document, line.number}});
        }
    }
    if (!processors.empty()) {
        facts.processors = processors;
    }
    return !processors.empty();
}

bool ReadStat(const Section& section, Facts& facts)
{
    const std::vector<Sample> samples = Samples(section);
    std::vector<Processor> processors;
    // The first sample waits in the facts as times since the start of the device.
    for (const Sample& sample : samples) {
        const std::string name = sample.name == "cpu" ? "all" : std::string(sample.name.substr(3));
        const auto& times = sample.times;
        processors.push_back({name,
                              times[0] + times[1],
                              times[2] + times[5] + times[6] + times[7],
                              times[4],
                              times[3],
                              {section.document, sample.line}});
    }
    if (facts.firstSample.size() != processors.size()) {
        facts.firstSample = processors;
        return !samples.empty();
    }
    for (std::size_t index = 0; index < processors.size(); ++index) {
        Processor& now = processors[index];
        const Processor& before = facts.firstSample[index];
        const double user = now.user - before.user, system = now.system - before.system, wait = now.wait - before.wait,
                     idle = now.idle - before.idle, all = user + system + wait + idle;
        if (all <= 0) {
            return false;
        }
        now.user = user / all * kPercent;
        now.system = system / all * kPercent;
        now.wait = wait / all * kPercent;
        now.idle = idle / all * kPercent;
    }
    facts.processors = processors;
    return true;
}

bool ReadPressure(const Section& section, Facts& facts)
{
    const auto words = Words(section.body.substr(0, section.body.find('\n')));
    for (const std::string_view word : words) {
        constexpr std::string_view kName = "avg60=";
        const auto value = StartsWith(word, kName) ? Number(word.substr(kName.size())) : std::nullopt;
        if (value && words[0] == "some") {
            facts.pressures.push_back({std::string(section.title.substr(section.title.rfind('/') + 1)),
                                       *value,
                                       {section.document, section.firstLine}});
            return true;
        }
    }
    return false;
}

} // namespace DfsReport
