#include "FittingReply.h"

#include "ProtoToMarkup.h"
#include "Utf8Text.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace
{
using namespace Gatrix;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;

// The gateway puts its own number into the frame, which may be longer.
constexpr std::uint64_t kLongestId = std::numeric_limits<std::uint64_t>::max();

// One text of a message.
struct TextField
{
    Message* message;
    const FieldDescriptor* field;
    // In a list; -1 otherwise.
    int index;
    // Bytes, before anything was cut.
    std::size_t size;

    std::string Get() const
    {
        const Reflection& reflection = *message->GetReflection();
        return index < 0 ? reflection.GetString(*message, field) : reflection.GetRepeatedString(*message, field, index);
    }
    void Set(const std::string& text) const
    {
        const Reflection& reflection = *message->GetReflection();
        index < 0 ? reflection.SetString(message, field, text)
                  : reflection.SetRepeatedString(message, field, index, text);
    }
};

// A frame holds no more of a text; the rest is not even looked at.
std::string Repaired(const std::string& text)
{
    return Utf8Text::Repair(std::string_view(text).substr(0, Wire::kMaxFrameBytes));
}

void Repair(Message& message, std::vector<TextField>& texts)
{
    const Reflection& reflection = *message.GetReflection();
    std::vector<const FieldDescriptor*> fields;
    reflection.ListFields(message, &fields);
    for (const FieldDescriptor* field : fields) {
        const bool isList = field->is_repeated();
        const int count = isList ? reflection.FieldSize(message, field) : 1;
        for (int index = 0; index < count; ++index) {
            if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
                Repair(isList ? *reflection.MutableRepeatedMessage(&message, field, index)
                              : *reflection.MutableMessage(&message, field),
                       texts);
            } else if (field->type() == FieldDescriptor::TYPE_STRING) {
                TextField text{&message, field, isList ? index : -1, 0};
                const std::string whole = text.Get();
                text.size = whole.size();
                text.Set(Repaired(whole));
                texts.push_back(text);
            }
        }
    }
}

// Cuts the text until the frame fits, or nothing is left of it.
//
// `size` is that of the text before anything was cut. `measure` takes a text in its place, and returns the size of the
// frame that holds it.
template <class Measure>
void Shorten(const std::string& text, std::size_t size, Measure measure)
{
    std::size_t frame = measure(text);
    if (frame <= Wire::kMaxFrameBytes) {
        return;
    }
    std::size_t kept = text.size();
    const auto cutTo = [&](std::size_t length) {
        const std::string_view beginning = Utf8Text::Cut(text, length);
        kept = beginning.size();
        return measure(std::string(beginning) + "... (" + std::to_string(size - std::min(kept, size)) + " bytes more)");
    };
    const std::size_t rest = cutTo(0);
    if (rest >= Wire::kMaxFrameBytes) {
        return;
    }
    // A byte may take several in JSON: cut in proportion, and a small excess byte by byte.
    constexpr std::size_t kSmall = 64;
    const std::uint64_t room = Wire::kMaxFrameBytes - rest;
    for (kept = text.size(); frame > Wire::kMaxFrameBytes;) {
        const std::size_t excess = frame - Wire::kMaxFrameBytes;
        const std::size_t inProportion = static_cast<std::size_t>(kept * room / (frame - rest));
        frame = cutTo(excess < std::min(kSmall, kept) ? kept - excess : inProportion);
    }
}
} // namespace

Wire::Answer FittingReply::Answer(std::uint64_t id, const Message& message)
{
    const std::unique_ptr<Message> copy(message.New());
    copy->CopyFrom(message);
    std::vector<TextField> texts;
    Repair(*copy, texts);
    std::sort(texts.begin(), texts.end(), [](const auto& one, const auto& other) { return one.size > other.size; });

    Wire::Answer answer{kLongestId, ProtoToMarkup::ToJson(*copy, false)};
    // Each cut converts the message several times. What is still too large has another cause than long texts.
    constexpr std::size_t kMaxCut = 16;
    texts.resize(std::min(texts.size(), kMaxCut));
    for (const TextField& field : texts) {
        if (Wire::Serialize(answer).size() <= Wire::kMaxFrameBytes) {
            break;
        }
        Shorten(field.Get(), field.size, [&](const std::string& text) {
            field.Set(text);
            answer.body = ProtoToMarkup::ToJson(*copy, false);
            return Wire::Serialize(answer).size();
        });
    }
    answer.id = id;
    return answer;
}

Wire::Refusal FittingReply::Refusal(std::uint64_t id, const Error& error)
{
    Wire::Refusal refusal{kLongestId, error.statuscode(), ""};
    Shorten(Repaired(error.message()), error.message().size(), [&](const std::string& text) {
        refusal.message = text;
        return Wire::Serialize(refusal).size();
    });
    refusal.id = id;
    return refusal;
}
