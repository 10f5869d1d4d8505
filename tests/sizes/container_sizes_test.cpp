// The container reader in messages of more than 2 and 4 GiB: offsets, sizes, and what is read behind them.
#include "container/boundary_scan.h"
#include "container/section_list.h"
#include "container/transfer_decoders.h"
#include "sizes/large_input.h"
#include "support/memory_output.h"
#include "support/opened_message.h"
#include "support/sections.h"

namespace eml::test {
namespace {

// Three attachments, one in each encoding; the text before them belongs to whatever part came before.
std::string threeAttachments() {
    const std::string line = "--" + longBoundary() + "\r\n";
    const std::string name = "Content-Disposition: attachment; filename=";
    return "\r\n" + line + name + "one.bin\r\nContent-Transfer-Encoding: base64\r\n\r\nAAECAw==\r\n" + line +
           name + "two.txt\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\na=3Db\r\n" + line + name +
           "three.txt\r\n\r\nas it stands\r\n--" + longBoundary() + "--\r\nepilogue";
}

const char* const kNames[] = {"one.bin", "two.txt", "three.txt"};
const std::string kContents[] = {std::string("\0\1\2\3", 4), "a=b", "as it stands"};
constexpr int32_t kSizes[] = {8, 5, 12};

// A container context over an input, without what an open does.
class Scanned {
  public:
    explicit Scanned(const LargeMessage& message) : host_({}, largeInputOptions()) {
        message.giveTo(host_);
        EXPECT_NE(host_.input().open(&host_.input()), 0);
        context_.services = &host_.services();
        context_.input = &host_.input();
        context_.lineBuffer = static_cast<uint8_t*>(host_.heap().take(kLineBufferSize));
        context_.fileSize = message.size();
        context_.kernels = &chooseKernels();
    }
    ~Scanned() {
        releaseSections(context_);
        host_.heap().give(context_.lineBuffer);
    }
    Scanned(const Scanned&) = delete;
    Scanned& operator=(const Scanned&) = delete;

    void scan(int64_t from, int64_t to) {
        const std::string boundary = "--" + longBoundary();
        const BoundaryText text{boundary.data(), static_cast<uint32_t>(boundary.size())};
        ASSERT_EQ(scanSections(context_, text, from, to), EML_OK);
    }

    [[nodiscard]] std::vector<const EmlSection*> sections() const {
        std::vector<const EmlSection*> list;
        for (const EmlSectionNode* node = context_.sections; node != nullptr; node = node->next)
            list.push_back(&node->section);
        return list;
    }

    [[nodiscard]] std::string decoded(const EmlSection& section) {
        MemoryOutput output(host_);
        EXPECT_NE(output.object().open(&output.object()), 0);
        const EmlResult result = section.encoding == TransferEncoding::kBase64
                                     ? eml2DecodeBASE64(context_, section, 0, output.object())
                                     : eml2DecodeQP(context_, section, output.object());
        EXPECT_EQ(result, EML_OK);
        EXPECT_NE(output.object().close(&output.object()), 0);
        return output.bytes();
    }

