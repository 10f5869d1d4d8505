// The C++ wrapper of the MIME reader against the C interface: what it gives, what it throws, and that nothing stays
// behind.
#include <gtest/gtest.h>
#include <emlreader/emlreader.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using emlreader::Error;
using emlreader::mime::Address;
using emlreader::mime::Content;
using emlreader::mime::Date;
using emlreader::mime::Defect;
using emlreader::mime::Field;
using emlreader::mime::Form;
using emlreader::mime::Message;
using emlreader::mime::Options;
using emlreader::mime::Part;

// Parts: 0 mixed, 1 related, 2 alternative, 3 plain, 4 HTML, 5 picture, 6 bytes, 7 message, 8 its text.
const std::string kLetter =
    "From: =?UTF-8?Q?Zo=C3=AB?= <zoe@example.net>\r\n"
    "To: anna@example.org, Team: b@example.org, \"C, D\" <c@example.org>;\r\n"
    "To: later@example.org\r\n"
    "Subject: =?ISO-8859-2?Q?=B1?= report\r\n"
    "Date: Tue, 4 Mar 2025 09:15:22 +0130\r\n"
    "References: <a@x> <b@y>\r\n"
    "Content-Type: multipart/mixed; boundary=\"m\"\r\n"
    "\r\n"
    "--m\r\n"
    "Content-Type: multipart/related; boundary=\"r\"\r\n"
    "\r\n"
    "--r\r\n"
    "Content-Type: multipart/alternative; boundary=\"a\"\r\n"
    "\r\n"
    "--a\r\n"
    "Content-Type: text/plain; charset=iso-8859-2\r\n"
    "Content-Transfer-Encoding: quoted-printable\r\n"
    "\r\n"
    "Hello =B1\r\n"
    "--a\r\n"
    "Content-Type: text/html; charset=utf-8\r\n"
    "\r\n"
    "<p>Hello <img src=\"cid:one%40x\">\r\n"
    "--a--\r\n"
    "--r\r\n"
    "Content-Type: image/png\r\n"
    "Content-ID: <one@x>\r\n"
    "Content-Transfer-Encoding: base64\r\n"
    "\r\n"
    "AAECAw==\r\n"
    "--r--\r\n"
    "--m\r\n"
    "Content-Type: application/octet-stream; name=\"=?UTF-8?Q?f=C3=BCr?=.bin\"\r\n"
    "Content-Disposition: attachment\r\n"
    "Content-Transfer-Encoding: base64\r\n"
    "\r\n"
    "BAUG\r\n"
    "--m\r\n"
    "Content-Type: message/rfc822\r\n"
    "\r\n"
    "Subject: Inner\r\n"
    "\r\n"
    "deep\r\n"
    "--m--\r\n";

Message letter(Options options = {}) { return Message::fromBytes(kLetter, std::move(options)); }

template <typename Call>
EmlResult codeOf(Call call) {
    try {
        call();
    } catch (const Error& error) {
        return error.code();
    }
    return EML_OK;
}

TEST(MimeWrapper, PartsAreARangeInTheOrderOfTheFile) {
    const Message message = letter();
    EXPECT_EQ(message.size(), kLetter.size());
    std::vector<std::string> types;
    for (const Part& part : message.parts()) types.push_back(part.mediaType());
    EXPECT_EQ(types,
              (std::vector<std::string>{"multipart/mixed", "multipart/related", "multipart/alternative",
                                        "text/plain", "text/html", "image/png", "application/octet-stream",
                                        "message/rfc822", "text/plain"}));
    EXPECT_EQ(message.partCount(), 9u);
    EXPECT_TRUE(message.root().isMultipart());
    EXPECT_TRUE(message.root().isRoot());
    EXPECT_FALSE(message.root().parent().has_value());
    const std::vector<Part> children = message.root().children();
    ASSERT_EQ(children.size(), 3u);
    EXPECT_EQ(children[2].number(), 7u);
    EXPECT_TRUE(children[2].isMessage());
    EXPECT_EQ(children[2].children().at(0).parent()->number(), 7u);
    EXPECT_TRUE(message.part(3).children().empty());
    EXPECT_EQ(message.part(3).charset(), "iso-8859-2");
    EXPECT_EQ(message.part(5).contentId(), "one@x");
    EXPECT_EQ(message.part(5).encoding(), EML_MIME_ENCODING_BASE64);
    EXPECT_EQ(message.part(6).disposition(), "attachment");
    EXPECT_EQ(message.part(6).location(), "");
    EXPECT_EQ(codeOf([&] { (void)message.part(9); }), EML_NO_SUB_FILE);
}

