#pragma once

#include "Alarm.h"
#include "DescriptorWatch.h"
#include "FileDescriptor.h"

#include <functional>
#include <string>

/**
 * Accepts the clients of a listening socket, between Open and Close. When descriptors or memory run out, clients wait;
 * it tries again each second. The loop must outlive it. Not thread-safe.
 */
class Acceptor
{
public:
    /** Takes a client's socket, which is non-blocking and close-on-exec. What it throws leaves the loop's Run. */
    using Serve = std::function<void(FileDescriptor socket)>;
    /** Takes the reason why clients have to wait. Not called again before a client is accepted. */
    using Report = std::function<void(const std::string& reason)>;

    /** @param listener a non-blocking socket; closed with the acceptor */
    Acceptor(boost::asio::io_context& context, FileDescriptor listener, Serve serve, Report report);

    const FileDescriptor& Listener() const noexcept { return m_listener; }

    void Open();

    /** Clients wait in the socket's queue from now on. Serve may call it. */
    void Close();

private:
    void Accept();

    const FileDescriptor m_listener;
    const Serve m_serve;
    const Report m_report;
    DescriptorWatch m_watch;
    Alarm m_later;
    bool m_isOpen = false;
    /** The latest client could not be accepted. */
    bool m_isShort = false;
};
