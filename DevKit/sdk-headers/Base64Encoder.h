#pragma once

#include <string>

class Base64Encoder
{
public:
    static std::string Decode(const std::string& text);
};
