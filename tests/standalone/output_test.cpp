#include "standalone/output.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "standalone/file_output.h"
#include "standalone/temporary_folder.h"

namespace {

using emlhost::CommitPolicy;
using emlhost::DescriptorOutput;
using emlhost::FileOutput;
using emlhost::MemoryOutput;
using emlhost::Output;
using emlhost::UniqueDescriptor;
using emlhost_test::TemporaryFolder;

bool seekTo(EmlIOobj* object, int64_t offset, uint32_t origin = EML_SEEK_START) {
    auto bits = static_cast<uint64_t>(offset);
    return object->seek(object, static_cast<uint32_t>(bits), static_cast<int32_t>(bits >> 32), origin) != 0;
}

void write(EmlIOobj* object, std::string_view text) {
    object->write(object, text.data(), static_cast<uint32_t>(text.size()));
}

std::string textOf(const MemoryOutput& output) { return {output.bytes().begin(), output.bytes().end()}; }

TEST(MemoryOutput, CollectsWritesAndOverwritesAfterSeeking) {
    MemoryOutput output;
    EmlIOobj* object = output.object();
    ASSERT_NE(object->open(object), 0);
    write(object, "0123456789");
    ASSERT_TRUE(seekTo(object, 8));
    write(object, "abcd");
    EXPECT_EQ(object->tell(object), 12);
    ASSERT_TRUE(seekTo(object, 0));
    write(object, "AB");
    EXPECT_EQ(object->tell(object), 2);
    EXPECT_EQ(output.size(), 12u);
    EXPECT_NE(object->close(object), 0);
    EXPECT_EQ(textOf(output), "AB234567abcd");
}

TEST(MemoryOutput, SeeksOnlyWithinWhatIsWritten) {
    MemoryOutput output;
    EmlIOobj* object = output.object();
    object->open(object);
    write(object, "0123");
    EXPECT_TRUE(seekTo(object, 0, EML_SEEK_END));
    EXPECT_EQ(object->tell(object), 4);
    EXPECT_TRUE(seekTo(object, -4, EML_SEEK_END));
    EXPECT_FALSE(seekTo(object, 5));
    EXPECT_FALSE(seekTo(object, 1, EML_SEEK_END));
    EXPECT_FALSE(seekTo(object, -1));
    EXPECT_FALSE(seekTo(object, -5, EML_SEEK_END));
    EXPECT_FALSE(seekTo(object, int64_t{1} << 32));
    EXPECT_FALSE(seekTo(object, 0, 1));
    EXPECT_EQ(object->tell(object), 0);
}

TEST(MemoryOutput, OpeningAgainEmptiesIt) {
    MemoryOutput output;
    EmlIOobj* object = output.object();
    object->open(object);
    write(object, "first");
    object->close(object);
    ASSERT_NE(object->open(object), 0);
    EXPECT_EQ(output.size(), 0u);
    write(object, "2nd");
    EXPECT_EQ(textOf(output), "2nd");
    EXPECT_EQ(output.take().size(), 3u);
}

TEST(Output, TheRecordHasWhatAnExtractionNeedsAndNoMore) {
    MemoryOutput output;
    EmlIOobj* object = output.object();
    EXPECT_NE(object->open, nullptr);
    EXPECT_NE(object->write, nullptr);
    EXPECT_NE(object->seek, nullptr);
    EXPECT_NE(object->tell, nullptr);
    EXPECT_NE(object->close, nullptr);
    EXPECT_EQ(object->read, nullptr);
    EXPECT_EQ(object->release, nullptr);
    write(object, "0123");
    EXPECT_EQ(object->size[0], 0u) << "the size is the library's to store";
}

// A sink that fails from some write on.
class FailingOutput final : public Output {
  public:
    explicit FailingOutput(int writesThatSucceed) : Output(Seeking::kAnywhere), left_(writesThatSucceed) {}
    int puts() const { return puts_; }

  private:
    int put(uint64_t, std::span<const uint8_t>) noexcept override {
        ++puts_;
        return left_-- > 0 ? 0 : ENOSPC;
    }

