#include "standalone/input.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <thread>

#include "standalone/temporary_folder.h"

namespace {

using emlhost::DescriptorInput;
using emlhost::Input;
using emlhost::MappedFileInput;
using emlhost::MemoryInput;
using emlhost::openInput;
using emlhost::spoolInput;
using emlhost::UniqueDescriptor;
using emlhost_test::TemporaryFolder;

bool seekTo(EmlIOobj* object, int64_t offset, uint32_t origin = EML_SEEK_START) {
    auto bits = static_cast<uint64_t>(offset);
    return object->seek(object, static_cast<uint32_t>(bits), static_cast<int32_t>(bits >> 32), origin) != 0;
}

std::string readAtMost(EmlIOobj* object, uint32_t count) {
    std::string buffer(count, '\0');
    int32_t got = object->read(object, buffer.data(), count);
    EXPECT_LE(got, static_cast<int32_t>(count));
    buffer.resize(got < 0 ? 0 : static_cast<size_t>(got));
    return buffer;
}

// Text in which every place looks different.
std::string numberedText(size_t size) {
    std::string text;
    for (size_t i = 0; text.size() < size; ++i) text += std::to_string(i) + ",";
    text.resize(size);
    return text;
}

// Every rule of the record, for each kind of input.
struct Kind {
    const char* name;
    std::unique_ptr<Input> (*make)(const std::string& path, const std::string& content);
};

std::unique_ptr<Input> makeMemory(const std::string&, const std::string& content) {
    return std::make_unique<MemoryInput>(
        std::span(reinterpret_cast<const uint8_t*>(content.data()), content.size()));
}

template <typename T>
std::unique_ptr<Input> makeFile(const std::string& path, const std::string&) {
    std::error_code error;
    std::unique_ptr<Input> input = T::open(path, error);
    EXPECT_FALSE(error) << error.message();
    return input;
}

class EveryInput : public testing::TestWithParam<Kind> {
  protected:
    EmlIOobj* open(const std::string& content) {
        content_ = content;
        input_ = GetParam().make(folder_.write("message.eml", content_), content_);
        EmlIOobj* object = input_->object();
        EXPECT_NE(object->open(object), 0);
        return object;
    }

    TemporaryFolder folder_;
    std::string content_;
    std::unique_ptr<Input> input_;
};

TEST_P(EveryInput, ReadsOnFromThePositionUntilTheEnd) {
    EmlIOobj* object = open("0123456789");
    EXPECT_EQ(readAtMost(object, 4), "0123");
    EXPECT_EQ(object->tell(object), 4);
    EXPECT_EQ(readAtMost(object, 4), "4567");
    EXPECT_EQ(readAtMost(object, 4), "89");
    EXPECT_EQ(readAtMost(object, 4), "");
    EXPECT_EQ(object->tell(object), 10);
    EXPECT_EQ(input_->size(), 10u);
    EXPECT_FALSE(input_->error());
    EXPECT_NE(object->close(object), 0);
}

TEST_P(EveryInput, AnEmptyMessageHasNothingToRead) {
    EmlIOobj* object = open("");
    EXPECT_EQ(readAtMost(object, 1), "");
    EXPECT_TRUE(seekTo(object, 0, EML_SEEK_END));
    EXPECT_EQ(object->tell(object), 0);
}

TEST_P(EveryInput, SeeksFromBothEnds) {
    struct Row {
        int64_t offset;
        uint32_t origin;
        bool succeeds;
        int64_t position;
        const char* next;
    };
    const Row rows[] = {
        {0, EML_SEEK_START, true, 0, "012"},
        {7, EML_SEEK_START, true, 7, "789"},
        {10, EML_SEEK_START, true, 10, ""},
        {11, EML_SEEK_START, true, 11, ""},
        {int64_t{5} << 32, EML_SEEK_START, true, int64_t{5} << 32, ""},
        {INT64_MAX, EML_SEEK_START, true, INT64_MAX, ""},
        {-1, EML_SEEK_START, false, 3, "345"},
        {INT64_MIN, EML_SEEK_START, false, 3, "345"},
        {0, EML_SEEK_END, true, 10, ""},
        {-2, EML_SEEK_END, true, 8, "89"},
        {-10, EML_SEEK_END, true, 0, "012"},
        {5, EML_SEEK_END, true, 15, ""},
        {-11, EML_SEEK_END, false, 3, "345"},
        {INT64_MAX, EML_SEEK_END, false, 3, "345"},
        {INT64_MIN, EML_SEEK_END, false, 3, "345"},
        {0, 1, false, 3, "345"},
        {0, 3, false, 3, "345"},
    };
    EmlIOobj* object = open("0123456789");
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.offset << " from " << row.origin);
        ASSERT_TRUE(seekTo(object, 3));
        EXPECT_EQ(seekTo(object, row.offset, row.origin), row.succeeds);
        EXPECT_EQ(object->tell(object), row.position);
        EXPECT_EQ(readAtMost(object, 3), row.next);
    }
}

