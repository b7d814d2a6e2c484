#include "Router.h"

#include <gmock/gmock.h>

#include <iterator>
#include <sstream>

#include "Limits.h"

namespace
{
namespace Wire = Gatrix::Wire;
using namespace GatrixGateway;
using testing::HasSubstr;

using Words = std::vector<std::string>;

std::string Joined(const std::string& head, const Words& words)
{
    std::string text = head;
    for (const std::string& word : words) {
        text += " " + word;
    }
    return text;
}

/** Frames in short: the client's number, "op" and what matters of the members, in the order of the wire's tables. */
Wire::Frame FromShort(const Words& words)
{
    const std::string& op = words[1];
    const auto method = words[words.size() - 2] == "GET" ? Gatrix::Method::GET : Gatrix::Method::POST;
    if (op == "hello") {
        return Wire::Hello{"name", "p"};
    }
    if (op == "interest") {
        return Wire::Interest{Words(words.begin() + 2, words.end())};
    }
    if (op == "register") {
        return Wire::Register{method, words[3], 1, "g"};
    }
    if (op == "subscribe") {
        return Wire::Subscribe{words[2], 1};
    }
    if (op == "notify") {
        return Wire::Notify{words[2], 1, "5"};
    }
    if (op == "ready") {
        return Wire::Ready{};
    }
    const std::uint64_t id = std::stoull(words[2]);
    if (op == "request") {
        return Wire::Request{id, method, words[4], 1, "5"};
    }
    if (op == "error") {
        return Wire::Refusal{id, std::stoi(words[3]), "no"};
    }
    return Wire::Answer{id, "5"};
}

struct ToShort
{
    std::string operator()(const Wire::Request& request) const
    {
        return "request " + std::to_string(request.id) + " " + ToText(request.method) + " " + request.endpoint;
    }
    std::string operator()(const Wire::Answer& answer) const { return "answer " + std::to_string(answer.id); }
    std::string operator()(const Wire::Refusal& refusal) const
    {
        return "error " + std::to_string(refusal.id) + " " + std::to_string(refusal.statusCode);
    }
    std::string operator()(const Wire::Notify& notification) const { return "notify " + notification.endpoint; }
    std::string operator()(const Wire::Ready& ready) const { return Joined("ready", ready.endpoints); }
    std::string operator()(const Wire::NotReady& notReady) const { return Joined("notReady", notReady.endpoints); }
    template <typename Other>
    std::string operator()(const Other& /*frame*/) const
    {
        return "?";
    }
};

std::string ToText(const Effects& effects)
{
    std::string text = effects.violation ? "violation" : "";
    const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : "; ") + part; };
    for (const Delivery& delivery : effects.deliveries) {
        add(std::to_string(delivery.client) + " " + std::visit(ToShort(), Wire::Parse(*delivery.text)));
    }
    for (const std::string& line : effects.lines) {
        if (line.find("is dropped") != std::string::npos) {
            add("dropped");
        }
    }
    return text;
}

std::string Play(Router& router, const std::string& step)
{
    std::istringstream stream(step);
    const Words words{std::istream_iterator<std::string>(stream), {}};
    const ClientNumber client = std::stoull(words[0]);
    return ToText(words[1] == "drop" ? router.Drop(client) : router.Take(client, FromShort(words)));
}

/** Plays steps with clients 1 to 4, and compares what each brings about. */
void Play(const std::vector<std::pair<std::string, std::string>>& steps)
{
    Router router;
    for (const char* client : {"1", "2", "3", "4"}) {
        EXPECT_EQ(Play(router, std::string(client) + " hello"), "");
    }
    for (const auto& [step, effects] : steps) {
        EXPECT_EQ(Play(router, step), effects) << step;
    }
}
} // namespace

TEST(Router, Requests_AreAnsweredOnceByTheirHandler)
{
    Play({
        {"2 request 7 GET /a", "2 error 7 404"},
        {"1 register GET /a", ""},
        {"2 request 7 POST /a", "2 error 7 404"},
        {"2 request 7 GET a", "2 error 7 404"},
        {"2 request 7 GET /a", "1 request 1 GET /a"},
        {"3 answer 1", "dropped"},
        {"2 answer 1", "dropped"},
        {"1 answer 7", "dropped"},
        {"1 answer 1", "2 answer 7"},
        {"1 answer 1", "dropped"},
        {"1 error 1 400", "dropped"},
        // A number that is still in use.
        {"2 request 7 GET /a", "1 request 2 GET /a"},
        {"2 request 7 GET /a", "1 request 3 GET /a"},
        {"3 request 7 GET /a", "1 request 4 GET /a"},
        {"1 error 4 400", "3 error 7 400"},
        {"1 answer 3", "2 answer 7"},
        {"1 answer 2", "2 answer 7"},
        {"1 request 9 GET /a", "1 request 5 GET /a"},
        {"1 answer 5", "1 answer 9"},
        {"1 ready", "violation"},
        {"5 register GET /b", "violation"},
        {"5 hello", ""},
        {"5 register GET /b", ""},
        {"5 hello", ""},
        {"5 request 1 GET /b", "5 request 6 GET /b"},
    });
}

