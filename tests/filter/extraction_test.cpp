// Attachments, decoded, into output objects.
#include "filter/extraction.h"

#include <gtest/gtest.h>

#include <cstring>

#include "bytes/base64.h"
#include "filter/scan_dump.h"
#include "reference/decoders.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

// A message with a text and one attachment, whose content is `content`.
std::string withAttachment(const std::string& type, const std::string& encoding, const std::string& content) {
    return "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain\r\n\r\ntext\r\n"
           "--b\r\nContent-Type: " +
           type + "\r\nContent-Transfer-Encoding: " + encoding +
           "\r\nContent-Disposition: attachment; filename=n\r\n\r\n" + content + "\r\n--b--\r\n";
}

std::string encodedBase64(const std::string& bytes) {
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t group = 0;
        for (size_t j = 0; j < 3; ++j)
            group = group << 8 | (i + j < bytes.size() ? static_cast<uint8_t>(bytes[i + j]) : 0U);
        for (size_t j = 0; j < 4; ++j)
            text += i + j > bytes.size() ? '=' : kAlphabet[group >> (18 - 6 * j) & 63];
        if (i % 57 == 54) text += "\r\n";
    }
    return text;
}

struct Row {
    const char* rule;
    const char* type;
    const char* encoding;
    std::string content;
    std::string bytes;
};

TEST(FilterExtract, DecodesAsTheEncodingSays) {
    const Row kRows[] = {
        {"none", "image/x", "7bit",
         "a_b=3D\tc\r\n\xFF"
         "d",
         "a_b=3D\tc\r\n\xFF"
         "d"},
        {"unknown encoding", "image/x", "x-uuencode", "a=41", "a=41"},
        {"binary", "text/plain", "binary", "a\r\nb", "a\r\nb"},
        {"underscore stays", "image/x", "quoted-printable", "a_b=3D=\r\nc", "a_b=c"},
        {"soft line ends", "image/x", "quoted-printable", "a=\nb=\rc=\r\nd", "abcd"},
        {"line ends stay", "text/plain", "quoted-printable", "a\r\nb\nc", "a\r\nb\nc"},
        {"a decoded CR stays", "text/plain", "quoted-printable", "a=0D=0Ab", "a\r\nb"},
        {"a decoded blank has no effect", "image/x", "quoted-printable", "a=20\r\nb", "a \r\nb"},
        {"a missing second digit", "image/x", "quoted-printable", "=41=4", "A\x7F"},
        {"nothing behind =", "image/x", "quoted-printable", "a=", "a\xFF"},
        {"digits that are none", "image/x", "quoted-printable", "=zz=4g", "\xFF\x7F"},
        {"lower-case digits", "image/x", "quoted-printable", "=c3=a9", "\xC3\xA9"},
        {"base64", "image/x", "base64", "QUJD\r\nREVG", "ABCDEF"},
        {"stops at a dash", "image/x", "base64", "QUJD\r\n-REVG", "ABC"},
        {"a dash within a group is passed", "image/x", "base64", "QU-JD", "ABC"},
        {"one byte", "image/x", "base64", "QQ==\r\nREVG", "A"},
        {"two bytes", "image/x", "base64", "QUI=\r\nREVG", "AB"},
        {"invalid characters", "image/x", "base64", "Q!U J\tD*", "ABC"},
        {"an incomplete group", "image/x", "base64", "QUJDRE", "ABC"},
        {"padding first", "image/x", "base64", "=QUJD", ""},
        {"padding second", "image/x", "base64", "QUJDR=VG", "ABC"},
        {"CR in an image", "image/x", "base64", "YQ0KYg==", "a\r\nb"},
        {"CR in a text", "text/plain", "base64", "YQ0KYg==", "a\nb"},
        {"CR in a text, other case", "TEXT/x", "base64", "DQ0NYQ==", "a"},
        {"CR in a type that only looks like text", "texts/x", "base64", "YQ0KYg==", "a\r\nb"},
    };
    for (const HeapMode mode : {HeapMode::kPlain, HeapMode::kGuarded}) {
        for (const Row& row : kRows) {
            OpenFilter filter(withAttachment(row.type, row.encoding, row.content), 0, mode);
            ASSERT_EQ(emlGetFileNumber(filter.context()), 1) << row.rule;
            const FilterExtracted content = filter.extract(1);
            EXPECT_EQ(content.result, EML_OK) << row.rule;
            EXPECT_EQ(content.bytes, row.bytes) << row.rule;
            EXPECT_EQ(content.sizeField, row.bytes.size()) << row.rule;
            EXPECT_TRUE(content.opened && content.closed) << row.rule;
            EXPECT_FALSE(filter.opened().body.running);
        }
    }
}

