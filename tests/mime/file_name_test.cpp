#include "mime/file_name.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "mime/heap_text.h"

namespace {

using namespace eml;
using eml::test::HeapText;

constexpr const char* kNone = "(none)";

std::string nameOf(std::string_view disposition, std::string_view contentType, uint32_t& problems,
                   std::string_view fallback = {}) {
    HeapText out;
    problems = 0;
    const bool found = appendFileName(disposition, contentType, {nullptr, fallback}, out.builder(), problems);
    return found ? out.str() : kNone;
}

// One name in the bytes of three charsets, cut in two inside its one character of 8-bit text where that has two bytes.
struct NameBytes {
    const char* charset;
    std::string bytes;
    std::string utf8;
    size_t cut;
};

const std::array<NameBytes, 4> kNames = {{
    {"us-ascii", "a report 2.pdf", "a report 2.pdf", 4},
    {"utf-8", "caf\xC3\xA9 2.pdf", "café 2.pdf", 4},
    {"iso-8859-1", "caf\xE9 2.pdf", "café 2.pdf", 4},
    {"windows-1252", "10 \x80 x.pdf", "10 € x.pdf", 4},
}};

std::string escaped(std::string_view bytes, char mark) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string result;
    for (const char byte : bytes) {
        const auto value = static_cast<uint8_t>(byte);
        if (value > 0x20 && value < 0x7F) {
            result += byte;
        } else {
            result += mark;
            result += kDigits[value >> 4];
            result += kDigits[value & 15];
        }
    }
    return result;
}

std::string base64(std::string_view bytes) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string result;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t group = 0;
        for (size_t j = 0; j < 3; ++j) {
            group = group << 8 | (i + j < bytes.size() ? static_cast<uint8_t>(bytes[i + j]) : 0u);
        }
        for (size_t j = 0; j < 4; ++j) {
            result += i + j > bytes.size() ? '=' : kDigits[group >> (18 - 6 * j) & 63];
        }
    }
    return result;
}

std::string word(const NameBytes& name, std::string_view bytes, bool b) {
    return std::string("=?") + name.charset + (b ? "?B?" + base64(bytes) : "?Q?" + escaped(bytes, '=')) +
           "?=";
}

// The ways to write a value: what follows the attribute's name.
struct Form {
    const char* rule;
    std::string (*write)(const NameBytes& name, const std::string& attribute);
    uint32_t problems;  // that every name written so has
};

std::string first(const NameBytes& name) { return name.bytes.substr(0, name.cut); }
std::string second(const NameBytes& name) { return name.bytes.substr(name.cut); }

const Form kForms[] = {
    {"raw, quoted", [](const NameBytes& name, const std::string& a) { return a + "=\"" + name.bytes + "\""; },
     0},
    {"raw, unquoted", [](const NameBytes& name, const std::string& a) { return a + "=" + name.bytes; }, 0},
    {"raw, blanks around =",
     [](const NameBytes& name, const std::string& a) { return a + " = \"" + name.bytes + "\""; }, 0},
    {"raw in sections",
     [](const NameBytes& name, const std::string& a) {
         return a + "*0=\"" + first(name) + "\"; " + a + "*1=\"" + second(name) + "\"";
     },
     0},
    {"extended",
     [](const NameBytes& name, const std::string& a) {
         return a + "*=" + name.charset + "''" + escaped(name.bytes, '%');
     },
     0},
    {"extended with a language",
     [](const NameBytes& name, const std::string& a) {
         return a + "*=" + name.charset + "'en'" + escaped(name.bytes, '%');
     },
     0},
    {"extended, quoted",
     [](const NameBytes& name, const std::string& a) {
         return a + "*=\"" + name.charset + "''" + escaped(name.bytes, '%') + "\"";
     },
     0},
    {"extended sections",
     [](const NameBytes& name, const std::string& a) {
         return a + "*0*=" + name.charset + "''" + escaped(first(name), '%') + "; " + a +
                "*1*=" + escaped(second(name), '%');
     },
     0},
    {"extended sections, out of order",
     [](const NameBytes& name, const std::string& a) {
         return a + "*1*=" + escaped(second(name), '%') + "; " + a + "*0*=" + name.charset + "''" +
                escaped(first(name), '%');
     },
     0},
    {"extended, the star missing",
     [](const NameBytes& name, const std::string& a) {
         return a + "=" + name.charset + "''" + escaped(name.bytes, '%');
     },
     kParameterSyntax},
    {"Q word, quoted",
     [](const NameBytes& name, const std::string& a) {
         return a + "=\"" + word(name, name.bytes, false) + "\"";
     },
     kEncodedWordInParameter},
    {"Q word, unquoted",
     [](const NameBytes& name, const std::string& a) { return a + "=" + word(name, name.bytes, false); },
     kEncodedWordInParameter},
    {"B word, quoted",
     [](const NameBytes& name, const std::string& a) {
         return a + "=\"" + word(name, name.bytes, true) + "\"";
     },
     kEncodedWordInParameter},
    {"B word, unquoted",
     [](const NameBytes& name, const std::string& a) { return a + "=" + word(name, name.bytes, true); },
     kEncodedWordInParameter},
    {"two B words, folded between",
     [](const NameBytes& name, const std::string& a) {
         return a + "=\"" + word(name, first(name), true) + "\r\n " + word(name, second(name), true) + "\"";
     },
     kEncodedWordInParameter},
    {"a word in each section",
     [](const NameBytes& name, const std::string& a) {
         return a + "*0=\"" + word(name, first(name), true) + "\"; " + a + "*1=\"" +
                word(name, second(name), true) + "\"";
     },
     kEncodedWordInParameter},
};