TEST(Router, NewestRegistration_WinsWhileItLasts)
{
    Play({
        {"1 register GET /a", ""},
        {"2 register GET /a", ""},
        {"3 register POST /a", ""},
        {"4 request 1 GET /a", "2 request 1 GET /a"},
        {"1 register GET /a", ""},
        {"4 request 2 GET /a", "1 request 2 GET /a"},
        {"1 drop", "4 error 2 503"},
        {"4 request 3 GET /a", "2 request 3 GET /a"},
        {"2 answer 1", "4 answer 1"},
        {"2 drop", "4 error 3 503"},
        {"4 request 4 GET /a", "4 error 4 404"},
        {"4 request 5 POST /a", "3 request 4 POST /a"},
    });
}

TEST(Router, DroppedAsker_IsForgotten)
{
    Play({
        {"1 register GET /a", ""},
        {"2 request 7 GET /a", "1 request 1 GET /a"},
        {"1 request 8 GET /a", "1 request 2 GET /a"},
        {"2 drop", ""},
        {"1 answer 1", "dropped"},
        {"1 drop", ""},
        {"1 drop", ""},
    });
}

TEST(Router, Interest_IsToldOncePerEdge)
{
    Play({
        {"1 interest", "1 ready"},
        {"1 interest /a /b /a", ""},
        {"4 interest /a", ""},
        {"2 register POST /a", "4 ready /a"},
        {"2 register POST /a", ""},
        {"2 register GET /b", "1 ready /a /b /a"},
        {"3 register GET /a", ""},
        {"3 register GET /c", ""},
        {"2 drop", "1 notReady /b"},
        {"3 drop", "4 notReady /a"},
        {"2 hello", ""},
        {"2 register GET /a", "4 ready /a"},
        {"2 register GET /b", "1 ready /a /b /a"},
        {"1 interest /a /c", ""},
        {"1 interest /a /b", "1 ready /a /b"},
        {"1 interest /a /b", "1 ready /a /b"},
        {"2 drop", "1 notReady /a /b; 4 notReady /a"},
        {"1 interest /d", ""},
        {"1 register GET /b", ""},
        {"1 register GET /d", "1 ready /d"},
        {"1 drop", ""},
        {"1 hello", ""},
        {"3 hello", ""},
        {"3 register GET /d", ""},
    });
}

TEST(Router, Notification_ReachesEverySubscriberOnce)
{
    Play({
        {"1 notify /a", ""},
        {"1 subscribe /a", ""},
        {"2 subscribe /a", ""},
        {"2 subscribe /a", ""},
        {"3 subscribe a", ""},
        {"1 notify /a", "1 notify /a; 2 notify /a"},
        {"3 notify /a", "1 notify /a; 2 notify /a"},
        {"1 drop", ""},
        {"3 notify /a", "2 notify /a"},
    });
}

