#pragma once

#include "AsyncCallback.h"
#include "GatrixClientIF.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

/** What a client can be told about its connection. */
enum class GATRIX_CLIENT_ERRORS
{
    /** The gateway could not be reached or closed the connection; the client goes on trying. */
    CONNECTION_FAILED,
    /** The gateway sent what is no frame of the protocol; it was dropped. */
    PROTOCOL_ERROR,
};

namespace Gatrix
{
/** Settings of a client. */
struct CommonClientCreationInfo
{
    /** How long a request of this client waits for its answer before it fails with status 504; zero for ever. */
    std::chrono::milliseconds requestLimit = std::chrono::seconds(60);
};

/** Makes connections to the product's local API gateway. */
class GatrixClient
{
public:
    using ConnectionCallback = AsyncCallback<const bool>;
    using ErrorCallback = AsyncCallback<const std::string, const GATRIX_CLIENT_ERRORS>;

    /**
     * Makes a client and begins to connect, on a thread of the client's own, beside one that looks up the host's name
     * for it. Both sleep while nothing happens. A connection that cannot be made or that drops is tried again for ever,
     * after 0.1 s, then twice as long each time up to 5 s, less a random part of up to a half. The pauses begin anew
     * after a connection that lasted 10 s or on which all endpoints of interest were ready. The kernel's keep-alive
     * notices a peer that died without a word (tcp(7)).
     *
     * The last owner that lets go of the client ends its connection and thread, and waits for that, unless it does so
     * on that thread. Requests still in flight complete through their error callbacks with status 503. What waits to be
     * sent is sent, for a second at most. The connection callback is not invoked for that end. A look-up of the host's
     * name that is under way holds it up; that of "localhost" asks no server.
     *
     * @param name       of the client, as the gateway shows it
     * @param host, port of the gateway
     * @param platform   the product's platform name, for the gateway
     * @param extra      not used; reserved
     * @param connection invoked with each change: true when the gateway took the connection, false when it dropped
     * @param error      if set, invoked with a text for people for each error, as the log is; an attempt to connect
     * that fails for the same reason as the one before is not reported again
     * @throws std::system_error when the thread cannot be started
     *
     * Thread-safe.
     */
    static std::shared_ptr<GatrixClientIF> Create(const std::string& name, const std::string& host, std::uint16_t port,
                                                  const std::string& platform, const std::string& extra,
                                                  ConnectionCallback connection, std::optional<ErrorCallback> error,
                                                  CommonClientCreationInfo creationInfo);
};
} // namespace Gatrix
