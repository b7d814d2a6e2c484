#pragma once

#include "Gatrix.pb.h"
#include "GatrixWire.h"

#include <cstdint>

/**
 * Replies as a frame can carry them, whatever texts a handler puts into them. Bytes that are not UTF-8 become U+FFFD.
 * If the frame would be too large, up to 16 of the longest texts are cut and say how much is missing. Thread-safe.
 */
namespace Gatrix::FittingReply
{
/**
 * The answer's frame. It may be too large even after these cuts: sending it then refuses the request with status 413.
 * @throws ProtoToMarkup::MarkupError when a required field is not set
 */
Wire::Answer Answer(std::uint64_t id, const google::protobuf::Message& message);

Wire::Refusal Refusal(std::uint64_t id, const Error& error);
} // namespace Gatrix::FittingReply
