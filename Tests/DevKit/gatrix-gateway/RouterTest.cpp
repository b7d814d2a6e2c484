#include "Limits.h"
#include "Router.h"

#include <gmock/gmock.h>
#include <json/json.h>

#include <sstream>

namespace
{
namespace Wire = Gatrix::Wire;
using namespace GatrixGateway;

constexpr Gatrix::Method kGet = Gatrix::Method::GET;
constexpr Gatrix::Method kPost = Gatrix::Method::POST;

/** The deliveries, each the client and what matters of the frame; "dropped" for a frame that is. */
std::string ToText(const Effects& effects)
{
    std::string text;
    for (const Delivery& delivery : effects.deliveries) {
        Json::Value frame;
        std::istringstream(*delivery.text) >> frame;
        text += "; " + std::to_string(delivery.client);
        std::vector<Json::Value> parts = {frame["op"], frame["method"], frame["endpoint"], frame["id"]};
        parts.insert(parts.end(), {frame["error"]["statusCode"], frame["error"]["message"]});
        parts.insert(parts.end(), frame["endpoints"].begin(), frame["endpoints"].end());
        for (const Json::Value& part : parts) {
            text += part.isNull() ? "" : " " + part.asString();
        }
    }
    for (const std::string& line : effects.lines) {
        text += line.find("is dropped") == std::string::npos ? "" : "; dropped";
    }
    return text.substr(text.empty() ? 0 : 2);
}

/** What comes of a frame; "violation" when its sender must be dropped. */
std::string Take(Router& router, ClientNumber client, const Wire::Frame& frame)
{
    try {
        return ToText(router.Take(client, frame));
    } catch (const Wire::FrameError&) {
        return "violation";
    }
}

/** What a client does: it sends a frame, or drops. */
struct Step
{
    ClientNumber client;
    std::optional<Wire::Frame> frame;
    std::string effects;
};
constexpr std::nullopt_t kDrop = std::nullopt;

/** Plays the steps with clients 1 to 4, which have said hello. */
Router Play(const std::vector<Step>& steps)
{
    Router router;
    for (ClientNumber client = 1; client <= 4; ++client) {
        router.Take(client, Wire::Hello{"name", "p"});
    }
    for (const Step& step : steps) {
        EXPECT_EQ(step.frame ? Take(router, step.client, *step.frame) : ToText(router.Drop(step.client)), step.effects)
            << "step " << &step - steps.data();
    }
    return router;
}
} // namespace

TEST(Router, Requests_AreAnsweredOnceByTheirHandler)
{
    const Wire::Request request{7, kGet, "/a", 1, {}};
    Play({
        {2, request, "2 error 7 404 nobody handles GET /a"},
        {1, Wire::Register{kGet, "/a", 1, "g"}, ""},
        {2, Wire::Request{7, kPost, "/a", 1, {}}, "2 error 7 404 nobody handles POST /a"},
        {2, Wire::Request{7, kGet, "a", 1, {}}, "2 error 7 404 nobody handles GET a"},
        {2, request, "1 request GET /a 1"},
        {3, Wire::Answer{1, {}}, "dropped"},
        {1, Wire::Answer{1, {}}, "2 answer 7"},
        {1, Wire::Answer{1, {}}, "dropped"},
        // A number that is still in use.
        {2, request, "1 request GET /a 2"},
        {2, Wire::Request{UINT64_MAX, kGet, "/a", 1, {}}, "1 request GET /a 3"},
        {1, request, "1 request GET /a 4"},
        {1, Wire::Refusal{4, 400, "no"}, "1 error 7 400 no"},
        {1, Wire::Answer{3, {}}, "2 answer 18446744073709551615"},
        {1, request, "1 request GET /a 5"},
        // A requester that goes is owed nothing.
        {2, kDrop, ""},
        {1, Wire::Answer{2, {}}, "dropped"},
        {1, kDrop, ""},
        {1, request, "violation"},
        {3, Wire::Ready{}, "violation"},
    });
}

TEST(Router, NewestRegistration_WinsWhileItLasts)
{
    const Wire::Register registration{kGet, "/a", 1, "g"};
    const Wire::Request request{7, kGet, "/a", 1, {}};
    const std::string gone = "4 error 7 503 the handler went away before it answered GET /a";
    Play({
        {1, registration, ""},
        {2, registration, ""},
        {4, request, "2 request GET /a 1"},
        {1, registration, ""},
        {4, request, "1 request GET /a 2"},
        {1, kDrop, gone},
        {4, request, "2 request GET /a 3"},
        {2, kDrop, gone + "; " + gone},
        {4, request, "4 error 7 404 nobody handles GET /a"},
    });
}

