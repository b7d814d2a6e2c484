#include "DPrint.h"

#include "LineBuffer.h"
#include "StrictJson.h"
#include "SystemUtils.h"

#include <json/json.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>

namespace
{
constexpr char kConfigurationFile[] = "/opt/Vantor/etc/DPrintCfg.json";
constexpr int kDefaultThreshold = 3;

/** Writes each line to standard error with one write(2). */
class StandardErrorSink final : public spdlog::sinks::base_sink<std::mutex>
{
protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        spdlog::memory_buf_t line;
        formatter_->format(message, line);
        const char* next = line.data();
        std::size_t left = line.size();
        while (left > 0) {
            const ssize_t written = ::write(STDERR_FILENO, next, left);
            if (written < 0 && errno != EINTR) {
                return;
            }
            if (written > 0) {
                next += written;
                left -= static_cast<std::size_t>(written);
            }
        }
    }

    void flush_() override {}
};

spdlog::logger& Sink()
{
    // Never destroyed: loggers are used until the last static destructor has run.
    static auto& sink = *new std::shared_ptr<spdlog::logger>([] {
        auto made = std::make_shared<spdlog::logger>("", std::make_shared<StandardErrorSink>());
        made->set_formatter(
            std::make_unique<spdlog::pattern_formatter>("%Y-%m-%dT%H:%M:%S.%eZ %t %v", spdlog::pattern_time_type::utc));
        made->set_level(spdlog::level::trace);
        return made;
    }());
    return *sink;
}

void WriteLine(const std::string& line)
{
    Sink().log(spdlog::level::info, spdlog::string_view_t(line));
}

/** @throws std::invalid_argument for null and booleans too, which jsoncpp takes for numbers: they would silence the log
 */
int Threshold(const Json::Value& value)
{
    if (!value.isInt()) {
        throw std::invalid_argument("a threshold is no number");
    }
    return value.asInt();
}

void WriteFormatted(int level, const char* name, const char* format, va_list arguments)
{
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

/** All loggers of the process, and the thresholds for those yet to come. */
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
    LineBuffer::Begin(stream);
    return stream << level << ' ' << m_name << ": " << functionName << ": ";
}

void DPrint::Put(const std::ostringstream& stream) const
{
    const LineBuffer* const buffer = LineBuffer::Of(stream);
    const std::string text = buffer == nullptr ? stream.str() : std::string();
    WriteLine(buffer == nullptr ? LineBuffer::Line(text, text.size()) : buffer->Line());
}

void DPrint::Log(int level, const char* format, ...) const
{
    if (!IsLog(level)) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    WriteFormatted(level, m_name, format, arguments);
    va_end(arguments);
}

void DPrint::LogWarning(const char* format, ...) const
{
    constexpr int kWarning = 2;
    if (!IsLog(kWarning)) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    WriteFormatted(kWarning, m_name, format, arguments);
    va_end(arguments);
}
