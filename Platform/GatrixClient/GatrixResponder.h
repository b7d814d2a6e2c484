#pragma once

#include "Callback.h"
#include "Gatrix.pb.h"
#include "GatrixBody.h"

#include <memory>
#include <optional>
#include <string>

namespace Gatrix
{
/**
 * What answers one delivered request, once. A later attempt is dropped with a log line, and so is an answer when the
 * connection that brought the request has dropped. Destroyed unanswered, it refuses the request with status 500, so
 * that no requester waits for ever. It may outlive the client.
 *
 * Texts in the answer or error that are not UTF-8 are repaired, and the longest are cut where the frame would be too
 * large; what is cut says how many bytes are missing. Thread-safe.
 */
class Responder
{
public:
    virtual ~Responder() = default;
    /** A message that lacks a required field refuses the request with status 500. */
    virtual void Answer(const google::protobuf::Message& message) = 0;
    virtual void Refuse(const Error& error) = 0;
};

/** The request that the body holds; nothing when it does not convert, and then it has been refused (400). */
template <class Request>
std::optional<Request> ReadRequest(const std::string& body, Responder& responder)
{
    try {
        return FromBody<Request>(body);
    } catch (const ProtoToMarkup::MarkupError& error) {
        responder.Refuse(MakeError(400, error.what()));
        return std::nullopt;
    }
}

/** The responder as a handler's answer callback. */
template <class Answer>
Callback<Answer> Answering(const std::shared_ptr<Responder>& responder)
{
    return Callback<Answer>([responder](const Answer& answer) { responder->Answer(answer); });
}

/** The responder as a handler's error callback. */
inline Callback<Error> Refusing(const std::shared_ptr<Responder>& responder)
{
    return Callback<Error>([responder](const Error& error) { responder->Refuse(error); });
}
} // namespace Gatrix
