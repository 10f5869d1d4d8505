// Whole messages: NAME.eml in tests/messages gives what NAME.expected says. On a mismatch NAME.actual is
// written beside the test program; the expected file is never touched.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/opened_message.h"

namespace {

namespace fs = std::filesystem;

const fs::path kMessages = fs::path(EMLREADER_TEST_DIR) / "messages";

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::vector<fs::path> filesOf(const char* extension) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(kMessages)) {
        if (entry.path().extension() == extension) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

// The flags of each dump that the expected text holds, in order; 0 alone when there is none yet.
std::vector<uint32_t> flagsIn(const std::string& expected) {
    static const std::string kOpen = "open: flags=";
    std::vector<uint32_t> flags;
    for (size_t at = expected.find(kOpen); at != std::string::npos; at = expected.find("\n" + kOpen, at)) {
        at = expected.find('=', at) + 1;
        flags.push_back(static_cast<uint32_t>(std::stoull(expected.substr(at), nullptr, 16)));
    }
    if (flags.empty()) flags.push_back(0);
    return flags;
}

std::string dumpsOf(const std::string& message, const std::vector<uint32_t>& flags) {
    std::string text;
    for (const uint32_t value : flags) text += eml::test::dumpContainer(message, value);
    return text;
}

fs::path writeActual(const fs::path& message, const std::string& text) {
    const fs::path path = fs::read_symlink("/proc/self/exe").parent_path() / message.stem().concat(".actual");
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

TEST(Messages, GiveWhatIsExpected) {
    for (const fs::path& path : filesOf(".eml")) {
        const std::string expected = readFile(fs::path(path).replace_extension(".expected"));
        const std::string actual = dumpsOf(readFile(path), flagsIn(expected));
        if (actual == expected) continue;
        ADD_FAILURE() << path.filename() << " differs from its expected dump; see "
                      << writeActual(path, actual);
    }
}

// No expected dump is left alone, and there are messages at all.
TEST(Messages, EveryExpectedDumpHasItsMessage) {
    const std::vector<fs::path> expected = filesOf(".expected");
    EXPECT_GE(expected.size(), 60u);
    EXPECT_EQ(expected.size(), filesOf(".eml").size());
    for (const fs::path& path : expected) {
        EXPECT_TRUE(fs::exists(fs::path(path).replace_extension(".eml"))) << path;
        EXPECT_EQ(0u, readFile(path).find("open: flags=")) << path;
    }
}

}  // namespace
