#include "JsonText.h"

#include <algorithm>

namespace
{
constexpr std::string_view kWhiteSpace = " \t\r\n";

void SkipWhiteSpace(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
}

bool Take(std::string_view& text, char expected)
{
    SkipWhiteSpace(text);
    const bool isThere = !text.empty() && text.front() == expected;
    text.remove_prefix(isThere ? 1 : 0);
    return isThere;
}

// The length of the quoted text that this begins with, to the very end when it is not closed.
std::size_t QuotedLength(std::string_view text)
{
    std::size_t at = 1;
    while (at < text.size() && text[at] != '"') {
        at += text[at] == '\\' ? 2 : 1;
    }
    return std::min(at + 1, text.size());
}

// Takes what stands before the comma or bracket that ends a member.
std::string_view TakeValue(std::string_view& text)
{
    std::size_t length = 0;
    std::size_t level = 0;
    while (length < text.size()) {
        const char c = text[length];
        if (level == 0 && (c == ',' || c == '}')) {
            break;
        }
        level += c == '{' || c == '[' ? 1 : 0;
        level -= level > 0 && (c == '}' || c == ']') ? 1 : 0;
        length += c == '"' ? QuotedLength(text.substr(length)) : 1;
    }
    const std::string_view value = text.substr(0, length);
    text.remove_prefix(length);
    return value;
}

Json::StreamWriterBuilder BuilderOf(Gatrix::JsonText::Digits digits)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["precision"] = static_cast<unsigned int>(digits);
    return builder;
}
} // namespace

std::optional<std::vector<Gatrix::JsonText::Member>> Gatrix::JsonText::Split(std::string_view text)
{
    std::vector<Member> members;
    bool isGood = Take(text, '{');
    bool hasMore = isGood && !Take(text, '}');
    while (isGood && hasMore) {
        SkipWhiteSpace(text);
        Member member;
        member.name = text.substr(0, !text.empty() && text.front() == '"' ? QuotedLength(text) : 0);
        text.remove_prefix(member.name.size());
        isGood = !member.name.empty() && Take(text, ':') && members.size() < kMaxMembers;
        member.value = TakeValue(text);
        members.push_back(member);
        hasMore = Take(text, ',');
        isGood = isGood && (hasMore || Take(text, '}'));
    }
    SkipWhiteSpace(text);
    return isGood && text.empty() ? std::optional(std::move(members)) : std::nullopt;
}

std::string Gatrix::JsonText::Compact(std::string_view text)
{
    std::string compact;
    compact.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = text.front() == '"' ? QuotedLength(text) : 1;
        if (kWhiteSpace.find(text.front()) == std::string_view::npos) {
            compact.append(text.substr(0, length));
        }
        text.remove_prefix(length);
    }
    return compact;
}

std::string Gatrix::JsonText::Write(const Json::Value& value, Digits digits)
{
    // To fill a builder takes longer than to write a short text.
    static const Json::StreamWriterBuilder s_few = BuilderOf(Digits::Few);
    static const Json::StreamWriterBuilder s_enough = BuilderOf(Digits::Enough);
    return Json::writeString(digits == Digits::Few ? s_few : s_enough, value);
}