TEST(Router, Interest_IsToldOncePerEdge)
{
    Play({
        {1, Wire::Interest{}, "1 ready"},
        {1, Wire::Interest{{"/a", "/b", "/a"}}, ""},
        {4, Wire::Interest{{"/a"}}, ""},
        {2, Wire::Register{kPost, "/a", 1, "g"}, "4 ready /a"},
        {2, Wire::Register{kGet, "/b", 1, "g"}, "1 ready /a /b /a"},
        {3, Wire::Register{kGet, "/a", 1, "g"}, ""},
        {2, kDrop, "1 notReady /b"},
        {3, kDrop, "4 notReady /a"},
        {4, Wire::Register{kGet, "/a", 1, "g"}, "4 ready /a"},
        {4, Wire::Register{kGet, "/b", 1, "g"}, "1 ready /a /b /a"},
        {1, Wire::Interest{{"/a", "/c"}}, ""},
        {1, Wire::Interest{{"/b", "/a"}}, "1 ready /b /a"},
        {4, kDrop, "1 notReady /a /b"},
    });
}

TEST(Router, Notification_ReachesEverySubscriberOnce)
{
    Play({
        {1, Wire::Notify{"/a", 1, {}}, ""},
        {1, Wire::Subscribe{"/a", 1}, ""},
        {2, Wire::Subscribe{"/a", 1}, ""},
        {2, Wire::Subscribe{"/a", 1}, ""},
        {3, Wire::Subscribe{"a", 1}, ""},
        {1, Wire::Notify{"/a", 1, {}}, "1 notify /a; 2 notify /a"},
        {1, kDrop, ""},
        {3, Wire::Notify{"/a", 1, {}}, "2 notify /a"},
    });
}

TEST(Router, ClientBeyondItsBounds_IsRefused)
{
    Router router = Play({{2, Wire::Interest{{"/last"}}, ""}});
    const auto take = [&router](ClientNumber client, const Wire::Frame& frame) { return Take(router, client, frame); };
    const std::string tooLong(kMaxEndpointBytes + 1, 'x');
    EXPECT_EQ(take(1, Wire::Register{kGet, tooLong, 1, "g"}), "violation");
    EXPECT_EQ(take(1, Wire::Subscribe{tooLong, 1}), "violation");
    EXPECT_EQ(take(1, Wire::Interest{{tooLong}}), "violation");
    EXPECT_EQ(take(1, Wire::Interest{std::vector<std::string>(kMaxEndpointsOfAClient + 1)}), "violation");
    // Six bytes each in JSON.
    EXPECT_EQ(take(1, Wire::Interest{std::vector<std::string>(1000, std::string(200, '\1'))}), "violation");
    for (std::size_t count = 0; count < kMaxEndpointsOfAClient; ++count) {
        EXPECT_EQ(take(1, Wire::Register{kGet, std::to_string(count), 1, "g"}), "");
        EXPECT_EQ(take(1, Wire::Subscribe{std::to_string(count), 1}), "");
    }
    EXPECT_EQ(take(1, Wire::Register{kGet, "7", 1, "g"}), "");
    EXPECT_EQ(take(1, Wire::Register{kPost, "/last", 1, "g"}), "violation");
    EXPECT_EQ(take(1, Wire::Subscribe{"/last", 1}), "violation");
    // What was refused is no edge for others.
    EXPECT_EQ(take(3, Wire::Register{kGet, "/last", 1, "g"}), "2 ready /last");

    const Wire::Request request{7, kGet, "/last", 1, {}};
    for (std::size_t count = 0; count < kMaxOpenRequestsOfAClient; ++count) {
        take(4, request);
    }
    EXPECT_EQ(take(4, request), "4 error 7 429 too many requests without an answer: not delivered: GET /last");
    EXPECT_EQ(take(2, request), "3 request GET /last 4097");
    EXPECT_EQ(take(3, Wire::Answer{5, {}}), "4 answer 7");
    EXPECT_EQ(take(4, request), "3 request GET /last 4098");

    // What nobody can register is cut, between two characters.
    const std::string wide = std::string(kMaxEndpointBytes - 1, 'x') + "\xC3\xA9";
    EXPECT_THAT(take(1, Wire::Request{1, kGet, wide, 1, {}}), testing::EndsWith("x"));
}

TEST(Router, FrameThatBecomesTooLarge_IsNotSent)
{
    Wire::Request request{7, kGet, "/a", 1, "\"\""};
    request.body->insert(1, Wire::kMaxFrameBytes + 1 - Wire::Serialize(request).size(), 'x');
    const std::string large = "\"" + std::string(Wire::kMaxFrameBytes, 'x') + "\"";
    Wire::Request fitting = request;
    fitting.body->erase(1, 1);
    Play({
        {1, Wire::Register{kGet, "/a", 1, "g"}, ""},
        {1, Wire::Subscribe{"/a", 1}, ""},
        {2, request, "2 error 7 413 too large for a frame to the handler of GET /a"},
        {2, fitting, "1 request GET /a 1"},
        {1, Wire::Answer{1, large}, "2 error 7 413 too large for a frame: the answer to GET /a"},
        {1, Wire::Answer{1, {}}, "dropped"},
        {2, Wire::Notify{"/a", 1, large}, "dropped"},
    });
}
