// The line reader, as it is exported.
#include "container/line_reader.h"

#include <gtest/gtest.h>

#include <algorithm>

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

TEST(LineReader, ALineNearTheEndIsOneSeekAndOneRead) {
    RecordingHost host("a\r\nb\r\n\r\n");
    OpenedMessage opened(host);
    const uint64_t reads = host.journal().calls(Entry::kInputRead);
    const uint64_t seeks = host.journal().calls(Entry::kInputSeek);
    opened.context()->position = 3;
    EXPECT_EQ(eml2GetLine(opened.context()), 1);
    EXPECT_EQ(host.journal().calls(Entry::kInputRead), reads + 1);
    EXPECT_EQ(host.journal().calls(Entry::kInputSeek), seeks + 1);
}

// What one read of a block gives of `message`, in lines: kind, length and text of each.
std::string linesByBlocks(const std::string& message, uint32_t mostDelivered) {
    std::string lines;
    for (size_t at = 0; at < message.size();) {
        const std::string block = message.substr(at, std::min<size_t>(4096, mostDelivered));
        size_t length = block.find_first_of("\r\n");
        const bool whole = length != std::string::npos;
        if (!whole) {
            length = block.size();
        } else {
            length += block.compare(length, 2, "\r\n") == 0 ? 2 : 1;
        }
        const std::string line = block.substr(0, length);
        lines += std::to_string(whole ? 1 : 2) + " " + std::to_string(length) + " " +
                 std::to_string(std::min(line.find('\0'), length)) + "\n";
        at += length;
    }
    return lines;
}

std::string linesOf(const std::string& message, uint32_t mostDelivered) {
    RecordingHost host(message, {.mostDelivered = mostDelivered});
    OpenedMessage opened(host);
    EmlContainerContext& context = *opened.context();
    std::string lines;
    context.position = 0;
    for (int32_t kind = eml2GetLine(&context); kind != 0; kind = eml2GetLine(&context)) {
        lines += std::to_string(kind) + " " + std::to_string(context.lineLength) + " " +
                 std::to_string(context.textLength) + "\n";
        EXPECT_EQ(message.compare(static_cast<size_t>(context.lineStart), context.lineLength,
                                  reinterpret_cast<const char*>(context.lineBuffer), context.lineLength),
                  0);
    }
    return lines;
}

// A line is read in two steps, and is that of one read of a block, whatever part of it a host delivers at a time.
TEST(LineReader, LinesAreThoseOfOneReadOfABlock) {
    std::string message;
    constexpr size_t kLengths[] = {0,   1,    300,  509,  510,  511,  512, 513,
                                   514, 1023, 4094, 4095, 4096, 4097, 9000};
    for (const char* lineEnd : {"\r\n", "\n", "\r", "\r\r", "\r\n\n"}) {
        for (const size_t length : kLengths) message += std::string(length, 'x') + lineEnd;
    }
    constexpr size_t kZeros[] = {0, 509, 510, 511, 512, 600};
    for (const size_t zero : kZeros) {
        std::string line(700, 'y');
        line[zero] = '\0';
        message += line + "\r\n";
    }
    for (const char* last : {"", "\r", "\r\n", "z"}) {
        for (const uint32_t mostDelivered :
             {1U, 2U, 100U, 511U, 512U, 513U, 1000U, 4095U, 4096U, UINT32_MAX}) {
            EXPECT_EQ(linesOf(message + std::string(511, 'w') + last, mostDelivered),
                      linesByBlocks(message + std::string(511, 'w') + last, mostDelivered))
                << mostDelivered << " " << escaped(last);
        }
    }
}

TEST(LineReader, AShortLineIsAReadOf512Bytes) {
    RecordingHost host("a\n" + std::string(5000, 'x'));
    OpenedMessage opened(host);
    const uint64_t before = host.bytesRead();
    opened.context()->position = 0;
    EXPECT_EQ(eml2GetLine(opened.context()), 1);
    EXPECT_EQ(host.bytesRead(), before + 512);
    EXPECT_EQ(eml2GetLine(opened.context()), 2);
    EXPECT_EQ(host.bytesRead(), before + 512 + 512 + 4096) << "and a block where that does not do";
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
