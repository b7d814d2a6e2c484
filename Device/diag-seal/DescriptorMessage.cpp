#include "DescriptorMessage.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <sys/socket.h>

namespace DiagSeal
{

namespace
{

// A message of one byte with room for one descriptor, see cmsg(3).
class Message
{
public:
    Message()
    {
        m_header.msg_iov = &m_content;
        m_header.msg_iovlen = 1;
    }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    void Attach(int descriptor)
    {
        MakeRoom();
        cmsghdr* const control = CMSG_FIRSTHDR(&m_header);
        control->cmsg_level = SOL_SOCKET;
        control->cmsg_type = SCM_RIGHTS;
        control->cmsg_len = CMSG_LEN(sizeof(descriptor));
        std::memcpy(CMSG_DATA(control), &descriptor, sizeof(descriptor));
    }

    void MakeRoom()
    {
        m_header.msg_control = m_control.data();
        m_header.msg_controllen = m_control.size();
    }

    int Attached() const
    {
        const cmsghdr* const control = CMSG_FIRSTHDR(&m_header);
        int descriptor = -1;
        if (control != nullptr && control->cmsg_type == SCM_RIGHTS) {
            std::memcpy(&descriptor, CMSG_DATA(control), sizeof(descriptor));
        }
        return descriptor;
    }

    msghdr* Header() { return &m_header; }

private:
    char m_byte = 0;
    iovec m_content = {&m_byte, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> m_control{};
    msghdr m_header = {};
};

} // namespace

void SendDescriptor(int socket, int descriptor)
{
    Message message;
    if (descriptor >= 0) {
        message.Attach(descriptor);
    }
    while (sendmsg(socket, message.Header(), MSG_NOSIGNAL) < 0 && errno == EINTR) {
    }
}

int ReceiveDescriptor(int socket)
{
    Message message;
    message.MakeRoom();
    ssize_t size = 0;
    while ((size = recvmsg(socket, message.Header(), MSG_CMSG_CLOEXEC)) < 0 && errno == EINTR) {
    }
    return size > 0 ? message.Attached() : -1;
}

} // namespace DiagSeal