TEST_P(EveryInput, OpeningAgainStartsAnew) {
    EmlIOobj* object = open("0123456789");
    readAtMost(object, 5);
    object->close(object);
    EXPECT_NE(object->open(object), 0);
    EXPECT_EQ(readAtMost(object, 3), "012");
}

TEST_P(EveryInput, GivesWholeReadsEverywhere) {
    const std::string content = numberedText(3 * DescriptorInput::kWindowSize + 777);
    EmlIOobj* object = open(content);
    constexpr size_t kRead = 4096;
    // Forwards and backwards, in steps that meet the ends of windows in every way.
    for (size_t at = 0; at < content.size(); at += 1021) {
        for (size_t position : {at, content.size() - 1 - at}) {
            ASSERT_TRUE(seekTo(object, static_cast<int64_t>(position)));
            ASSERT_EQ(readAtMost(object, kRead), content.substr(position, kRead)) << position;
        }
    }
    ASSERT_TRUE(seekTo(object, 5));
    EXPECT_EQ(readAtMost(object, 1u << 20), content.substr(5));
}

TEST_P(EveryInput, HasNoReleaseUnlessHandedOver) {
    EXPECT_EQ(open("x")->release, nullptr);
    EmlIOobj* object = Input::handOver(std::move(input_));
    ASSERT_NE(object->release, nullptr);
    object->release(object);  // the leak checker sees to it that this destroys the input
}

INSTANTIATE_TEST_SUITE_P(Kinds, EveryInput,
                         testing::Values(Kind{"Memory", makeMemory},
                                         Kind{"Descriptor", makeFile<DescriptorInput>},
                                         Kind{"Mapped", makeFile<MappedFileInput>}),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(Input, HandingOverNothingGivesNothing) { EXPECT_EQ(Input::handOver(nullptr), nullptr); }

TEST(FileInputs, TellWhyTheyCannotOpen) {
    TemporaryFolder folder;
    std::string missing = folder.pathOf("missing");
    std::error_code error;
    EXPECT_EQ(DescriptorInput::open(missing, error), nullptr);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    EXPECT_EQ(MappedFileInput::open(missing, error), nullptr);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    EXPECT_EQ(openInput(missing, error), nullptr);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);

    EXPECT_EQ(DescriptorInput::open(folder.path(), error), nullptr);
    EXPECT_EQ(error, std::errc::is_a_directory);
    EXPECT_EQ(MappedFileInput::open(folder.path(), error), nullptr);
    EXPECT_EQ(error, std::errc::is_a_directory);
    EXPECT_EQ(openInput(folder.path(), error), nullptr);
    EXPECT_EQ(error, std::errc::is_a_directory);

    EXPECT_EQ(MappedFileInput::open("/dev/null", error), nullptr);
    EXPECT_EQ(error, std::errc::no_such_device);
    EXPECT_EQ(DescriptorInput::fromDescriptor(UniqueDescriptor(), error), nullptr);
    EXPECT_EQ(error, std::errc::bad_file_descriptor);
}

TEST(DescriptorInput, AFileTruncatedMeanwhileEndsEarly) {
    TemporaryFolder folder;
    const std::string content = numberedText(2 * DescriptorInput::kWindowSize + 10);
    std::string path = folder.write("message.eml", content);
    std::error_code error;
    auto input = DescriptorInput::open(path, error);
    ASSERT_NE(input, nullptr);
    std::filesystem::resize_file(path, DescriptorInput::kWindowSize + 4);
    EmlIOobj* object = input->object();
    ASSERT_TRUE(seekTo(object, DescriptorInput::kWindowSize));
    EXPECT_EQ(readAtMost(object, 100), content.substr(DescriptorInput::kWindowSize, 4));
    ASSERT_TRUE(seekTo(object, 2 * DescriptorInput::kWindowSize));
    EXPECT_EQ(readAtMost(object, 100), "");
    EXPECT_FALSE(input->error());
}

