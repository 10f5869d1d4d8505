#include "tool/message/mime_fields.h"

#include <gtest/gtest.h>

#include "tool/message/part_words.h"

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
    for (const MetadataField& field : readMetadata(Message::fromBytes(text).root())) {
        all += field.name + "=" + field.text.value_or("(none)") + "\n";
    }
    EXPECT_EQ(all,
              "From=Zo\xC3\xAB <zoe@example.net>\nSent=(none)\nTo=a@example.org, b@example.org\nCc=(none)\n"
              "Bcc=(none)\nSubject=the order before\nPriority=high\n");
}

TEST(MimeFields, OnlyWhatNeedsAKeyIsEncrypted) {
    for (uint32_t protection = 0; protection <= EML_MIME_ENCRYPTED_OTHER; ++protection) {
        const bool isBlock = protection == EML_MIME_PGP_INLINE_ENCRYPTED;  // the text around it can be read
        EXPECT_EQ(isEncryption(protection), !isBlock && protectionNotice(protection).starts_with("encrypted"))
            << protection;
        EXPECT_EQ(protectionNotice(protection).empty(), protection == EML_MIME_PROTECTION_NONE) << protection;
    }
}

}  // namespace
}  // namespace emltool
