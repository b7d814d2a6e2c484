#include "LogLine.h"

#include "Clock.h"
#include "Lines.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace DfsReport
{

namespace
{

// In lower case. Looked for in the first kSearched bytes of a message.
constexpr std::string_view kErrorWords[] = {
    "error",       "fail",       "fatal", "panic",   "segfault",      "oops",
    "code=dumped", "crit",       "emerg", "corrupt", "out of memory", "cannot",
    "core dump",   "call trace", "abort", "assert",  "no space left", "read-only file system",
    "unreachable",
};
constexpr std::string_view kWarningWords[] = {"warn",     "timeout", "timed out", "retry", "denied",
                                              "underrun", "overrun", "dropped",   "lost",  "refused"};
constexpr std::size_t kSearched = 400;

char Lower(char character)
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
}

template <std::size_t Count>
bool HasOne(const std::string& text, const std::string_view (&words)[Count])
{
    return std::any_of(std::begin(words), std::end(words),
                       [&text](std::string_view word) { return Contains(text, word); });
}

Severity SeverityByWords(std::string_view message)
{
    std::string text(message.substr(0, kSearched));
    std::transform(text.begin(), text.end(), text.begin(), Lower);
    // Words that deny what they name.
    for (const std::string_view harmless : {"no error", "error 0", "0 errors", "errors=remount", "without error"}) {
        const std::size_t at = text.find(harmless);
        if (at != std::string::npos) {
            text.erase(at, harmless.size());
        }
    }
    return HasOne(text, kErrorWords) ? Severity::Error
                                     : (HasOne(text, kWarningWords) ? Severity::Warning : Severity::Other);
}

// Of a word such as "daemon.err", BusyBox's facility and severity.
std::optional<Severity> NamedSeverity(std::string_view word)
{
    const std::size_t dot = word.find('.');
    const std::string_view name = dot == std::string_view::npos ? std::string_view() : word.substr(dot + 1);
    for (const std::string_view error : {"err", "crit", "alert", "emerg"}) {
        if (name == error) {
            return Severity::Error;
        }
    }
    if (name == "warn" || name == "warning") {
        return Severity::Warning;
    }
    return name == "notice" || name == "info" || name == "debug" ? std::optional(Severity::Other) : std::nullopt;
}

void DropWord(std::string_view& text)
{
    text.remove_prefix(std::min(text.find(' '), text.size()));
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

// Takes the time off the text, and what else stands before the message.
std::optional<Seconds> TakeTime(std::string_view& text, const LogClock& clock)
{
    if (!text.empty() && text[0] == '[') {
        const std::size_t end = text.find(']');
        const auto words = Words(end == std::string_view::npos ? std::string_view() : text.substr(1, end - 1), 2);
        const auto seconds = words.size() == 1 ? Number(words[0]) : std::nullopt;
        if (!seconds || *seconds < 0 || *seconds > 1e10) {
            return std::nullopt;
        }
        text.remove_prefix(std::min(end + 2, text.size()));
        return clock.started ? std::optional(*clock.started + static_cast<Seconds>(*seconds)) : std::nullopt;
    }
    // Its zone is left alone: a log beside it names none, and has the same lines.
    if (const auto time = Clock::FromIso(text.substr(0, 19))) {
        DropWord(text);
        DropWord(text);
        return time;
    }
    if (const auto time = Clock::FromLog(text, clock.collected.value_or(0))) {
        text.remove_prefix(15);
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        DropWord(text);
        return clock.collected ? time : std::nullopt;
    }
    return std::nullopt;
}

// The kernel's own text, behind "kernel: " and its time since the start; empty when the line is not the kernel's.
std::string_view KernelText(std::string_view line, std::string_view message)
{
    constexpr std::string_view kTeller = "kernel: ";
    const bool isTold = StartsWith(message, kTeller);
    if (!isTold && (line.empty() || line[0] != '[')) {
        return {};
    }
    message.remove_prefix(isTold ? kTeller.size() : 0);
    TakeTime(message, {});
    return message;
}

} // namespace

LogLine ParseLogLine(std::string_view line, const LogClock& clock)
{
    LogLine parsed;
    parsed.message = line;
    parsed.time = TakeTime(parsed.message, clock);
    const auto named = NamedSeverity(parsed.message.substr(0, parsed.message.find(' ')));
    if (named) {
        DropWord(parsed.message);
    }
    parsed.kernel = KernelText(line, parsed.message);
    parsed.severity = named ? *named : SeverityByWords(parsed.message);
    return parsed;
}

std::string Signature(std::string_view message)
{
    constexpr std::size_t kLongest = 160;
    std::string signature;
    for (std::size_t at = 0; at < message.size() && signature.size() < kLongest; ++at) {
        const char character = message[at];
        const bool isHex = StartsWith(message.substr(at), "0x");
        if (isHex || (character >= '0' && character <= '9')) {
            const char* const digits = isHex ? "0123456789abcdefABCDEFx" : "0123456789";
            at = std::min(message.find_first_not_of(digits, at), message.size()) - 1;
            signature += '#';
        } else {
            signature += character;
        }
    }
    return signature;
}

std::string CrashedProgram(std::string_view message, Teller teller)
{
    // "NAME[PID]: segfault at ...", "NAME.service: Main process exited, code=..., status=..."
    const bool isKernel = teller == Teller::Kernel;
    const std::size_t end = message.find(isKernel ? "]: segfault at" : ".service: Main process exited, code=");
    // A service that ends with status 0 has not crashed.
    if (end == std::string_view::npos || (!isKernel && Contains(message, "status=0/"))) {
        return {};
    }
    std::string_view name = message.substr(0, end);
    if (isKernel) {
        name = name.substr(0, name.rfind('['));
    }
    constexpr std::size_t kLongestName = 64;
    return std::string(name.substr(name.find_last_of(" :") + 1).substr(0, kLongestName));
}

} // namespace DfsReport
