#pragma once

#include <string>

class NameValueFile
{
public:
    explicit NameValueFile(const std::string& path);
    ~NameValueFile();
    std::string Get(const std::string& name, const std::string& defaultValue) const;
};
