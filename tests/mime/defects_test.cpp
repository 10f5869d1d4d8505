// The list of defects: every code has a name, and the list has room for as many as the options say.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "mime/opened_mime.h"

namespace eml::test {
namespace {

struct Constant {
    std::string name;  // "no-closing-delimiter"
    uint32_t code;
};

// The codes that the header defines, each with the name that its constant suggests.
std::vector<Constant> constantsOfHeader() {
    std::ifstream file(EMLREADER_TEST_DIR "/../include/emlreader/eml_mime.h");
    std::vector<Constant> constants;
    for (std::string word, last; file >> word; last = word) {
        constexpr std::string_view kPrefix = "EML_MIME_DEFECT_";
        if (last != "#define" || !word.starts_with(kPrefix)) continue;
        std::string name = word.substr(kPrefix.size());
        for (char& letter : name) {
            letter = letter == '_' ? '-' : letter >= 'A' && letter <= 'Z' ? char(letter + 32) : letter;
        }
        std::string value;
        file >> value;
        if (value == "\\") file >> value;
        constants.push_back({name, static_cast<uint32_t>(std::stoul(value))});
    }
    return constants;
}

TEST(Defects, EveryCodeHasTheNameOfItsConstant) {
    const std::vector<Constant> constants = constantsOfHeader();
    EXPECT_GE(constants.size(), 44U);
    std::set<uint32_t> codes;
    for (const Constant& constant : constants) {
        SCOPED_TRACE(constant.name);
        EXPECT_TRUE(codes.insert(constant.code).second) << "two defects have one code";
        const char* const name = emlMimeDefectName(constant.code);
        ASSERT_NE(name, nullptr);
        EXPECT_EQ(name, constant.name);
    }
    for (uint32_t code = 0; code < 1000; ++code) {
        EXPECT_EQ(emlMimeDefectName(code) != nullptr, codes.contains(code)) << code;
    }
    EXPECT_EQ(emlMimeDefectName(UINT32_MAX), nullptr);
}

// Parts with one defect each.
std::string brokenParts(uint32_t count) {
    std::string message = "Content-Type: multipart/mixed; boundary=b\n\n";
    for (uint32_t i = 0; i < count; ++i) message += "--b\nContent-Transfer-Encoding: x-none\n\nx\n";
    return message + "--b--\n";
}

EmlMimeDefect defectOf(const OpenedMime& opened, uint32_t index) {
    EmlMimeDefect defect{};
    EXPECT_EQ(emlMimeGetDefect(opened.context(), index, &defect), EML_OK);
    return defect;
}

TEST(Defects, WithoutAPlaceAreCountedByTheLastEntry) {
    EmlMimeOptions options{};
    options.maxDefects = 4;
    const OpenedMime opened(brokenParts(10), options);
    ASSERT_EQ(emlMimeDefectCount(opened.context()), 4U);
    for (uint32_t i = 0; i < 3; ++i) {
        const EmlMimeDefect defect = defectOf(opened, i);
        EXPECT_EQ(defect.code, EML_MIME_DEFECT_UNKNOWN_ENCODING);
        EXPECT_EQ(defect.part, i + 1);
        EXPECT_EQ(defect.count, 1U);
    }
    EXPECT_EQ(defectOf(opened, 3).code, EML_MIME_DEFECT_TOO_MANY_DEFECTS);
    EXPECT_EQ(defectOf(opened, 3).count, 7U) << "the one that gave way, and the six after it";
    EmlMimeDefect none{};
    EXPECT_EQ(emlMimeGetDefect(opened.context(), 4, &none), EML_NO_SUB_FILE);
}

TEST(Defects, AreInTheListWhenItIsFullToTheLast) {
    EmlMimeOptions options{};
    options.maxDefects = 10;
    const OpenedMime opened(brokenParts(10), options);
    ASSERT_EQ(emlMimeDefectCount(opened.context()), 10U);
    EXPECT_EQ(defectOf(opened, 9).code, EML_MIME_DEFECT_UNKNOWN_ENCODING);
}

// Room for what an extraction may find is asked for first; the list stays when there is none.
TEST(Defects, StayWhenMemoryRunsOutInAnExtraction) {
    for (uint32_t count = 100; count < 140; ++count) {  // around the size of the list's first block
        std::string message = brokenParts(count);
        message.insert(message.rfind("--b--"), "--b\nContent-Transfer-Encoding: base64\n\nA?A\n");
        OpenedMime opened(message);
        ASSERT_EQ(emlMimeDefectCount(opened.context()), count);
        for (const Entry entry : {Entry::kAllocate, Entry::kReallocate}) {
            Journal& journal = opened.host().journal();
            journal.fail(entry, {.nth = journal.calls(entry) + 1, .onwards = true});
            MemoryOutput output(opened.host());
            const EmlResult result =
                emlMimeExtract(opened.context(), count + 1, EML_MIME_DECODED, &output.object(), nullptr);
            EXPECT_TRUE(result == EML_OK || result == EML_NO_MEMORY) << count;
            EXPECT_GE(emlMimeDefectCount(opened.context()), count) << "none is lost";
            EXPECT_EQ(opened.part(count).defectCount, 1U);
            journal.fail(entry, {});
        }
    }
}

// Ten thousand occurrences are one entry.
TEST(Defects, OfOnePartAreCountedAtTheFirstPlace) {
    std::string message = "A: b\r\n\r\n";
    for (int i = 0; i < 10000; ++i) message += "x\n";
    const OpenedMime opened(message);
    ASSERT_EQ(opened.defects(), "mixed-line-ends@0");
    EXPECT_EQ(defectOf(opened, 0).count, 10000U);
    EXPECT_EQ(defectOf(opened, 0).offset, 9U);
}

// Content that is extracted again adds nothing.
TEST(Defects, OfContentAreNotedOnce) {
    OpenedMime opened("Content-Transfer-Encoding: base64\n\nTWFu!!TWFu\n");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(opened.content(0), "ManMan");
        EXPECT_EQ(opened.content(0, EML_MIME_TEXT), "ManMan");
    }
    ASSERT_EQ(opened.defects(), "base64-character@0");
    EXPECT_EQ(defectOf(opened, 0).count, 2U);
    EXPECT_EQ(defectOf(opened, 0).offset, 39U);
}

TEST(Defects, HaveTheNamesOfEscapesAndLongBoundaries) {
    OpenedMime escape("Content-Transfer-Encoding: quoted-printable\n\na=ZZ\n");
    EXPECT_EQ(escape.content(0), "a=ZZ\n");
    EXPECT_EQ(escape.defects(), "quoted-printable-escape@0");
    const std::string boundary(71, 'b');
    const OpenedMime tooLong("Content-Type: multipart/mixed; boundary=" + boundary + "\n\n--" + boundary +
                             "\n\nx\n--" + boundary + "--\n");
    EXPECT_EQ(tooLong.defects(), "boundary-too-long@0");
}

}  // namespace
}  // namespace eml::test
