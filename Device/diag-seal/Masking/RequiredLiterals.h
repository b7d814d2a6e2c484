#pragma once

#include "RequiredTexts.h"

#include <string_view>

namespace DiagSeal
{

/**
 * What each match of a pattern holds: one text of each of the lists, of which the one that is found least often comes
 * first. "(?:user|login)\s*[:=]" gives {"user", "login"} and {":", "="}.
 *
 * What is left out only makes the answer weaker: texts that are found everywhere, a part that may be missing, a class
 * of many characters. A pattern with a construct that this reader does not know gives no list, which says nothing
 * about a match. The pattern is RE2's, for bytes (Latin-1), and need not be valid. Thread-safe.
 *
 * RE2's own FilteredRE2 would have to compile all patterns first, for ten times the time and 1.5 MB. It does not tell
 * where a match begins or what follows the name of a secret, without which several rules are tried on each line.
 */
RequiredLists RequiredLiterals(std::string_view pattern);

/** Whether the pattern is one that OnePass describes. If the reader does not know it, it is not. Thread-safe. */
bool IsOnePass(std::string_view pattern);

} // namespace DiagSeal
