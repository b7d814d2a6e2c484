#pragma once

#include "AnswerProbe.h"
#include "ConnectedClient.h"
#include "UploadSysInfo.pb.h"
#include "WebSocketPeer.h"

#include <gtest/gtest.h>

/** A gateway on the loopback interface that the test plays, for one connection at a time. */
struct ScriptedGateway : WebSocketPeer
{
    explicit ScriptedGateway(std::uint16_t port = 0 /* any that is free */) { Listen(port); }
};

using Request = DFSCommonPB::UploadRequest;
using Response = DFSCommonPB::UploadResponse;

/** What answers a request, and what refuses it. */
using Reply = std::pair<Callback<Response>, Callback<Gatrix::Error>>;

/** A task that takes whatever a client brings, and tells it line by line. */
class ClientProbe : ArrivalProbe<std::pair<std::string, Reply>>
{
public:
    ClientProbe() { Start(); }
    ~ClientProbe() override { Stop(); }

    std::string Next()
    {
        auto [line, reply] = ArrivalProbe::Next();
        m_reply = std::move(reply);
        return line;
    }

    /** What answers the request that the latest line told of. */
    Reply TakeReply() { return std::exchange(m_reply, {}); }

    const AsyncCallback<const bool> connection{this, this, &ClientProbe::OnConnection};
    const AsyncCallback<const std::string, const GATRIX_CLIENT_ERRORS> error{this, this, &ClientProbe::OnError};
    const AsyncCallback<const std::vector<std::string>> ready{this, this, &ClientProbe::OnReady};
    const AsyncCallback<const std::vector<std::string>> notReady{this, this, &ClientProbe::OnNotReady};
    const AsyncCallback<const std::string> raw{this, this, &ClientProbe::OnRaw};
    const AsyncCallback<Response> typed{this, this, &ClientProbe::OnTyped};
    const AsyncCallback<Gatrix::Error> refused{this, this, &ClientProbe::OnRefused};
    const AsyncCallback<Request> notified{this, this, &ClientProbe::OnNotified};
    const Gatrix::GatrixClientIF::PostHandler<Request, Response> post{this, this, &ClientProbe::OnPost};
    const Gatrix::GatrixClientIF::GetHandler<Response> get{this, this, &ClientProbe::OnGet};

private:
    void Tell(const std::string& line, Reply reply = {}) { Keep({line, std::move(reply)}); }
    void OnConnection(bool isUp) { Tell(isUp ? "connected" : "dropped"); }
    void OnError(const std::string& text, GATRIX_CLIENT_ERRORS kind)
    {
        Tell((kind == GATRIX_CLIENT_ERRORS::PROTOCOL_ERROR ? "protocol error: " : "connection failed: ") + text);
    }
    void OnReady(const std::vector<std::string>& endpoints) { Tell("ready " + testing::PrintToString(endpoints)); }
    void OnNotReady(const std::vector<std::string>& lost) { Tell("not ready " + testing::PrintToString(lost)); }
    void OnRaw(const std::string& text) { Tell("raw " + text); }
    void OnTyped(const Response& answer) { Tell("typed " + answer.message()); }
    void OnRefused(const Gatrix::Error& refusal)
    {
        Tell("refused " + std::to_string(refusal.statuscode()) + " " + refusal.message());
    }
    void OnNotified(const Request& request) { Tell("notified " + request.filetoupload()); }
    void OnPost(const Request& request, const Callback<Response>& answer, const Callback<Gatrix::Error>& refuse)
    {
        Tell("post " + request.filetoupload(), {answer, refuse});
    }
    void OnGet(const Callback<Response>& answer, const Callback<Gatrix::Error>& refuse)
    {
        Tell("get", {answer, refuse});
    }

    Reply m_reply;
};

/** A client beside a gateway that the test plays. */
struct GatrixClientTest : testing::Test
{
    Gatrix::ClientCore::Settings Settings() const
    {
        Gatrix::ClientCore::Settings settings;
        settings.name = "Tester";
        settings.host = "127.0.0.1";
        settings.port = gateway->Port();
        settings.platform = "meridel";
        settings.connection = probe.connection;
        settings.error = probe.error;
        return settings;
    }

    /** Waits until the client, made as services do if none is given, is connected, and returns its first frame. */
    std::string Connect(std::shared_ptr<Gatrix::GatrixClientIF> made = nullptr)
    {
        client = made ? std::move(made)
                      : Gatrix::GatrixClient::Create("Tester", "127.0.0.1", gateway->Port(), "meridel", "",
                                                     probe.connection, probe.error, {});
        std::string hello = gateway->Accept();
        EXPECT_EQ(probe.Next(), "connected");
        return hello;
    }

    ClientProbe probe;
    std::shared_ptr<Gatrix::GatrixClientIF> client;
    // Last: a client that goes before its gateway waits for it to close.
    std::unique_ptr<ScriptedGateway> gateway = std::make_unique<ScriptedGateway>();
};
