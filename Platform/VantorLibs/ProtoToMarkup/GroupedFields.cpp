#include "GroupedFields.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/unknown_field_set.h>
#include <google/protobuf/wire_format.h>

#include <algorithm>
#include <vector>

namespace
{
using google::protobuf::FieldDescriptor;
using google::protobuf::UnknownField;
using google::protobuf::UnknownFieldSet;
} // namespace

std::string GroupedFields::Group(const std::string& binary, const google::protobuf::Descriptor& schema)
{
    UnknownFieldSet fields;
    fields.ParseFromString(binary);
    std::vector<const UnknownField*> order;
    order.reserve(static_cast<std::size_t>(fields.field_count()));
    for (int index = 0; index < fields.field_count(); ++index) {
        order.push_back(&fields.field(index));
    }
    std::stable_sort(order.begin(), order.end(),
                     [](const auto* one, const auto* other) { return one->number() < other->number(); });

    UnknownFieldSet grouped;
    int last = 0;
    for (const UnknownField* value : order) {
        const FieldDescriptor* const field = schema.FindFieldByNumber(value->number());
        const bool isSecond = value->number() == last;
        last = value->number();
        if (field != nullptr && !field->is_repeated() && isSecond) {
            continue;
        }
        if (field != nullptr && field->type() == FieldDescriptor::TYPE_MESSAGE &&
            value->type() == UnknownField::TYPE_LENGTH_DELIMITED) {
            grouped.AddLengthDelimited(last, Group(value->length_delimited(), *field->message_type()));
        } else {
            grouped.AddField(*value);
        }
    }

    std::string text;
    {
        google::protobuf::io::StringOutputStream stream(&text);
        google::protobuf::io::CodedOutputStream output(&stream);
        google::protobuf::internal::WireFormat::SerializeUnknownFields(grouped, &output);
    }
    return text;
}
