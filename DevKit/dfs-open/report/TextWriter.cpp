#include "TextWriter.h"

#include "Lines.h"
#include "Markup.h"

#include <string>

namespace DfsReport
{

namespace
{

constexpr std::size_t kRowsOfBlock = 200;
constexpr std::size_t kLongestRow = 2000;

// Rows that a browser lays out together.
class Block
{
public:
    explicit Block(const PageSink& page) : m_page(page) {}

    // Whether a line fits that begins here.
    bool IsFull() const { return m_rows >= kRowsOfBlock; }

    // The number is 0 for a row that carries a line on.
    void Add(std::size_t number, std::string_view row, const std::string& anchor)
    {
        if (m_rows == 0) {
            m_first = number;
        }
        ++m_rows;
        m_numbers += (number != 0 ? std::to_string(number) : "\xe2\x86\xb3") + '\n';
        if (anchor.empty()) {
            Markup::Append(m_text, row);
        } else {
            m_text += "<span class=\"linked\" id=\"" + anchor + "\">";
            Markup::Append(m_text, row);
            m_text += "</span>";
        }
        m_text += '\n';
    }

    void Flush()
    {
        if (m_rows == 0) {
            return;
        }
        // The height of rows that are not laid out yet is the same: the scroll bar does not jump. An attribute names
        // it, as the policy of the page allows no style in an attribute.
        m_page("<div class=\"block" + std::string(m_rows == kRowsOfBlock ? " full" : "") + "\" data-first=\"" +
               std::to_string(m_first) + "\"><pre class=\"numbers\" aria-hidden=\"true\">" + m_numbers +
               "</pre><pre class=\"lines\">" + m_text + "</pre></div>\n");
        m_rows = 0;
        m_numbers.clear();
        m_text.clear();
    }

private:
    const PageSink& m_page;
    std::size_t m_first = 0;
    std::size_t m_rows = 0;
    std::string m_numbers;
    std::string m_text;
};

// Where to cut a row: not within a character.
std::size_t RowLength(std::string_view text)
{
    std::size_t length = std::min(text.size(), kLongestRow);
    for (int back = 0; back < 3 && length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U;
         ++back) {
        --length;
    }
    return length;
}

} // namespace

std::string Anchor(const Place& place)
{
    const std::string item = 'i' + std::to_string(place.document);
    return place.line == 0 ? item : item + "-L" + std::to_string(place.line);
}

void WriteText(std::size_t document, std::string_view text, const std::set<std::size_t>& linked, const PageSink& page)
{
    Block block(page);
    Lines lines(text);
    for (Line line; lines.Next(line);) {
        std::size_t number = line.number;
        std::string anchor = linked.count(number) != 0 ? Anchor({document, number}) : "";
        do {
            // A line that goes on in the next block says there which line it is.
            if (block.IsFull()) {
                block.Flush();
                number = line.number;
            }
            const std::string_view row = line.text.substr(0, RowLength(line.text));
            block.Add(number, row, anchor);
            line.text.remove_prefix(row.size());
            number = 0;
            anchor.clear();
        } while (!line.text.empty());
    }
    block.Flush();
}

} // namespace DfsReport
