#pragma once

#include "Gatrix.pb.h"
#include "ProductLibraries.h"

enum class GATRIX_CLIENT_ERRORS;

/* The gateway's client: GatrixClientIF.h and GatrixClient.h of the product. */
namespace Gatrix
{
class GatrixClientIF
{
public:
    virtual ~GatrixClientIF();

    using ErrorCallback = AsyncCallback<Error>;
    using EndpointsCallback = AsyncCallback<const std::vector<std::string>>;
    template <class Answer>
    using GetHandler = AsyncCallback<Callback<Answer>, Callback<Error>>;
    template <class Request, class Answer>
    using PostHandler = AsyncCallback<Request, Callback<Answer>, Callback<Error>>;

    void RegisterEndpointsOfInterest(const std::vector<std::string>&, EndpointsCallback, EndpointsCallback);
    template <class Request, class Answer>
    void RegisterPostHandler(const std::string&, PostHandler<Request, Answer>, double, const std::string&);
    template <class Answer>
    void RegisterGetHandler(const std::string&, GetHandler<Answer>, const std::string&);
    template <class Message>
    void SubscribeToNotification(const std::string&, AsyncCallback<Message>, double);
    template <class Answer>
    void SendGetRequest(const std::string&, const AsyncCallback<Answer>&, const ErrorCallback&);
    void SendGetRequest(const std::string&, const std::string&, double, const AsyncCallback<const std::string>&,
                        const ErrorCallback&);
};

struct CommonClientCreationInfo
{
    CommonClientCreationInfo();
};

class GatrixClient
{
public:
    static std::shared_ptr<GatrixClientIF> Create(
        const std::string&, const std::string&, std::uint16_t, const std::string&, const std::string&,
        AsyncCallback<const bool>, std::optional<AsyncCallback<const std::string, const GATRIX_CLIENT_ERRORS>>,
        CommonClientCreationInfo);
};
} // namespace Gatrix
