#include "tool/message/defect_warnings.h"

#include <gtest/gtest.h>

namespace emltool {
namespace {

using emlreader::mime::Message;

TEST(DefectWarnings, SayWhatWasGuessedOrLeftOut) {
    const std::string damaged =
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain; "
        "charset=no-such\r\n\r\n\xE4\r\n"
        "--b\r\nContent-Disposition: attachment; filename=a.bin\r\nContent-Transfer-Encoding: base64\r\n\r\n"
        "QU!JD\r\n";
    const Message message = Message::fromBytes(damaged);
    for (const emlreader::mime::Part& part : message.parts()) {
        part.measure(part.type() == "text" ? emlreader::mime::Form::Text : emlreader::mime::Form::Decoded);
    }
    std::vector<std::string> codes;
    for (const Warning& warning : defectWarnings(message))
        codes.push_back(warning.code + ": " + warning.text);
    const std::vector<std::string> expected = {
        "no-closing-delimiter: cut off, the closing delimiter is missing; the last part may be incomplete",
        "unknown-charset: unknown charset; the text was not converted",
        "base64-character: a.bin: damaged base64: characters that mean nothing were left out"};
    EXPECT_EQ(codes, expected);
}

TEST(DefectWarnings, OneCodeOfSeveralPartsIsOneWarning) {
    std::string text = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    for (int i = 0; i < 3; ++i) text += "--b\r\nContent-Transfer-Encoding: x-none\r\n\r\ntext\r\n";
    const std::vector<Warning> warnings = defectWarnings(Message::fromBytes(text + "--b--\r\n"));
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].text,
              "unknown transfer encoding; the content was not decoded (and in 2 more parts)");
}

TEST(DefectWarnings, WhatCanBeReadInOneWayOnlyIsNone) {
    const std::string text = "Subject: s\r\n\r\n" + std::string(2000, 'x') + "\nend\r\n";
    const Message message = Message::fromBytes(text);
    EXPECT_FALSE(message.defects().empty());
    EXPECT_TRUE(defectWarnings(message).empty());
}

}  // namespace
}  // namespace emltool
