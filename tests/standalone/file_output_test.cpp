#include "standalone/file_output.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <string>

#include "standalone/temporary_folder.h"

namespace {

using emlhost::CommitPolicy;
using emlhost::FileOutput;
using emlhost_test::TemporaryFolder;

std::unique_ptr<FileOutput> outputWith(const TemporaryFolder& folder, std::string_view text) {
    std::error_code error;
    auto output = FileOutput::create(folder.path(), error);
    EXPECT_NE(output, nullptr) << error.message();
    EmlIOobj* object = output->object();
    EXPECT_NE(object->open(object), 0);
    object->write(object, text.data(), static_cast<uint32_t>(text.size()));
    EXPECT_NE(object->close(object), 0);
    return output;
}

TEST(FileOutput, AppearsUnderItsNameAtCommitOnly) {
    TemporaryFolder folder;
    auto output = outputWith(folder, "content");
    EXPECT_FALSE(std::filesystem::exists(folder.pathOf("result")));
    EXPECT_TRUE(std::filesystem::exists(output->temporaryPath()));
    EXPECT_FALSE(output->commit("result", CommitPolicy::kKeepExisting));
    EXPECT_EQ(output->temporaryPath(), "");
    EXPECT_EQ(folder.read("result"), "content");
    EXPECT_EQ(folder.entryCount(), 1u) << "nothing else is left behind";
    output.reset();
    EXPECT_EQ(folder.read("result"), "content");
}

TEST(FileOutput, IsRemovedWhenNotCommitted) {
    TemporaryFolder folder;
    outputWith(folder, "content");
    EXPECT_EQ(folder.entryCount(), 0u);
}

TEST(FileOutput, KeepsWhatExistsAndMayTryAnotherName) {
    TemporaryFolder folder;
    folder.write("taken", "old");
    auto output = outputWith(folder, "new");
    EXPECT_EQ(output->commit("taken", CommitPolicy::kKeepExisting), std::errc::file_exists);
    EXPECT_EQ(folder.read("taken"), "old");
    EXPECT_FALSE(output->commit("taken (2)", CommitPolicy::kKeepExisting));
    EXPECT_EQ(folder.read("taken (2)"), "new");
    EXPECT_EQ(folder.entryCount(), 2u);
}

TEST(FileOutput, ReplacesWhenToldTo) {
    TemporaryFolder folder;
    folder.write("taken", "old");
    EXPECT_FALSE(outputWith(folder, "new")->commit("taken", CommitPolicy::kReplace));
    EXPECT_EQ(folder.read("taken"), "new");
    EXPECT_EQ(folder.entryCount(), 1u);
}

TEST(FileOutput, NeverFollowsALink) {
    TemporaryFolder folder;
    folder.write("target", "precious");
    std::filesystem::create_symlink("target", folder.pathOf("link"));
    std::filesystem::create_symlink("nowhere", folder.pathOf("dangling"));
    EXPECT_EQ(outputWith(folder, "new")->commit("link", CommitPolicy::kKeepExisting), std::errc::file_exists);
    EXPECT_EQ(outputWith(folder, "new")->commit("dangling", CommitPolicy::kKeepExisting),
              std::errc::file_exists);
    EXPECT_FALSE(std::filesystem::exists(folder.pathOf("nowhere")));
    EXPECT_FALSE(outputWith(folder, "new")->commit("link", CommitPolicy::kReplace));
    EXPECT_EQ(folder.read("target"), "precious");
    EXPECT_EQ(folder.read("link"), "new");
    EXPECT_FALSE(std::filesystem::is_symlink(folder.pathOf("link")));
}

TEST(FileOutput, AFolderIsNeverReplaced) {
    TemporaryFolder folder;
    std::filesystem::create_directory(folder.pathOf("taken"));
    EXPECT_EQ(outputWith(folder, "new")->commit("taken", CommitPolicy::kKeepExisting),
              std::errc::file_exists);
    EXPECT_EQ(outputWith(folder, "new")->commit("taken", CommitPolicy::kReplace), std::errc::is_a_directory);
    EXPECT_EQ(folder.entryCount(), 1u);
}

TEST(FileOutput, TakesPlainNamesOnly) {
    TemporaryFolder folder;
    std::filesystem::create_directory(folder.pathOf("sub"));
    auto output = outputWith(folder, "content");
    const std::string names[] = {
        "", ".", "..", "/", "../outside", "sub/inside", "/tmp/emlhost-absolute", {"a\0b", 3}};
    for (const std::string& name : names) {
        EXPECT_EQ(output->commit(name, CommitPolicy::kReplace), std::errc::invalid_argument) << name;
    }
    EXPECT_FALSE(output->commit("fine", CommitPolicy::kKeepExisting));
    EXPECT_EQ(output->commit("again", CommitPolicy::kKeepExisting), std::errc::invalid_argument);
}

TEST(FileOutput, CanGoIntoAFolderOfItsFolder) {
    TemporaryFolder folder;
    std::filesystem::create_directory(folder.pathOf("sub"));
    folder.write("sub/taken", "old");
    auto output = outputWith(folder, "new");
    for (const std::string name : {"", ".", "..", "sub/deep", "/tmp"}) {
        EXPECT_EQ(output->commitInto(name, "x", CommitPolicy::kReplace), std::errc::invalid_argument) << name;
        EXPECT_EQ(output->commitInto("sub", name, CommitPolicy::kReplace), std::errc::invalid_argument)
            << name;
    }
    EXPECT_EQ(output->commitInto("none", "x", CommitPolicy::kReplace), std::errc::no_such_file_or_directory);
    EXPECT_EQ(output->commitInto("sub", "taken", CommitPolicy::kKeepExisting), std::errc::file_exists);
    EXPECT_EQ(folder.read("sub/taken"), "old");
    EXPECT_FALSE(output->commitInto("sub", "taken", CommitPolicy::kReplace));
    EXPECT_EQ(folder.read("sub/taken"), "new");
    EXPECT_EQ(folder.entryCount(), 1u) << "nothing else is left behind";
}

TEST(FileOutput, HasOrdinaryPermissionsLessTheUmask) {
    TemporaryFolder folder;
    mode_t previous = ::umask(022);
    EXPECT_FALSE(outputWith(folder, "x")->commit("result", CommitPolicy::kKeepExisting));
    std::error_code error;
    auto secret = FileOutput::create(folder.path(), error, 0600);
    ASSERT_NE(secret, nullptr);
    EXPECT_FALSE(secret->commit("secret", CommitPolicy::kKeepExisting));
    ::umask(previous);
    struct stat status;
    ASSERT_EQ(::stat(folder.pathOf("result").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644u);
    ASSERT_EQ(::stat(folder.pathOf("secret").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u);
}

TEST(FileOutput, OpeningAgainEmptiesTheFile) {
    TemporaryFolder folder;
    auto output = outputWith(folder, "something long");
    EmlIOobj* object = output->object();
    ASSERT_NE(object->open(object), 0);
    object->write(object, "short", 5);
    EXPECT_FALSE(output->commit("result", CommitPolicy::kKeepExisting)) << "commit finishes, closed or not";
    EXPECT_EQ(folder.read("result"), "short");
    EXPECT_EQ(object->open(object), 0) << "a committed file is not touched any more";
}

TEST(FileOutput, StandsInAFolderThatIsOpen) {
    TemporaryFolder folder;
    std::error_code error;
    const emlhost::UniqueDescriptor directory(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY));
    for (const char* name : {"one", "two"}) {
        const auto output = FileOutput::createIn(directory.get(), "temporary", error);
        ASSERT_NE(output, nullptr) << error.message();
        EXPECT_EQ(FileOutput::createIn(directory.get(), "temporary", error), nullptr) << "it is taken";
        EXPECT_EQ(error, std::errc::file_exists);
        EXPECT_FALSE(output->commit(name, CommitPolicy::kKeepExisting));
    }
    EXPECT_NE(FileOutput::createIn(directory.get(), "temporary", error), nullptr);
    EXPECT_FALSE(std::filesystem::exists(folder.pathOf("temporary")));
    EXPECT_TRUE(std::filesystem::exists(folder.pathOf("two")));
}

TEST(FileOutput, TellsWhyItCannotBeCreated) {
    TemporaryFolder folder;
    std::string file = folder.write("file", "");
    std::error_code error;
    EXPECT_EQ(FileOutput::create(folder.pathOf("missing"), error), nullptr);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    EXPECT_EQ(FileOutput::create(file, error), nullptr);
    EXPECT_EQ(error, std::errc::not_a_directory);
}

TEST(FileOutput, AFileThatCouldNotBeWrittenIsNotCommitted) {
    TemporaryFolder folder;
    std::error_code error;
    auto output = FileOutput::create(folder.path(), error);
    ASSERT_NE(output, nullptr);
    // A limit on the size of files fails a write as a full disk does.
    auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit previousLimit;
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &previousLimit), 0);
    rlimit limit = previousLimit;
    limit.rlim_cur = 100'000;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    EmlIOobj* object = output->object();
    object->open(object);
    std::string piece(4096, 'x');
    for (int i = 0; i < 50; ++i) object->write(object, piece.data(), static_cast<uint32_t>(piece.size()));
    int32_t closed = object->close(object);
    std::error_code committed = output->commit("result", CommitPolicy::kKeepExisting);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &previousLimit), 0);
    std::signal(SIGXFSZ, previousHandler);
    EXPECT_EQ(closed, 0);
    EXPECT_EQ(output->error(), std::errc::file_too_large);
    EXPECT_EQ(committed, std::errc::file_too_large);
    output.reset();
    EXPECT_EQ(folder.entryCount(), 0u);
}

}  // namespace