  private:
    RecordingHost host_;
    EmlContainerContext context_{};
};

// The same text gives the same sections wherever it stands; all of their offsets move with it.
TEST(SizesOfTheContainer, SectionsMoveWithTheirText) {
    Compared compared;
    const std::string text = threeAttachments();
    LargeMessage near(static_cast<int64_t>(text.size()));
    near.put(0, text);
    Scanned expected(near);
    expected.scan(0, near.size());
    ASSERT_EQ(expected.sections().size(), 3U);
    for (const int64_t border : {2 * kGigabyte, 4 * kGigabyte, 6 * kGigabyte, int64_t{1} << 40}) {
        for (int64_t start = border - static_cast<int64_t>(text.size()) - 1; start <= border + 1;
             start += fullLengths() ? 1 : 5) {
            compared.input();
            compared.comparison();
            LargeMessage far(start + static_cast<int64_t>(text.size()));
            far.put(start, text);
            Scanned scanned(far);
            scanned.scan(start, far.size());
            ASSERT_EQ(scanned.sections().size(), 3U) << start;
            for (size_t i = 0; i < 3; ++i) {
                const EmlSection& one = *scanned.sections()[i];
                const EmlSection& two = *expected.sections()[i];
                ASSERT_EQ(one.start - start, two.start) << start;
                ASSERT_EQ(one.end - start, two.end) << start;
                ASSERT_EQ(one.bodyStart - start, two.bodyStart) << start;
                ASSERT_EQ(one.bodyEnd - start, two.bodyEnd) << start;
                ASSERT_STREQ(one.fileName, kNames[i]);
                if (i == 2) continue;
                ASSERT_EQ(scanned.decoded(one), kContents[i]) << start;
            }
        }
    }
}

// A message that is one attachment: its content is the whole of the file behind the header.
TEST(SizesOfTheContainer, AFileOfMoreThanFourGigabytes) {
    const std::string header = "Content-Disposition: attachment; filename=all\r\n\r\n";
    const auto start = static_cast<int64_t>(header.size());
    for (const int64_t more : {int64_t{0}, int64_t{7}, int64_t{10000}, kGigabyte, 2 * kGigabyte}) {
        LargeMessage message(start + 4 * kGigabyte + more);
        message.put(0, header);
        RecordingHost host({}, largeInputOptions());
        message.giveTo(host);
        OpenedMessage opened(host);
        ASSERT_EQ(opened.result(), EML_OK);
        ASSERT_EQ(opened.subFileCount(), 2U);
        EXPECT_EQ(opened.context()->attachments[0]->bodyEnd, message.size());
        const SubFile file = opened.describe(1);
        EXPECT_EQ(file.name, "all");
        EXPECT_EQ(file.info.size, static_cast<int32_t>(static_cast<uint32_t>(more)))
            << "the low 32 bits, signed";
        if (more > 10000) continue;
        const Extracted content = opened.extract(1);
        EXPECT_EQ(content.result, EML_OK);
        EXPECT_EQ(content.bytes, message.bytes(start, static_cast<uint32_t>(more))) << more;
    }
}

// A part that nobody reads, and three attachments behind it.
void openAndExtract(int64_t behind, uint32_t flags) {
    LargeMessage message(behind + 10000);
    message.put(0, "Content-Type: multipart/mixed; boundary=\"" + longBoundary() +
                       "\"\r\nSubject: far\r\n\r\n--" + longBoundary() + "\r\n\r\nthe text\r\n--" +
                       longBoundary() + "\r\n\r\n");
    message.put(behind, threeAttachments());
    RecordingHost host({}, largeInputOptions());
    message.giveTo(host);
    OpenedMessage opened(host, flags);
    ASSERT_EQ(opened.result(), EML_OK);
    const int32_t shift = (flags & EML_OPEN_ROOT_FOLDER) != 0 ? 1 : 0;
    ASSERT_EQ(opened.subFileCount(), 4U + static_cast<uint32_t>(shift));
    const EmlSection& unread = *sectionsOf(opened)[1];
    EXPECT_EQ(unread.bodyEnd, behind);
    EXPECT_EQ(opened.describe(shift).name, (shift != 0 ? "root/far.mail" : "far.mail"));
    for (int32_t i = 0; i < 3; ++i) {
        const EmlSection& section = *opened.context()->attachments[i];
        EXPECT_GT(section.bodyStart, behind);
        const SubFile file = opened.describe(shift + 1 + i);
        EXPECT_EQ(file.info.size, kSizes[i]);
        EXPECT_EQ(file.name, (shift != 0 ? std::string("root/") : "") + kNames[i]);
        const Extracted content = opened.extract(shift + 1 + i);
        EXPECT_EQ(content.result, EML_OK);
        EXPECT_EQ(content.bytes, kContents[i]);
        EXPECT_EQ(content.sizeField, kContents[i].size());
    }
    EXPECT_NE(opened.extract(shift).bytes.find("the text"), std::string::npos);
}

// The open walks through the whole message.
TEST(SizesOfTheContainer, AttachmentsBehindTwoAndFourGigabytes) {
    if (!fullLengths()) GTEST_SKIP() << "EMLREADER_TEST_FULL=1 walks through 8 GiB";
    openAndExtract(2 * kGigabyte - 40, 0);
    openAndExtract(2 * kGigabyte + 1, EML_OPEN_ROOT_FOLDER);
    openAndExtract(4 * kGigabyte + 1, 0);
}

TEST(SizesOfTheContainer, AttachmentsBehindAShortWalk) { openAndExtract(100000, EML_OPEN_ROOT_FOLDER); }

}  // namespace
}  // namespace eml::test
