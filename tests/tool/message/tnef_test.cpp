#include "tool/message/tnef.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <csignal>
#include <cstring>

namespace emltool {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }
std::string textOf(std::span<const uint8_t> bytes) { return {bytes.begin(), bytes.end()}; }

// A frame between the two processes.
std::string frame(uint32_t kind, uint32_t flag, uint32_t nameLength, uint32_t typeLength, uint64_t size) {
    std::string text(24, '\0');
    const uint32_t words[] = {kind, flag, nameLength, typeLength};
    std::memcpy(text.data(), words, sizeof words);
    std::memcpy(text.data() + sizeof words, &size, sizeof size);
    return text;
}

std::string fileFrame(std::string_view name, bool isUtf8, std::string_view type, std::string_view content) {
    return frame(1, isUtf8 ? 1 : 0, static_cast<uint32_t>(name.size()), static_cast<uint32_t>(type.size()),
                 content.size())
        .append(name)
        .append(type)
        .append(content);
}

std::string endFrame(uint32_t codePage, bool complete) { return frame(2, complete ? 1 : 0, codePage, 0, 0); }

// An attribute of a TNEF.
std::string attribute(std::string_view content, uint32_t claimed) {
    std::string text = "\x02\x0F\x80\x06";
    text.push_back('\0');
    for (int shift = 0; shift < 32; shift += 8) text.push_back(static_cast<char>(claimed >> shift & 0xFF));
    return text.append(content).append("ck");
}
std::string attribute(std::string_view content) {
    return attribute(content, static_cast<uint32_t>(content.size()));
}

const std::string kStart = "\x78\x9F\x3E\x22kk";

TEST(Tnef, BeginsWithItsSignature) {
    EXPECT_TRUE(beginsTnef(bytesOf("\x78\x9F\x3E\x22")));
    EXPECT_TRUE(beginsTnef(bytesOf(kStart)));
    EXPECT_FALSE(beginsTnef(bytesOf("\x78\x9F\x3E")));
    EXPECT_FALSE(beginsTnef(bytesOf("\x22\x3E\x9F\x78")));
    EXPECT_FALSE(beginsTnef({}));
}

TEST(Tnef, LeavesAttributesWithoutContentOut) {
    struct Case {
        std::string bytes;
        std::string kept;
        bool breaksOff;
    };
    const Case cases[] = {
        {"", "", true},
        {kStart, kStart, false},
        {kStart + attribute("a"), kStart + attribute("a"), false},
        {kStart + attribute("") + attribute("b"), kStart + attribute("b"), false},
        {kStart + attribute("a") + attribute(""), kStart + attribute("a"), false},
        {kStart + attribute("a") + attribute("b").substr(0, 11), kStart + attribute("a"), true},
        {kStart + attribute("a") + "x", kStart + attribute("a"), true},
        {kStart + attribute("a", 0xFFFFFFFF), kStart, true},
        {kStart + attribute("a", 2), kStart, true},
        {kStart.substr(0, 5), kStart.substr(0, 5), true},
    };
    for (const Case& one : cases) {
        bool breaksOff = !one.breaksOff;
        Bytes kept = withoutEmptyAttributes(bytesOf(one.bytes), breaksOff);
        EXPECT_EQ(textOf(kept), one.kept) << &one - cases;
        EXPECT_EQ(breaksOff, one.breaksOff) << &one - cases;
    }
}

