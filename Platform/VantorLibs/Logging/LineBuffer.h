#pragma once

#include <cstddef>
#include <ios>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

/** Takes the text of a log line as it is put together, and keeps no more of it than a line shows. Not thread-safe. */
class LineBuffer final : public std::streambuf
{
public:
    /** Bytes of a line as it is written. */
    static constexpr std::size_t kMaxLine = std::size_t{8} * 1024;
    /** Bytes of a text that its line may depend on: to the end of the character that crosses the limit. */
    static constexpr std::size_t kMaxKept = kMaxLine + 3;

    /** Begins a new line, which takes what is written to the stream from here on. The stream owns the buffer. */
    static LineBuffer& Begin(std::ostream& stream);

    /** The buffer of a stream; null before Begin. */
    static const LineBuffer* Of(const std::ios& stream);

    /**
     * One line of valid UTF-8, without a line feed at the text's end: control characters (C0 and C1) and bytes that are
     * not UTF-8 as escapes, cut between two of these at kMaxLine, with the number of bytes that are missing.
     *
     * @param begin  of the text, at least kMaxKept bytes or the whole
     * @param length of the whole text
     */
    static std::string Line(std::string_view begin, std::size_t length);

    /** As writing to the stream, which takes longer. */
    void Append(std::string_view text);

    std::string Line() const { return Line(m_begin, m_length); }

protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override;
    int_type overflow(int_type character) override;

private:
    std::string m_begin;
    std::size_t m_length = 0;
};
