#include "tool/system/file_passing.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

namespace emltool {
namespace {

emlhost::UniqueDescriptor fileWith(std::string_view text) {
    emlhost::UniqueDescriptor file(::memfd_create("test", MFD_CLOEXEC));
    EXPECT_EQ(::write(file.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    return file;
}

std::string contentOf(const emlhost::UniqueDescriptor& file) {
    char room[16];
    const ssize_t got = ::pread(file.get(), room, sizeof room, 0);
    return {room, static_cast<size_t>(got < 0 ? 0 : got)};
}

TEST(FilePassing, FilesComeInOrderAndNotAfterTheirBytes) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    emlhost::UniqueDescriptor sending(ends[0]);
    const emlhost::UniqueDescriptor receiving(ends[1]);
    {
        const emlhost::UniqueDescriptor first = fileWith("one");
        const emlhost::UniqueDescriptor second = fileWith("two");
        EXPECT_EQ(sendWithFile(sending.get(), "a", -1), 1);
        EXPECT_EQ(sendWithFile(sending.get(), "bb", first.get()), 2);
        EXPECT_EQ(sendWithFile(sending.get(), "c", -1), 1);
        EXPECT_EQ(sendWithFile(sending.get(), "d", second.get()), 1);
    }
    sending.close();
    std::string text;
    std::deque<emlhost::UniqueDescriptor> files;
    char room[16];
    for (;;) {
        const ssize_t got = receiveWithFiles(receiving.get(), room, files);
        ASSERT_GE(got, 0);
        if (got == 0) break;
        text.append(room, static_cast<size_t>(got));
        EXPECT_GE(files.size(), text.find('d') != std::string::npos ? 2u : text.size() > 1 ? 1u : 0u);
    }
    EXPECT_EQ(text, "abbcd");
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(contentOf(files[0]), "one");
    EXPECT_EQ(contentOf(files[1]), "two");
}

TEST(FilePassing, OfOneThatHasGoneFails) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    const emlhost::UniqueDescriptor sending(ends[0]);
    ::close(ends[1]);
    EXPECT_EQ(sendWithFile(sending.get(), "a", -1), -1);
}

}  // namespace
}  // namespace emltool
