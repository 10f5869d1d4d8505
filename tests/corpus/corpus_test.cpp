// Real messages, where a corpus of them is at hand: what must hold for every message, whatever stands in it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "container/container_context.h"
#include "reference/decoders.h"
#include "support/opened_message.h"

namespace {

namespace fs = std::filesystem;

using eml::test::Extracted;
using eml::test::OpenedMessage;
using eml::test::RecordingHost;
using eml::test::SubFile;
using reference::bytesOf;
using reference::textOf;

constexpr uint32_t kFlags[] = {
    0, EML_OPEN_ROOT_FOLDER, EML_OPEN_ATTACHMENTS_FOLDER, EML_OPEN_CONVERTED_ATTACHMENTS,
    EML_OPEN_ROOT_FOLDER | EML_OPEN_ATTACHMENTS_FOLDER | EML_OPEN_CONVERTED_ATTACHMENTS};

fs::path corpusFolder() {
    if (const char* folder = std::getenv("EMLREADER_CORPUS"); folder != nullptr) return folder;
    return fs::path(EMLREADER_TEST_DIR).parent_path().parent_path() / "shared" / "corpus";
}

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// Every file below the folders of the corpus; what lies beside them describes it.
std::vector<fs::path> corpusMessages() {
    std::vector<fs::path> files;
    for (const auto& folder : fs::directory_iterator(corpusFolder())) {
        if (!folder.is_directory()) continue;
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file()) files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

// One message opened with one set of flags.
class Checked {
  public:
    Checked(const std::string& message, uint32_t flags)
        : message_(message), host_(message), opened_(host_, flags) {
        shift_ = (flags & EML_OPEN_ROOT_FOLDER) != 0 ? 1 : 0;
        prefix_ = (flags & EML_OPEN_ATTACHMENTS_FOLDER) != 0 ? "Attachments/" : shift_ != 0 ? "root/" : "";
    }

    void checkAll() {
        // A related part without parts is all that can end the open of a real message.
        EXPECT_TRUE(opened_.result() == EML_OK || opened_.result() == EML_OBJECT_FAILED) << opened_.result();
        ASSERT_NE(nullptr, opened_.context());
        EXPECT_NE(EML_CHARSET_UNKNOWN, opened_.result() == EML_OK ? opened_.charset() : EML_CHARSET_WESTERN);
        const auto count = static_cast<int32_t>(opened_.subFileCount());
        ASSERT_EQ(opened_.context()->attachmentCount + 1 + shift_, count);
        for (int32_t number = 0; number < count; ++number) files_.push_back(opened_.describe(number));
        EXPECT_EQ(EML_INVALID_ARGUMENT, opened_.describe(-1).result);
        EXPECT_EQ(EML_INVALID_ARGUMENT, opened_.describe(count).result);
        checkTree();
        for (int32_t number = shift_ + 1; number < count; ++number) checkAttachment(number);
        opened_.close();
        EXPECT_EQ("", host_.complaints());
        EXPECT_EQ(0u, host_.heap().liveBlocks());
        EXPECT_EQ(0u, host_.recordHeap().liveBlocks());
    }

    [[nodiscard]] const std::vector<std::string>& contents() const { return contents_; }

  private:
    // Parents and children say the same.
    void checkTree() {
        std::set<int32_t> seen;
        for (int32_t number = 0; number < static_cast<int32_t>(files_.size()); ++number) {
            SCOPED_TRACE(number);
            const SubFile& file = files_[static_cast<size_t>(number)];
            ASSERT_EQ(EML_OK, file.result);
            const uint32_t kind = number < shift_    ? EML_KIND_FOLDER
                                  : number == shift_ ? EML_KIND_MESSAGE
                                                     : EML_KIND_ATTACHMENT;
            EXPECT_EQ(kind, file.info.kind);
            EXPECT_EQ(number - 1 < shift_ ? number - 1 : shift_, file.info.parent);
            if (kind == EML_KIND_ATTACHMENT) continue;
            ASSERT_EQ(file.info.childCount, file.children.size());
            for (const uint32_t child : file.children) {
                ASSERT_LT(child, files_.size());
                EXPECT_EQ(number, files_[child].info.parent);
                EXPECT_TRUE(seen.insert(static_cast<int32_t>(child)).second) << "a child of two";
            }
        }
        EXPECT_EQ(files_.size() - 1, seen.size());
    }

    void checkAttachment(int32_t number) {
        SCOPED_TRACE(number);
        const SubFile& file = files_[static_cast<size_t>(number)];
        const EmlSection& section = *opened_.context()->attachments[number - shift_ - 1];
        EXPECT_TRUE(startsWith(file.name, prefix_)) << file.name;
        EXPECT_LT(prefix_.size(), file.name.size());
        EmlExtractInfo info{};
        const Extracted content = opened_.extract(number, 0, &info);
        EXPECT_EQ(EML_OK, content.result);
        EXPECT_TRUE(content.closed);
        EXPECT_EQ(content.bytes.size(), content.sizeField);
        contents_.push_back(content.bytes);
        if (file.info.size == -1) {
            EXPECT_EQ(EML_SUB_FILE_NOT_IN_FILE, file.info.flags);
            EXPECT_EQ(EML_EXTRACT_NOT_IN_FILE, info.resultFlags);
            EXPECT_EQ("", content.bytes);
            return;
        }
        EXPECT_EQ(0u, info.resultFlags);
        ASSERT_GE(file.info.size, 0);
        ASSERT_GE(section.bodyStart, 0);
        ASSERT_LE(section.bodyEnd, static_cast<int64_t>(message_.size()));
        checkContent(
            section,
            message_.substr(static_cast<size_t>(section.bodyStart), static_cast<size_t>(file.info.size)),
            content.bytes);
    }

    static void checkContent(const EmlSection& section, const std::string& body, const std::string& content) {
        const bool isText = section.contentClass == EML_CLASS_TEXT || section.contentClass == EML_CLASS_HTML;
        switch (section.encoding) {
            case eml::TransferEncoding::kBase64:
                EXPECT_LE(content.size(), body.size() / 4 * 3);
                EXPECT_EQ(textOf(reference::decodeBase64(bytesOf(body), isText)), content);
                break;
            case eml::TransferEncoding::kQuotedPrintable:
                EXPECT_LE(content.size(), body.size());
                EXPECT_EQ(textOf(reference::decodeQuotedPrintableBody(bytesOf(body))), content);
                break;
            default:
                EXPECT_EQ(body, content);
        }
    }

    const std::string& message_;
    RecordingHost host_;
    OpenedMessage opened_;
    int32_t shift_;
    std::string prefix_;
    std::vector<SubFile> files_;
    std::vector<std::string> contents_;
};

TEST(Corpus, EveryMessageHoldsTheInvariants) {
    if (!fs::is_directory(corpusFolder())) {
        GTEST_SKIP() << "no corpus at " << corpusFolder() << "; EMLREADER_CORPUS names another folder";
    }
    const std::vector<fs::path> files = corpusMessages();
    EXPECT_FALSE(files.empty()) << corpusFolder() << " holds no messages";
    size_t attachments = 0;
    for (const fs::path& path : files) {
        SCOPED_TRACE(path);
        const std::string message = readFile(path);
        std::vector<std::string> plain;
        for (const uint32_t flags : kFlags) {
            SCOPED_TRACE(flags);
            Checked checked(message, flags);
            checked.checkAll();
            if (testing::Test::HasFatalFailure()) return;
            if (flags == 0) plain = checked.contents();
            // The folders change names and numbers, never what there is.
            if ((flags & EML_OPEN_CONVERTED_ATTACHMENTS) == 0) {
                EXPECT_EQ(plain, checked.contents());
            }
        }
        attachments += plain.size();
    }
    RecordProperty("messages", static_cast<int>(files.size()));
    RecordProperty("attachments", static_cast<int>(attachments));
    std::printf("%zu messages, %zu attachments\n", files.size(), attachments);
}

}  // namespace
