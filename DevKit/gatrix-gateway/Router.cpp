#include "Router.h"

#include <set>
#include <type_traits>
#include <utility>

#include "EventLine.h"
#include "Limits.h"
#include "Utf8Text.h"

namespace GatrixGateway
{

namespace
{

namespace Wire = Gatrix::Wire;

constexpr int kNotFound = 404;
constexpr int kTooLarge = 413;
constexpr int kTooMany = 429;
constexpr int kUnavailable = 503;

std::string KeyOf(Gatrix::Method method, const std::string& endpoint)
{
    return std::string(ToText(method)) + " " + endpoint;
}

/** Names an endpoint in a line or message; what is too long to be registered is cut. */
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

/** The frame's text; null when it is too long for a frame. */
std::shared_ptr<const std::string> TextOf(const Wire::Frame& frame)
{
    std::string text = Wire::Serialize(frame);
    return text.size() > Wire::kMaxFrameBytes ? nullptr : std::make_shared<const std::string>(std::move(text));
}

std::optional<std::string> ProblemOf(const std::string& endpoint)
{
    if (endpoint.size() > kMaxEndpointBytes) {
        return "an endpoint has more than " + std::to_string(kMaxEndpointBytes) + " bytes";
    }
    return std::nullopt;
}

std::string TooMany(const std::string& what)
{
    return "more than " + std::to_string(kMaxEndpointsOfAClient) + " " + what;
}

} // namespace

Effects Router::Take(ClientNumber client, Wire::Frame frame)
{
    Effects effects;
    if (m_names.count(client) == 0 && !std::holds_alternative<Wire::Hello>(frame)) {
        effects.violation = "the first frame must be hello";
    } else {
        std::visit([&](auto& content) { On(client, std::move(content), effects); }, frame);
    }
    return effects;
}

Effects Router::Refuse(std::uint64_t request, int statusCode, const std::string& reason)
{
    Effects effects;
    if (const std::optional<OpenRequest> open = m_requests.Take(request)) {
        Reject(open->requester, open->requestersId, statusCode, reason + " " + Named(open->method, open->endpoint),
               effects);
    }
    return effects;
}

Effects Router::Drop(ClientNumber client)
{
    Effects effects;
    const std::vector<OpenRequest> unanswered = m_requests.Drop(client);
    m_interests.Drop(client);
    m_subscriptions.Drop(client);
    m_names.erase(client);
    for (const OpenRequest& request : unanswered) {
        Reject(request.requester, request.requestersId, kUnavailable,
               "the handler went away before it answered " + Named(request.method, request.endpoint), effects);
    }
    for (auto& [interested, lost] : m_interests.Lose(DropHandler(client))) {
        effects.lines.push_back(Label(interested) + " is not ready: nobody handles " + Listed(lost));
        effects.deliveries.push_back({interested, TextOf(Wire::NotReady{lost}), {}});
    }
    return effects;
}

std::string Router::Label(ClientNumber client) const
{
    const auto found = m_names.find(client);
    return "#" + std::to_string(client) + (found == m_names.end() ? "" : " " + found->second);
}

void Router::On(ClientNumber client, const Wire::Hello& hello, Effects& effects)
{
    constexpr std::size_t kLongestName = 80;
    const bool isFirst = m_names.count(client) == 0;
    m_names[client] = Printable(hello.client, kLongestName);
    effects.lines.push_back(Label(client) + (isFirst ? " came" : " says hello again") + ", platform " + hello.platform);
}

void Router::On(ClientNumber client, const Wire::Interest& interest, Effects& effects)
{
    if (interest.endpoints.size() > kMaxEndpointsOfAClient) {
        effects.violation = TooMany("endpoints of interest");
        return;
    }
    for (const std::string& endpoint : interest.endpoints) {
        if ((effects.violation = ProblemOf(endpoint))) {
            return;
        }
    }
    // Whatever the client is told of them later must fit a frame: the one that names them all, in its longer form.
    if (!TextOf(Wire::NotReady{interest.endpoints})) {
        effects.violation = "the endpoints of interest do not fit a frame";
        return;
    }
    const auto hasHandler = [this](const std::string& endpoint) { return HasHandler(endpoint); };
    if (m_interests.Set(client, interest.endpoints, hasHandler)) {
        Tell({{client, interest.endpoints}}, effects);
    }
}

void Router::On(ClientNumber client, const Wire::Register& registration, Effects& effects)
{
    if ((effects.violation = ProblemOf(registration.endpoint))) {
        return;
    }
    const std::string key = KeyOf(registration.method, registration.endpoint);
    const bool isFirst = !HasHandler(registration.endpoint);
    const EndpointIndex::Clients before = m_handlers.ClientsOf(key);
    if (!m_handlers.Add(client, key)) {
        effects.violation = TooMany("registrations");
        return;
    }
    effects.lines.push_back(Label(client) + " handles " + key +
                            (before.empty() || before.back() == client ? "" : " instead of " + Label(before.back())) +
                            ", group " + registration.group);
    if (isFirst) {
        Tell(m_interests.Gain(registration.endpoint), effects);
    }
}

void Router::On(ClientNumber client, const Wire::Subscribe& subscription, Effects& effects)
{
    if ((effects.violation = ProblemOf(subscription.endpoint))) {
        return;
    }
    if (!m_subscriptions.Add(client, subscription.endpoint)) {
        effects.violation = TooMany("subscriptions");
        return;
    }
    effects.lines.push_back(Label(client) + " subscribes to " + subscription.endpoint);
}

void Router::On(ClientNumber client, Wire::Request request, Effects& effects)
{
    const std::string named = Named(request.method, request.endpoint);
    const EndpointIndex::Clients& handlers = m_handlers.ClientsOf(KeyOf(request.method, request.endpoint));
    if (handlers.empty()) {
        Reject(client, request.id, kNotFound, "nobody handles " + named, effects);
        return;
    }
    if (m_requests.AskedBy(client) >= kMaxOpenRequestsOfAClient) {
        Reject(client, request.id, kTooMany, "too many requests without an answer: not delivered: " + named, effects);
        return;
    }
    const std::uint64_t requestersId = std::exchange(request.id, m_requests.NextId());
    const auto text = TextOf(request);
    if (!text) {
        Reject(client, requestersId, kTooLarge, "too large for a frame to the handler of " + named, effects);
        return;
    }
    m_requests.Add({client, requestersId, handlers.back(), request.method, std::move(request.endpoint)});
    effects.deliveries.push_back({handlers.back(), text, request.id});
}

template <typename Outcome>
void Router::On(ClientNumber client, Outcome outcome, Effects& effects)
{
    const std::string answerOf = "the answer of " + Label(client) + " to request " + std::to_string(outcome.id);
    const OpenRequest* const open = m_requests.Find(outcome.id);
    if (open == nullptr || open->handler != client) {
        effects.lines.push_back(answerOf + " is dropped: " +
                                (open == nullptr ? "no such request is open" : "it was delivered to another client"));
        return;
    }
    const OpenRequest request = *m_requests.Take(outcome.id);
    outcome.id = request.requestersId;
    const std::string named = Named(request.method, request.endpoint);
    const auto text = TextOf(outcome);
    if (!text) {
        Reject(request.requester, request.requestersId, kTooLarge, "too large for a frame: the answer to " + named,
               effects);
        return;
    }
    if constexpr (std::is_same_v<Outcome, Wire::Refusal>) {
        effects.lines.push_back(Label(client) + " refuses " + named + " of " + Label(request.requester) + ": " +
                                std::to_string(outcome.statusCode) + " " + outcome.message);
    }
    effects.deliveries.push_back({request.requester, text, {}});
}

void Router::On(ClientNumber client, const Wire::Notify& notification, Effects& effects)
{
    const EndpointIndex::Clients& subscribers = m_subscriptions.ClientsOf(notification.endpoint);
    if (subscribers.empty()) {
        return;
    }
    const auto text = TextOf(notification);
    if (!text) {
        effects.lines.push_back("the notification of " + Label(client) + " on " + notification.endpoint +
                                " is dropped: too large for a frame");
        return;
    }
    for (const ClientNumber subscriber : subscribers) {
        effects.deliveries.push_back({subscriber, text, {}});
    }
}

bool Router::HasHandler(const std::string& endpoint) const
{
    return !m_handlers.ClientsOf(KeyOf(Gatrix::Method::GET, endpoint)).empty() ||
           !m_handlers.ClientsOf(KeyOf(Gatrix::Method::POST, endpoint)).empty();
}

std::vector<std::string> Router::DropHandler(ClientNumber client)
{
    std::set<std::string> lost;
    for (const std::string& key : m_handlers.Drop(client)) {
        const std::string endpoint = key.substr(key.find(' ') + 1);
        if (!HasHandler(endpoint)) {
            lost.insert(endpoint);
        }
    }
    return {lost.begin(), lost.end()};
}

void Router::Tell(const Interests::Told& ready, Effects& effects) const
{
    for (const auto& [client, endpoints] : ready) {
        effects.lines.push_back(Label(client) + " is ready: " + Listed(endpoints));
        effects.deliveries.push_back({client, TextOf(Wire::Ready{endpoints}), {}});
    }
}

void Router::Reject(ClientNumber requester, std::uint64_t requestersId, int statusCode, const std::string& message,
                    Effects& effects) const
{
    effects.lines.push_back("a request of " + Label(requester) + " is refused: " + std::to_string(statusCode) + " " +
                            message);
    effects.deliveries.push_back({requester, TextOf(Wire::Refusal{requestersId, statusCode, message}), {}});
}

} // namespace GatrixGateway
