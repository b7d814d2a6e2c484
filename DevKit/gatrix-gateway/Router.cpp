#include "Router.h"

#include "EventLine.h"
#include "Limits.h"
#include "Utf8Text.h"

#include <algorithm>
#include <iterator>
#include <type_traits>
#include <utility>

namespace GatrixGateway
{

namespace
{

namespace Wire = Gatrix::Wire;

std::string KeyOf(Gatrix::Method method, const std::string& endpoint)
{
    return std::string(ToText(method)) + " " + endpoint;
}

// Names an endpoint in a line or message; what is too long to be registered is cut.
std::string Named(Gatrix::Method method, const std::string& endpoint)
{
    return KeyOf(method, std::string(Utf8Text::Cut(endpoint, kMaxEndpointBytes)));
}

std::string Listed(const std::vector<std::string>& endpoints)
{
    std::string list;
    for (const std::string& endpoint : endpoints) {
        list += (list.empty() ? "" : ", ") + endpoint;
    }
    return list.empty() ? "nothing" : list;
}

// The frame's text; null when it is too long for a frame.
std::shared_ptr<const std::string> TextOf(const Wire::Frame& frame)
{
    std::string text = Wire::Serialize(frame);
    return text.size() > Wire::kMaxFrameBytes ? nullptr : std::make_shared<const std::string>(std::move(text));
}

void RequireLength(const std::string& endpoint)
{
    if (endpoint.size() > kMaxEndpointBytes) {
        throw Wire::FrameError("an endpoint has more than " + std::to_string(kMaxEndpointBytes) + " bytes");
    }
}

Wire::FrameError TooMany(const std::string& what)
{
    return Wire::FrameError("more than " + std::to_string(kMaxEndpointsOfAClient) + " " + what);
}

// Adds one of a client's endpoints. Throws a FrameError when the client has as many as it may.
void Add(std::set<std::string>& endpoints, const std::string& endpoint, const std::string& what)
{
    if (endpoints.size() >= kMaxEndpointsOfAClient && endpoints.count(endpoint) == 0) {
        throw TooMany(what);
    }
    endpoints.insert(endpoint);
}

void Remove(std::vector<ClientNumber>& clients, ClientNumber client)
{
    clients.erase(std::remove(clients.begin(), clients.end(), client), clients.end());
}

} // namespace

Effects Router::Take(ClientNumber client, Wire::Frame frame)
{
    if (m_clients.count(client) == 0 && !std::holds_alternative<Wire::Hello>(frame)) {
        throw Wire::FrameError("the first frame must be hello");
    }
    Effects effects;
    std::visit([&](auto& content) { On(client, std::move(content), effects); }, frame);
    return effects;
}

Effects Router::Refuse(std::uint64_t request, int statusCode, const std::string& reason)
{
    Effects effects;
    if (const auto found = m_requests.find(request); found != m_requests.end()) {
        const OpenRequest open = Close(found);
        Reject(open, statusCode, reason + " " + open.named, effects);
    }
    return effects;
}

Effects Router::Drop(ClientNumber client)
{
    Effects effects;
    for (auto next = m_requests.begin(); next != m_requests.end();) {
        const auto current = next++;
        if (current->second.requester == client) {
            m_requests.erase(current);
        } else if (current->second.handler == client) {
            const OpenRequest open = Close(current);
            Reject(open, 503, "the handler went away before it answered " + open.named, effects);
        }
    }
    bool isLoss = false;
    for (const std::string& key : m_clients[client].handled) {
        const auto handlers = m_handlers.find(key);
        Remove(handlers->second, client);
        if (handlers->second.empty()) {
            m_handlers.erase(handlers);
            isLoss = true;
        }
    }
    m_clients.erase(client);
    if (isLoss) {
        TellChanges(effects);
    }
    return effects;
}

std::string Router::Label(ClientNumber client) const
{
    const auto found = m_clients.find(client);
    return "#" + std::to_string(client) + (found == m_clients.end() ? "" : " " + found->second.name);
}

void Router::On(ClientNumber client, const Wire::Hello& hello, Effects& effects)
{
    constexpr std::size_t kLongestName = 80;
    const bool isFirst = m_clients.count(client) == 0;
    m_clients[client].name = Printable(hello.client, kLongestName);
    effects.lines.push_back(Label(client) + (isFirst ? " came" : " says hello again") + ", platform " + hello.platform);
}

void Router::On(ClientNumber client, const Wire::Interest& interest, Effects& effects)
{
    if (interest.endpoints.size() > kMaxEndpointsOfAClient) {
        throw TooMany("endpoints of interest");
    }
    std::for_each(interest.endpoints.begin(), interest.endpoints.end(), RequireLength);
    // The longest frame that the client can be sent about them.
    if (!TextOf(Wire::NotReady{interest.endpoints})) {
        throw Wire::FrameError("the endpoints of interest do not fit a frame");
    }
    m_clients[client].interest = interest.endpoints;
    m_clients[client].isReady = false;
    TellChanges(effects);
}

void Router::On(ClientNumber client, const Wire::Register& registration, Effects& effects)
{
    RequireLength(registration.endpoint);
    const std::string key = KeyOf(registration.method, registration.endpoint);
    const bool isFirst = !HasHandler(registration.endpoint);
    Add(m_clients[client].handled, key, "registrations");
    std::vector<ClientNumber>& handlers = m_handlers[key];
    const bool isInstead = !handlers.empty() && handlers.back() != client;
    effects.lines.push_back(Label(client) + " handles " + key +
                            (isInstead ? " instead of " + Label(handlers.back()) : "") + ", group " +
                            registration.group);
    Remove(handlers, client);
    handlers.push_back(client);
    if (isFirst) {
        TellChanges(effects);
    }
}

void Router::On(ClientNumber client, const Wire::Subscribe& subscription, Effects& effects)
{
    RequireLength(subscription.endpoint);
    Add(m_clients[client].subscriptions, subscription.endpoint, "subscriptions");
    effects.lines.push_back(Label(client) + " subscribes to " + subscription.endpoint);
}

void Router::On(ClientNumber client, Wire::Request request, Effects& effects)
{
    OpenRequest open{client, request.id, 0, Named(request.method, request.endpoint)};
    const auto handlers = m_handlers.find(KeyOf(request.method, request.endpoint));
    if (handlers == m_handlers.end()) {
        Reject(open, 404, "nobody handles " + open.named, effects);
        return;
    }
    if (m_clients[client].openRequests >= kMaxOpenRequestsOfAClient) {
        Reject(open, 429, "too many requests without an answer: not delivered: " + open.named, effects);
        return;
    }
    request.id = m_lastRequest + 1;
    const auto text = TextOf(request);
    if (!text) {
        Reject(open, 413, "too large for a frame to the handler of " + open.named, effects);
        return;
    }
    open.handler = handlers->second.back();
    effects.deliveries.push_back({open.handler, text, request.id});
    ++m_clients[client].openRequests;
    m_requests.emplace(++m_lastRequest, std::move(open));
}

template <typename Outcome>
void Router::On(ClientNumber client, Outcome outcome, Effects& effects)
{
    const auto found = m_requests.find(outcome.id);
    if (found == m_requests.end() || found->second.handler != client) {
        effects.lines.push_back(
            "the answer of " + Label(client) + " to request " + std::to_string(outcome.id) + " is dropped: " +
            (found == m_requests.end() ? "no such request is open" : "it was delivered to another client"));
        return;
    }
    const OpenRequest open = Close(found);
    outcome.id = open.requestersId;
    const auto text = TextOf(outcome);
    if (!text) {
        Reject(open, 413, "too large for a frame: the answer to " + open.named, effects);
        return;
    }
    if constexpr (std::is_same_v<Outcome, Wire::Refusal>) {
        effects.lines.push_back(Label(client) + " refuses " + open.named + " of " + Label(open.requester) + ": " +
                                std::to_string(outcome.statusCode) + " " + outcome.message);
    }
    effects.deliveries.push_back({open.requester, text, {}});
}

void Router::On(ClientNumber client, const Wire::Notify& notification, Effects& effects)
{
    const auto text = TextOf(notification);
    if (!text) {
        effects.lines.push_back("the notification of " + Label(client) + " on " + notification.endpoint +
                                " is dropped: too large for a frame");
        return;
    }
    for (const auto& [number, subscriber] : m_clients) {
        if (subscriber.subscriptions.count(notification.endpoint) != 0) {
            effects.deliveries.push_back({number, text, {}});
        }
    }
}

void Router::On(ClientNumber /*client*/, const Wire::Ready& /*ready*/, Effects& /*effects*/)
{
    throw Wire::FrameError("ready is for the gateway to send");
}

void Router::On(ClientNumber /*client*/, const Wire::NotReady& /*notReady*/, Effects& /*effects*/)
{
    throw Wire::FrameError("notReady is for the gateway to send");
}

bool Router::HasHandler(const std::string& endpoint) const
{
    return m_handlers.count(KeyOf(Gatrix::Method::GET, endpoint)) != 0 ||
           m_handlers.count(KeyOf(Gatrix::Method::POST, endpoint)) != 0;
}

void Router::TellChanges(Effects& effects)
{
    for (auto& [number, client] : m_clients) {
        std::set<std::string> missing;
        std::copy_if(client.interest.begin(), client.interest.end(), std::inserter(missing, missing.end()),
                     [this](const std::string& endpoint) { return !HasHandler(endpoint); });
        if (client.isReady == missing.empty()) {
            continue;
        }
        client.isReady = missing.empty();
        if (client.isReady) {
            effects.lines.push_back(Label(number) + " is ready: " + Listed(client.interest));
            effects.deliveries.push_back({number, TextOf(Wire::Ready{client.interest}), {}});
        } else {
            const std::vector<std::string> list(missing.begin(), missing.end());
            effects.lines.push_back(Label(number) + " is not ready: nobody handles " + Listed(list));
            effects.deliveries.push_back({number, TextOf(Wire::NotReady{list}), {}});
        }
    }
}

Router::OpenRequest Router::Close(OpenRequests::iterator request)
{
    OpenRequest open = std::move(request->second);
    m_requests.erase(request);
    --m_clients[open.requester].openRequests;
    return open;
}

void Router::Reject(const OpenRequest& request, int statusCode, const std::string& message, Effects& effects) const
{
    effects.lines.push_back("a request of " + Label(request.requester) + " is refused: " + std::to_string(statusCode) +
                            " " + message);
    effects.deliveries.push_back(
        {request.requester, TextOf(Wire::Refusal{request.requestersId, statusCode, message}), {}});
}

} // namespace GatrixGateway
