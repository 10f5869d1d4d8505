// Large messages in the MIME reader: memory does not grow with the message, only with the number of its parts, and
// offsets have 64 bits.
#include <emlreader/eml_mime.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "budgets/counting_host.h"
#include "budgets/mime_messages.h"
#include "mime/opened_mime.h"
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

// A part that nobody reads, and after it what has offsets: parts, files inside text, a signature, a message, defects.
const std::string kFarHead =
    "Subject: far\nContent-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: application/x\n"
    "Content-Transfer-Encoding: binary\n\n";
const std::string kFarTail =
    "\n--b\nContent-Type: application/x; name=far.bin\nContent-Transfer-Encoding: base64\n\nZm!Fy\n"
    "--b\nContent-Type: text/plain\n\nbefore\nbegin 644 far.txt\n#8V%R\n`\nend\nafter \xE9\n"
    "--b\nContent-Type: multipart/signed; boundary=c\n\npreamble\n--c\nX-Far: 1\nno field\nX-Far: "
    "2\n\nsigned\n"
    "--c--\nepilogue\n--b\nContent-Type: message/rfc822\n\nSubject: inner\nX-Folded: a\n b\n\ninner text\r\n"
    "--b--\nepilogue";

// What a message is whose tail stands at `start`, with the offsets that it has when the tail stands at `home`.
class FarMessage {
  public:
    FarMessage(int64_t start, int64_t home)
        : shift_(static_cast<uint64_t>(start - home)), message_(sizeFor(start), LargeMessage::kMax) {
        message_.put(0, kFarHead);
        message_.put(start, kFarTail);
        HostOptions options = largeInputOptions();
        options.largestRead = 64 << 10;
        host_.emplace("", options);
        message_.giveTo(*host_);
        EmlMimeOptions given{};
        given.recordSize = sizeof given;
        given.progress = &FarMessage::progress;
        given.progressHost = this;
        EmlResult result = UINT32_MAX;
        context_ = emlMimeOpen(&host_->input(), &host_->services().allocator, &given, &result);
        EXPECT_EQ(result, EML_OK);
    }
    ~FarMessage() { emlMimeClose(context_); }
    FarMessage(const FarMessage&) = delete;
    FarMessage& operator=(const FarMessage&) = delete;

    [[nodiscard]] static int64_t sizeFor(int64_t start) {
        return start + static_cast<int64_t>(kFarTail.size());
    }
    // The last offset that was reported; 0 when an earlier one was larger.
    [[nodiscard]] uint64_t reported() const { return reported_; }

    [[nodiscard]] std::string describe() {
        std::string out;
        for (uint32_t i = 0; i < emlMimePartCount(context_); ++i) {
            EmlMimePart part{};
            EXPECT_EQ(emlMimeGetPart(context_, i, &part, sizeof part), EML_OK);
            out += std::to_string(i) + " " + std::string(viewOf(part.type)) + "/" +
                   std::string(viewOf(part.subtype)) + " header" + place(part.header) + " body" +
                   place(part.body) + " signed" + place(part.signedSpan) + "\n" + fieldsOf(i);
            if (i > 1) out += contentsOf(i);
        }
        for (uint32_t i = 0; i < emlMimeSpanCount(context_); ++i) {
            EmlMimeSpanInfo info{};
            EXPECT_EQ(emlMimeGetSpan(context_, i, &info), EML_OK);
            out += "span " + std::to_string(info.kind) + place(info.span) + "\n";
        }
        for (uint32_t i = 0; i < emlMimeDefectCount(context_); ++i) {
            EmlMimeDefect defect{};
            EXPECT_EQ(emlMimeGetDefect(context_, i, &defect), EML_OK);
            out += std::string(emlMimeDefectName(defect.code)) + " " + offset(defect.offset) + "\n";
        }
        return out;
    }

    // The content of the part before the tail.
    [[nodiscard]] uint64_t measureFilling() {
        EmlMimeContent content{};
        EXPECT_EQ(emlMimeExtract(context_, 1, EML_MIME_DECODED, nullptr, &content), EML_OK);
        return content.size;
    }

  private:
    static int32_t progress(void* self, uint64_t offset) {
        auto& message = *static_cast<FarMessage*>(self);
        message.reported_ = offset > message.reported_ ? offset : 0;
        return 0;
    }

    [[nodiscard]] std::string offset(uint64_t at) const {
        return std::to_string(at > kFarHead.size() ? at - shift_ : at);
    }

    [[nodiscard]] std::string place(const EmlMimeSpan& span) const {
        return " " + offset(span.offset) + "-" + offset(span.offset + span.length);
    }

    [[nodiscard]] std::string fieldsOf(uint32_t part) {
        std::string out;
        uint32_t count = 0;
        EXPECT_EQ(emlMimeFieldCount(context_, part, &count), EML_OK);
        for (uint32_t i = 0; i < count; ++i) {
            EmlMimeField field{};
            EXPECT_EQ(emlMimeGetField(context_, part, i, &field), EML_OK);
            out += "  " + std::string(viewOf(field.name)) + ":" + visible(viewOf(field.raw)) +
                   place(field.span) + "\n";
        }
        return out;
    }

    [[nodiscard]] std::string contentsOf(uint32_t part) {
        std::string out;
        for (const uint32_t form : {EML_MIME_RAW, EML_MIME_DECODED, EML_MIME_TEXT}) {
            MemoryOutput output(*host_);
            EXPECT_EQ(emlMimeExtract(context_, part, form, &output.object(), nullptr), EML_OK);
            out += "  \"" + visible(output.bytes()) + "\"\n";
        }
        return out;
    }

    uint64_t shift_;
    LargeMessage message_;
    std::optional<RecordingHost> host_;
    EmlMimeContext* context_ = nullptr;
    uint64_t reported_ = 0;
};

// The same text gives the same parts, spans, fields, contents and defects wherever it stands, and all offsets move
// with it. The border of 4 GiB lies between two parts; EMLREADER_TEST_FULL=1 takes other places too.
TEST(MimeSizes, OffsetsBeyondFourGigabytesMoveWithTheirText) {
    constexpr int64_t kHome = 10000;
    std::string expected;
    {
        FarMessage near(kHome, kHome);
        expected = near.describe();
    }
    for (const char* const text : {"\"far\"", "\"car\"", "X-Far: 2", "signed 1", "base64-character"})
        EXPECT_NE(expected.find(text), std::string::npos) << text << " in\n" << expected;
    std::vector<int64_t> starts = {4 * kGigabyte - 150};
    if (isFullRun()) {
        for (const int64_t border : {2 * kGigabyte, 4 * kGigabyte, 6 * kGigabyte})
            for (const int64_t more : {-400, -2, 1}) starts.push_back(border + more);
    }
    for (const int64_t start : starts) {
        SCOPED_TRACE(start);
        FarMessage far(start, kHome);
        const auto size = static_cast<uint64_t>(FarMessage::sizeFor(start));
        EXPECT_GE(far.reported() + (2 << 20), size);
        EXPECT_EQ(far.describe(), expected);
        if (!isFullRun()) continue;
        EXPECT_EQ(far.measureFilling(), static_cast<uint64_t>(start) - kFarHead.size());
    }
}

}  // namespace
}  // namespace eml::test