TEST(DescriptorInput, AFailingReadIsTheEndAndIsRemembered) {
    TemporaryFolder folder;
    std::string path = folder.write("message.eml", "0123");
    UniqueDescriptor writeOnly(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    std::error_code error;
    auto input = DescriptorInput::fromDescriptor(std::move(writeOnly), error);
    ASSERT_NE(input, nullptr);
    EXPECT_EQ(readAtMost(input->object(), 4), "");
    EXPECT_EQ(input->error(), std::errc::bad_file_descriptor);
}

TEST(DescriptorInput, LeavesThePositionOfTheDescriptorAlone) {
    TemporaryFolder folder;
    std::string path = folder.write("message.eml", "0123456789");
    int number = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::lseek(number, 6, SEEK_SET), 6);
    std::error_code error;
    auto input = DescriptorInput::fromDescriptor(UniqueDescriptor(number), error);
    ASSERT_NE(input, nullptr);
    EXPECT_EQ(readAtMost(input->object(), 3), "012");
    EXPECT_EQ(::lseek(number, 0, SEEK_CUR), 6);
}

TEST(DescriptorInput, ReadsBehindFourGiB) {
    TemporaryFolder folder;
    std::string path = folder.write("large.eml", "");
    constexpr int64_t kSize = (int64_t{1} << 32) + 10;
    int number = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    // A hole: the file takes no room.
    if (::pwrite(number, "end", 3, static_cast<off_t>(kSize - 3)) != 3) {
        ::close(number);
        GTEST_SKIP() << "the file system has no files of this size";
    }
    std::error_code error;
    auto input = DescriptorInput::fromDescriptor(UniqueDescriptor(number), error);
    ASSERT_NE(input, nullptr);
    EXPECT_EQ(input->size(), static_cast<uint64_t>(kSize));
    EmlIOobj* object = input->object();
    ASSERT_TRUE(seekTo(object, -3, EML_SEEK_END));
    EXPECT_EQ(object->tell(object), kSize - 3);
    EXPECT_EQ(readAtMost(object, 10), "end");
}

TEST(DescriptorInput, APipeIsRefused) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    UniqueDescriptor writeEnd(ends[1]);
    std::error_code error;
    EXPECT_EQ(DescriptorInput::fromDescriptor(UniqueDescriptor(ends[0]), error), nullptr);
    EXPECT_EQ(error, std::errc::invalid_seek);
}

TEST(SpoolInput, KeepsAllThatAPipeDelivers) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    UniqueDescriptor readEnd(ends[0]);
    const std::string content = numberedText(300'000);
    std::thread writer([&content, number = ends[1]] {
        UniqueDescriptor writeEnd(number);  // closing it is what ends the input
        for (size_t at = 0; at < content.size();) {
            ssize_t written = ::write(writeEnd.get(), content.data() + at, content.size() - at);
            if (written <= 0) break;
            at += static_cast<size_t>(written);
        }
    });
    std::error_code error;
    auto input = spoolInput(readEnd.get(), error);
    writer.join();
    ASSERT_NE(input, nullptr) << error.message();
    EXPECT_EQ(readAtMost(input->object(), 1u << 20), content);
    EXPECT_TRUE(seekTo(input->object(), 100));
    EXPECT_EQ(readAtMost(input->object(), 10), content.substr(100, 10));
}

TEST(SpoolInput, TellsWhyItCannotRead) {
    TemporaryFolder folder;
    UniqueDescriptor directory(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::error_code error;
    EXPECT_EQ(spoolInput(directory.get(), error), nullptr);
    EXPECT_EQ(error, std::errc::is_a_directory);
}

TEST(OpenInput, OpensFilesAndSpoolsWhatCannotSeek) {
    TemporaryFolder folder;
    std::error_code error;
    auto file = openInput(folder.write("message.eml", "0123"), error);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(readAtMost(file->object(), 10), "0123");

    std::string fifo = folder.pathOf("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::thread writer([&fifo] { std::ofstream(fifo) << "from a pipe"; });
    auto spooled = openInput(fifo, error);
    writer.join();
    ASSERT_NE(spooled, nullptr) << error.message();
    EXPECT_EQ(readAtMost(spooled->object(), 100), "from a pipe");
}

}  // namespace
