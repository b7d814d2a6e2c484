#include "StrictJson.h"

#include "StringUtils.h"
#include "Utf8Text.h"

#include <json/json.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <string>

namespace
{
using StrictJson::Error;
using StrictJson::Limits;

constexpr std::size_t kMaxReasonBytes = 100;

// Looks at a text token by token, for what jsoncpp lets pass and for the limits; their order is left to jsoncpp.
class TokenCheck
{
public:
    TokenCheck(std::string_view text, const Limits& limits) : m_text(text), m_limits(limits) {}

    void Run()
    {
        while (m_at < m_text.size()) {
            const char c = m_text[m_at];
            if (c == '{' || c == '[') {
                if (++m_level > m_limits.levels) {
                    Fail("nested in more than " + std::to_string(m_limits.levels) + " levels");
                }
                CountValue();
                ++m_at;
            } else if (c == '}' || c == ']') {
                --m_level;
                ++m_at;
            } else if (c == '"') {
                CountValue();
                TakeText();
            } else if (c == '-' || IsDigit(c)) {
                CountValue();
                TakeNumber();
            } else if (!TakeOneOf(" \t\r\n:,")) {
                CountValue();
                Require(TakeWord("true") || TakeWord("false") || TakeWord("null"), "no JSON value");
            }
        }
    }

private:
    static bool IsDigit(char c) { return c >= '0' && c <= '9'; }

    static bool IsPlain(char c) { return c != '"' && c != '\\' && static_cast<unsigned char>(c) >= ' '; }

    [[noreturn]] void Fail(const std::string& reason) const
    {
        throw Error(reason + " at byte " + std::to_string(m_at));
    }

    void Require(bool isGood, const char* otherwise) const
    {
        if (!isGood) {
            Fail(otherwise);
        }
    }

    void CountValue()
    {
        if (++m_values > m_limits.values) {
            Fail("more than " + std::to_string(m_limits.values) + " values");
        }
    }

    bool TakeOneOf(std::string_view characters)
    {
        const bool isThere = m_at < m_text.size() && characters.find(m_text[m_at]) != std::string_view::npos;
        m_at += isThere ? 1 : 0;
        return isThere;
    }

    bool TakeWord(std::string_view word)
    {
        const bool isThere = m_text.substr(m_at, word.size()) == word;
        m_at += isThere ? word.size() : 0;
        return isThere;
    }

    void TakeDigits()
    {
        Require(m_at < m_text.size() && IsDigit(m_text[m_at]), "a malformed number");
        while (m_at < m_text.size() && IsDigit(m_text[m_at])) {
            ++m_at;
        }
    }

    // RFC 8259 section 6
    void TakeNumber()
    {
        TakeOneOf("-");
        if (!TakeOneOf("0")) {
            TakeDigits();
        }
        if (TakeOneOf(".")) {
            TakeDigits();
        }
        if (TakeOneOf("eE")) {
            TakeOneOf("+-");
            TakeDigits();
        }
        Require(m_at == m_text.size() || !IsDigit(m_text[m_at]), "a malformed number");
    }

    // RFC 8259 section 7
    void TakeText()
    {
        ++m_at;
        while (!TakeOneOf("\"")) {
            const auto plain = m_text.substr(m_at);
            m_at += static_cast<std::size_t>(std::find_if_not(plain.begin(), plain.end(), IsPlain) - plain.begin());
            Require(m_at < m_text.size(), "a text without end");
            Require(static_cast<unsigned char>(m_text[m_at]) >= ' ', "a control character");
            if (TakeOneOf("\\")) {
                TakeEscape();
            }
        }
    }

    void TakeEscape()
    {
        if (!TakeOneOf("u")) {
            Require(TakeOneOf("\"\\/bfnrt"), "an unknown escape");
            return;
        }
        constexpr unsigned int kSurrogateBits = 0xFC00;
        constexpr unsigned int kHighSurrogate = 0xD800;
        constexpr unsigned int kLowSurrogate = 0xDC00;
        const unsigned int half = TakeHex() & kSurrogateBits;
        if (half == kHighSurrogate) {
            Require(TakeWord("\\u"), "half a surrogate pair");
            Require((TakeHex() & kSurrogateBits) == kLowSurrogate, "half a surrogate pair");
        }
        Require(half != kLowSurrogate, "half a surrogate pair");
    }

    unsigned int TakeHex()
    {
        constexpr std::size_t kDigits = 4;
        constexpr int kBase = 16;
        const std::string digits(m_text.substr(m_at, kDigits));
        Require(digits.size() == kDigits &&
                    std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return std::isxdigit(c) != 0; }),
                "an unknown escape");
        m_at += kDigits;
        return static_cast<unsigned int>(std::stoul(digits, nullptr, kBase));
    }

    const std::string_view m_text;
    const Limits& m_limits;
    std::size_t m_at = 0;
    int m_level = 0;
    std::size_t m_values = 0;
};

std::unique_ptr<Json::CharReader> MakeReader()
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["strictRoot"] = false;
    // jsoncpp counts the value in the innermost list as a level.
    builder["stackLimit"] = StrictJson::kMostLevels + 1;
    return std::unique_ptr<Json::CharReader>(builder.newCharReader());
}

// The first error of jsoncpp's report, which is "* Line 1, Column 2\n  what is wrong\n" and more of these.
std::string FirstOf(const std::string& report)
{
    const std::size_t reason = std::min(report.find("\n  "), report.size());
    const std::size_t end = report.find('\n', reason + 1);
    const std::string first = report.substr(0, end);
    return StringUtils::trim(StringUtils::FindReplace(StringUtils::FindReplace(first, "* ", ""), "\n  ", ": "));
}
} // namespace

Json::Value StrictJson::Parse(std::string_view text, const Limits& limits)
{
    if (text.size() > limits.bytes) {
        throw Error("more than " + std::to_string(limits.bytes) + " bytes");
    }
    if (!Utf8Text::IsValid(text)) {
        throw Error("not UTF-8");
    }
    TokenCheck(text, limits).Run();

    // To make a reader takes longer than to read a short text.
    thread_local std::unique_ptr<Json::CharReader> t_reader;
    std::unique_ptr<Json::CharReader> reader = t_reader ? std::move(t_reader) : MakeReader();
    Json::Value value;
    std::string report;
    bool isGood = false;
    try {
        isGood = reader->parse(text.data(), text.data() + text.size(), &value, &report);
    } catch (const Json::Exception& error) {
        report = error.what();
    }
    if (!isGood) {
        // The reader is not kept, as it holds all that it has found wrong.
        throw Error(std::string(Utf8Text::Cut(FirstOf(report), kMaxReasonBytes)));
    }
    t_reader = std::move(reader);
    return value;
}
