#pragma once

#include <exception>
#include <string>

namespace google::protobuf
{
class Message;
}

class ProtoToMarkup
{
public:
    class MarkupError : public std::exception
    {
    public:
        const char* what() const noexcept override;
    };

    static std::string ToJson(const google::protobuf::Message& message, bool, bool, bool);
    static void FromJson(const std::string& text, google::protobuf::Message& message);
    static void FromJson(const std::string& text, google::protobuf::Message& message, const std::string& rootName);
};
