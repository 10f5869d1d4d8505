// The line reader, as it is exported.
#include "container/line_reader.h"

#include <gtest/gtest.h>

#include "support/sections.h"

namespace eml::test {
namespace {

TEST(LineReader, LinesPiecesAndTheEnd) {
    const std::string message = "one\r\ntwo\nthree\r\r\n" + std::string(5000, 'x') + "\nlast";
    RecordingHost host(message);
    OpenedMessage opened(host);
    EmlContainerContext& context = *opened.context();
    context.position = 0;
    const struct {
        int32_t kind;
        uint32_t length;
    } rows[] = {{1, 5}, {1, 4}, {1, 6}, {1, 2}, {2, 4096}, {1, 905}, {2, 4}, {0, 0}, {0, 0}};
    int64_t at = 0;
    for (const auto& row : rows) {
        EXPECT_EQ(eml2GetLine(&context), row.kind);
        EXPECT_EQ(context.lineStart, at);
        at += row.length;
        EXPECT_EQ(context.position, at);
        if (row.kind == 0) continue;
        EXPECT_EQ(context.lineBuffer[row.length], 0) << "a zero follows the line";
        EXPECT_EQ(message.compare(static_cast<size_t>(at) - row.length, row.length,
                                  reinterpret_cast<const char*>(context.lineBuffer), row.length),
                  0);
    }
}

TEST(LineReader, EachLineIsOneSeekAndOneReadOfABlock) {
    RecordingHost host("a\r\nb\r\n\r\n");
    OpenedMessage opened(host);
    const uint64_t reads = host.journal().calls(Entry::kInputRead);
    const uint64_t seeks = host.journal().calls(Entry::kInputSeek);
    opened.context()->position = 3;
    EXPECT_EQ(eml2GetLine(opened.context()), 1);
    EXPECT_EQ(host.journal().calls(Entry::kInputRead), reads + 1);
    EXPECT_EQ(host.journal().calls(Entry::kInputSeek), seeks + 1);
}

TEST(LineReader, OffsetsHave64Bits) {
    const uint64_t size = (uint64_t{5} << 32) + 10;
    RecordingHost host("a\n\nb");
    host.extendTo(size, 8);
    OpenedMessage opened(host);
    EmlContainerContext& context = *opened.context();
    EXPECT_EQ(context.fileSize, static_cast<int64_t>(size));
    context.position = int64_t{5} << 32;
    EXPECT_EQ(eml2GetLine(&context), 1);
    EXPECT_EQ(context.position, (int64_t{5} << 32) + 1);
    EXPECT_EQ(eml2GetLine(&context), 1);
    EXPECT_EQ(context.position, (int64_t{5} << 32) + 9);
    EXPECT_EQ(eml2GetLine(&context), 2);
    EXPECT_EQ(eml2GetLine(&context), 0);
}

}  // namespace
}  // namespace eml::test
