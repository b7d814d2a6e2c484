#include "Timeline.h"

#include "Clock.h"
#include "Markup.h"
#include "Numbers.h"

#include <algorithm>
#include <map>
#include <utility>

namespace DfsReport
{

namespace
{

constexpr Seconds kMostBuckets = 120;
constexpr Seconds kLeastBuckets = 40; ///< So many fit, however few there are.
constexpr Seconds kLongestGap = 30 * Clock::kDay;
constexpr double kHeight = 124;
constexpr double kLeastHeight = 4; ///< Of what there is, so that one error is seen beside 1000 other lines.
constexpr std::size_t kMostMessages = 8;
constexpr std::size_t kLongestMessage = 200;
constexpr const char* kKinds[] = {"error", "caution", "other"};

// How many minutes a bar stands for: of these, the first that makes few enough bars; then any number of days.
Seconds BucketMinutes(Seconds minutes)
{
    for (const Seconds size : {1, 2, 5, 10, 15, 30, 60, 120, 360, 720}) {
        if (minutes <= size * kMostBuckets) {
            return size;
        }
    }
    constexpr Seconds kDayMinutes = Clock::kDay / Clock::kMinute;
    return (minutes / (kMostBuckets * kDayMinutes) + 1) * kDayMinutes;
}

struct Scale
{
    Seconds begin = 0, size = Clock::kMinute; ///< Of the first bar, of each.
    Seconds count = 1;
};

// The stretch of time that has the most lines. A clock that was not set yet, or a damaged line, would make the others
// too narrow to be seen.
Minutes Densest(const Minutes& minutes)
{
    auto begin = minutes.begin(), end = begin;
    std::uint64_t most = 0;
    for (auto at = minutes.begin(); at != minutes.end();) {
        const auto first = at;
        std::uint64_t lines = 0;
        Seconds last = 0;
        do {
            lines += at->second.All();
            last = at->first;
            ++at;
        } while (at != minutes.end() && at->first - last <= kLongestGap);
        if (lines >= most) {
            most = lines;
            begin = first;
            end = at;
        }
    }
    return {begin, end};
}

std::map<Seconds, Minute> Buckets(const Minutes& minutes, Scale& scale)
{
    const Seconds first = minutes.begin()->first, last = minutes.rbegin()->first;
    scale.size = BucketMinutes((last - first) / Clock::kMinute + 1) * Clock::kMinute;
    scale.begin = first;
    scale.count = std::max((last - first) / scale.size + 1, kLeastBuckets);
    std::map<Seconds, Minute> buckets;
    for (const auto& [time, minute] : minutes) {
        Minute& bucket = buckets[(time - first) / scale.size];
        const bool isFirst = bucket.All() == 0;
        if (isFirst || minute.firstSeverity < bucket.firstSeverity) {
            bucket.first = minute.first;
            bucket.firstSeverity = minute.firstSeverity;
        }
        for (std::size_t severity = 0; severity < bucket.lines.size(); ++severity) {
            bucket.lines[severity] += minute.lines[severity];
        }
    }
    return buckets;
}

// A bar from the ground up: errors, warnings, other lines.
std::vector<View> Parts(const Minute& bucket, std::uint64_t most)
{
    std::vector<View> parts;
    double top = kHeight;
    for (std::size_t severity = 0; severity < bucket.lines.size(); ++severity) {
        if (bucket.lines[severity] > 0) {
            const double room = kHeight - 3 * kLeastHeight;
            const double height =
                kLeastHeight + room * static_cast<double>(bucket.lines[severity]) / static_cast<double>(most);
            top -= height;
            parts.push_back(View()
                                .Set("kind", kKinds[severity])
                                .Set("y", Decimal(std::max(top, 0.0) + 3, 1))
                                .Set("height", Decimal(height, 1)));
        }
    }
    return parts;
}

void SetBuckets(View& page, const Minutes& minutes)
{
    Scale scale;
    const std::map<Seconds, Minute> buckets = Buckets(minutes, scale);
    std::uint64_t most = 1;
    for (const auto& [index, bucket] : buckets) {
        most = std::max(most, bucket.All());
    }
    const double step = 100.0 / static_cast<double>(scale.count);
    std::vector<View> views;
    views.reserve(buckets.size());
    for (const auto& [index, bucket] : buckets) {
        const std::string time = Clock::Text(scale.begin + index * scale.size);
        views.push_back(View()
                            .Set("href", Anchor(bucket.first))
                            .Set("time", time)
                            .Set("about", time + ": " + Counted(bucket.lines[0], "error") + ", " +
                                              Counted(bucket.lines[1], "warning") + ", " +
                                              std::to_string(bucket.lines[2]) + " other")
                            .Set("errors", std::to_string(bucket.lines[0]))
                            .Set("warnings", std::to_string(bucket.lines[1]))
                            .Set("others", std::to_string(bucket.lines[2]))
                            .Set("x", Decimal(static_cast<double>(index) * step, 3))
                            .Set("width", Decimal(step * 0.86, 3))
                            .Set("parts", Parts(bucket, most)));
    }
    page.Set("from", Clock::Text(scale.begin))
        .Set("to", Clock::Text(scale.begin + scale.count * scale.size))
        .Set("scale", (scale.size == Clock::kMinute ? "lines a minute" : "lines in " + Clock::Duration(scale.size)) +
                          std::string(", the highest bar ") + std::to_string(most))
        .Set("buckets", std::move(views));
}

} // namespace

std::vector<View> MessageViews(const std::vector<const Message*>& messages, std::size_t most)
{
    std::vector<const Message*> sorted = messages;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const Message* one, const Message* other) { return one->count > other->count; });
    sorted.resize(std::min(sorted.size(), most));
    std::vector<View> views;
    views.reserve(sorted.size());
    for (const Message* message : sorted) {
        views.push_back(View()
                            .Set("times", std::to_string(message->count) + "\xc3\x97")
                            .Set("href", Anchor(message->place))
                            .Set("text", Markup::Shortened(message->text, kLongestMessage)));
    }
    return views;
}

void SetTimeline(View& page, const std::optional<Log>& log)
{
    const bool hasMinutes = log && !log->minutes.empty();
    page.Set("hasTimeline", hasMinutes).Set("hasErrors", log && !log->errors.empty());
    std::vector<View> legend;
    const char* const names[] = {"errors", "warnings", "other"};
    for (std::size_t severity = 0; severity < 3; ++severity) {
        legend.push_back(View().Set("kind", kKinds[severity]).Set("name", names[severity]));
    }
    page.Set("timelineLegend", std::move(legend));
    if (!log) {
        page.Set("logNote", "Not known: the archive has no log, or an empty one.");
        return;
    }
    const Minutes drawn = Densest(log->minutes);
    const std::size_t left = log->minutes.size() - drawn.size();
    page.Set("logNote", Counted(log->lines[0], "error") + ", " + Counted(log->lines[1], "warning") + " and " +
                            std::to_string(log->lines[2]) + " other lines" +
                            (log->undated > 0 ? ", " + std::to_string(log->undated) + " of them without a known time"
                                              : std::string()) +
                            (left > 0 ? "; " + Counted(left, "minute") + " more than 30 days off not drawn" : "") +
                            ". A line's severity is the one that it names, or what its words tell.");
    if (hasMinutes) {
        SetBuckets(page, drawn);
    }
    std::vector<const Message*> messages;
    for (const auto& [signature, message] : log->errors) {
        messages.push_back(&message);
    }
    page.Set("errorMessages", MessageViews(messages, kMostMessages));
}

} // namespace DfsReport