    int left_;
    int puts_ = 0;
};

TEST(Output, RemembersTheFirstErrorAndFailsAtClose) {
    FailingOutput output(1);
    EmlIOobj* object = output.object();
    object->open(object);
    write(object, "good");
    EXPECT_FALSE(output.error());
    write(object, "bad");
    write(object, "ignored");
    EXPECT_EQ(output.puts(), 2);
    EXPECT_EQ(output.size(), 4u);
    EXPECT_EQ(output.error(), std::errc::no_space_on_device);
    EXPECT_EQ(object->close(object), 0);
}

TEST(DescriptorOutput, WritesThroughAPipeAndCounts) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    UniqueDescriptor readEnd(ends[0]);
    UniqueDescriptor writeEnd(ends[1]);
    DescriptorOutput output(writeEnd.get());
    EmlIOobj* object = output.object();
    ASSERT_NE(object->open(object), 0);
    EXPECT_TRUE(seekTo(object, 0)) << "at the start that is no move";
    write(object, "hello ");
    write(object, "world");
    EXPECT_FALSE(seekTo(object, 0));
    EXPECT_FALSE(seekTo(object, -1, EML_SEEK_END));
    EXPECT_TRUE(seekTo(object, 0, EML_SEEK_END));
    EXPECT_EQ(object->tell(object), 11);
    EXPECT_NE(object->close(object), 0);
    char buffer[32];
    ASSERT_EQ(::read(readEnd.get(), buffer, sizeof buffer), 11);
    EXPECT_EQ(std::string(buffer, 11), "hello world");
}

TEST(DescriptorOutput, ServesSeveralExtractionsOneBehindTheOther) {
    TemporaryFolder folder;
    std::string path = folder.pathOf("all");
    UniqueDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    DescriptorOutput output(file.get());
    EmlIOobj* object = output.object();
    for (const char* text : {"one", "two"}) {
        ASSERT_NE(object->open(object), 0);
        EXPECT_TRUE(seekTo(object, 0));
        write(object, text);
        EXPECT_EQ(object->tell(object), 3);
        EXPECT_NE(object->close(object), 0);
    }
    EXPECT_EQ(folder.read("all"), "onetwo");
}

TEST(DescriptorOutput, AClosedPipeIsAnErrorAtClose) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    UniqueDescriptor writeEnd(ends[1]);
    ::close(ends[0]);
    auto previous = std::signal(SIGPIPE, SIG_IGN);
    DescriptorOutput output(writeEnd.get());
    EmlIOobj* object = output.object();
    object->open(object);
    write(object, "lost");
    EXPECT_EQ(object->close(object), 0);
    EXPECT_EQ(output.error(), std::errc::broken_pipe);
    std::signal(SIGPIPE, previous);
}

TEST(DescriptorOutput, AFullDeviceIsAnErrorAtClose) {
    UniqueDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    if (!full.valid()) GTEST_SKIP() << "no /dev/full here";
    DescriptorOutput output(full.get());
    EmlIOobj* object = output.object();
    object->open(object);
    write(object, std::string(200'000, 'x'));
    EXPECT_EQ(object->close(object), 0);
    EXPECT_EQ(output.error(), std::errc::no_space_on_device);
}

// Writes of all sizes, around that of the buffer, and seeks between them: the file must hold what memory
// does.
TEST(BufferedOutput, GivesWhatUnbufferedWritesGive) {
    TemporaryFolder folder;
    std::error_code error;
    auto file = FileOutput::create(folder.path(), error);
    ASSERT_NE(file, nullptr) << error.message();
    MemoryOutput memory;
    memory.object()->open(memory.object());
    file->object()->open(file->object());
    const size_t sizes[] = {1, 4096, 65535, 65536, 65537, 3, 0, 131072, 60000, 5536, 7};
    char fill = 'a';
    for (size_t size : sizes) {
        for (EmlIOobj* object : {memory.object(), file->object()}) {
            write(object, std::string(size, fill));
            if (fill % 3 == 0) {
                EXPECT_TRUE(seekTo(object, 10));
                write(object, "moved");
                EXPECT_TRUE(seekTo(object, 0, EML_SEEK_END));
            }
        }
        ++fill;
    }
    EXPECT_EQ(file->size(), memory.size());
    ASSERT_FALSE(file->commit("result", CommitPolicy::kKeepExisting));
    EXPECT_EQ(folder.read("result"), textOf(memory));
}

}  // namespace
