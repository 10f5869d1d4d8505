// Whole messages rendered in every form: NAME.eml with options 0, 2, 4 and 6 and several target charsets
// gives what NAME.expected says. Renderings that are the same stand there once. On a mismatch NAME.actual is
// written beside the test program; the expected file is never touched.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "standalone/message.h"
#include "support/guarded_services.h"
#include "support/host_value.h"
#include "support/opened_message.h"

namespace {

namespace fs = std::filesystem;

const fs::path kRenderings = fs::path(EMLREADER_TEST_DIR) / "renderings";

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::vector<fs::path> filesOf(const char* extension) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(kRenderings)) {
        if (entry.path().extension() == extension) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

struct Rendering {
    std::string asked;   // a line for each way to ask for it
    std::string result;  // what came out, as text
};

std::string linesOf(std::string_view text) {
    std::string lines;
    while (!text.empty()) {
        const size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
        lines += "  | " + eml::test::escaped(text.substr(0, length)) + "\n";
        text.remove_prefix(length);
    }
    return lines;
}

std::string renderOnce(emlhost::OpenMessage& message, uint32_t options, uint32_t charset) {
    emlhost::MemoryOutput output;
    const emlhost::Extraction extraction = message.extract(0, output, options, charset);
    const std::string bytes(output.bytes().begin(), output.bytes().end());
    return "  result=" + std::to_string(extraction.status) + " flags=" + std::to_string(extraction.flags) +
           " bytes=" + std::to_string(bytes.size()) + "\n" + linesOf(bytes);
}

std::string renderAll(const std::string& bytes) {
    eml::test::GuardedServices guarded;
    const eml::test::HostBlock block(guarded.heap(), bytes.size());
    if (!bytes.empty()) std::memcpy(block.data(), bytes.data(), bytes.size());
    emlhost::MemoryInput input({static_cast<const uint8_t*>(block.data()), bytes.size()});
    std::vector<Rendering> renderings;
    emlhost::OpenMessage message(input, guarded.services());
    for (const uint32_t options : {0u, 2u, 4u, 6u}) {
        for (const uint32_t charset : {0u, 51u, 53u, 7u, 1u}) {
            const std::string result = renderOnce(message, options, charset);
            auto same = std::find_if(renderings.begin(), renderings.end(),
                                     [&](const Rendering& rendering) { return rendering.result == result; });
            if (same == renderings.end()) same = renderings.insert(same, {"", result});
            same->asked +=
                "options=" + std::to_string(options) + " charset=" + std::to_string(charset) + "\n";
        }
    }
    std::string text;
    for (const Rendering& rendering : renderings) text += rendering.asked + rendering.result;
    return text;
}

TEST(Renderings, GiveWhatIsExpected) {
    for (const fs::path& path : filesOf(".eml")) {
        const std::string actual = renderAll(readFile(path));
        if (actual == readFile(fs::path(path).replace_extension(".expected"))) continue;
        const fs::path written =
            fs::read_symlink("/proc/self/exe").parent_path() / path.stem().concat(".actual");
        std::ofstream(written, std::ios::binary) << actual;
        ADD_FAILURE() << path.filename() << " differs from its expected renderings; see " << written;
    }
}

TEST(Renderings, EveryMessageHasItsExpectedFile) {
    const std::vector<fs::path> messages = filesOf(".eml");
    EXPECT_GE(messages.size(), 18u);
    EXPECT_EQ(messages.size(), filesOf(".expected").size());
    for (const fs::path& path : messages)
        EXPECT_TRUE(fs::exists(fs::path(path).replace_extension(".expected"))) << path;
}

}  // namespace
