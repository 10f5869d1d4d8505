#include "tool/message/smime.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>

#include "tool/message/smime_messages.h"

namespace emltool {
namespace {

using namespace smime_messages;
using Bytes = std::vector<uint8_t>;

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }
std::string textOf(std::span<const uint8_t> bytes) { return {bytes.begin(), bytes.end()}; }
Bytes decoded(std::string_view base64) { return withoutBase64(bytesOf(base64)); }

constexpr std::string_view kUnreadable = "it is damaged, cut off, or not S/MIME";
constexpr std::string_view kNonsense = "its reader gave an answer that makes no sense";

// One element of DER.
std::string element(char tag, const std::string& content) {
    std::string text(1, tag);
    if (content.size() < 0x80) return text.append(1, static_cast<char>(content.size())).append(content);
    text += "\x84";
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(content.size() >> shift & 0xFF);
    return text + content;
}

constexpr char kSequence = '\x30';
constexpr char kSet = '\x31';
constexpr char kOctets = '\x04';
constexpr char kContext0 = '\xA0';
const std::string kOne("\x02\x01\x01", 3);
const std::string kSignedType = "\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x07\x02";
const std::string kDataType = "\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x07\x01";

// Signed data without signers; `content` is an element of `type`.
std::string signedData(const std::string& type, const std::string& content) {
    const std::string inner = element(kSequence, type + element(kContext0, content));
    return element(kSequence,
                   kSignedType + element(kContext0, element(kSequence, kOne + element(kSet, "") + inner +
                                                                           element(kSet, ""))));
}

TEST(SmimeKinds, AreToldByTheirFirstBytes) {
    struct Case {
        std::string bytes;
        SmimeKind kind;
    };
    auto type = [](std::string_view rest) {
        return element(kSequence, element('\x06', "\x2A\x86\x48\x86\xF7\x0D\x01" + std::string(rest)));
    };
    const Case cases[] = {
        {type("\x07\x02"), SmimeKind::kSigned},
        {type("\x07\x03"), SmimeKind::kEnveloped},
        {type("\x07\x04"), SmimeKind::kEnveloped},
        {type("\x07\x06"), SmimeKind::kEnveloped},
        {type("\x09\x10\x01\x17"), SmimeKind::kEnveloped},
        {type("\x09\x10\x01\x09"), SmimeKind::kCompressed},
        {type("\x07\x01"), SmimeKind::kUnknown},
        {type("\x07"), SmimeKind::kUnknown},
        {"\x30\x80" + kSignedType, SmimeKind::kSigned},
        {"\x30\x82\xFF\xFF" + kSignedType, SmimeKind::kSigned},
        {"\x30\x89" + std::string(9, '\1') + kSignedType, SmimeKind::kUnknown},
        {"\x31\x80" + kSignedType, SmimeKind::kUnknown},
        {"\x30\x80\x04" + kSignedType.substr(1), SmimeKind::kUnknown},
        {"\x30\x84\x01\x01", SmimeKind::kUnknown},
        {"\x30\x80\x06\x09\x2A", SmimeKind::kUnknown},
        {"\x30", SmimeKind::kUnknown},
        {"", SmimeKind::kUnknown},
    };
    for (const Case& one : cases) EXPECT_EQ(smimeKind(bytesOf(one.bytes)), one.kind) << &one - cases;
    const std::string whole = "\x30\x80" + kSignedType;
    for (size_t length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(smimeKind(bytesOf(whole.substr(0, length))), SmimeKind::kUnknown) << length;
    }
}

TEST(SmimeBase64, IsDecodedWhereTheBytesBeginSo) {
    struct Case {
        std::string bytes;
        std::string expected;
    };
    const Case cases[] = {
        {"MIAB", "\x30\x80\x01"},
        {" \r\n\tMIAB\r\nAQ==\r\n", "\x30\x80\x01\x01"},
        {"-----BEGIN PKCS7-----\nMIAB\n-----END PKCS7-----\nMIAB", "\x30\x80\x01"},
        {"-----BEGIN CMS-----\r\nMIA\r\nB\r\n-----END CMS-----\r\n", "\x30\x80\x01"},
        {"-----BEGIN CMS-----", ""},
        {"MI\x01", "MI\x01"},
        {"M", "M"},
        {"\x30\x80MIAB", "\x30\x80MIAB"},
        {"", ""},
    };
    for (const Case& one : cases)
        EXPECT_EQ(textOf(withoutBase64(bytesOf(one.bytes))), one.expected) << one.bytes;
}

// The frames between the two processes.
std::string frame(uint32_t kind, uint32_t first, uint32_t second, uint64_t size) {
    std::string text(24, '\0');
    const uint32_t words[] = {kind, 0, first, second};
    std::memcpy(text.data(), words, sizeof words);
    std::memcpy(text.data() + sizeof words, &size, sizeof size);
    return text;
}
std::string signerFrame(std::string_view name, std::string_view address) {
    return frame(1, static_cast<uint32_t>(name.size()), static_cast<uint32_t>(address.size()), 0)
        .append(name)
        .append(address);
}
std::string contentFrame(std::string_view content) { return frame(2, 0, 0, content.size()).append(content); }
std::string endFrame(SmimeKind kind, SmimeResult result) {
    return frame(3, static_cast<uint32_t>(kind), static_cast<uint32_t>(result), 0);
}
const std::string kSignedEnd = endFrame(SmimeKind::kSigned, SmimeResult::kRead);

TEST(SmimeReply, HoldsContentAndSigners) {
    SmimeContent content =
        parseSmimeReply(bytesOf(signerFrame("Zo\xC3\xAB", "z@example.net") + signerFrame("bad\xFF", "") +
                                contentFrame("abc") + kSignedEnd),
                        3);
    EXPECT_EQ(content.problem, "");
    EXPECT_EQ(content.kind, SmimeKind::kSigned);
    EXPECT_EQ(textOf(content.content), "abc");
    ASSERT_EQ(content.signers.size(), 2U);
    EXPECT_EQ(content.signers[0].name, "Zoë");
    EXPECT_EQ(content.signers[0].address, "z@example.net");
    EXPECT_EQ(content.signers[1].name, "bad\xEF\xBF\xBD");
}

TEST(SmimeReply, IsRefusedWhereItMakesNoSense) {
    const std::string whole = signerFrame("a", "b") + contentFrame("abc") + kSignedEnd;
    std::vector<std::string> cases = {
        whole + "x",
        whole + kSignedEnd,
        kSignedEnd,                                                                // no content
        contentFrame("a") + contentFrame("b") + kSignedEnd,                        // two
        contentFrame("abcd") + kSignedEnd,                                         // more than there was
        contentFrame("a") + endFrame(SmimeKind::kEnveloped, SmimeResult::kRead),   // of something encrypted
        contentFrame("a") + endFrame(SmimeKind::kSigned, SmimeResult::kDetached),  // of nothing
        frame(3, kSmimeKinds, 0, 0),
        frame(3, 0, kSmimeResults, 0),
        frame(0, 0, 0, 0) + kSignedEnd,
        frame(4, 0, 0, 0) + kSignedEnd,
        frame(1, UINT32_MAX, 0, 0) + kSignedEnd,
        frame(1, 0, UINT32_MAX, 0) + kSignedEnd,
        frame(2, 0, 0, UINT64_MAX) + kSignedEnd,
        signerFrame(std::string(kMaxSmimeText + 1, 'x'), "") + contentFrame("") + kSignedEnd,
    };
    for (size_t length = 0; length < whole.size(); ++length) cases.push_back(whole.substr(0, length));
    std::string many;
    for (size_t i = 0; i <= kMaxSmimeSigners; ++i) many += signerFrame("a", "b");
    cases.push_back(many + contentFrame("") + kSignedEnd);
    for (const std::string& reply : cases) {
        SmimeContent content = parseSmimeReply(bytesOf(reply), 3);
        EXPECT_EQ(content.problem, kNonsense) << &reply - cases.data();
        EXPECT_TRUE(content.content.empty() && content.signers.empty());
    }
    EXPECT_EQ(parseSmimeReply(bytesOf(whole), 3).problem, "");
}

TEST(SmimeReply, OutlivesItsReader) {
    const Bytes bytes = decoded(kSigned);
    SmimeContent content = openSmime(bytes, [](std::span<const uint8_t>, SmimeSink&) -> bool {
        std::raise(SIGSEGV);
        return true;
    });
    EXPECT_EQ(content.problem, "its reader crashed (SIGSEGV)");
    EXPECT_EQ(content.kind, SmimeKind::kSigned);

    content = openSmime(bytes, [](std::span<const uint8_t> der, SmimeSink& sink) -> bool {
        for (;;) sink.content(der);
    });
    EXPECT_EQ(content.problem, "its reader gave more than there can be");
    EXPECT_TRUE(content.content.empty());
}

// All that follows needs the library.
class Smime : public testing::Test {
  protected:
    void SetUp() override {
        if (!readsSmime()) GTEST_SKIP() << "built without libcrypto";
    }
};

TEST(SmimeWithoutLibrary, TellsWhatItCannotDo) {
    if (readsSmime()) GTEST_SKIP() << "built with libcrypto";
    SmimeContent content = openSmime(decoded(kSigned));
    EXPECT_EQ(content.kind, SmimeKind::kSigned);
    EXPECT_EQ(content.problem, "not unwrapped, this program was built without libcrypto");
    content = openSmime(decoded(kEnveloped));
    EXPECT_EQ(content.kind, SmimeKind::kEnveloped);
    EXPECT_EQ(content.problem, "");
}

TEST_F(Smime, GivesWhatIsSignedAndBySomebodyWhoSaysSo) {
    SmimeContent content = openSmime(decoded(kSigned));
    EXPECT_EQ(content.kind, SmimeKind::kSigned);
    EXPECT_EQ(content.problem, "");
    EXPECT_EQ(textOf(content.content), kSignedText);
    ASSERT_EQ(content.signers.size(), 1U);
    EXPECT_EQ(content.signers[0].name, "Zoë Beispiel");
    EXPECT_EQ(content.signers[0].address, "zoe@example.net");
}

TEST_F(Smime, NamesNoSignerWithoutACertificate) {
    SmimeContent content = openSmime(decoded(kSignedBer));
    EXPECT_EQ(content.problem, "");
    EXPECT_EQ(textOf(content.content), kSignedText);
    ASSERT_EQ(content.signers.size(), 1U);
    EXPECT_EQ(content.signers[0].name + content.signers[0].address, "");
}

TEST_F(Smime, TellsTheKinds) {
    struct Case {
        std::string_view base64;
        SmimeKind kind;
        std::string_view problem;
    };
    const Case cases[] = {
        {kDetached, SmimeKind::kSigned, "it holds signatures, but not what they sign"},
        {kCertificates, SmimeKind::kCertificates, ""},
        {kEnveloped, SmimeKind::kEnveloped, ""},
        {kAuthEnveloped, SmimeKind::kEnveloped, ""},
        {"hello", SmimeKind::kUnknown, kUnreadable},
        {"", SmimeKind::kUnknown, kUnreadable},
    };
    for (const Case& one : cases) {
        SmimeContent content = openSmime(bytesOf(one.base64));
        EXPECT_EQ(content.kind, one.kind) << &one - cases;
        EXPECT_EQ(content.problem, one.problem) << &one - cases;
        EXPECT_TRUE(content.content.empty()) << &one - cases;
    }
}

TEST_F(Smime, SaysThatItUnpacksNothingCompressed) {
    // Version, algorithm (zlib), and the packed bytes, which nobody looks at.
    const std::string zlib = "\x06\x0B\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x03\x08";
    const std::string packed = element(kContext0, element(kOctets, "packed"));
    const std::string body = element(kSequence, std::string("\x02\x01\x00", 3) + element(kSequence, zlib) +
                                                    element(kSequence, kDataType + packed));
    const std::string whole =
        element(kSequence, std::string("\x06\x0B\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x01\x09") +
                               element(kContext0, body));
    SmimeContent content = openSmime(bytesOf(whole));
    EXPECT_EQ(content.kind, SmimeKind::kCompressed);
    EXPECT_EQ(content.problem, "it is compressed, and not unpacked");
}

TEST_F(Smime, ReadsWhatWritersMakeOfIt) {
    struct Case {
        std::string name;
        std::string bytes;
        std::string content;
        std::string_view problem;
    };
    std::string pieces;
    for (int i = 0; i < 1000; ++i)
        pieces += element(kOctets, std::string(100, static_cast<char>('a' + i % 26)));
    std::string joinedPieces;
    for (int i = 0; i < 1000; ++i) joinedPieces += std::string(100, static_cast<char>('a' + i % 26));
    const std::string hello = element(kOctets, "hello");
    const std::string otherType = "\x06\x0B\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x01\x04";  // a time stamp
    const Case cases[] = {
        {"nobody signed", signedData(kDataType, hello), "hello", ""},
        {"an empty content", signedData(kDataType, element(kOctets, "")), "", ""},
        {"something follows", signedData(kDataType, hello) + "\r\n", "hello", ""},
        {"octets in pieces", signedData(kDataType, element('\x24', pieces)), joinedPieces, ""},
        {"another type", signedData(otherType, hello), "", "what it holds is no message"},
        {"not octets", signedData(kDataType, kOne), "", kUnreadable},
    };
    for (const Case& one : cases) {
        SmimeContent content = openSmime(bytesOf(one.bytes));
        EXPECT_EQ(content.kind, SmimeKind::kSigned) << one.name;
        EXPECT_EQ(textOf(content.content), one.content) << one.name;
        EXPECT_EQ(content.problem, one.problem) << one.name;
    }
}

// In PKCS #7 the content of signed data may be signed data itself, as it is and not as octets.
TEST_F(Smime, FallsBackOnPkcs7) {
    const std::string inner = element(
        kSequence, kOne + element(kSet, "") +
                       element(kSequence, kDataType + element(kContext0, element(kOctets, "inside"))) +
                       element(kSet, ""));
    SmimeContent content = openSmime(bytesOf(signedData(kSignedType, inner)));
    EXPECT_EQ(content.kind, SmimeKind::kSigned);
    EXPECT_EQ(content.problem, "");
    EXPECT_EQ(textOf(content.content), "inside");
}

TEST_F(Smime, ReadsBase64) {
    SmimeContent content = openSmime(bytesOf(kSigned));
    EXPECT_EQ(textOf(content.content), kSignedText);
    content =
        openSmime(bytesOf("-----BEGIN CMS-----\r\n" + std::string(kSigned) + "\r\n-----END CMS-----\r\n"));
    EXPECT_EQ(textOf(content.content), kSignedText);
}

TEST_F(Smime, SaysThatItIsCutOff) {
    for (std::string_view base64 : {kSigned, kSignedBer, kCertificates, kEnveloped}) {
        const Bytes whole = decoded(base64);
        for (size_t length = 0; length < whole.size(); length += 16) {
            SmimeContent content = openSmime(std::span(whole).first(length));
            EXPECT_EQ(content.problem, kUnreadable) << length;
            EXPECT_TRUE(content.content.empty() && content.signers.empty()) << length;
        }
    }
}

// Some changes do no harm: nothing is verified.
TEST_F(Smime, OutlivesDamage) {
    for (std::string_view base64 : {kSigned, kSignedBer}) {
        const Bytes whole = decoded(base64);
        size_t unread = 0;
        for (size_t at = 0; at < whole.size(); at += 5) {
            Bytes damaged = whole;
            damaged[at] ^= static_cast<uint8_t>(1U << at % 8);
            SmimeContent content = openSmime(damaged);
            EXPECT_EQ(content.problem.find("its reader"), std::string::npos) << at << ": " << content.problem;
            if (content.problem.empty() && content.kind == SmimeKind::kSigned) {
                EXPECT_EQ(content.content.size(), kSignedText.size()) << at;
            } else {
                EXPECT_TRUE(content.content.empty()) << at;
                ++unread;
            }
        }
        EXPECT_GT(unread, 0U);
    }
}

// Elements in elements, each without a length.
TEST_F(Smime, BoundsTheDepth) {
    std::string deep = "\x30\x80" + kSignedType;
    for (int i = 0; i < 100000; ++i) deep += "\x30\x80";
    EXPECT_EQ(openSmime(bytesOf(deep)).problem, kUnreadable);
    deep = "\x30\x80" + kSignedType + "\xA0\x80\x30\x80" + kOne + "\x31" + std::string(1, '\0') + "\x30\x80" +
           kDataType + "\xA0\x80";
    for (int i = 0; i < 100000; ++i) deep += "\x24\x80";
    EXPECT_EQ(openSmime(bytesOf(deep)).problem, kUnreadable);
}

}  // namespace
}  // namespace emltool