TEST(Tnef, AttributesOfTheMessageAreFoundByNameAndType) {
    constexpr uint32_t kId = 0x0006800F;  // as attribute() has it, there for a file
    const auto ofMessage = [](std::string text) {
        text[0] = '\x01';
        return text;
    };
    const struct {
        std::string bytes;
        std::string found;
    } rows[] = {
        {kStart + ofMessage(attribute("a")) + ofMessage(attribute("b")), "a"},
        {kStart + attribute("of a file") + ofMessage(attribute("b")), "b"},
        {kStart + ofMessage(attribute("a", 2)), ""},
        {kStart + ofMessage(attribute("a")).substr(0, 10), ""},
        {kStart, ""},
        {"x", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(textOf(tnefAttribute(bytesOf(row.bytes), kId)), row.found) << &row - rows;
        EXPECT_TRUE(tnefAttribute(bytesOf(row.bytes), kId + 1).empty()) << &row - rows;
    }
}

TEST(TnefReply, HoldsFiles) {
    TnefContent content = parseTnefReply(bytesOf(fileFrame("\xE4.txt", false, "text/plain", "one") +
                                                 fileFrame("\xC3\xA4", true, "", "") + endFrame(1252, true)),
                                         3);
    EXPECT_EQ(content.problem, "");
    ASSERT_EQ(content.files.size(), 2U);
    EXPECT_EQ(content.files[0].name, "ä.txt");
    EXPECT_EQ(content.files[0].type, "text/plain");
    EXPECT_EQ(textOf(content.files[0].bytes), "one");
    EXPECT_EQ(content.files[1].name, "ä");
    EXPECT_TRUE(content.files[1].bytes.empty());
}

TEST(TnefReply, ReadsNamesInTheirCodePage) {
    struct Case {
        uint32_t codePage;
        std::string bytes;
        std::string name;
    };
    const Case cases[] = {
        {1252, "\x80", "€"},      {1251, "\xE4", "д"}, {932, "\x83\x65", "テ"},
        {65001, "\xC3\xA4", "ä"}, {0, "\xE4", "ä"},    {99999, "\xE4", "ä"},
    };
    for (const Case& one : cases) {
        TnefContent content =
            parseTnefReply(bytesOf(fileFrame(one.bytes, false, "", "") + endFrame(one.codePage, true)), 0);
        ASSERT_EQ(content.files.size(), 1U) << one.codePage;
        EXPECT_EQ(content.files[0].name, one.name) << one.codePage;
    }
}

std::string propertyFrame(TnefProperty property, uint32_t codePage, std::string_view content) {
    return frame(3, codePage, static_cast<uint32_t>(property), 0, content.size()).append(content);
}

TEST(TnefReply, HoldsTheMessage) {
    const std::string packed = std::string("\x11\0\0\0\5\0\0\0MELA\0\0\0\0", 16) + "{rtf}";
    TnefContent content =
        parseTnefReply(bytesOf(propertyFrame(TnefProperty::kSubject, 0, "\xE4") +
                               propertyFrame(TnefProperty::kSenderName, 65001, "\xC3\xA4") +
                               propertyFrame(TnefProperty::kSenderAddress, 0, "a@b.example") +
                               propertyFrame(TnefProperty::kTo, 0, "one; two") +
                               propertyFrame(TnefProperty::kCc, 1252, "\xE4") +
                               propertyFrame(TnefProperty::kText, 0, "a\r\nb\rc\n") +
                               propertyFrame(TnefProperty::kHtml, 1252, "<p>\xE4\r\n") +
                               propertyFrame(TnefProperty::kPackedRtf, 0, packed) + endFrame(1251, true)),
                       100);
    EXPECT_EQ(content.problem, "");
    EXPECT_EQ(content.subject, "д");
    EXPECT_EQ(content.from, "ä <a@b.example>");
    EXPECT_EQ(content.to, "one; two");
    EXPECT_EQ(content.cc, "ä");
    EXPECT_EQ(content.text, "a\nb\nc\n");
    EXPECT_EQ(content.html, "<p>ä\r\n");
    EXPECT_EQ(textOf(content.rtf), "{rtf}");
    EXPECT_TRUE(content.files.empty());
}

TEST(TnefReply, NamesTheSenderAsFarAsItCan) {
    struct Case {
        std::string_view name;
        std::string_view address;
        std::string_view from;
    };
    const Case cases[] = {
        {"Ann", "ann@example.net", "Ann <ann@example.net>"},
        {"ann@example.net", "ann@example.net", "ann@example.net"},
        {"", "ann@example.net", "ann@example.net"},
        {"Ann", "", "Ann"},
        {"Ann", "/O=ORG/OU=UNIT/CN=ANN", "Ann"},
        {"", "/O=ORG/OU=UNIT/CN=ANN", "/O=ORG/OU=UNIT/CN=ANN"},
        {"", "", ""},
    };
    for (const Case& one : cases) {
        TnefContent content = parseTnefReply(
            bytesOf(propertyFrame(TnefProperty::kSenderName, 0, one.name) +
                    propertyFrame(TnefProperty::kSenderAddress, 0, one.address) + endFrame(1252, true)),
            100);
        EXPECT_EQ(content.from, one.from) << one.name << ", " << one.address;
    }
}

TEST(TnefReply, SaysThatItsRtfIsDamaged) {
    TnefContent content = parseTnefReply(
        bytesOf(propertyFrame(TnefProperty::kPackedRtf, 0, "nonsense") + endFrame(1252, true)), 100);
    EXPECT_EQ(content.problem, "its text in RTF is damaged");
}

TEST(TnefReply, IsRefusedWhereItMakesNoSense) {
    const std::string whole =
        fileFrame("a", true, "t", "abc") + propertyFrame(TnefProperty::kTo, 0, "abcd") + endFrame(1252, true);
    std::vector<std::string> cases = {
        whole + "x",                                           // something after the end
        whole + endFrame(1252, true),                          // two ends
        fileFrame("a", true, "", "abc"),                       // no end
        fileFrame("a", true, "", "abcd") + endFrame(0, true),  // more than the TNEF has
        fileFrame("a", true, "", "ab") + fileFrame("a", true, "", "cd") + endFrame(0, true),
        frame(0, 0, 0, 0, 0) + endFrame(0, true),
        frame(4, 0, 0, 0, 0) + endFrame(0, true),
        frame(1, 0, 0, 0, UINT64_MAX) + endFrame(0, true),
        frame(1, 0, UINT32_MAX, 0, 0) + endFrame(0, true),
        frame(1, 0, 0, UINT32_MAX, 0) + endFrame(0, true),
        fileFrame(std::string(4097, 'x'), true, "", "") + endFrame(0, true),
        frame(3, 0, kTnefProperties, 0, 0) + endFrame(0, true),
        frame(3, 0, 0, 0, UINT64_MAX) + endFrame(0, true),
        propertyFrame(TnefProperty::kTo, 0, "a") + propertyFrame(TnefProperty::kTo, 0, "b") +
            endFrame(0, true),
        propertyFrame(TnefProperty::kTo, 0, "abcde") + endFrame(0, true),  // more than the TNEF can have
    };
    for (size_t length = 0; length < whole.size(); ++length) cases.push_back(whole.substr(0, length));
    std::string many;
    for (size_t i = 0; i <= kMaxTnefFiles; ++i) many += fileFrame("a", true, "", "");
    cases.push_back(many + endFrame(0, true));
    for (const std::string& reply : cases) {
        TnefContent content = parseTnefReply(bytesOf(reply), 3);
        EXPECT_EQ(content.problem, "its reader gave an answer that makes no sense") << &reply - cases.data();
        EXPECT_TRUE(content.files.empty());
    }
    EXPECT_EQ(parseTnefReply(bytesOf(whole), 3).problem, "");
}

TEST(TnefReply, SaysWhenItIsNotAll) {
    EXPECT_EQ(parseTnefReply(bytesOf(endFrame(0, false)), 0).problem, "nothing in it can be read");
    TnefContent content = parseTnefReply(bytesOf(fileFrame("a", true, "", "") + endFrame(0, false)), 0);
    EXPECT_EQ(content.problem, "its end cannot be read");
    EXPECT_EQ(content.files.size(), 1U);
}

TEST(TnefUnpacking, SendsFilesFromOneProcessToTheOther) {
    TnefContent content = unpackTnef(bytesOf("hello"), [](std::span<const uint8_t> bytes, TnefSink& sink) {
        sink.file("first", true, "a/b", bytes.first(2));
        sink.file(std::string(5000, 'n'), true, "", bytes.last(3));
        return sink.end(1252, true);
    });
    EXPECT_EQ(content.problem, "");
    ASSERT_EQ(content.files.size(), 2U);
    EXPECT_EQ(textOf(content.files[0].bytes), "he");
    EXPECT_EQ(textOf(content.files[1].bytes), "llo");
    EXPECT_EQ(content.files[1].name, std::string(4096, 'n'));
}

TEST(TnefUnpacking, OutlivesItsReader) {
    TnefContent content = unpackTnef(bytesOf("x"), [](std::span<const uint8_t>, TnefSink& sink) {
        sink.file("lost", true, "", {});
        std::raise(SIGSEGV);
        return sink.end(0, true);
    });
    EXPECT_EQ(content.problem, "its reader crashed (SIGSEGV)");
    EXPECT_TRUE(content.files.empty());

    content = unpackTnef(bytesOf("x"), [](std::span<const uint8_t> bytes, TnefSink& sink) -> bool {
        for (;;) sink.file("again", true, "", bytes);
    });
    EXPECT_EQ(content.problem, "its reader gave more than there can be");

    content = unpackTnef(bytesOf("x"), [](std::span<const uint8_t>, TnefSink& sink) {
        constexpr size_t kMuch = size_t{1} << 30;
        void* block = ::mmap(nullptr, kMuch, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (block == MAP_FAILED) return false;
        return sink.end(0, true);
    });
    EXPECT_EQ(content.problem, "its reader could not do it") << "a block of 1 GiB is refused";
}

// A number with its lowest byte first.
std::string number(uint32_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> 8 * i & 0xFF);
    return text;
}

// An attribute of the message.
std::string messageAttribute(uint32_t id, std::string_view content) {
    uint32_t sum = 0;
    for (const char byte : content) sum += static_cast<uint8_t>(byte);
    return "\x01" + number(id, 4) + number(static_cast<uint32_t>(content.size()), 4) + std::string(content) +
           number(sum, 2);
}

// A property of variable length.
std::string mapi(uint32_t tag, std::string_view value) {
    const auto size = static_cast<uint32_t>(value.size());
    return number(tag, 4) + number(1, 4) + number(size, 4) + std::string(value) +
           std::string(-size % 4, '\0');
}

std::string utf16(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) bytes += number(unit, 2);
    return bytes + number(0, 2);
}