std::string manyBytes(size_t count) {
    std::string bytes;
    for (size_t i = 0; i < count; ++i) bytes += static_cast<char>(i * 7 + i / 251);
    return bytes;
}

TEST(FilterExtract, LongContentComesInBlocks) {
    for (const size_t count : {4095U, 4096U, 4097U, 8192U, 20000U}) {
        const std::string bytes = manyBytes(count);
        std::string quoted;
        for (const char letter : bytes) {
            char code[4];
            (void)snprintf(code, sizeof code, "=%02X", static_cast<unsigned>(static_cast<uint8_t>(letter)));
            quoted += code;
        }
        struct Form {
            const char* encoding;
            std::string content;
            bool inWholeBlocks;
        };
        for (const Form& form : {Form{"base64", encodedBase64(bytes), true},
                                 Form{"quoted-printable", quoted, true}, Form{"8bit", bytes, false}}) {
            const std::string message = withAttachment("image/x", form.encoding, form.content);
            OpenFilter filter(message);
            // The part can end after its line end, or with the message, as the scan has cut its buffers.
            const auto size = static_cast<size_t>(filter.describe(1).info.size);
            ASSERT_GE(size, form.content.size()) << form.encoding << count;
            const size_t more = form.encoding[0] == 'b' ? 0 : size - form.content.size();
            const std::string wanted = bytes + message.substr(message.size() - 9, more);
            const FilterExtracted content = filter.extract(1);
            ASSERT_EQ(content.bytes, wanted) << form.encoding << count;
            EXPECT_EQ(content.sizeField, wanted.size());
            size_t left = wanted.size();
            for (const uint32_t write : content.writes) {
                EXPECT_LE(write, 4096U);
                if (form.inWholeBlocks) {
                    EXPECT_EQ(write, std::min<size_t>(left, 4096));
                }
                left -= write;
            }
            EXPECT_LE(filter.input().largestRead(), 4096U);
        }
    }
}

// What stands in the content counts byte by byte, zero bytes too. KEPT: a zero byte hides the boundary after
// it, and the part runs on.
TEST(FilterExtract, ZeroByteInTheContentIsCopied) {
    const std::string content = std::string("ab") + std::string(2, '\0') + "cd";
    OpenFilter filter(withAttachment("image/x", "8bit", content), 0, HeapMode::kGuarded);
    EXPECT_EQ(filter.extract(1).bytes, content + "\r\n--b--\r\n");
}

TEST(FilterExtract, RandomContentIsWhatTheSlowDecodersGive) {
    uint32_t state = 1;
    const auto next = [&state](uint32_t limit) {
        state = state * 1664525 + 1013904223;
        return (state >> 16) % limit;
    };
    for (int round = 0; round < 1500; ++round) {
        std::string content = "x";
        const bool base64 = next(2) == 0;
        const std::string_view letters = base64 ? "QUJDREVGaGk=+/ \t\r\n!_" : "abc_=4D0A0D\r\n\t =";
        const uint32_t length = next(10) == 0 ? 3000 + next(3000) : next(60);
        for (uint32_t i = 0; i < length; ++i) content += letters[next(static_cast<uint32_t>(letters.size()))];
        content += "x";
        const bool text = next(2) == 0;
        OpenFilter filter(
            withAttachment(text ? "text/plain" : "image/x", base64 ? "base64" : "quoted-printable", content));
        ASSERT_EQ(emlGetFileNumber(filter.context()), 1);
        const reference::Bytes input = reference::bytesOf(content);
        const reference::Bytes wanted =
            base64 ? reference::decodeBase64(input, text) : reference::decodeQuotedPrintableBody(input);
        ASSERT_EQ(filter.extract(1).bytes, reference::textOf(wanted)) << escaped(content);
    }
}

