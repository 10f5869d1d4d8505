#include "tool/system/file_passing.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace emltool {

namespace {

// Room for one descriptor, aligned as the header before it.
union Control {
    cmsghdr header;
    char room[CMSG_SPACE(sizeof(int))];
};

}  // namespace

ssize_t sendWithFile(int socket, std::string_view bytes, int file) {
    struct iovec data {
        const_cast<char*>(bytes.data()), bytes.size()
    };
    struct msghdr message {};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    Control control{};
    if (file >= 0) {
        message.msg_control = control.room;
        message.msg_controllen = sizeof control.room;
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(header), &file, sizeof file);
    }
    ssize_t sent = -1;
    do {
        sent = ::sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    return sent;
}

ssize_t receiveWithFiles(int socket, std::span<char> room, std::deque<emlhost::UniqueDescriptor>& files) {
    struct iovec data {
        room.data(), room.size()
    };
    struct msghdr message {};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    Control control{};
    message.msg_control = control.room;
    message.msg_controllen = sizeof control.room;
    ssize_t got = -1;
    do {
        got = ::recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
    } while (got < 0 && errno == EINTR);
    if (got < 0) return got;
    const cmsghdr* const header = CMSG_FIRSTHDR(&message);
    if (header != nullptr && header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_RIGHTS &&
        header->cmsg_len == CMSG_LEN(sizeof(int))) {
        int file = -1;
        std::memcpy(&file, CMSG_DATA(header), sizeof file);
        files.emplace_back(file);
    }
    return got;
}

}  // namespace emltool
