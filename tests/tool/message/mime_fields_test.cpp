#include "tool/message/mime_fields.h"

#include <gtest/gtest.h>

#include "tool/message/part_words.h"
#include "tool/text/charset_guess.h"

namespace emltool {
namespace {

using emlreader::mime::Message;

std::string dateIn(const std::string& field) {
    const std::string text = "Date: " + field + "\r\n\r\n";
    return dateOf(Message::fromBytes(text).root());
}

TEST(MimeFields, DateHasTheClockAndTheZoneOfTheSender) {
    const struct {
        const char* field;
        const char* date;
    } rows[] = {
        {"Tue, 4 Mar 2025 09:15:22 +0100", "2025-03-04T09:15:22+01:00"},
        {"4 Mar 2025 09:15 -0330", "2025-03-04T09:15:00-03:30"},
        {"Tue, 04 March 2025 23:59:59 PST", "2025-03-04T23:59:59-08:00"},
        {"Tue, 4 Mar 2025 09:15:22 GMT", "2025-03-04T09:15:22+00:00"},
        {"Tue, 4 Mar 2025 09:15:22", "2025-03-04T09:15:22-00:00"},
        {"Tue, 4 Mar 2025 09:15:22 -0000", "2025-03-04T09:15:22-00:00"},
        {"tomorrow", ""},
        {"", ""},
    };
    for (const auto& row : rows) EXPECT_EQ(dateIn(row.field), row.date) << row.field;
}

TEST(MimeFields, AreUnfoldedAndDecodedAndRecipientsOfSeveralFieldsAreOneList) {
    const std::string text =
        "From: =?utf-8?Q?Zo=C3=AB?= <zoe@example.net>\r\nTo: a@example.org\r\nTo: b@example.org\r\n"
        "Subject: the order\r\n before\r\nImportance: high\r\n\r\n";
    std::string all;
    for (const MetadataField& field : readMetadata(Message::fromBytes(text), 0)) {
        all += field.name + "=" + field.text.value_or("(none)") + "\n";
    }
    EXPECT_EQ(all,
              "From=Zo\xC3\xAB <zoe@example.net>\nSent=(none)\nTo=a@example.org, b@example.org\nCc=(none)\n"
              "Bcc=(none)\nSubject=the order before\nPriority=high\n");
}

// Raw bytes of a field, the charset of the text and the field as it is read.
TEST(MimeFields, BytesWithoutACharsetAreThatOfTheTextOrAGuess) {
    const struct {
        const char* subject;
        const char* type;
        const char* text;
        bool isGuess;
    } rows[] = {
        {"\xF0\xD2\xC9", "multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain; charset=koi8-r",
         "При", false},
        {"\xF0\xD2\xC9\r\n \xF0", "text/plain; charset=koi8-r", "При П", false},
        {"\xF0 =?utf-8?Q?=C3=A4?=",
         "multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain; charset=koi8-r", "П ä", false},
        {"\xC3\xA4", "multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain; charset=koi8-r",
         "ä", false},
        {"\xD1\xFA\xE5\xF8\xFC \xE6\xE5 \xE5\xF9\xB8 \xFD\xF2\xE8\xF5 \xEC\xFF\xE3\xEA\xE8\xF5", "text/plain",
         "Съешь же ещё этих мягких", true},
        {"caf\xE9", "text/plain", "café", false},
        {"caf\xE9", "text/plain; charset=no-such", "café", false},
    };
    for (const auto& row : rows) {
        if (row.isGuess && !guessesCharsets()) continue;
        const std::string text = std::string("From: \xF0\r\nSubject: ") + row.subject +
                                 "\r\nContent-Type: " + row.type + "\r\n\r\n";
        const Message message = Message::fromBytes(text);
        const std::vector<MetadataField> fields = readMetadata(message, 0);
        EXPECT_EQ(fields[5].text.value_or("(none)"), row.text) << row.subject;
    }
}

TEST(MimeFields, OnlyWhatNeedsAKeyIsEncrypted) {
    for (uint32_t protection = 0; protection <= EML_MIME_ENCRYPTED_OTHER; ++protection) {
        const bool isBlock = protection == EML_MIME_PGP_INLINE_ENCRYPTED;  // the text around it can be read
        EXPECT_EQ(isEncryption(protection), !isBlock && protectionNotice(protection).starts_with("encrypted"))
            << protection;
        EXPECT_EQ(protectionNotice(protection).empty(), protection == EML_MIME_PROTECTION_NONE) << protection;
    }
}

TEST(MimeFields, TheFirstOfANameCountsWhateverItsCase) {
    const struct {
        const char* header;
        const char* name;
        std::optional<std::string> text;
    } rows[] = {
        {"Subject: one\r\nSubject: two\r\n", "Subject", "one"},
        {"sUBJECT: one\r\n", "Subject", "one"},
        {"Subject:\r\nSubject: two\r\n", "Subject", ""},
        {"Importance: high\r\nPriority: urgent\r\nX-Priority: 1\r\n", "Priority", "1"},
        {"Importance: high\r\nPriority: urgent\r\n", "Priority", "urgent"},
        {"Importance: high\r\nX-Priority:\r\n", "Priority", ""},
        {"no field\r\nTo: a@example.org\r\n", "To", "a@example.org"},
        {"To:\r\nCc: c@example.org\r\nTO: a@example.org\r\nTo:\r\nto: b@example.org\r\n", "To",
         "a@example.org, b@example.org"},
        {"Tomorrow: a@example.org\r\nT: b@example.org\r\n", "To", std::nullopt},
        {"Date: 4 Mar 2025 09:15 +0100\r\nDate: tomorrow\r\n", "Sent", "4 Mar 2025 09:15 +0100"},
    };
    for (const auto& row : rows) {
        const std::string text = std::string(row.header) + "\r\n";
        const Message message = Message::fromBytes(text);
        const MessageHead head = readHead(message, 0);
        for (const MetadataField& field : head.fields) {
            if (field.name != row.name) continue;
            EXPECT_EQ(field.text, row.text) << row.header;
        }
        EXPECT_EQ(head.subject, message.subject()) << row.header;
        EXPECT_EQ(head.facts.date, dateOf(message.root())) << row.header;
    }
}

}  // namespace
}  // namespace emltool