TEST(FilterExtract, NumbersAreThoseOfTheSubFiles) {
    const std::string message = withAttachment("image/x", "8bit", "content");
    struct Number {
        uint32_t flags;
        int32_t number;
        EmlResult result;
        const char* bytes;
    };
    const Number kRows[] = {
        {0, -1, EML_INVALID_ARGUMENT, ""},
        {0, 0, EML_INVALID_ARGUMENT, ""},
        {0, 1, EML_OK, "content"},
        {0, 2, EML_OBJECT_FAILED, ""},
        {0, INT32_MIN, EML_INVALID_ARGUMENT, ""},
        {0, INT32_MAX, EML_OBJECT_FAILED, ""},
        {EML_OPEN_ROOT_FOLDER, -1, EML_INVALID_ARGUMENT, ""},
        {EML_OPEN_ROOT_FOLDER, 0, EML_OK, ""},
        {EML_OPEN_ROOT_FOLDER, 1, EML_INVALID_ARGUMENT, ""},
        {EML_OPEN_ROOT_FOLDER, 2, EML_OK, "content"},
        {EML_OPEN_ROOT_FOLDER, 3, EML_OBJECT_FAILED, ""},
        {EML_OPEN_ATTACHMENTS_FOLDER, 1, EML_OK, "content"},
    };
    for (const Number& row : kRows) {
        OpenFilter filter(message, row.flags);
        const FilterExtracted content = filter.extract(row.number);
        EXPECT_EQ(content.result, row.result) << row.flags << ", " << row.number;
        EXPECT_EQ(content.bytes, row.bytes) << row.flags << ", " << row.number;
        EXPECT_EQ(content.opened, *row.bytes != '\0') << row.flags << ", " << row.number;
    }
}

TEST(FilterExtract, EmptyContentLeavesTheOutputAlone) {
    // The line end before the boundary belongs to the boundary.
    OpenFilter filter(withAttachment("image/x", "base64", ""));
    const FilterExtracted content = filter.extract(1);
    EXPECT_EQ(content.result, EML_OK);
    EXPECT_FALSE(content.opened);
    EXPECT_EQ(content.sizeField, kNoSize);
    EXPECT_EQ(filter.opened().parts.attachments.records[0].size, 0);
}

TEST(FilterExtract, KeepsTheOptionOfTheBody) {
    OpenFilter filter(withAttachment("image/x", "base64", "QUJD"), EML_OPEN_ROOT_FOLDER);
    for (const int32_t number : {0, 1, 2}) {
        (void)filter.extract(number, 0xFFFFFFFF);
        EXPECT_TRUE(filter.opened().bodyOnly);
        (void)filter.extract(number, ~EML_FILL_BODY_ONLY);
        EXPECT_FALSE(filter.opened().bodyOnly);
    }
}

TEST(FilterExtract, OutputThatFailsIsReported) {
    for (const Entry missing :
         {Entry::kOutputOpen, Entry::kOutputSeek, Entry::kOutputWrite, Entry::kOutputClose}) {
        OpenFilter filter(withAttachment("image/x", "base64", "QUJD"));
        MemoryOutput output(filter.host());
        output.remove(missing);
        EXPECT_EQ(emlExtractSubFileToIOobjEx(filter.context(), 1, &output.object(), 0, 0, 0),
                  EML_OBJECT_FAILED)
            << entryName(missing);
        EXPECT_EQ(output.bytes(), missing == Entry::kOutputClose ? "ABC" : "");
    }
    for (const Entry failing : {Entry::kOutputOpen, Entry::kOutputSeek, Entry::kOutputClose}) {
        OpenFilter filter(withAttachment("image/x", "base64", "QUJD"));
        filter.host().journal().fail(failing, {1, false});
        EXPECT_EQ(filter.extract(1).result, EML_OBJECT_FAILED) << entryName(failing);
        EXPECT_EQ(filter.extract(1).result, EML_OK) << entryName(failing);
    }
    OpenFilter filter(withAttachment("image/x", "base64", "QUJD"));
    EXPECT_EQ(emlExtractSubFileToIOobjEx(filter.context(), 1, nullptr, 0, 0, 0), EML_OBJECT_FAILED);
    EXPECT_EQ(emlExtractSubFileToIOobjEx(nullptr, 1, nullptr, 0, 0, 0), EML_OBJECT_FAILED);
    EXPECT_EQ(emlExtractAttachment(nullptr, 0, nullptr), EML_OBJECT_FAILED);
}

// The result of a decoder is not looked at: the output is closed, and the call succeeds.
TEST(FilterExtract, DecoderThatFailsIsNotReported) {
    for (const char* const encoding : {"base64", "quoted-printable", "8bit"}) {
        for (const Entry entry : {Entry::kInputSeek, Entry::kInputRead, Entry::kAllocate}) {
            OpenFilter filter(withAttachment("image/x", encoding, "QUJD"));
            filter.host().journal().fail(entry, {filter.host().journal().calls(entry) + 1, true});
            const FilterExtracted content = filter.extract(1);
            EXPECT_EQ(content.result, EML_OK) << encoding << entryName(entry);
            EXPECT_TRUE(content.closed);
            EXPECT_FALSE(filter.opened().body.running);
        }
    }
}

// An output that the services' openFile gives: it may be closed twice, and is released.
struct Target {
    EmlIOobj object{};
    Target* self = nullptr;
    std::string bytes;
    std::string calls;
    int32_t closeResult = 1;

