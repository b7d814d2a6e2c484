#pragma once

#include <exception>
#include <string>

class ProtoPersistenceIF
{
public:
    class ProtoPersistenceException : public std::exception
    {
    public:
        const char* what() const noexcept override;
    };

    virtual ~ProtoPersistenceIF();
    virtual void Store(const std::string& text) = 0;
};
