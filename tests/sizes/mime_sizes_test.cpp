// Memory of the MIME reader: it does not grow with the message, only with the number of its parts.
#include <emlreader/eml_mime.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "budgets/counting_host.h"
#include "budgets/mime_messages.h"
#include "sizes/large_input.h"

namespace eml::test {
namespace {

// A heap that counts, for a message that is not in memory.
struct Memory {
    CountingHost heap{std::string_view()};

    [[nodiscard]] EmlAllocator& allocator() { return heap.services().allocator; }
    [[nodiscard]] uint64_t peak() const { return heap.work().peakBytes; }
};

EmlMimeContext* openOver(Memory& memory, EmlIOobj& input) {
    EmlResult result = UINT32_MAX;
    EmlMimeContext* const context = emlMimeOpen(&input, &memory.allocator(), nullptr, &result);
    EXPECT_EQ(result, EML_OK);
    return context;
}

// Opens a message whose one attachment is what is left of `size`, extracts it in every form and gives the peak of the
// heap.
uint64_t peakOf(int64_t size, const std::string& header) {
    LargeMessage message(size);
    message.put(0, "Content-Type: multipart/mixed; boundary=b\n\n--b\n\ntext\n--b\n" + header + "\n");
    message.put(size - 7, "\n--b--\n");
    HostOptions options = largeInputOptions();
    options.largestRead = 64 << 10;
    RecordingHost host("", options);
    message.giveTo(host);
    // Room is counted in a heap of its own, so reads are not checked against it.
    EmlIOobj& input = host.input();
    Memory memory;
    EmlMimeContext* const context = openOver(memory, input);
    if (context == nullptr) return UINT64_MAX;
    EXPECT_EQ(emlMimePartCount(context), 3U);
    for (const uint32_t form : {EML_MIME_RAW, EML_MIME_DECODED, EML_MIME_TEXT}) {
        EmlMimeContent content{};
        EXPECT_EQ(emlMimeExtract(context, 2, form, &memory.heap.output(), &content), EML_OK);
        const bool raw = form == EML_MIME_RAW;
        EXPECT_GT(content.size, raw ? static_cast<uint64_t>(size) - 500 : 0);
    }
    emlMimeClose(context);
    EXPECT_EQ(memory.heap.work().liveBytes, 0U);
    return memory.peak();
}

bool isFullRun() {
    const char* const text = std::getenv("EMLREADER_TEST_FULL");
    return text != nullptr && std::strcmp(text, "1") == 0;
}

// 64 MB; with EMLREADER_TEST_FULL=1 a gigabyte.
TEST(MimeSizes, ALargeAttachmentCostsWhatASmallOneCosts) {
    const int64_t large = isFullRun() ? kGigabyte : kGigabyte / 16;
    for (const char* const header :
         {"Content-Type: application/x\n", "Content-Transfer-Encoding: base64\n",
          "Content-Transfer-Encoding: quoted-printable\n", "Content-Type: text/plain; format=flowed\n"}) {
        SCOPED_TRACE(header);
        const uint64_t small = peakOf(2000, header);
        const uint64_t big = peakOf(large, header);
        EXPECT_EQ(small, big);
        EXPECT_LT(big, uint64_t{4} << 20);
    }
}

// What stays allocated after the open.
uint64_t liveAfterOpen(const std::string& message, uint32_t& parts) {
    CountingHost host(message);
    EmlMimeContext* const context = emlMimeOpen(&host.input(), &host.services().allocator, nullptr, nullptr);
    parts = emlMimePartCount(context);
    const uint64_t live = host.work().liveBytes;
    emlMimeClose(context);
    return live;
}

struct PartRow {
    const char* what;
    std::string (*make)(uint32_t count);
    uint64_t textBytes;  // of each part, zero bytes included
};

std::string namedParts(uint32_t n) {
    return hostile::multipart(
        "b", hostile::repeat("--b\nContent-Type: image/png; name=a.png\n\nx\n", n) + "--b--\n");
}

// A part costs at most 200 bytes and its own short texts.
TEST(MimeSizes, APartCostsAtMost200BytesAndItsTexts) {
    const PartRow rows[] = {
        {"nothing but a letter", hostile::tinyParts, 0},
        {"a name and a type", namedParts, 6 + 4 + 6},
        {"a file inside text", hostile::uuencodeFiles, 12 + 13 + 2},
    };
    for (const PartRow& row : rows) {
        SCOPED_TRACE(row.what);
        uint32_t few = 0;
        uint32_t many = 0;
        const uint64_t before = liveAfterOpen(row.make(1000), few);
        const uint64_t after = liveAfterOpen(row.make(90000), many);
        ASSERT_GE(many, 90000U);
        EXPECT_LE((after - before) / (many - few), 200 + row.textBytes);
    }
}

}  // namespace
}  // namespace eml::test
