#pragma once

#include "GatrixWire.h"
#include "WebSocketPeer.h"

#include <gtest/gtest.h>

/** A service's end of the wire. */
class TestClient : public WebSocketPeer
{
public:
    /** @param name that it says hello with; says nothing when empty */
    explicit TestClient(std::uint16_t port, const std::string& name = "tester", const char* address = "127.0.0.1")
    {
        Connect(port, address);
        ShakeHands();
        if (!name.empty()) {
            Send(Gatrix::Wire::Hello{name, "linux"});
        }
    }

    using WebSocketPeer::Send;
    void Send(const Gatrix::Wire::Frame& frame) { Send(Gatrix::Wire::Serialize(frame)); }

    /** Registers an endpoint for GET, and waits until the gateway knows. */
    void Handle(const std::string& endpoint)
    {
        Send(Gatrix::Wire::Register{Gatrix::Method::GET, endpoint, 1, "g"});
        Send(Gatrix::Wire::Interest{{endpoint}});
        EXPECT_EQ(Read(), Gatrix::Wire::Serialize(Gatrix::Wire::Ready{{endpoint}}));
    }

    /** Asks for an endpoint by GET, with a body of JSON text. */
    void Ask(std::uint64_t id, const std::string& endpoint, const std::string& body)
    {
        Send(Gatrix::Wire::Request{id, Gatrix::Method::GET, endpoint, 1, body});
    }
};
