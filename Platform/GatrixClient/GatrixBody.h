#pragma once

#include "AsyncCallback.h"
#include "Gatrix.pb.h"
#include "ProtoToMarkup.h"

#include <optional>
#include <string>

/** How messages and texts become the JSON bodies of frames, and back. Thread-safe. */
namespace Gatrix
{
/** An error of that status and text. */
Error MakeError(int statusCode, const std::string& message);

/**
 * The JSON text of a body that a caller gave as text: the value that it spells, without white space, or a JSON string
 * of it, in which bytes that are not UTF-8 become U+FFFD. JSON that StrictJson refuses, or a frame would
 * (GatrixWire.h), is such a text too.
 */
std::string BodyOfText(const std::string& text);

/** What a caller that takes an answer raw gets: the body's JSON text, or, where it is a JSON string, its content. */
std::string TextOfBody(const std::string& body);

/** @throws ProtoToMarkup::MarkupError when the body does not convert */
template <class Message>
Message FromBody(const std::string& body)
{
    Message message;
    ProtoToMarkup::FromJson(body, message);
    return message;
}

/** The message's body; nothing when the message cannot be converted, and then the callback is told so (400). */
std::optional<std::string> BodyOrRefusal(const google::protobuf::Message& message, const AsyncCallback<Error>& onError);
} // namespace Gatrix
