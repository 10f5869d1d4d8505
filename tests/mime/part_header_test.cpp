// What a part's header says about it, and the defects in it.
#include <gtest/gtest.h>

#include "mime/opened_mime.h"

namespace eml::test {
namespace {

struct HeaderRow {
    const char* rule;
    std::string fields;
    const char* type;
    const char* defects;
};

TEST(PartHeader, TypesAndDefects) {
    const HeaderRow rows[] = {
        {"no Content-Type", "Subject: x", "text/plain", ""},
        {"one", "Content-Type: image/png", "image/png", ""},
        {"upper case", "CONTENT-TYPE: IMAGE/PNG", "image/png", ""},
        {"blanks before the colon", "Content-Type : image/png", "image/png", ""},
        {"folded at once", "Content-Type:\n image/png", "image/png", ""},
        {"after other fields", "A: b\nContent-Type: image/png\nC: d", "image/png", ""},
        {"without Mime-Version", "Content-Type: image/png", "image/png", ""},
        {"empty", "Content-Type:", "text/plain", "content-type-syntax@0"},
        {"no type", "Content-Type: ; charset=utf-8", "text/plain", "content-type-syntax@0"},
        {"twice the same", "Content-Type: image/png\nContent-Type:  image/png", "image/png",
         "duplicate-field@0"},
        {"twice, and they differ: the first counts", "Content-Type: image/png\nContent-Type: text/html",
         "image/png", "conflicting-field@0"},
        {"two subjects", "Subject: a\nSubject: b", "text/plain", "conflicting-field@0"},
        {"two Received are as they should be", "Received: a\nReceived: b", "text/plain", ""},
        {"the same parameter twice", "Content-Type: text/html; charset=a; charset=b", "text/html",
         "duplicate-parameter@0"},
        {"a quote that does not end", "Content-Type: text/html; charset=\"a", "text/html",
         "unterminated-quote@0"},
        {"unknown encoding", "Content-Transfer-Encoding: x-strange", "text/plain", "unknown-encoding@0"},
        {"an encoding with other text", "Content-Transfer-Encoding: base64;", "text/plain",
         "encoding-syntax@0"},
        {"raw 8-bit that is not UTF-8", "Subject: \xE9", "text/plain", "8bit-in-header@0"},
        {"raw UTF-8 is as it should be (RFC 6532)", "Subject: \xC3\xA9", "text/plain", ""},
        {"NUL", std::string("Subject: a\0b", 12), "text/plain", "nul-in-header@0"},
    };
    for (const HeaderRow& row : rows) {
        SCOPED_TRACE(row.rule);
        OpenedMime opened(row.fields + "\n\nbody");
        ASSERT_NE(opened.context(), nullptr);
        const EmlMimePart part = opened.part(0);
        EXPECT_EQ(std::string(viewOf(part.type)) + "/" + std::string(viewOf(part.subtype)), row.type);
        EXPECT_EQ(opened.defects(), row.defects);
    }
}

TEST(PartHeader, LongHeadersAreKeptUpToTheLimit) {
    EmlMimeOptions options{};
    options.maxHeaderBytes = 64;
    const std::string message =
        "Subject: kept\nX: " + std::string(100, 'x') + "\nContent-Type: text/html\n\nbody";
    OpenedMime opened(message, options);
    EXPECT_EQ(opened.defects(), "header-too-long@0");
    EXPECT_EQ(opened.field(0, "subject"), "kept");
    EXPECT_EQ(opened.spanProblems(message), "");
    EXPECT_EQ(opened.part(0).body.length, 4U);
}

TEST(PartHeader, DefectsHaveALimit) {
    EmlMimeOptions options{};
    options.maxDefects = 2;
    OpenedMime opened("Content-Type:\nSubject: a\nSubject: b\nSubject: \xE9\nTo: a\nTo: a\n\nbody", options);
    EXPECT_EQ(opened.defects(), "conflicting-field@0 too-many-defects@0");
}

}  // namespace
}  // namespace eml::test
