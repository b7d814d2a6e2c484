#pragma once

#include <json/json.h>

#include <string>

namespace google::protobuf
{
class Descriptor;
}

/** What protobuf's own JSON reader passes over in silence, or reports without saying where. */
namespace JsonShape
{
/** An offence: the place in the object, as in "item[1].subType", and the reason. */
struct Complaint
{
    std::string place;
    std::string reason;
};

/** Whether a JSON member of that name stands for a field of the schema. */
bool IsField(const google::protobuf::Descriptor& schema, const std::string& memberName);

/**
 * Checks the object against the schema: lists where lists belong, objects where messages belong, known enumeration
 * names, all required fields. Numbers and texts themselves are left to protobuf, as are maps and protobuf's own types.
 *
 * @throws Complaint about the first offence, in the order of the schema's fields
 *
 * Thread-safe.
 */
void Check(const Json::Value& object, const google::protobuf::Descriptor& schema);
} // namespace JsonShape
