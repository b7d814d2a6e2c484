#include "JsonText.h"

#include <cctype>
#include <cstddef>
#include <memory>
#include <string_view>

namespace
{
constexpr char kWhiteSpace[] = " \t\r\n";
constexpr char kNumberCharacters[] = "+-.0123456789Ee";

/** RFC 8259 section 6 */
bool IsNumber(std::string_view text)
{
    const auto take = [&text](std::string_view oneOf) {
        const bool isThere = !text.empty() && oneOf.find(text.front()) != std::string_view::npos;
        text.remove_prefix(isThere ? 1 : 0);
        return isThere;
    };
    const auto takeDigits = [&take] {
        bool isThere = false;
        while (take("0123456789")) {
            isThere = true;
        }
        return isThere;
    };
    take("-");
    if (!take("0") && !takeDigits()) {
        return false;
    }
    if (take(".") && !takeDigits()) {
        return false;
    }
    if (take("Ee")) {
        take("+-");
        if (!takeDigits()) {
            return false;
        }
    }
    return text.empty();
}

/** The length of the quoted text that this begins with; 0 when it holds a control character. */
std::size_t QuotedLength(std::string_view text)
{
    for (std::size_t at = 1; at < text.size(); ++at) {
        if (text[at] == '"') {
            return at + 1;
        }
        if (static_cast<unsigned char>(text[at]) < ' ') {
            return 0;
        }
        at += text[at] == '\\' ? 1 : 0;
    }
    return 0;
}
} // namespace

std::optional<Json::Value> Gatrix::JsonText::Read(const std::string& text, int maxLevels)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["strictRoot"] = false;
    builder["skipBom"] = false;
    builder["stackLimit"] = maxLevels;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    try {
        if (!reader->parse(text.data(), text.data() + text.size(), &value, nullptr)) {
            return std::nullopt;
        }
    } catch (const Json::Exception&) {
        // Nested too deeply.
        return std::nullopt;
    }
    // The reader takes a NUL, and what is no token, for the end of the text.
    const auto end = static_cast<std::size_t>(value.getOffsetLimit());
    return text.find_first_not_of(kWhiteSpace, end) == std::string::npos ? std::optional(std::move(value))
                                                                         : std::nullopt;
}

std::optional<std::string> Gatrix::JsonText::Compact(const std::string& text, const Json::Value& value)
{
    const auto begin = static_cast<std::size_t>(value.getOffsetStart());
    std::string_view rest(text.data() + begin, static_cast<std::size_t>(value.getOffsetLimit()) - begin);
    std::string compact;
    compact.reserve(rest.size());
    while (!rest.empty()) {
        std::size_t length = 1;
        if (rest.front() == '"') {
            length = QuotedLength(rest);
            if (length == 0) {
                return std::nullopt;
            }
        } else if (rest.front() == '-' || std::isdigit(static_cast<unsigned char>(rest.front())) != 0) {
            length = rest.substr(0, rest.find_first_not_of(kNumberCharacters)).size();
            if (!IsNumber(rest.substr(0, length))) {
                return std::nullopt;
            }
        }
        if (std::string_view(kWhiteSpace).find(rest.front()) == std::string_view::npos) {
            compact.append(rest.substr(0, length));
        }
        rest.remove_prefix(length);
    }
    return compact;
}

std::string Gatrix::JsonText::Write(const Json::Value& value, unsigned int digits)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["precision"] = digits;
    return Json::writeString(builder, value);
}