// Where and how the field goes on around it.
struct Setting {
    const char* rule;
    const char* before;
    const char* after;
    uint32_t problems;
};

const Setting kSettings[] = {
    {"alone", "; ", "", 0},
    {"between others", "; size=3; ", "; creation-date=\"x; y\"", 0},
    {"folded", ";\r\n\t", ";\r\n size=3;", 0},
    {"a comment before", "; (x) ", "", 0},
    {"doubled semicolons", ";; ", ";;", kParameterSyntax},
    {"the semicolon after it is missing", "; ", "\r\n size=3", kParameterSyntax},
    {"the semicolon before it is missing", " ", "", kParameterSyntax},
};

// Every form, in every charset that can be told from it, in every setting, in either field: the same name. Raw bytes
// have no label: UTF-8 where they are, else windows-1252, so the rows of all four charsets hold.
TEST(FileName, EveryWayToWriteItGivesTheSameName) {
    size_t ways = 0;
    for (const Form& form : kForms) {
        for (const NameBytes& name : kNames) {
            for (const Setting& setting : kSettings) {
                for (const bool disposition : {true, false}) {
                    const std::string text =
                        setting.before + form.write(name, disposition ? "filename" : "name") + setting.after;
                    SCOPED_TRACE(std::string(form.rule) + ", " + name.charset + ", " + setting.rule + ": " +
                                 text);
                    uint32_t problems = 0;
                    EXPECT_EQ(disposition ? nameOf(text, "", problems) : nameOf("", text, problems),
                              name.utf8);
                    EXPECT_EQ(problems & form.problems, form.problems);
                    EXPECT_EQ(problems & setting.problems, setting.problems);
                    EXPECT_EQ(problems & ~(form.problems | setting.problems), 0u);
                    ++ways;
                }
            }
        }
    }
    EXPECT_GE(ways, 176u);
}

TEST(FileName, Rows) {
    struct Row {
        const char* rule;
        const char* disposition;
        const char* contentType;
        const char* expected;
    };
    const Row rows[] = {
        {"none", "", "", kNone},
        {"none among others", "; size=3", "; charset=utf-8", kNone},
        {"filename before name", "; filename=a", "; name=b", "a"},
        {"filename before name*", "; filename=a", "; name*=utf-8''b", "a"},
        {"name without filename", "; size=3", "; name=b", "b"},
        {"an empty filename", "; filename=\"\"", "; name=b", "b"},
        {"an empty filename*", "; filename*=utf-8''; filename=a", "; name=b", "a"},
        {"both empty", "; filename=\"\"", "; name=", kNone},
        {"filename of Content-Type", "", "; filename=a", "a"},
        {"name of Content-Disposition", "; name=a", "", "a"},
        {"name of Content-Type before it", "; name=a", "; name=b", "b"},
        {"filename* before filename", "; filename=cafe.txt; filename*=utf-8''caf%C3%A9.txt", "", "café.txt"},
        {"whatever the order", "; filename*=utf-8''caf%C3%A9.txt; filename=cafe.txt", "", "café.txt"},
        {"filename*0* before filename", "; filename=x; filename*0*=utf-8''caf%C3; filename*1*=%A9", "",
         "café"},
        {"path separators stay", "; filename=\"../../etc/passwd\"", "", "../../etc/passwd"},
        {"a Windows path stays", "; filename=\"C:\\dir\\new.txt\"", "", "C:\\dir\\new.txt"},
        {"control characters stay", "; filename=\"a\x01\x7F.txt\"", "", "a\x01\x7F.txt"},
        {"an escaped quote", "; filename=\"a\\\"b.txt\"", "", "a\"b.txt"},
        {"the last quote is missing", "; filename=\"a b.txt", "", "a b.txt"},
        {"the first quote is missing", "; filename=a b.txt\"", "", "a b.txt"},
        {"quotes inside", "; filename=\"my \"great\" file.pdf\"", "", "my \"great\" file.pdf"},
        {"no =", "; filename \"a.txt\"", "", "a.txt"},
        {"upper case", "; FILENAME=A.TXT", "", "A.TXT"},
        {"an encoded word without its end", "; filename=\"=?utf-8?Q?a.txt\"", "", "=?utf-8?Q?a.txt"},
        {"the first of two", "; filename=a; filename=b", "", "a"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        uint32_t problems = 0;
        EXPECT_EQ(nameOf(row.disposition, row.contentType, problems), row.expected);
    }
}

}  // namespace