std::string mapiProperties(const std::vector<std::string>& properties) {
    std::string text = number(static_cast<uint32_t>(properties.size()), 4);
    for (const std::string& one : properties) text += one;
    return messageAttribute(0x69003, text);
}

const std::string kMessageStart = kStart.substr(0, 4) + number(1, 2) +
                                  messageAttribute(0x89006, number(0x10000, 4)) +
                                  messageAttribute(0x69007, number(1251, 4) + number(0, 4));

TEST(TnefUnpacking, GivesTheTextOfTheMessage) {
    if (!readsTnef()) GTEST_SKIP() << "built without libytnef";
    const std::string packed = std::string("\x11\0\0\0\5\0\0\0MELA\0\0\0\0", 16) + "{rtf}";
    TnefContent content =
        unpackTnef(bytesOf(kMessageStart + mapiProperties({
                                               mapi(0x0037001F, utf16(u"Größe")),
                                               mapi(0x0C1A001F, utf16(u"A secretary")),
                                               mapi(0x0C1F001F, utf16(u"sec@example.net")),
                                               mapi(0x0042001E, std::string("\xC0\xED\xED\xE0\0", 5)),
                                               mapi(0x0065001E, std::string("/O=ORG/CN=ANN\0", 14)),
                                               mapi(0x5D02001F, utf16(u"ann@example.net")),
                                               mapi(0x0E04001F, utf16(u"One; Two")),
                                               mapi(0x0E03001F, utf16(u"Three")),
                                               mapi(0x1000001F, utf16(u"Hello.\r\nBye €.\r\n")),
                                               mapi(0x10090102, packed),
                                               mapi(0x10130102, std::string("<p>\xE4\0", 5)),
                                               number(0x3FDE0003, 4) + number(28591, 4),
                                           })));
    EXPECT_EQ(content.problem, "");
    EXPECT_EQ(content.subject, "Größe");
    EXPECT_EQ(content.from, "Анна <ann@example.net>");
    EXPECT_EQ(content.to, "One; Two");
    EXPECT_EQ(content.cc, "Three");
    EXPECT_EQ(content.text, "Hello.\nBye €.\n");
    EXPECT_EQ(content.html, "<p>ä");
    EXPECT_EQ(textOf(content.rtf), "{rtf}");
}

