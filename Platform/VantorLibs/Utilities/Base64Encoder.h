#pragma once

#include <string>

/** Base64 in the padded standard alphabet, RFC 4648 section 4. Thread-safe. */
class Base64Encoder
{
public:
    /**
     * The bytes that the text stands for. Empty when the text is not valid: a length that is no multiple of four, a
     * character outside the alphabet (white space included), "=" anywhere but as the last one or two characters.
     */
    static std::string Decode(const std::string& text);
};
