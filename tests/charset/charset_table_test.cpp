#include "charset/charset_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "reference/charset.h"
#include "standalone/charsets.h"

namespace eml::test {
namespace {

using Names = std::map<std::string, uint32_t>;
using Ids = std::set<uint32_t>;

std::string fileText(const std::string& path) {
    const std::ifstream file(std::string(EMLREADER_TEST_DIR) + "/../" + path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    EXPECT_FALSE(text.str().empty()) << path;
    return text.str();
}

// What each line of a source file that fits `pattern` says: a name and a number.
Names constantsIn(const std::string& path, const char* pattern) {
    const std::string text = fileText(path);
    const std::regex line(pattern, std::regex::ECMAScript | std::regex::multiline);
    Names names;
    for (std::sregex_iterator at(text.begin(), text.end(), line), end; at != end; ++at) {
        names[(*at)[1]] = static_cast<uint32_t>(std::stoul((*at)[2]));
    }
    return names;
}

Names constantsOfTheHeader() {
    return constantsIn("include/emlreader/eml_host.h", R"(^#define EML_CHARSET_(\w+) (\d+)u)");
}

Names constantsOfPython() {
    return constantsIn("python/emlreader/_library.py", R"(^CHARSET_(\w+) = (\d+)$)");
}

// The ids for which Python has a codec.
Ids idsOfPythonCodecs() {
    const Names constants = constantsOfPython();
    const std::string file = fileText("python/emlreader/_library.py");
    const std::string text = file.substr(std::min(file.find("CODECS = {"), file.size()));
    const std::regex row(R"(^ +(CHARSET_)?(\w+): ")", std::regex::ECMAScript | std::regex::multiline);
    Ids ids;
    for (std::sregex_iterator at(text.begin(), text.end(), row), end; at != end; ++at) {
        const auto found = constants.find((*at)[2]);
        EXPECT_NE(found, constants.end()) << (*at)[2];
        if (found != constants.end()) ids.insert(found->second);
    }
    return ids;
}

Ids idsOf(const Names& names) {
    Ids ids;
    for (const auto& [name, id] : names) ids.insert(id);
    return ids;
}

Ids idsOfTheLibrary() {
    Ids ids;
    for (const CharsetName& row : kCharsetNames) ids.insert(row.id);
    return ids;
}

Ids idsOfTheReference() {
    Ids ids;
    for (const reference::CharsetRow& row : reference::charsetRows()) ids.insert(row.id);
    return ids;
}

Ids idsOfTheHost() {
    Ids ids;
    for (uint32_t id = 0; id < 1000; ++id) {
        if (emlhost::findCharset(id) != nullptr) ids.insert(id);
    }
    return ids;
}

// No message has the host's 16-bit text; hosts have it.
TEST(CharsetTable, EachIdOfTheLibraryIsInTheHeaderTheHostAndPython) {
    Ids known = idsOfTheLibrary();
    EXPECT_EQ(known, idsOfTheReference());
    known.insert(EML_CHARSET_TEXT_16);
    EXPECT_EQ(known, idsOfTheHost());
    EXPECT_EQ(known, idsOfPythonCodecs());
    known.insert(EML_CHARSET_UNKNOWN);
    EXPECT_EQ(known, idsOf(constantsOfTheHeader()));
}

TEST(CharsetTable, PythonNamesTheIdsAsTheHeaderDoes) {
    Names named = constantsOfTheHeader();
    named.erase("UNKNOWN");
    EXPECT_EQ(named, constantsOfPython());
}

}  // namespace
}  // namespace eml::test
