#include "standalone/unnamed_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "standalone/temporary_folder.h"
#include "standalone/temporary_variable.h"

namespace {

using emlhost_test::TemporaryFolder;
using emlhost_test::TemporaryVariable;

TEST(UnnamedFile, HasNoNameAndCanBeReadAndWritten) {
    TemporaryFolder folder;
    const TemporaryVariable place("TMPDIR", folder.path().c_str());
    const emlhost::UniqueDescriptor file = emlhost::createUnnamedFile();
    ASSERT_TRUE(file.valid());
    EXPECT_EQ(folder.entryCount(), 0U);
    struct stat status {};
    ASSERT_EQ(::fstat(file.get(), &status), 0);
    EXPECT_EQ(status.st_nlink, 0U);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    char text[5] = {};
    EXPECT_EQ(::pwrite(file.get(), "text", 4, 0), 4);
    EXPECT_EQ(::pread(file.get(), text, 4, 0), 4);
    EXPECT_STREQ(text, "text");
}

TEST(UnnamedFile, NeedsAFolder) {
    const TemporaryVariable place("TMPDIR", "/no/such/folder");
    const emlhost::UniqueDescriptor file = emlhost::createUnnamedFile();
    const int failure = errno;
    EXPECT_FALSE(file.valid());
    EXPECT_EQ(failure, ENOENT);
}

}  // namespace
