#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ClientProbe.h"
#include "ConnectedClient.h"
#include "ScriptedGateway.h"

/** A client beside a gateway that the test plays. */
class GatrixClientTest : public testing::Test
{
protected:
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

    /** Makes a client as services do, waits until it is connected, and returns its first frame. */
    std::string Connect()
    {
        client = Gatrix::GatrixClient::Create("Tester", "127.0.0.1", gateway->Port(), "meridel", "", probe.connection,
                                              probe.error, {});
        return Accepted();
    }
    std::string Connect(const Gatrix::ClientCore::Settings& settings)
    {
        client = std::make_shared<Gatrix::ConnectedClient>(settings);
        return Accepted();
    }

    ClientProbe probe;
    std::shared_ptr<Gatrix::GatrixClientIF> client;
    // Last: a client that goes before its gateway waits for it to close.
    std::unique_ptr<ScriptedGateway> gateway = std::make_unique<ScriptedGateway>();

private:
    std::string Accepted()
    {
        std::string hello = gateway->Accept();
        EXPECT_EQ(probe.Next(), "connected");
        return hello;
    }
};