TEST(MimeWrapper, NamesAreDecodedOrMadeUp) {
    const Message message = letter();
    EXPECT_EQ(message.part(6).name(), "f\xC3\xBCr.bin");
    EXPECT_TRUE(message.part(6).isNamed());
    EXPECT_EQ(message.part(5).name(), "part-1.2.png");
    EXPECT_FALSE(message.part(5).isNamed());
    EXPECT_EQ(message.part(7).name(), "message-3.eml");
}

TEST(MimeWrapper, FieldsAreDecodedAsTheyAreAskedFor) {
    const Message message = letter();
    const Part root = message.root();
    EXPECT_EQ(root.fieldCount(), 7u);
    std::vector<std::string> names;
    for (const Field& field : root.fields()) names.push_back(field.name());
    EXPECT_EQ(names.front(), "From");
    EXPECT_EQ(names.back(), "Content-Type");
    EXPECT_EQ(message.subject(), "\xC4\x85 report");
    EXPECT_EQ(message.header("X-None"), std::nullopt);
    const std::optional<Field> subject = root.field("subject");
    ASSERT_TRUE(subject.has_value());
    EXPECT_EQ(subject->raw(), " =?ISO-8859-2?Q?=B1?= report");
    const EmlMimeSpan span = subject->span();
    EXPECT_EQ(kLetter.substr(static_cast<size_t>(span.offset), static_cast<size_t>(span.length)),
              "Subject: =?ISO-8859-2?Q?=B1?= report\r\n");
    EXPECT_EQ(root.field("References")->ids(), (std::vector<std::string>{"a@x", "b@y"}));
    const auto type = root.field("Content-Type")->parameters();
    EXPECT_EQ(type.value, "multipart/mixed");
    EXPECT_EQ(type.find("boundary"), "m");
    EXPECT_EQ(type.find("charset"), std::nullopt);
    EXPECT_EQ(message.part(8).header("Subject"), "Inner");
}

TEST(MimeWrapper, DatesHaveTheirZone) {
    const Message message = letter();
    const std::optional<Date> date = message.date();
    ASSERT_TRUE(date.has_value());
    EXPECT_EQ(date->zone, std::chrono::minutes(90));
    EXPECT_EQ(date->time.time_since_epoch().count(), 1741074322);
    EXPECT_EQ(Message::fromBytes("Date: yesterday\n\n").date(), std::nullopt);
    EXPECT_EQ(Message::fromBytes("Subject: x\n\n").date(), std::nullopt);
}

TEST(MimeWrapper, AddressesOfAllFieldsWithAName) {
    const Message message = letter();
    const std::vector<Address> to = message.to();
    ASSERT_EQ(to.size(), 4u);
    EXPECT_EQ(to[0].address, "anna@example.org");
    EXPECT_EQ(to[0].name, "");
    EXPECT_EQ(to[1].group, "Team");
    EXPECT_EQ(to[2].name, "C, D");
    EXPECT_EQ(to[3].address, "later@example.org");
    EXPECT_EQ(message.from().at(0).name, "Zo\xC3\xAB");
    EXPECT_TRUE(message.cc().empty());
}

TEST(MimeWrapper, RolesSayWhatIsTextAndWhatIsAttached) {
    const Message message = letter();
    EXPECT_TRUE(message.part(3).isTextBody());
    EXPECT_FALSE(message.part(3).isHtmlBody());
    EXPECT_TRUE(message.part(4).isHtmlBody());
    std::vector<uint32_t> attached;
    for (const Part& part : message.attachments()) attached.push_back(part.number());
    EXPECT_EQ(attached, (std::vector<uint32_t>{5, 6, 7}));
    EXPECT_TRUE(message.attachments(8).empty());
    EXPECT_EQ(message.text(), "Hello \xC4\x85");
    EXPECT_EQ(message.html(), "<p>Hello <img src=\"cid:one%40x\">");
    EXPECT_EQ(message.text(8), "deep");
    EXPECT_EQ(message.html(8), "");
    std::string pieces;
    message.text([&](std::string_view piece) { pieces += piece; });
    message.html([&](std::string_view piece) { pieces += piece; });
    EXPECT_EQ(pieces, message.text() + message.html());
    EXPECT_EQ(Message::fromBytes("Content-Type: text/html\n\n<b>x</b>").text(), "");
}

