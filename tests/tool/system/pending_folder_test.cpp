#include "tool/system/pending_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace emltool {
namespace {

namespace fs = std::filesystem;
using emlhost::CommitPolicy;

// A folder that vanishes with its files.
class PendingFiles : public ::testing::Test {
  protected:
    PendingFiles() {
        std::string name = (fs::temp_directory_path() / "pending-XXXXXX").string();
        path_ = ::mkdtemp(name.data());
    }
    ~PendingFiles() override { fs::remove_all(path_); }

    static void write(emlhost::Output& output, const std::string& text) {
        EmlIOobj* const object = output.object();
        object->open(object);
        object->write(object, text.data(), static_cast<uint32_t>(text.size()));
        object->close(object);
    }

    std::string contentOf(const std::string& name) const {
        std::ifstream file(fs::path(path_) / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& entry : fs::directory_iterator(path_))
            all.push_back(entry.path().filename().string());
        std::sort(all.begin(), all.end());
        return all;
    }

    std::string path_;
    std::error_code error_;
};

using Names = std::vector<std::string>;

TEST_F(PendingFiles, HaveTheirNamesWhenTheyAreWhole) {
    PendingFolder folder(path_);
    for (const std::string name : {"a", "b", "c"}) {
        const auto file = folder.create(error_);
        ASSERT_NE(file, nullptr);
        write(*file, "first, which is longer");
        write(*file, "content of " + name);
        EXPECT_FALSE(fs::exists(fs::path(path_) / name));
        EXPECT_FALSE(file->commit(name, CommitPolicy::kKeepExisting));
        EXPECT_EQ(file->commit(name, CommitPolicy::kReplace), std::errc::invalid_argument);
    }
    EXPECT_EQ(names(), (Names{"a", "b", "c"}));
    EXPECT_EQ(contentOf("b"), "content of b");
}

TEST_F(PendingFiles, LeaveNothingUnlessCommitted) {
    PendingFolder folder(path_);
    {
        const auto file = folder.create(error_);
        write(*file, "text");
        EXPECT_EQ(names().size(), 1U);
    }
    EXPECT_EQ(names(), Names{});
}

TEST_F(PendingFiles, KeepWhatIsThereOrReplaceIt) {
    std::ofstream(fs::path(path_) / "old") << "old";
    fs::create_symlink("nowhere", fs::path(path_) / "link");
    PendingFolder folder(path_);
    EXPECT_TRUE(folder.has("old"));
    EXPECT_TRUE(folder.has("link"));
    EXPECT_FALSE(folder.has("new"));
    {
        const auto file = folder.create(error_);
        write(*file, "new");
        EXPECT_EQ(file->commit("old", CommitPolicy::kKeepExisting), std::errc::file_exists);
        EXPECT_EQ(file->commit("link", CommitPolicy::kKeepExisting), std::errc::file_exists);
        for (const std::string name : {"", ".", "..", "a/b"}) {
            EXPECT_EQ(file->commit(name, CommitPolicy::kReplace), std::errc::invalid_argument) << name;
        }
        EXPECT_EQ(contentOf("old"), "old");
        EXPECT_FALSE(file->commit("link", CommitPolicy::kReplace));
    }
    EXPECT_EQ(names(), (Names{"link", "old"}));
    EXPECT_EQ(contentOf("link"), "new");
    EXPECT_FALSE(fs::is_symlink(fs::path(path_) / "link"));
}

// Somebody else makes a file, or a link, of the name that the next one would have had.
TEST_F(PendingFiles, NeverWriteThroughATemporaryNameThatIsTaken) {
    PendingFolder folder(path_);
    std::string temporary;
    {
        const auto file = folder.create(error_);
        write(*file, "one");
        temporary = names()[0];
        EXPECT_FALSE(file->commit("one", CommitPolicy::kKeepExisting));
    }
    fs::create_symlink("one", fs::path(path_) / temporary);
    {
        const auto file = folder.create(error_);
        ASSERT_NE(file, nullptr);
        write(*file, "two");
        EXPECT_FALSE(file->commit("two", CommitPolicy::kKeepExisting));
    }
    EXPECT_EQ(names(), (Names{temporary, "one", "two"}));
    EXPECT_EQ(contentOf("one"), "one");
    EXPECT_EQ(contentOf("two"), "two");
}

TEST_F(PendingFiles, TellWhyTheyCannotBeCreated) {
    PendingFolder missing(path_ + "/missing");
    EXPECT_EQ(missing.create(error_), nullptr);
    EXPECT_EQ(error_, std::errc::no_such_file_or_directory);
}

}  // namespace
}  // namespace emltool