TEST(Router, ClientBeyondItsBounds_IsRefused)
{
    Router router;
    for (const char* step : {"1 hello", "2 hello", "3 hello", "4 hello", "2 interest /last"}) {
        Play(router, step);
    }
    const std::string longest(kMaxEndpointBytes, 'x');
    for (const std::string op : {"1 register GET ", "1 subscribe ", "1 interest "}) {
        EXPECT_NE(Play(router, op + longest), "violation") << op;
        EXPECT_EQ(Play(router, op + longest + "x"), "violation") << op;
    }
    std::string interests = "1 interest";
    for (std::size_t count = 1; count < kMaxEndpointsOfAClient; ++count) {
        EXPECT_EQ(Play(router, "1 register GET /" + std::to_string(count)), "");
        EXPECT_EQ(Play(router, "1 subscribe /" + std::to_string(count)), "");
        interests += " /" + std::to_string(count);
    }
    EXPECT_EQ(Play(router, interests + " /none"), "");
    EXPECT_EQ(Play(router, interests + " /none /more"), "violation");
    EXPECT_EQ(Play(router, "1 register GET /1"), "");
    EXPECT_EQ(Play(router, "1 register POST /last"), "violation");
    EXPECT_EQ(Play(router, "1 subscribe /1"), "");
    EXPECT_EQ(Play(router, "1 subscribe /last"), "violation");
    // What was refused is no edge for others.
    EXPECT_EQ(Play(router, "3 register GET /last"), "2 ready /last");

    for (std::size_t count = 0; count < kMaxOpenRequestsOfAClient; ++count) {
        Play(router, "4 request 7 GET /last");
    }
    EXPECT_EQ(Play(router, "4 request 8 GET /last"), "4 error 8 429");
    EXPECT_THAT(Play(router, "2 request 8 GET /last"), HasSubstr("3 request 4097"));
    EXPECT_EQ(Play(router, "3 answer 5"), "4 answer 7");
    EXPECT_THAT(Play(router, "4 request 8 GET /last"), HasSubstr("3 request 4098"));

    Wire::Interest wide{Words(1000, std::string(kMaxEndpointBytes / 4, '\x01'))}; // six bytes each in JSON
    EXPECT_TRUE(router.Take(2, wide).violation);
}

TEST(Router, FrameThatBecomesTooLarge_IsNotSent)
{
    Router router;
    for (const char* step : {"1 hello", "2 hello", "1 register GET /a", "1 subscribe /a"}) {
        Play(router, step);
    }
    const auto bodyFor = [](Wire::Frame frame, std::size_t size) {
        return "\"" + std::string(size - Wire::Serialize(frame).size() - 2 - std::string(",\"body\":").size(), 'x') +
               "\"";
    };
    const std::size_t most = Wire::kMaxFrameBytes;
    Wire::Request request{7, Gatrix::Method::GET, "/a", 1, {}};
    request.body = bodyFor(request, most + 1);
    const Effects tooLarge = router.Take(2, request);
    EXPECT_EQ(ToText(tooLarge), "2 error 7 413");
    EXPECT_THAT(*tooLarge.deliveries.at(0).text, HasSubstr("GET /a"));
    request.body->erase(1, 1);
    const Effects fits = router.Take(2, request);
    EXPECT_EQ(ToText(fits), "1 request 1 GET /a");
    EXPECT_EQ(fits.deliveries.at(0).text->size(), most);

    EXPECT_EQ(ToText(router.Take(1, Wire::Answer{1, std::string(most, '1')})), "2 error 7 413");
    EXPECT_EQ(Play(router, "1 answer 1"), "dropped");
    EXPECT_EQ(Play(router, "2 request 8 GET /a"), "1 request 2 GET /a");
    EXPECT_EQ(ToText(router.Take(1, Wire::Refusal{2, 400, std::string(most, 'x')})), "2 error 8 413");
    EXPECT_EQ(ToText(router.Take(2, Wire::Notify{"/a", 1, std::string(most, '1')})), "dropped");
}

TEST(Router, Refusals_NameTheEndpoint)
{
    Router router;
    Play(router, "1 hello");
    Play(router, "2 hello");
    EXPECT_THAT(*router.Take(2, FromShort({"2", "request", "1", "GET", "/gone"})).deliveries.at(0).text,
                HasSubstr("\"nobody handles GET /gone\""));
    // What nobody can register is cut, between two characters.
    std::string accents = "x";
    while (accents.size() < kMaxEndpointBytes * 2) {
        accents += "\xC3\xA9";
    }
    const Effects cut = router.Take(2, FromShort({"2", "request", "1", "GET", accents}));
    const Wire::Frame refusal = Wire::Parse(*cut.deliveries.at(0).text);
    EXPECT_THAT(std::get<Wire::Refusal>(refusal).message,
                AllOf(testing::EndsWith("\xC3\xA9"), testing::SizeIs(testing::Lt(kMaxEndpointBytes + 50))));

    Play(router, "1 register POST /slow");
    Play(router, "2 request 5 POST /slow");
    const Effects busy = router.Refuse(1, 503, "too much for");
    EXPECT_EQ(ToText(busy), "2 error 5 503");
    EXPECT_THAT(*busy.deliveries.at(0).text, HasSubstr("\"too much for POST /slow\""));
    EXPECT_EQ(ToText(router.Refuse(1, 503, "again")), "");
    Play(router, "2 request 6 POST /slow");
    EXPECT_THAT(*router.Drop(1).deliveries.at(0).text, HasSubstr("before it answered POST /slow\""));
}
