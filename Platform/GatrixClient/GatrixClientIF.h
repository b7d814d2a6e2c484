#pragma once

#include "AsyncCallback.h"
#include "Callback.h"
#include "Gatrix.pb.h"
#include "GatrixBody.h"
#include "GatrixMethod.h"
#include "GatrixResponder.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Gatrix
{
/**
 * A connection to the local API gateway: offers endpoints to the product's other services and asks theirs.
 *
 * No operation waits for the gateway. What an operation brings later comes through the callbacks that it was given.
 * Messages travel as JSON, see GatrixWire.h. A body that does not convert to the message expected is refused with
 * status 400 and the converter's reason, and no handler sees it.
 *
 * What is offered, subscribed to or declared of interest holds as long as the connection: it is lost when the
 * connection drops, and does nothing while there is none. Offer it again whenever the connection is reported.
 *
 * Each request is completed once, through one of its two callbacks. The error callback gets one of these statuses, or
 * what the gateway or the handler says:
 * - 400: the answer does not convert.
 * - 413: the request is too large for a frame.
 * - 503: there is no connection (told at once), it dropped before the answer, or 16 MiB of frames wait for the gateway
 *   to read them.
 * - 504: no answer came within the client's limit.
 * An answer that comes after its request was completed is dropped.
 *
 * What is called while connected is sent in the order of the calls. A frame that is too large, or that would make more
 * than 16 MiB wait, is logged and dropped. A request gets its error callback instead, and the request of an answer that
 * is too large is refused with status 413. Thread-safe.
 */
class GatrixClientIF
{
public:
    using EndpointsCallback = AsyncCallback<const std::vector<std::string>>;
    using ErrorCallback = AsyncCallback<Error>;

    /**
     * What handles POST requests: the request, and two callbacks of which one is to be invoked once, at once or later.
     * The second invocation and later ones are dropped with a log line. When all copies of both are gone uninvoked, the
     * request is refused with status 500. Texts are made to fit, see Responder. The callbacks are thread-safe.
     */
    template <class Request, class Answer>
    using PostHandler = AsyncCallback<Request, Callback<Answer>, Callback<Error>>;

    /** What handles GET requests; the callbacks are those of a PostHandler. */
    template <class Answer>
    using GetHandler = AsyncCallback<Callback<Answer>, Callback<Error>>;

    virtual ~GatrixClientIF() = default;

    /**
     * Declares which endpoints this client depends on, in place of those declared before.
     *
     * @param ready    invoked with the endpoints whenever all of them have come to have a handler
     * @param notReady invoked, with those that lost theirs, when that stops being true
     */
    virtual void RegisterEndpointsOfInterest(const std::vector<std::string>& endpoints, EndpointsCallback ready,
                                             EndpointsCallback notReady) = 0;

    /**
     * Offers an endpoint for POST requests. The newest registration of an endpoint wins, here and at the gateway.
     *
     * @param group free text that tells people what the endpoint belongs to
     */
    template <class Request, class Answer>
    void RegisterPostHandler(const std::string& endpoint, PostHandler<Request, Answer> handler, double version,
                             const std::string& group)
    {
        RegisterHandler(Method::POST, endpoint, version, group,
                        [handler](const std::string& body, const std::shared_ptr<Responder>& responder) {
                            if (const auto request = ReadRequest<Request>(body, *responder)) {
                                handler(*request, Answering<Answer>(responder), Refusing(responder));
                            }
                        });
    }

    /** Offers an endpoint for GET requests, at version 1.0; a body that comes with one is not looked at. */
    template <class Answer>
    void RegisterGetHandler(const std::string& endpoint, GetHandler<Answer> handler, const std::string& group)
    {
        RegisterHandler(Method::GET, endpoint, 1.0, group,
                        [handler](const std::string& /*body*/, const std::shared_ptr<Responder>& responder) {
                            handler(Answering<Answer>(responder), Refusing(responder));
                        });
    }

    /** Has each notification of the endpoint brought to the handler; one that does not convert is logged and dropped.
     */
    template <class Message>
    void SubscribeToNotification(const std::string& endpoint, AsyncCallback<Message> handler, double version)
    {
        Subscribe(endpoint, version, [handler](const std::string& body) { handler(FromBody<Message>(body)); });
    }

    /** Asks an endpoint, at version 1.0, without a body. */
    template <class Answer>
    void SendGetRequest(const std::string& endpoint, const AsyncCallback<Answer>& onAnswer,
                        const ErrorCallback& onError)
    {
        SendRequest(
            Method::GET, endpoint, 1.0, std::nullopt,
            [onAnswer](const std::string& body) { onAnswer(FromBody<Answer>(body)); }, onError);
    }

    /**
     * Asks an endpoint with a body of any kind, and takes its answer raw.
     *
     * @param body     a text that spells a JSON value travels as that value, any other as a JSON string
     * @param onAnswer given the answer's JSON text, or, where the answer is a JSON string, that string's content
     */
    void SendGetRequest(const std::string& endpoint, const std::string& body, double version,
                        const AsyncCallback<const std::string>& onAnswer, const ErrorCallback& onError)
    {
        SendRequest(
            Method::GET, endpoint, version, BodyOfText(body),
            [onAnswer](const std::string& answer) { onAnswer(TextOfBody(answer)); }, onError);
    }

    /** Posts a message to an endpoint. A message that lacks a required field comes back as an error of status 400. */
    template <class Request, class Answer>
    void SendPostRequest(const std::string& endpoint, const Request& request, double version,
                         const AsyncCallback<Answer>& onAnswer, const ErrorCallback& onError)
    {
        if (const auto body = BodyOrRefusal(request, onError)) {
            SendRequest(
                Method::POST, endpoint, version, *body,
                [onAnswer](const std::string& answer) { onAnswer(FromBody<Answer>(answer)); }, onError);
        }
    }

    /** Publishes a message to all subscribers of an endpoint; while there is no connection it is logged and dropped. */
    virtual void SendNotification(const std::string& endpoint, const google::protobuf::Message& message,
                                  double version) = 0;

protected:
    /** Takes the body of a request, empty for none, and what answers it; runs on the library's thread. */
    using RequestHandler = std::function<void(const std::string& body, const std::shared_ptr<Responder>& responder)>;
    /** Takes a body; runs on the library's thread. Throws ProtoToMarkup::MarkupError for one that does not convert. */
    using BodyHandler = std::function<void(const std::string& body)>;

    virtual void RegisterHandler(Method method, const std::string& endpoint, double version, const std::string& group,
                                 RequestHandler handler) = 0;
    virtual void Subscribe(const std::string& endpoint, double version, BodyHandler handler) = 0;
    virtual void SendRequest(Method method, const std::string& endpoint, double version,
                             const std::optional<std::string>& body, BodyHandler onAnswer, ErrorCallback onError) = 0;
};
} // namespace Gatrix
