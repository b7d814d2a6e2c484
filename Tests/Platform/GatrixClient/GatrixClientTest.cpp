#include "CapturedLog.h"
#include "GatrixClientFixture.h"

#include <limits>

using namespace testing; // NOLINT(google-build-using-namespace): its matchers

static Request Upload(const std::string& file)
{
    Request request;
    request.set_filetoupload(file);
    return request;
}

TEST_F(GatrixClientTest, Requests_AreAnsweredTypedAndRaw)
{
    Connect();
    client->SendPostRequest<Request, Response>("/p", Upload("x"), 1.5, probe.typed, probe.refused);
    client->SendGetRequest<Response>("/g", probe.typed, probe.refused);
    client->SendGetRequest("/r", R"({"a": "b"})", 1.0, probe.raw, probe.refused);
    EXPECT_EQ(gateway->Read(),
              R"({"endpoint":"/p","id":1,"method":"POST","op":"request","version":1.5,"body":{"fileToUpload":"x"}})");
    EXPECT_EQ(gateway->Read(), R"({"endpoint":"/g","id":2,"method":"GET","op":"request","version":1.0})");
    EXPECT_EQ(gateway->Read(),
              R"({"endpoint":"/r","id":3,"method":"GET","op":"request","version":1.0,"body":{"a":"b"}})");

    gateway->Send(R"({"op":"answer","id":3,"body":{"c":[1, 2]}})");
    EXPECT_EQ(probe.Next(), R"(raw {"c":[1,2]})");
    gateway->Send(R"({"op":"error","id":2,"error":{"statusCode":404,"message":"no /g"}})");
    EXPECT_EQ(probe.Next(), "refused 404 no /g");
    gateway->Send(R"({"op":"answer","id":2,"body":{"statusCode":1,"message":"late"}})");
    gateway->Send(R"({"op":"answer","id":1,"body":{"statusCode":200,"message":"done"}})");
    EXPECT_EQ(probe.Next(), "typed done");

    client->SendGetRequest<Response>("/g", probe.typed, probe.refused);
    gateway->Read();
    gateway->Send(R"({"op":"answer","id":4})");
    EXPECT_THAT(probe.Next(), StartsWith("refused 400 UploadResponse: "));
    client->SendPostRequest<Response, Response>("/p", Response(), 1.0, probe.typed, probe.refused);
    EXPECT_THAT(probe.Next(), HasSubstr("refused 400 UploadResponse: "));
    client->SendGetRequest("/p", "", std::numeric_limits<double>::infinity(), probe.raw, probe.refused);
    EXPECT_EQ(probe.Next(), R"(refused 400 /p: request: "version" must be a number)");
}

TEST_F(GatrixClientTest, DeliveredRequests_AreAnsweredOnceWhateverTheHandlerDoes)
{
    const CapturedLog log;
    Connect();
    client->RegisterPostHandler<Request, Response>("/p", probe.post, 1.5, "G");
    client->RegisterGetHandler<Response>("/p", probe.get, "T");
    EXPECT_EQ(gateway->Read(), R"({"endpoint":"/p","group":"G","method":"POST","op":"register","version":1.5})");
    EXPECT_EQ(gateway->Read(), R"({"endpoint":"/p","group":"T","method":"GET","op":"register","version":1.0})");
    const auto ask = [&](const std::string& methodAndMore) {
        gateway->Send(R"({"op":"request","id":9,"version":1,"endpoint":"/p","method":)" + methodAndMore + "}");
    };
    const auto handled = [&](const std::string& methodAndMore, const std::string& line) {
        ask(methodAndMore);
        EXPECT_EQ(probe.Next(), line);
        return probe.TakeReply();
    };
    Response answer;
    answer.set_statuscode(200);
    answer.set_message("done");

    const Reply reply = handled(R"("POST","body":{"fileToUpload":"x"})", "post x");
    reply.first(answer);
    reply.first(answer);
    reply.second(Gatrix::MakeError(400, "second"));
    EXPECT_EQ(gateway->Read(), R"({"id":9,"op":"answer","body":{"statusCode":200,"message":"done"}})");
    handled(R"("GET","body":"not looked at")", "get").second(Gatrix::MakeError(555, "busy"));
    EXPECT_EQ(gateway->Read(), R"({"error":{"message":"busy","statusCode":555},"id":9,"op":"error"})");
    handled(R"("GET")", "get");
    EXPECT_EQ(gateway->Read(),
              R"({"error":{"message":"the handler of /p gave no answer","statusCode":500},"id":9,"op":"error"})");
    handled(R"("GET")", "get").first(Response());
    EXPECT_THAT(gateway->Read(), HasSubstr(R"("statusCode":500)"));
    answer.set_message("\xff" + std::string(Gatrix::Wire::kMaxFrameBytes, 'x'));
    handled(R"("GET")", "get").first(answer);
    EXPECT_THAT(gateway->Read(),
                AllOf(StartsWith("{\"id\":9,\"op\":\"answer\",\"body\":{\"statusCode\":200,\"message\":"
                                 "\"\xef\xbf\xbdxxx"),
                      HasSubstr(" bytes more)\"}}")));

    ask(R"("POST","body":{"fileType":7})");
    EXPECT_THAT(gateway->Read(), AllOf(HasSubstr(R"("message":"UploadRequest: )"), HasSubstr(R"("statusCode":400)")));

    const Reply outliving = handled(R"("GET")", "get");
    gateway.reset();
    client.reset();
    outliving.first(answer);
    EXPECT_EQ(CapturedLog::LinesOf("GatrixClient", "/p: a second answer").size(), 2U);
}

TEST_F(GatrixClientTest, Notifications_GoBothWaysAndEndpointsComeAndGo)
{
    Connect();
    client->RegisterEndpointsOfInterest({"/a", "b"}, probe.ready, probe.notReady);
    EXPECT_EQ(gateway->Read(), R"({"endpoints":["/a","b"],"op":"interest"})");
    gateway->Send(R"({"op":"ready","endpoints":["/a","b"]})");
    EXPECT_EQ(probe.Next(), R"(ready { "/a", "b" })");
    gateway->Send(R"({"op":"notReady","endpoints":["b"]})");
    EXPECT_EQ(probe.Next(), R"(not ready { "b" })");

    client->SubscribeToNotification<Request>("/n", probe.notified, 2.5);
    EXPECT_EQ(gateway->Read(), R"({"endpoint":"/n","op":"subscribe","version":2.5})");
    for (const std::string rest :
         {R"("/n","body":{"fileToUpload":["x"]}})", R"("/other","body":{}})", R"("/n","body":{"fileToUpload":"y"}})"}) {
        gateway->Send(R"({"op":"notify","version":1,"endpoint":)" + rest);
    }
    EXPECT_EQ(probe.Next(), "notified y");
    client->SendNotification("/o", Response(), 1.0);
    client->SendNotification("/o", Upload(std::string(Gatrix::Wire::kMaxFrameBytes, 'x')), 1.0);
    client->SendNotification("/o", Upload("z"), 1.0);
    EXPECT_EQ(gateway->Read(), R"({"endpoint":"/o","op":"notify","version":1.0,"body":{"fileToUpload":"z"}})");
}