TEST(MimeWrapper, APictureBetweenTextsIsAFileAndNoAttachment) {
    const Message message = Message::fromBytes(
        "Content-Type: multipart/mixed; boundary=b\n\n--b\n\none\n--b\nContent-Type: "
        "image/png\n\nP\n--b\n\ntwo\n"
        "--b\nContent-Type: application/pdf\n\nD\n--b--\n");
    EXPECT_EQ(message.text(), "onetwo");
    ASSERT_EQ(message.attachments().size(), 1u);
    EXPECT_EQ(message.attachments()[0].number(), 4u);
    ASSERT_EQ(message.files().size(), 2u);
    EXPECT_EQ(message.files()[0].number(), 2u);
}

TEST(MimeWrapper, PartsOfAMessageAreNotThoseOfMessagesInsideIt) {
    const std::string text =
        "Content-Type: multipart/mixed; boundary=a\r\n\r\n"          // 0
        "--a\r\n\r\none\r\n"                                         // 1
        "--a\r\nContent-Type: message/rfc822\r\n\r\n"                // 2
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n"          // 3
        "--b\r\n\r\ntwo\r\n"                                         // 4
        "--b\r\nContent-Type: message/rfc822\r\n\r\nSubject: s\r\n"  // 5
        "\r\nbegin 644 f\r\n#0V%T\r\n`\r\nend\r\n"                   // 6, and 7 in it
        "--b\r\n\r\nthree\r\n--b--\r\n"                              // 8
        "--a\r\n\r\nfour\r\n--a--\r\n";                              // 9
    const Message message = Message::fromBytes(text);
    const struct {
        uint32_t root;
        std::vector<uint32_t> parts;
    } rows[] = {{0, {0, 1, 2, 9}}, {3, {3, 4, 5, 8}}, {6, {6, 7}}, {1, {}}, {99, {}}};
    for (const auto& row : rows) {
        std::vector<uint32_t> parts;
        for (const Part& part : message.partsOf(row.root)) parts.push_back(part.number());
        EXPECT_EQ(parts, row.parts) << row.root;
    }
}

TEST(MimeWrapper, ContentGoesToASinkInThreeForms) {
    const Message message = letter();
    EXPECT_EQ(message.part(6).bytes(), "\4\5\6");
    std::string raw;
    const Content content = message.part(6).extract([&](std::string_view piece) { raw += piece; }, Form::Raw);
    EXPECT_EQ(raw, "BAUG");
    EXPECT_EQ(content.size, 4u);
    EXPECT_FALSE(content.damaged());
    EXPECT_EQ(message.part(3).bytes(), "Hello \xB1");
    EXPECT_EQ(message.part(3).text(), "Hello \xC4\x85");
    EXPECT_EQ(message.part(5).measure().size, 4u);
    // The bytes of a message part are that message.
    const std::string inner = message.part(7).bytes();
    EXPECT_EQ(Message::fromBytes(inner).subject(), "Inner");
}

TEST(MimeWrapper, TextWithoutAConversionIsLeftAsBytes) {
    Options options;
    options.convert = nullptr;
    const Message message = letter(std::move(options));
    std::string text;
    const Content content =
        message.part(3).extract([&](std::string_view piece) { text += piece; }, Form::Text);
    EXPECT_EQ(text, "Hello \xB1");
    EXPECT_TRUE(content.notConverted());
}

TEST(MimeWrapper, ContentIdsAreFoundAsIdsAndAsUrls) {
    const Message message = letter();
    EXPECT_EQ(message.part(4).findContentId("cid:one%40x")->number(), 5u);
    EXPECT_EQ(message.part(4).findContentId("CID:one@x")->number(), 5u);
    EXPECT_EQ(message.findContentId("one@x")->number(), 5u);
    EXPECT_EQ(message.findContentId("one%40x"), std::nullopt) << "only URLs have escapes";
    EXPECT_EQ(message.findContentId("cid:two%4"), std::nullopt);
    EXPECT_EQ(message.findContentId("cid:"), std::nullopt);
    EXPECT_EQ(codeOf([&] { (void)message.findContentId("one@x", 99); }), EML_NO_SUB_FILE);
}

