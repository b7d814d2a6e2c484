#include "JsonShape.h"

#include <google/protobuf/descriptor.h>

namespace
{
using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using JsonShape::Complaint;

template <class Type>
bool IsProtobufsOwn(const Type& type)
{
    return type.file()->package() == "google.protobuf";
}

const Json::Value* FindMember(const Json::Value& object, const std::string& name)
{
    return object.find(name.data(), name.data() + name.size());
}

// The value of a field, under its declared or its lowerCamelCase name; null if there is none.
const Json::Value* FindValue(const Json::Value& object, const FieldDescriptor& field, const std::string& place)
{
    const Json::Value* const declared = FindMember(object, field.name());
    const Json::Value* const camelCase = FindMember(object, field.json_name());
    if (declared != nullptr && camelCase != nullptr && field.name() != field.json_name()) {
        throw Complaint{place, "there is a '" + field.json_name() + "' as well"};
    }
    const Json::Value* const value = declared != nullptr ? declared : camelCase;
    return value == nullptr || value->isNull() ? nullptr : value;
}

void CheckMessage(const Json::Value& object, const Descriptor& schema, const std::string& place);

void CheckOne(const Json::Value& value, const FieldDescriptor& field, const std::string& place)
{
    if (field.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
        if (IsProtobufsOwn(*field.message_type())) {
            return;
        }
        if (!value.isObject()) {
            throw Complaint{place, "an object is expected"};
        }
        CheckMessage(value, *field.message_type(), place + ".");
        return;
    }
    if (value.isObject() || value.isArray() || value.isNull()) {
        throw Complaint{place, "a plain value is expected"};
    }
    if (field.cpp_type() == FieldDescriptor::CPPTYPE_ENUM && value.isString() &&
        field.enum_type()->FindValueByName(value.asString()) == nullptr) {
        throw Complaint{place, "'" + value.asString() + "' is no " + field.enum_type()->name()};
    }
}

void CheckMessage(const Json::Value& object, const Descriptor& schema, const std::string& place)
{
    for (int index = 0; index < schema.field_count(); ++index) {
        const FieldDescriptor& field = *schema.field(index);
        const std::string fieldPlace = place + field.name();
        const Json::Value* const value = FindValue(object, field, fieldPlace);
        if (value == nullptr) {
            if (field.is_required()) {
                throw Complaint{fieldPlace, "the required field is missing"};
            }
        } else if (field.is_repeated() && !field.is_map()) {
            if (!value->isArray()) {
                throw Complaint{fieldPlace, "a list is expected"};
            }
            for (Json::ArrayIndex at = 0; at < value->size(); ++at) {
                CheckOne((*value)[at], field, fieldPlace + "[" + std::to_string(at) + "]");
            }
        } else if (!field.is_map()) {
            CheckOne(*value, field, fieldPlace);
        }
    }
}
} // namespace

bool JsonShape::IsField(const Descriptor& schema, const std::string& memberName)
{
    for (int index = 0; index < schema.field_count(); ++index) {
        if (schema.field(index)->name() == memberName || schema.field(index)->json_name() == memberName) {
            return true;
        }
    }
    return false;
}

void JsonShape::Check(const Json::Value& object, const Descriptor& schema)
{
    CheckMessage(object, schema, "");
}
