#pragma once

#include <string>

namespace google::protobuf
{
class Descriptor;
}

/** Messages in the binary form that protobuf's JSON writer can turn into JSON without naming a member twice. */
namespace GroupedFields
{
/**
 * The binary form with the values of each field side by side, in nested messages too. A message keeps an enumeration
 * number that the schema does not declare behind its declared fields; here it joins its list. Where the field is no
 * list, only its first value stays. Packed lists of enumerations, which no schema here has, are left as they are.
 * Thread-safe.
 */
std::string Group(const std::string& binary, const google::protobuf::Descriptor& schema);
} // namespace GroupedFields
