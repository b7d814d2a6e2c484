#include "LineBuffer.h"

#include "Utf8Text.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace
{
constexpr std::size_t kUsualLine = 256;

// The place of a stream's buffer among what users may hang on a stream, see std::ios_base::xalloc.
int BufferIndex()
{
    static const int index = std::ios_base::xalloc();
    return index;
}

void OnStreamEvent(std::ios_base::event event, std::ios_base& stream, int index)
{
    if (event == std::ios_base::erase_event) {
        delete static_cast<LineBuffer*>(stream.pword(index));
    }
    if (event != std::ios_base::imbue_event) {
        stream.pword(index) = nullptr;
    }
}

bool IsPlain(char c)
{
    return (c >= ' ' && c <= '~') || c == '\t';
}

std::string Escaped(const char* format, char byte)
{
    char escape[8];
    std::snprintf(escape, sizeof escape, format, static_cast<unsigned int>(static_cast<unsigned char>(byte)));
    return escape;
}

// Takes what is written as one from the text, and returns that.
std::string TakeUnit(std::string_view& text)
{
    const std::size_t length = Utf8Text::CharacterLength(text);
    const std::string character(text.substr(0, std::max(length, std::size_t{1})));
    text.remove_prefix(character.size());
    if (character == "\n") {
        return "\\n";
    }
    if (character == "\r") {
        return "\\r";
    }
    if (length == 2 && character[0] == '\xc2' && static_cast<unsigned char>(character[1]) < 0xa0) {
        return Escaped("\\u%04x", character[1]);
    }
    return length > 1 || IsPlain(character[0]) ? character : Escaped("\\x%02x", character[0]);
}
} // namespace

LineBuffer& LineBuffer::Begin(std::ostream& stream)
{
    void*& place = stream.pword(BufferIndex());
    if (place == nullptr) {
        auto buffer = std::make_unique<LineBuffer>();
        stream.register_callback(&OnStreamEvent, BufferIndex());
        place = buffer.release();
    }
    auto* const buffer = static_cast<LineBuffer*>(place);
    buffer->m_begin.clear();
    buffer->m_begin.reserve(kUsualLine);
    buffer->m_length = 0;
    stream.rdbuf(buffer);
    return *buffer;
}

const LineBuffer* LineBuffer::Of(const std::ios& stream)
{
    return dynamic_cast<const LineBuffer*>(stream.rdbuf());
}

std::string LineBuffer::Line(std::string_view begin, std::size_t length)
{
    if (begin.size() == length && !begin.empty() && begin.back() == '\n') {
        begin.remove_suffix(1);
        --length;
    }
    std::string line;
    line.reserve(std::min(begin.size(), kMaxLine));
    while (!begin.empty()) {
        const auto plainEnd =
            std::find_if_not(begin.begin(), begin.begin() + std::min(begin.size(), kMaxLine - line.size()), IsPlain);
        const auto plain = static_cast<std::size_t>(plainEnd - begin.begin());
        line += begin.substr(0, plain);
        begin.remove_prefix(plain);
        length -= plain;
        std::string_view next = begin;
        const std::string unit = begin.empty() ? std::string() : TakeUnit(next);
        if (line.size() + unit.size() > kMaxLine) {
            break;
        }
        line += unit;
        length -= begin.size() - next.size();
        begin = next;
    }
    return length == 0 ? line : line + "... (" + std::to_string(length) + " bytes more)";
}

std::streamsize LineBuffer::xsputn(const char* text, std::streamsize count)
{
    Append({text, static_cast<std::size_t>(count)});
    return count;
}

void LineBuffer::Append(std::string_view text)
{
    m_begin.append(text, 0, kMaxKept - m_begin.size());
    m_length += text.size();
}

LineBuffer::int_type LineBuffer::overflow(int_type character)
{
    if (!traits_type::eq_int_type(character, traits_type::eof())) {
        const char c = traits_type::to_char_type(character);
        xsputn(&c, 1);
    }
    return traits_type::not_eof(character);
}
