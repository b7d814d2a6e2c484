#include "StringUtils.h"

#include <json/json.h>

std::string StringUtils::FindReplace(std::string text, const std::string& from, const std::string& to)
{
    if (from.empty()) {
        return text;
    }
    std::string result;
    std::size_t done = 0;
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, done)) {
        result.append(text, done, at - done).append(to);
        done = at + from.size();
    }
    return result.append(text, done, std::string::npos);
}

std::string StringUtils::trim(std::string text)
{
    constexpr char kWhiteSpace[] = " \t\n\v\f\r";
    text.erase(text.find_last_not_of(kWhiteSpace) + 1);
    text.erase(0, text.find_first_not_of(kWhiteSpace));
    return text;
}

std::string StringUtils::ToJson(const std::map<std::string, std::string>& values)
{
    Json::Value object(Json::objectValue);
    for (const auto& [name, value] : values) {
        object[name] = value;
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, object);
}

bool StringUtils::IsUtf8(const std::string& text)
{
    /** How a character of two to four bytes begins (RFC 3629 section 4), and the range of its second byte. */
    struct Lead
    {
        unsigned char first, last, secondMin, secondMax;
        std::size_t length;
    };
    static constexpr Lead kLeads[] = {
        {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3}, {0xE1, 0xEC, 0x80, 0xBF, 3},
        {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3}, {0xF0, 0xF0, 0x90, 0xBF, 4},
        {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
    };
    const auto byteAt = [&text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const auto lengthAt = [&](std::size_t at) -> std::size_t {
        if (byteAt(at) < 0x80) {
            return 1;
        }
        for (const Lead& lead : kLeads) {
            if (byteAt(at) < lead.first || byteAt(at) > lead.last) {
                continue;
            }
            if (text.size() - at < lead.length || byteAt(at + 1) < lead.secondMin || byteAt(at + 1) > lead.secondMax) {
                return 0;
            }
            for (std::size_t next = at + 2; next < at + lead.length; ++next) {
                if ((byteAt(next) & 0xC0U) != 0x80U) {
                    return 0;
                }
            }
            return lead.length;
        }
        return 0;
    };
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t length = lengthAt(at);
        if (length == 0) {
            return false;
        }
        at += length;
    }
    return true;
}