// Older writers say the same outside of the properties.
TEST(TnefUnpacking, GivesTheTextOfAnOlderMessage) {
    if (!readsTnef()) GTEST_SKIP() << "built without libytnef";
    const std::string name("\xC0\xED\xED\xE0\0", 5);
    const std::string address("SMTP:ann@example.net\0", 21);
    TnefContent content = unpackTnef(bytesOf(
        kMessageStart + messageAttribute(0x18004, std::string("\xC4\xE0\0", 3)) +
        messageAttribute(0x8000, number(4, 2) + number(0, 2) + number(static_cast<uint32_t>(name.size()), 2) +
                                     number(static_cast<uint32_t>(address.size()), 2) + name + address) +
        messageAttribute(0x2800C, std::string("Hello.\r\n\0", 9))));
    EXPECT_EQ(content.problem, "");
    EXPECT_EQ(content.subject, "Да");
    EXPECT_EQ(content.from, "Анна <ann@example.net>");
    EXPECT_EQ(content.text, "Hello.\n");
}

// The library makes a subject of some other properties, and copies bytes into it that nobody has set.
TEST(TnefUnpacking, TakesNoOtherPropertyForTheSubject) {
    if (!readsTnef()) GTEST_SKIP() << "built without libytnef";
    const std::string original = mapi(0x0049001F, utf16(u"Original"));
    EXPECT_EQ(unpackTnef(bytesOf(kMessageStart + mapiProperties({original}))).subject, "");
    EXPECT_EQ(unpackTnef(bytesOf(kMessageStart + messageAttribute(0x18004, std::string("S\0", 2)) +
                                 mapiProperties({original})))
                  .subject,
              "S");
}

