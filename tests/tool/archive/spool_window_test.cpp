#include "tool/archive/spool_window.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

namespace emltool {
namespace {

constexpr size_t kMebibyte = size_t{1} << 20;

std::string contentOf(const StoredPiece& piece, size_t length) {
    std::string text(length, '\0');
    const ssize_t got = ::pread(piece.file->get(), text.data(), length, static_cast<off_t>(piece.offset));
    EXPECT_EQ(got, static_cast<ssize_t>(length));
    return text;
}

// Mebibyte `number` of a stream.
std::string mebibyte(size_t number) { return std::string(kMebibyte, static_cast<char>('A' + number)); }

TEST(SpoolWindow, KeepsWhatIsNeededAndNoMore) {
    SpoolWindow window;
    for (size_t i = 0; i < 20; ++i) window.append(mebibyte(i));
    EXPECT_EQ(window.end(), 20 * kMebibyte);
    EXPECT_EQ(window.heldBytes(), 20 * kMebibyte);
    window.releaseBefore(17 * kMebibyte);
    EXPECT_LE(window.heldBytes(), 4 * kMebibyte);
    std::string room(10, '\0');
    EXPECT_EQ(window.read(18 * kMebibyte - 5, room), 10u);
    EXPECT_EQ(room, "RRRRRSSSSS");
    EXPECT_EQ(window.read(20 * kMebibyte, room), 0u);
}

TEST(SpoolWindow, GivesEachPieceInOneFile) {
    SpoolWindow window;
    for (size_t i = 0; i < 20; ++i) window.append(mebibyte(i));
    for (size_t i = 0; i + 3 <= 20; ++i) {
        const StoredPiece piece = window.piece(i * kMebibyte + 1, 2 * kMebibyte);
        std::string expected = mebibyte(i).substr(1) + mebibyte(i + 1) + mebibyte(i + 2).substr(0, 1);
        EXPECT_TRUE(contentOf(piece, 2 * kMebibyte) == expected) << i;
    }
    EXPECT_NE(window.piece(window.end(), 0).file, nullptr);
}

TEST(SpoolWindow, CountsWhatOthersHold) {
    SpoolWindow window;
    window.append(mebibyte(0));
    {
        const StoredPiece piece = window.piece(0, 10);
        EXPECT_EQ(window.heldByOthers(), 0u);
        for (size_t i = 1; i < 20; ++i) window.append(mebibyte(i));
        window.releaseBefore(window.end());
        EXPECT_EQ(window.heldByOthers(), 8 * kMebibyte);
        EXPECT_EQ(contentOf(piece, 10), "AAAAAAAAAA");
    }
    EXPECT_EQ(window.heldByOthers(), 0u);
}

}  // namespace
}  // namespace emltool
