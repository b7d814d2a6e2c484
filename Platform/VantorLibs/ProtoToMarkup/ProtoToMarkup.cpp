#include "ProtoToMarkup.h"

#include "GroupedFields.h"
#include "JsonShape.h"
#include "StrictJson.h"
#include "StringUtils.h"
#include "Utf8Text.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/util/json_util.h>
#include <google/protobuf/util/type_resolver.h>
#include <google/protobuf/util/type_resolver_util.h>
#include <json/json.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace
{
using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;
namespace util = google::protobuf::util;

constexpr char kTypeServer[] = "type.googleapis.com";
constexpr std::size_t kMaxReasonLength = 400;

[[noreturn]] void Throw(const std::string& root, const std::string& place, std::string reason)
{
    // One line of readable length, whatever the text that it quotes.
    std::replace(reason.begin(), reason.end(), '\n', ' ');
    if (reason.size() > kMaxReasonLength) {
        reason = std::string(Utf8Text::Cut(reason, kMaxReasonLength)) + "...";
    }
    throw ProtoToMarkup::MarkupError(root + ": " + (place.empty() ? reason : place + ": " + reason));
}

std::string Reason(const util::Status& status)
{
    // The one form of the reason that all protobuf versions offer has the status code's name in front.
    const std::string text = status.ToString();
    return text.substr(std::min(text.find(':') + 1, text.size()));
}

util::TypeResolver& Resolver(const DescriptorPool& pool, std::unique_ptr<util::TypeResolver>& own)
{
    static const std::unique_ptr<util::TypeResolver> generated(
        util::NewTypeResolverForDescriptorPool(kTypeServer, DescriptorPool::generated_pool()));
    if (&pool == DescriptorPool::generated_pool()) {
        return *generated;
    }
    own.reset(util::NewTypeResolverForDescriptorPool(kTypeServer, &pool));
    return *own;
}

std::string Element(const std::string& place, const FieldDescriptor& field, int index)
{
    return place + field.name() + (field.is_repeated() ? "[" + std::to_string(index) + "]" : "");
}

// protobuf would log, drop the bytes and go on.
void CheckTexts(const std::string& root, const Message& message, const std::string& place)
{
    const Reflection& reflection = *message.GetReflection();
    std::vector<const FieldDescriptor*> fields;
    reflection.ListFields(message, &fields);
    for (const FieldDescriptor* field : fields) {
        const int count = field->is_repeated() ? reflection.FieldSize(message, field) : 1;
        for (int index = 0; index < count; ++index) {
            if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
                CheckTexts(root,
                           field->is_repeated() ? reflection.GetRepeatedMessage(message, field, index)
                                                : reflection.GetMessage(message, field),
                           Element(place, *field, index) + ".");
            } else if (field->type() == FieldDescriptor::TYPE_STRING) {
                std::string scratch;
                if (!Utf8Text::IsValid(field->is_repeated()
                                           ? reflection.GetRepeatedStringReference(message, field, index, &scratch)
                                           : reflection.GetStringReference(message, field, &scratch))) {
                    Throw(root, Element(place, *field, index), "the text is not UTF-8");
                }
            }
        }
    }
}

std::string UnderRoot(const std::string& root, const std::string& json, bool indented)
{
    if (!indented) {
        return "{\"" + root + "\":" + json + "}";
    }
    // Line feeds in texts are escaped: those that are left begin protobuf's lines, which are one level too far left.
    const std::string inner = StringUtils::FindReplace(StringUtils::trim(json), "\n", "\n ");
    return "{\n \"" + root + "\": " + inner + "\n}\n";
}

Json::Value ParseObject(const std::string& text, const std::string& root)
{
    try {
        Json::Value value = StrictJson::Parse(text);
        if (value.isObject()) {
            return value;
        }
    } catch (const StrictJson::Error& error) {
        Throw(root, "", std::string("not JSON: ") + error.what());
    }
    Throw(root, "", "an object is expected");
}

// The object that holds the fields: the one under the root if there is a root, otherwise the whole.
const Json::Value& FieldsOf(const Json::Value& whole, const Descriptor& schema, const std::string& root)
{
    if (!whole.isMember(root) || JsonShape::IsField(schema, root)) {
        return whole;
    }
    const Json::Value& fields = whole[root];
    if (whole.size() != 1) {
        Throw(root, "", "there are members beside the root");
    }
    if (!fields.isObject()) {
        Throw(root, "", "an object is expected under the root");
    }
    if (fields.isMember(root)) {
        Throw(root, "", "there is a root under the root");
    }
    return fields;
}
} // namespace

std::string ProtoToMarkup::ToJson(const Message& message, bool withRootName, bool indented, bool withDefaults)
{
    const Descriptor& schema = *message.GetDescriptor();
    const std::string& root = schema.name();
    std::vector<std::string> missing;
    message.FindInitializationErrors(&missing);
    if (!missing.empty()) {
        Throw(root, missing.front(), "the required field is missing");
    }
    CheckTexts(root, message, "");

    util::JsonPrintOptions options;
    options.preserve_proto_field_names = true;
    options.add_whitespace = indented;
    options.always_print_primitive_fields = withDefaults;
    std::unique_ptr<util::TypeResolver> own;
    std::string json;
    const util::Status status = util::BinaryToJsonString(
        &Resolver(*schema.file()->pool(), own), std::string(kTypeServer) + "/" + schema.full_name(),
        GroupedFields::Group(message.SerializeAsString(), schema), &json, options);
    if (!status.ok()) {
        Throw(root, "", Reason(status));
    }
    return withRootName ? UnderRoot(root, json, indented) : json;
}

void ProtoToMarkup::FromJson(const std::string& text, Message& message)
{
    FromJson(text, message, message.GetDescriptor()->name());
}

void ProtoToMarkup::FromJson(const std::string& text, Message& message, const std::string& rootName)
{
    const Descriptor& schema = *message.GetDescriptor();
    const Json::Value whole = ParseObject(text, rootName);
    const Json::Value& fields = FieldsOf(whole, schema, rootName);
    try {
        JsonShape::Check(fields, schema);
    } catch (const JsonShape::Complaint& complaint) {
        Throw(rootName, complaint.place, complaint.reason);
    }

    // protobuf reads the text itself, not the parsed tree: a tree keeps a number's value but not its digits.
    const auto begin = static_cast<std::size_t>(fields.getOffsetStart());
    const std::string json = text.substr(begin, static_cast<std::size_t>(fields.getOffsetLimit()) - begin);
    util::JsonParseOptions options;
    options.ignore_unknown_fields = true;
    std::unique_ptr<util::TypeResolver> own;
    std::string binary;
    const util::Status status =
        util::JsonToBinaryString(&Resolver(*schema.file()->pool(), own),
                                 std::string(kTypeServer) + "/" + schema.full_name(), json, &binary, options);
    if (!status.ok()) {
        Throw(rootName, "", Reason(status));
    }
    const std::unique_ptr<Message> read(message.New());
    if (!read->ParsePartialFromString(binary)) {
        Throw(rootName, "", "the value does not fit the message");
    }
    std::vector<std::string> missing;
    read->FindInitializationErrors(&missing);
    if (!missing.empty()) {
        Throw(rootName, missing.front(), "the required field holds no declared value");
    }
    message.GetReflection()->Swap(&message, read.get());
}
