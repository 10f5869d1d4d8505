#include "tool/message/part_words.h"

#include <emlreader/eml_mime.h>
#include <gtest/gtest.h>

#include "tool/message/defect_words.h"

namespace emltool {
namespace {

TEST(PartWords, EveryDefectHasAText) {
    size_t known = 0;
    for (uint32_t code = 0; code < 200; ++code) {
        SCOPED_TRACE(code);
        const bool isDefect = emlMimeDefectName(code) != nullptr;
        EXPECT_EQ(isDefect, !defectText(code).empty());
        if (isDefect) ++known;
    }
    EXPECT_GT(known, 40u);
}

TEST(PartWords, NumbersBeyondTheTablesAreNamed) {
    EXPECT_EQ(encodingWord(EML_MIME_ENCODING_UNKNOWN + 1), "unknown");
    EXPECT_EQ(protectionWord(EML_MIME_ENCRYPTED_OTHER + 1), "unknown");
    EXPECT_EQ(protectionText(EML_MIME_ENCRYPTED_OTHER + 1), "protected");
    EXPECT_EQ(spanWord(EML_MIME_SPAN_EPILOGUE + 1), "unknown");
}

TEST(PartWords, WordsAreThoseOfTheirNumbers) {
    EXPECT_EQ(encodingWord(EML_MIME_ENCODING_NONE), "none");
    EXPECT_EQ(encodingWord(EML_MIME_ENCODING_QUOTED_PRINTABLE), "quoted-printable");
    EXPECT_EQ(encodingWord(EML_MIME_ENCODING_YENC), "yenc");
    EXPECT_EQ(protectionWord(EML_MIME_PROTECTION_NONE), "");
    EXPECT_EQ(protectionWord(EML_MIME_PGP_SIGNED), "pgp-signed");
    EXPECT_EQ(protectionWord(EML_MIME_ENCRYPTED_OTHER), "encrypted-other");
    EXPECT_EQ(protectionText(EML_MIME_SMIME_ENVELOPED), "S/MIME encrypted");
    EXPECT_EQ(spanWord(EML_MIME_SPAN_PADDING), "padding");
    EXPECT_EQ(spanWord(EML_MIME_SPAN_EPILOGUE), "epilogue");
    EXPECT_EQ(roleWords(EML_MIME_ROLE_TEXT_BODY | EML_MIME_ROLE_ATTACHMENT),
              (std::vector<std::string_view>{"text-body", "attachment"}));
}

}  // namespace
}  // namespace emltool
