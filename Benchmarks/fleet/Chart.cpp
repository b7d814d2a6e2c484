#include "Chart.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iterator>
#include <numeric>
#include <ostream>

namespace Fleet
{
namespace
{
constexpr int kLeft = 60;
constexpr int kWidth = 720;
constexpr int kPanelHeight = 130;
constexpr int kPlotHeight = 84;
constexpr int kPlotTop = 28;
constexpr std::uint32_t kMinute = 60;
constexpr std::uint32_t kHour = 3600;
constexpr std::uint32_t kShownHours = 6;
constexpr std::uint32_t kShown = kShownHours * kHour; // seconds
constexpr double kDecades = 5;

constexpr char kStyle[] = R"(<style>
text { font: 12px system-ui, sans-serif; fill: #222 }
.title { font-weight: 600 }
.axis { stroke: #999; fill: none }
.down { fill: #eee }
.peak { fill: #b8cce8 }
.mean { stroke: #1f4e9c; stroke-width: 1.5; fill: none }
.capacity { stroke: #b03a2e; stroke-dasharray: 5 3; fill: none }
@media (prefers-color-scheme: dark) {
  svg { background: #16181c } text { fill: #ddd } .down { fill: #24272d } .peak { fill: #2f4a72 } .mean { stroke: #8ab4f8 }
  .capacity { stroke: #ff8a80 }
}
</style>
)";

double X(double second)
{
    return kLeft + second / kShown * kWidth;
}

double Y(double perSecond)
{
    const double height = perSecond <= 1 ? 0 : std::min(std::log10(perSecond) / kDecades, 1.0);
    return kPlotTop + kPlotHeight * (1 - height);
}

void DrawAxes(std::ostream& stream, const Setting& setting)
{
    const int bottom = kPlotTop + kPlotHeight;
    stream << "<rect class='down' x='" << kLeft << "' y='" << kPlotTop << "' width='" << X(setting.outage) - kLeft
           << "' height='" << kPlotHeight << "'/>\n";
    for (const int perSecond : {10, 100, 1000, 10'000}) {
        stream << "<text x='" << kLeft - 6 << "' y='" << Y(perSecond) + 4 << "' text-anchor='end'>" << perSecond
               << "</text>\n";
    }
    for (std::uint32_t hour = 0; hour <= kShownHours; ++hour) {
        stream << "<text x='" << X(hour * kHour) << "' y='" << bottom + 16 << "' text-anchor='middle'>" << hour
               << " h</text>\n";
    }
    stream << "<path class='axis' d='M" << kLeft << ' ' << kPlotTop << 'V' << bottom << 'H' << kLeft + kWidth
           << "'/>\n";
}

void DrawArrivals(std::ostream& stream, const Setting& setting, const std::vector<std::uint32_t>& arrivals)
{
    const std::size_t shown = std::min<std::size_t>(arrivals.size(), kShown);
    for (std::size_t begin = 0; begin + kMinute <= shown; begin += kMinute) {
        const auto first = std::next(arrivals.begin(), static_cast<std::ptrdiff_t>(begin));
        const double peak = *std::max_element(first, first + kMinute);
        if (peak > 0) {
            stream << "<rect class='peak' x='" << X(static_cast<double>(begin)) << "' y='" << Y(peak) << "' width='"
                   << X(kMinute) - kLeft << "' height='" << kPlotTop + kPlotHeight - Y(peak) << "'/>\n";
        }
    }
    stream << "<path class='mean' d='";
    for (std::size_t begin = 0; begin + kMinute <= shown; begin += kMinute) {
        const auto first = std::next(arrivals.begin(), static_cast<std::ptrdiff_t>(begin));
        const double mean = std::accumulate(first, first + kMinute, 0.0) / kMinute;
        stream << (begin == 0 ? 'M' : 'L') << X(static_cast<double>(begin) + kMinute / 2.0) << ' ' << Y(mean);
    }
    stream << "'/>\n<path class='capacity' d='M" << kLeft << ' ' << Y(setting.capacity) << 'H' << kLeft + kWidth
           << "'/>\n";
}
} // namespace

void Draw(std::ostream& stream, const Setting& setting, const std::vector<Panel>& panels)
{
    const auto height = kPanelHeight * static_cast<int>(panels.size());
    stream << std::fixed << std::setprecision(1) << "<svg xmlns='http://www.w3.org/2000/svg' role='img' viewBox='0 0 "
           << kLeft + kWidth + 20 << ' ' << height << "'>\n<title>Requests a second that reach the cloud</title>\n"
           << kStyle;
    int top = 0;
    for (const Panel& panel : panels) {
        stream << "<g transform='translate(0 " << top << ")'>\n<text class='title' x='" << kLeft << "' y='18'>"
               << panel.scenario.title << "</text>\n";
        DrawAxes(stream, setting);
        DrawArrivals(stream, setting, panel.outcome.arrivals);
        stream << "</g>\n";
        top += kPanelHeight;
    }
    stream << "</svg>\n";
}
} // namespace Fleet