    Target() {
        self = this;
        object.open = [](EmlIOobj* io) { return of(io).note("open "); };
        object.write = [](EmlIOobj* io, const void* from, uint32_t count) {
            of(io).bytes.append(static_cast<const char*>(from), count);
            return static_cast<uint32_t>(of(io).note("write "));
        };
        object.seek = [](EmlIOobj* io, uint32_t low, int32_t high, uint32_t origin) {
            if (low != 0 || high != 0 || origin != 0) (void)of(io).note("elsewhere ");
            return of(io).note("seek ");
        };
        object.close = [](EmlIOobj* io) {
            (void)of(io).note("close ");
            return of(io).closeResult;
        };
        object.release = [](EmlIOobj* io) { (void)of(io).note("release "); };
    }

    static Target& of(EmlIOobj* io) { return *reinterpret_cast<Target*>(io); }
    int32_t note(const char* call) {
        calls += call;
        return 1;
    }
};

TEST(FilterExtractToTarget, OpensClosesAndReleasesTheObject) {
    for (const uint32_t flags : {0U, EML_OPEN_ROOT_FOLDER}) {
        OpenFilter filter(withAttachment("image/x", "base64", "QUJD"), flags);
        Target target;
        EXPECT_EQ(emlExtractSubFileToIOobj(filter.context(), 0, &target.object), EML_OK);
        EXPECT_EQ(target.bytes, "ABC");
        EXPECT_EQ(target.calls, "open seek write close close release ");
        EXPECT_EQ(target.object.size[0], 3U);
        EXPECT_EQ(target.object.size[1], 0U);
    }
}

// Its entries are looked at when they are needed: the output is open and rewound when `write` turns out to be
// missing, and written when `close` does. Without `open`, or an attachment with content, it is not touched.
TEST(FilterExtract, EntriesOfTheOutputAreLookedAtOneByOne) {
    struct OutputRow {
        const char* what;
        uint32_t index;
        void (*spoil)(EmlIOobj& object);
        EmlResult result;
        const char* calls;
    };
    const OutputRow rows[] = {
        {"nothing", 0, [](EmlIOobj&) {}, EML_OK, "open seek write close "},
        {"no open", 0, [](EmlIOobj& object) { object.open = nullptr; }, EML_OBJECT_FAILED, ""},
        {"no seek", 0, [](EmlIOobj& object) { object.seek = nullptr; }, EML_OBJECT_FAILED, "open "},
        {"no write", 0, [](EmlIOobj& object) { object.write = nullptr; }, EML_OBJECT_FAILED, "open seek "},
        {"no close", 0, [](EmlIOobj& object) { object.close = nullptr; }, EML_OBJECT_FAILED,
         "open seek write "},
        {"no such attachment", 1, [](EmlIOobj&) {}, EML_OBJECT_FAILED, ""},
    };
    for (const OutputRow& row : rows) {
        OpenFilter filter(withAttachment("image/x", "base64", "QUJD"));
        Target target;
        row.spoil(target.object);
        EXPECT_EQ(emlExtractAttachment(filter.context(), row.index, &target.object), row.result) << row.what;
        EXPECT_EQ(target.calls, row.calls) << row.what;
    }
}

TEST(FilterExtractToTarget, FailsWithTheStatedCodes) {
    OpenFilter filter(withAttachment("image/x", "base64", "QUJD"));
    EXPECT_EQ(emlExtractSubFileToIOobj(filter.context(), 0, nullptr), EML_NO_OUTPUT);
    EXPECT_EQ(emlExtractSubFileToIOobj(nullptr, 0, nullptr), EML_OBJECT_FAILED);
    Target absent;
    EXPECT_EQ(emlExtractSubFileToIOobj(filter.context(), 1, &absent.object), EML_OBJECT_FAILED);
    EXPECT_EQ(absent.calls, "close release ");
    Target failing;
    failing.closeResult = 0;
    EXPECT_EQ(emlExtractSubFileToIOobj(filter.context(), 0, &failing.object), EML_OBJECT_FAILED);
    EXPECT_EQ(failing.calls, "open seek write close close release ");
    Target bare;
    bare.object.close = nullptr;
    bare.object.release = nullptr;
    EXPECT_EQ(emlExtractSubFileToIOobj(filter.context(), 0, &bare.object), EML_OBJECT_FAILED);
    EXPECT_EQ(bare.bytes, "ABC");
    filter.host().remove(Entry::kOpenFile);
    EXPECT_EQ(emlExtractSubFileToIOobj(filter.context(), 0, &bare.object), EML_NO_OUTPUT);
}

}  // namespace
}  // namespace eml::test
