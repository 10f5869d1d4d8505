#include "tool/text/base64_text.h"

#include <gtest/gtest.h>

namespace emltool {
namespace {

// RFC 4648 section 10.
TEST(Base64Text, ThereAndBack) {
    const struct {
        const char* bytes;
        const char* text;
    } rows[] = {{"", ""},
                {"f", "Zg=="},
                {"fo", "Zm8="},
                {"foo", "Zm9v"},
                {"foob", "Zm9vYg=="},
                {"fooba", "Zm9vYmE="},
                {"foobar", "Zm9vYmFy"},
                {"\xFB\xEF\xBE\xFF\xFF\xFF", "++++////"}};
    for (const auto& row : rows) {
        EXPECT_EQ(base64(row.bytes), row.text);
        EXPECT_EQ(bytesOfBase64(row.text), row.bytes);
    }
}

TEST(Base64Text, EndsAtWhatIsNoneOfIt) { EXPECT_EQ(bytesOfBase64("Zm9v Yg=="), "foo"); }

}  // namespace
}  // namespace emltool
