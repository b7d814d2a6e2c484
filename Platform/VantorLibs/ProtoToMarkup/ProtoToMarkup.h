#pragma once

#include <stdexcept>
#include <string>

namespace google::protobuf
{
class Message;
}

/**
 * Converts messages to their JSON form (RFC 8259, in UTF-8) and back. Nothing is logged here.
 *
 * Members carry the field names exactly as the schema declares them. Enumeration values are written by name, 64-bit
 * integers as texts (a JSON number does not hold them), bytes in base64, otherwise as in protobuf's JSON mapping. The
 * form comes bare, { fields }, or under a root that names the message: { "UploadRequest": { fields } }. Thread-safe.
 */
class ProtoToMarkup
{
public:
    /** What is wrong: the name of the message (or the root that was asked for), the place, the reason; one line. */
    class MarkupError : public std::runtime_error
    {
    public:
        using std::runtime_error::runtime_error;
    };

    /**
     * FromJson reads what this writes. An enumeration number that the schema does not declare is written as a number,
     * in a list behind the declared values.
     *
     * @param withRootName the form under a root: {"MessageName":{...}}
     * @param indented     false: one line without white space around or in it; true: for people, one member a line,
     *                     ending in a line feed
     * @param withDefaults also writes the fields that are not set, with their default values, and empty lists; a
     *                     message that is not set stays out
     * @throws MarkupError when a required field is not set, or a text is not UTF-8
     */
    static std::string ToJson(const google::protobuf::Message& message, bool withRootName = true, bool indented = false,
                              bool withDefaults = false);

    /**
     * Reads both forms. The message afterwards holds what the text says and nothing else; when an error is thrown, it
     * is unchanged.
     *
     * Enumeration values are taken by name or number. A number that the schema does not declare is kept as an unknown
     * field, as proto2 has it. A member may have the field's lowerCamelCase name, and null stands for a field that is
     * not set. Members that the schema does not know are ignored, except beside a root.
     *
     * @throws MarkupError for text that is not an object, or that StrictJson refuses: a member named twice, a limit
     *         that is passed. Also for a field under both its names, a value of the wrong type, an unknown enumeration
     *         name, and a required field that is missing.
     */
    static void FromJson(const std::string& text, google::protobuf::Message& message);

    /** As above, but the root is called `rootName` instead of the message's name. The bare form is taken as well. */
    static void FromJson(const std::string& text, google::protobuf::Message& message, const std::string& rootName);
};