TEST(MimeWrapper, DefectsHaveNamesAndPlaces) {
    const Message message = Message::fromBytes(
        "Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Transfer-Encoding: base64\n\nA!AA\n");
    const auto has = [&](std::string_view name) {
        const std::vector<Defect> defects = message.defects();
        return std::ranges::any_of(defects, [&](const Defect& defect) { return defect.name() == name; });
    };
    EXPECT_TRUE(has("no-closing-delimiter"));
    EXPECT_FALSE(has("base64-character"));
    EXPECT_TRUE(message.part(1).measure().damaged());
    EXPECT_TRUE(has("base64-character"));
    EXPECT_EQ((Defect{9999, 0, 0, 1}.name()), "unknown");
}

TEST(MimeWrapper, SpansMakeUpTheFile) {
    const Message message = letter();
    uint64_t end = 0;
    for (const EmlMimeSpanInfo& each : message.spans()) {
        EXPECT_EQ(each.span.offset, end);
        end += each.span.length;
    }
    EXPECT_EQ(end, kLetter.size());
}

TEST(MimeWrapper, InlineFilesCanBeTurnedOff) {
    const std::string text = "\nbegin 644 a.txt\n#0V%T\n`\nend\n";
    EXPECT_EQ(Message::fromBytes(text).partCount(), 2u);
    Options options;
    options.inlineFiles = false;
    EXPECT_EQ(Message::fromBytes(text, options).partCount(), 1u);
}

TEST(MimeWrapper, ProgressCancelsAndMayThrow) {
    const std::string large = "Subject: x\n\n" + std::string(5 << 20, 'a');
    std::vector<uint64_t> offsets;
    Options options;
    options.progress = [&](uint64_t offset) { return offsets.push_back(offset), true; };
    const Message message = Message::fromBytes(large, options);
    EXPECT_GE(offsets.size(), 4u);
    EXPECT_TRUE(std::ranges::is_sorted(offsets));
    options.progress = [](uint64_t) { return false; };
    EXPECT_EQ(codeOf([&] { Message::fromBytes(large, options); }), EML_MIME_CANCELLED);
    options.progress = [](uint64_t) -> bool { throw std::length_error("full"); };
    EXPECT_THROW(Message::fromBytes(large, options), std::length_error);
}

TEST(MimeWrapper, WhatASinkThrowsComesOut) {
    const Message message = letter();
    const auto full = [](std::string_view) { throw std::length_error("full"); };
    EXPECT_THROW(message.part(6).extract(full), std::length_error);
    EXPECT_THROW(message.text(full), std::length_error);
    EXPECT_EQ(message.part(6).bytes(), "\4\5\6") << "the message stays usable";
}

TEST(MimeWrapper, OpensAFile) {
    const Message message(EMLREADER_TEST_DIR "/c/parts.eml");
    EXPECT_EQ(message.subject(), "Caf\xC3\xA9 \xE2\x80\x93 at four");
    EXPECT_EQ(message.partCount(), 8u);
}

TEST(MimeWrapper, FilesThatCannotBeReadAreSystemErrors) {
    EXPECT_THROW(Message("/no/such/file.eml"), std::system_error);
    EXPECT_THROW(Message("/"), std::system_error);
    EXPECT_NE(std::string(Error(EML_MIME_CANCELLED).what()).find("cancelled"), std::string::npos);
}

TEST(MimeWrapper, AMessageMovesWithItsParts) {
    Message message = letter();
    const Part part = message.part(6);
    const Message moved = std::move(message);
    EXPECT_EQ(part.bytes(), "\4\5\6");
    EXPECT_EQ(moved.partCount(), 9u);
    EXPECT_GT(moved.heap().counts().liveBlocks, 0u);
}

TEST(MimeWrapper, AnyBytesAreAMessage) {
    EXPECT_EQ(Message::fromBytes("").partCount(), 1u);
    EXPECT_EQ(Message::fromBytes("").text(), "");
    EXPECT_EQ(Message::fromBytes("no header at all").text(), "no header at all");
    EXPECT_EQ(Message::fromBytes("").subject(), "");
}

}  // namespace