TEST(TnefUnpacking, OutlivesDamage) {
    if (!readsTnef()) GTEST_SKIP() << "built without libytnef";
    const std::string subject = messageAttribute(0x18004, std::string("subject\0", 8));
    const std::string properties =
        mapiProperties({mapi(0x0037001F, utf16(u"subject")), mapi(0x1000001E, std::string("text\0", 5))});
    const std::string whole = kMessageStart + subject + properties;
    for (size_t length = kMessageStart.size() + 1; length < whole.size(); length += 8) {
        ASSERT_NE(length, whole.size() - properties.size()) << "what ends with an attribute is whole";
        TnefContent content = unpackTnef(bytesOf(whole.substr(0, length)));
        const bool hasSubject = length >= kMessageStart.size() + subject.size();
        EXPECT_EQ(content.problem, hasSubject ? "its end cannot be read" : "nothing in it can be read")
            << length;
        EXPECT_EQ(content.subject, hasSubject ? "subject" : "") << length;
    }
    for (size_t at = 0; at < whole.size(); at += 5) {
        std::string damaged = whole;
        damaged[at] = static_cast<char>(damaged[at] ^ 1 << at % 8);
        TnefContent content = unpackTnef(bytesOf(damaged));
        EXPECT_LE(content.subject.size() + content.text.size(), 2 * whole.size()) << at;
    }
}

TEST(TnefUnpacking, UsesTheLibraryWhereThereIsOne) {
    const Bytes bytes = bytesOf("\x78\x9F\x3E\x22 and nothing that it knows");
    TnefContent content = unpackTnef(bytes);
    EXPECT_TRUE(content.files.empty());
    EXPECT_EQ(content.problem, readsTnef() ? "nothing in it can be read" : "");
}

}  // namespace
}  // namespace emltool
