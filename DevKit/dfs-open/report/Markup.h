#pragma once

#include <string>
#include <string_view>

/** Texts from outside, fit for an HTML page. Thread-safe. */
namespace DfsReport::Markup
{

/**
 * Appends a text, for the content of an element or a quoted attribute. Markup is escaped. Control characters but line
 * feed and tab, and bytes that are no UTF-8 (RFC 3629), become \xNN. Characters that turn or hide text (bidirectional
 * controls, Unicode standard annex 9, zero-width ones, line separators) become \u{NNNN}.
 */
void Append(std::string& page, std::string_view text);

/** The same, as a text of its own. */
std::string Escape(const std::string& text);

/** At most so many bytes of the text, not cut within a character, with an ellipsis if that is not all. */
std::string Shortened(std::string_view text, std::size_t most);

} // namespace DfsReport::Markup
