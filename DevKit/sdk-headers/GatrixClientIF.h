#pragma once

#include "Gatrix.pb.h"
#include "ProductLibraries.h"

#include <string>
#include <vector>

namespace Gatrix
{
class GatrixClientIF
{
public:
    using EndpointsCallback = AsyncCallback<const std::vector<std::string>>;
    using ErrorCallback = AsyncCallback<Error>;
    template <class Request, class Answer>
    using PostHandler = AsyncCallback<Request, Callback<Answer>, Callback<Error>>;
    template <class Answer>
    using GetHandler = AsyncCallback<Callback<Answer>, Callback<Error>>;

    virtual ~GatrixClientIF();

    void RegisterEndpointsOfInterest(const std::vector<std::string>& endpoints, EndpointsCallback ready,
                                     EndpointsCallback notReady);
    template <class Request, class Answer>
    void RegisterPostHandler(const std::string& endpoint, PostHandler<Request, Answer> handler, double version,
                             const std::string& group);
    template <class Answer>
    void RegisterGetHandler(const std::string& endpoint, GetHandler<Answer> handler, const std::string& group);
    template <class Message>
    void SubscribeToNotification(const std::string& endpoint, AsyncCallback<Message> handler, double version);
    template <class Answer>
    void SendGetRequest(const std::string& endpoint, const AsyncCallback<Answer>& onAnswer,
                        const ErrorCallback& onError);
    void SendGetRequest(const std::string& endpoint, const std::string& body, double version,
                        const AsyncCallback<const std::string>& onAnswer, const ErrorCallback& onError);
};
} // namespace Gatrix
