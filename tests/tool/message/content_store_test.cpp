#include "tool/message/content_store.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "standalone/temporary_folder.h"
#include "tool/system/write_pieces.h"
#include "tool/terminal/problem.h"
#include "tool/text/needs_sha256.h"

namespace emltool {
namespace {

namespace fs = std::filesystem;
using emlhost_test::TemporaryFolder;

class ContentStoreTest : public NeedsSha256 {
  protected:
    // Where a content belongs in a store.
    static std::string placeOf(std::string_view content) {
        const std::string digest = hexText(Sha256::of(content));
        return digest.substr(0, 2) + "/" + digest.substr(2);
    }

    static ContentStore::Stored stored(ContentStore& store, std::string_view content) {
        writeWhole(store.output(), {reinterpret_cast<const uint8_t*>(content.data()), content.size()});
        return store.store();
    }

    size_t fileCount() const {
        size_t count = 0;
        for (const auto& entry : fs::recursive_directory_iterator(folder_.path()))
            count += entry.is_directory() ? 0 : 1;
        return count;
    }

    TemporaryFolder folder_;
};

TEST_F(ContentStoreTest, HasEachContentUnderItsDigest) {
    ContentStore store(folder_.path());
    store.prepare();
    EXPECT_EQ(folder_.entryCount(), 0u) << "finding out whether it can be written leaves nothing";
    for (const size_t size : {size_t{0}, size_t{1}, ContentStore::kMaxHeld - 1, ContentStore::kMaxHeld,
                              ContentStore::kMaxHeld + 1, 5 * ContentStore::kMaxHeld + 3}) {
        SCOPED_TRACE(size);
        const std::string content(size, 'x');
        const ContentStore::Stored first = stored(store, content);
        EXPECT_TRUE(first.isNew);
        EXPECT_EQ(first.sha256, hexText(Sha256::of(content)));
        EXPECT_EQ(first.path, folder_.pathOf(placeOf(content)));
        EXPECT_EQ(folder_.read(placeOf(content)), content);
        EXPECT_FALSE(stored(store, content).isNew);
    }
    EXPECT_EQ(fileCount(), 6u) << "nothing but the contents";
}

TEST_F(ContentStoreTest, WhatIsNotStoredIsNotThere) {
    const std::string content(3 * ContentStore::kMaxHeld, 'x');
    ContentStore store(folder_.path());
    writeWhole(store.output(), {reinterpret_cast<const uint8_t*>(content.data()), content.size()});
    EXPECT_EQ(fileCount(), 1u) << "a temporary file";
    EXPECT_TRUE(stored(store, "y").isNew);
    EXPECT_EQ(fileCount(), 1u);
    EXPECT_EQ(folder_.read(placeOf("y")), "y");
}

TEST_F(ContentStoreTest, OneIsWrittenByMany) {
    ContentStore one(folder_.path());
    ContentStore other(folder_.path());
    const std::string content(2 * ContentStore::kMaxHeld, 'x');
    const std::span bytes(reinterpret_cast<const uint8_t*>(content.data()), content.size());
    writeWhole(one.output(), bytes);
    writeWhole(other.output(), bytes);
    EXPECT_TRUE(one.store().isNew);
    EXPECT_FALSE(other.store().isNew);
    EXPECT_EQ(fileCount(), 1u);
}

TEST_F(ContentStoreTest, WhatIsNoWholeFileIsReplaced) {
    ContentStore store(folder_.path());
    fs::create_directory(folder_.pathOf(placeOf("content").substr(0, 2)));
    folder_.write("precious", "content");
    const std::string place = folder_.pathOf(placeOf("content"));
    folder_.write(placeOf("content"), "conte");
    EXPECT_TRUE(stored(store, "content").isNew);
    EXPECT_EQ(folder_.read(placeOf("content")), "content");
    fs::remove(place);
    fs::create_symlink(folder_.pathOf("precious"), place);
    EXPECT_TRUE(stored(store, "content").isNew) << "a link is not followed";
    EXPECT_FALSE(fs::is_symlink(place));
    fs::remove(place);
    fs::create_directory(place);
    EXPECT_THROW(stored(store, "content"), Problem);
    fs::remove(place);
    EXPECT_TRUE(stored(store, "content").isNew) << "after a failure the next content has its turn";
    EXPECT_EQ(folder_.read("precious"), "content");
}

TEST_F(ContentStoreTest, AnEmptyFolderOfOursGoesAgain) {
    ContentStore store(folder_.pathOf("a/b"));
    store.prepare();
    EXPECT_TRUE(fs::is_directory(folder_.pathOf("a/b")));
    store.removeIfEmpty();
    EXPECT_EQ(folder_.entryCount(), 0u);
    folder_.write("file", "x");
    EXPECT_THROW(ContentStore(folder_.pathOf("file")).prepare(), Problem);
}

}  // namespace
}  // namespace emltool
