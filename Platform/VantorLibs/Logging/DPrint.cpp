#include "DPrint.h"

#include "LineBuffer.h"
#include "StrictJson.h"
#include "SystemUtils.h"
#include "WallClock.h"

#include <json/json.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
constexpr char kConfigurationFile[] = "/opt/Vantor/etc/DPrintCfg.json";
constexpr int kDefaultThreshold = 3;

// What the lines share.
struct Output
{
    std::mutex mutex;
    // The latest line, whose memory the next one takes over.
    std::string line;
    // Of the latest line: most lines are written in the same second as the one before.
    std::int64_t second = std::numeric_limits<std::int64_t>::min();
    std::string secondText;
};

// Writes the line behind the time and the thread, with one write(2). One that cannot be written is dropped.
void WriteLine(const std::string& text)
{
    using namespace std::chrono;
    // Never destroyed: a thread may log while the process ends.
    static Output& output = *new Output;
    thread_local const long t_thread = syscall(SYS_gettid);
    constexpr int kThousand = 1000;

    const std::lock_guard lock(output.mutex);
    const auto now = WallClock::Now().time_since_epoch();
    const std::int64_t second = duration_cast<seconds>(now).count();
    if (second != output.second) {
        output.secondText = WallClock::Text("%FT%T.", second);
        output.second = second;
    }
    // With a digit in front, which keeps the zeros and is left out.
    const std::string thousandths = std::to_string(kThousand + duration_cast<milliseconds>(now).count() % kThousand);
    output.line.assign(output.secondText).append(thousandths, 1).append("Z ").append(std::to_string(t_thread));
    output.line.append(" ").append(text).push_back('\n');
    for (std::string_view left = output.line; !left.empty();) {
        const ssize_t written = ::write(STDERR_FILENO, left.data(), left.size());
        if (written < 0 && errno != EINTR) {
            return;
        }
        left.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
}

// Throws std::invalid_argument for null and booleans too, which jsoncpp takes for numbers: they would silence the log
int Threshold(const Json::Value& value)
{
    if (!value.isInt()) {
        throw std::invalid_argument("a threshold is no number");
    }
    return value.asInt();
}

// Writes the line if it is to be written.
void WriteFormatted(const DPrint& log, int level, const char* name, const char* format, va_list arguments)
{
    if (!log.IsLog(level)) {
        return;
    }
    std::array<char, LineBuffer::kMaxKept + 1> text;
    const int written = std::snprintf(text.data(), text.size(), "%d %s: ", level, name);
    const std::size_t start = std::min(static_cast<std::size_t>(std::max(written, 0)), text.size() - 1);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the callers have started it
    int length = std::vsnprintf(text.data() + start, text.size() - start, format, arguments);
    if (length < 0) {
        length = std::snprintf(text.data() + start, text.size() - start, "%s", format);
    }
    const std::size_t whole = start + static_cast<std::size_t>(std::max(length, 0));
    WriteLine(LineBuffer::Line({text.data(), std::min(whole, text.size() - 1)}, whole));
}
} // namespace

// All loggers of the process, and the thresholds for those yet to come.
class DPrintRegistry
{
public:
    static DPrintRegistry& Instance()
    {
        static DPrintRegistry& registry = *new DPrintRegistry;
        return registry;
    }

    void Add(DPrint* logger)
    {
        const std::lock_guard lock(m_mutex);
        m_loggers.insert(logger);
        logger->m_threshold = ThresholdOf(logger->m_name);
    }

    void Remove(DPrint* logger)
    {
        const std::lock_guard lock(m_mutex);
        m_loggers.erase(logger);
    }

    void Configure(int threshold, std::map<std::string, int> byName)
    {
        const std::lock_guard lock(m_mutex);
        m_threshold = threshold;
        m_byName = std::move(byName);
        for (DPrint* logger : m_loggers) {
            logger->m_threshold = ThresholdOf(logger->m_name);
        }
    }

private:
    int ThresholdOf(const char* name) const
    {
        const auto found = m_byName.find(name);
        return found == m_byName.end() ? m_threshold : found->second;
    }

    std::mutex m_mutex;
    std::set<DPrint*> m_loggers;
    int m_threshold = kDefaultThreshold;
    std::map<std::string, int> m_byName;
};

void DPrint::Initialize()
{
    static const DPrint log("DPrint");
    const std::string text = SystemUtils::ReadFile(kConfigurationFile);
    if (text.empty()) {
        DPrintRegistry::Instance().Configure(kDefaultThreshold, {});
        return;
    }
    try {
        const Json::Value configuration = StrictJson::Parse(text);
        std::map<std::string, int> byName;
        const Json::Value& loggers = configuration["loggers"];
        for (const auto& name : loggers.getMemberNames()) {
            byName[name] = Threshold(loggers[name]);
        }
        DPrintRegistry::Instance().Configure(Threshold(configuration.get("threshold", kDefaultThreshold)), byName);
    } catch (const std::exception& error) {
        DPrintRegistry::Instance().Configure(kDefaultThreshold, {});
        log.LogWarning("%s: %s is not usable, the default threshold applies: %s", __func__, kConfigurationFile,
                       error.what());
    }
}

DPrint::DPrint(const char* name) : m_name(name), m_threshold(kDefaultThreshold)
{
    DPrintRegistry::Instance().Add(this);
}

DPrint::~DPrint()
{
    DPrintRegistry::Instance().Remove(this);
}

std::ostream& DPrint::Prefix(std::ostream& stream, int level, const char* functionName) const
{
    LineBuffer& line = LineBuffer::Begin(stream);
    line.Append(std::to_string(level));
    line.Append(" ");
    line.Append(m_name);
    line.Append(": ");
    line.Append(functionName);
    line.Append(": ");
    return stream;
}

void DPrint::Put(const std::ostringstream& stream) const
{
    const LineBuffer* const buffer = LineBuffer::Of(stream);
    const std::string text = buffer == nullptr ? stream.str() : std::string();
    WriteLine(buffer == nullptr ? LineBuffer::Line(text, text.size()) : buffer->Line());
}

void DPrint::Log(int level, const char* format, ...) const
{
    va_list arguments;
    va_start(arguments, format);
    WriteFormatted(*this, level, m_name, format, arguments);
    va_end(arguments);
}

void DPrint::LogWarning(const char* format, ...) const
{
    constexpr int kWarning = 2;
    va_list arguments;
    va_start(arguments, format);
    WriteFormatted(*this, kWarning, m_name, format, arguments);
    va_end(arguments);
}
