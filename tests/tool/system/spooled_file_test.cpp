#include "tool/system/spooled_file.h"

#include <gtest/gtest.h>

#include "standalone/temporary_variable.h"
#include "tool/terminal/problem.h"

namespace emltool {
namespace {

using emlhost_test::TemporaryVariable;

constexpr size_t kLimit = SpooledFile::kMaxInMemory;

std::string patternOf(size_t size) {
    std::string text(size, '\0');
    for (size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i * 7 + i / 251);
    return text;
}

std::string contentOf(emlhost::Input& input) {
    std::string content(static_cast<size_t>(input.size()), '\0');
    EmlIOobj* object = input.object();
    EXPECT_NE(object->open(object), 0);
    size_t done = 0;
    while (done < content.size()) {
        const int32_t got =
            object->read(object, content.data() + done, static_cast<uint32_t>(content.size() - done));
        if (got < 1) break;
        done += static_cast<size_t>(got);
    }
    EXPECT_EQ(done, content.size());
    object->close(object);
    return content;
}

TEST(SpooledFile, ReturnsWhatWasAppended) {
    for (const size_t size : {size_t{0}, size_t{1}, kLimit - 1, kLimit, kLimit + 1, kLimit + kLimit / 2}) {
        const std::string text = patternOf(size);
        SpooledFile spooled;
        for (size_t at = 0; at < size; at += 100'000)
            spooled.append(std::string_view(text).substr(at, 100'000));
        EXPECT_TRUE(contentOf(*spooled.takeInput("x")) == text) << size;
    }
}

TEST(SpooledFile, TakesAnExtraction) {
    for (const size_t size : {size_t{10}, kLimit + 10}) {
        std::string text = patternOf(size);
        SpooledFile spooled;
        EmlIOobj* object = spooled.object();
        for (int use = 0; use < 2; ++use) {  // a second use begins empty
            ASSERT_NE(object->open(object), 0);
            ASSERT_EQ(object->write(object, text.data(), static_cast<uint32_t>(size)), size);
            ASSERT_NE(object->seek(object, 3, 0, EML_SEEK_START), 0);
            ASSERT_EQ(object->write(object, "abc", 3), 3U);
            ASSERT_NE(object->close(object), 0);
        }
        text.replace(3, 3, "abc");
        EXPECT_TRUE(contentOf(*spooled.takeInput("x")) == text) << size;
    }
}

TEST(SpooledFile, UsesAFileOnlyAboveTheLimit) {
    const TemporaryVariable place("TMPDIR", "/no/such/folder");
    SpooledFile small;
    small.append(patternOf(kLimit));
    EXPECT_EQ(small.takeInput("x")->size(), kLimit);
    SpooledFile large;
    large.append(patternOf(kLimit + 1));
    try {
        large.takeInput("x");
        FAIL();
    } catch (const Problem& problem) {
        EXPECT_EQ(problem.exit, ExitCode::kOutput);
        EXPECT_EQ(problem.code, "write-failed");
        EXPECT_EQ(problem.subject, "/no/such/folder");
    }
}

}  // namespace
}  // namespace emltool
