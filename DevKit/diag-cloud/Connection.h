#pragma once

#include "LoopbackServer.h"

#include <cstdint>

namespace DiagCloud
{

struct Cloud;

/**
 * Speaks HTTP/1.1 (RFC 9112) with one client: reads requests, lets an Exchange decide on each, and sends the outcome.
 * It begins here, and goes on in the context until the client is gone, stalls or breaks the protocol.
 * @param socket connected
 * @param seat kept until then
 * @param cloud must outlive the context
 * @param maxBodySize bytes of a request's body
 * @throws boost::system::system_error when the socket is unusable
 */
void Serve(boost::asio::io_context& context, FileDescriptor socket, LoopbackServer::Seat seat, Cloud& cloud,
           std::uint64_t maxBodySize);

} // namespace DiagCloud
