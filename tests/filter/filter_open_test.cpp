// Opening and closing a message as a filter: what the host is called for, in which order, and the codes.
#include <gtest/gtest.h>

#include "filter/scan_dump.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

constexpr const char kMessage[] =
    "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: image/x; name=n\r\n\r\ncontent\r\n"
    "--b--\r\n";

// Everything that a context can own.
void useAll(OpenFilter& filter) {
    (void)filter.stream(65536);
    (void)filter.extract(1);
    (void)filter.metadata();
    (void)filter.describe(0);
}

TEST(FilterOpen, AsksTheHostInThisOrder) {
    UnopenedFilter filter("Subject: s\r\n\r\ntext\r\n");
    filter.host().journal().record();
    filter.open(0);
    const std::vector<Entry> kCalls = {Entry::kAllocate,  Entry::kInputOpen, Entry::kInputSeek,
                                       Entry::kInputRead, Entry::kInputRead, Entry::kInputRead};
    EXPECT_EQ(filter.host().journal().sequence(), kCalls);
    ASSERT_NE(filter.context(), nullptr);
    EXPECT_TRUE(filter.opened().prologuePending);
    EXPECT_EQ(filter.opened().charset, 7U);
    EXPECT_EQ(filter.input().closes(), 0U);
}

TEST(FilterOpen, LeavesTheResultAloneOnSuccess) {
    UnopenedFilter filter("Subject: s\r\n\r\ntext\r\n");
    filter.host().services().lastError = 99;
    filter.open(0x12345);
    ASSERT_NE(filter.context(), nullptr);
    EXPECT_EQ(filter.result(), UINT32_MAX);
    EXPECT_EQ(filter.host().services().lastError, 99U);
    EXPECT_EQ(filter.opened().flags, 0x12345U);
}

TEST(FilterOpen, GivesItsCodeInBothPlaces) {
    struct Row {
        Entry entry;
        EmlResult result;
    };
    for (const Row row :
         {Row{Entry::kAllocate, EML_NO_MEMORY}, Row{Entry::kInputOpen, EML_INPUT_NOT_OPENED},
          Row{Entry::kInputSeek, EML_INPUT_NOT_OPENED}, Row{Entry::kInputRead, EML_EMPTY_MESSAGE}}) {
        UnopenedFilter filter(kMessage);
        filter.host().journal().fail(row.entry, {1, true});
        filter.open(0);
        EXPECT_EQ(filter.context(), nullptr) << entryName(row.entry);
        EXPECT_EQ(filter.result(), row.result) << entryName(row.entry);
        EXPECT_EQ(filter.host().services().lastError, row.result) << entryName(row.entry);
        EXPECT_EQ(filter.host().heap().liveBlocks(), 0U);
        EXPECT_EQ(filter.input().closes(), row.entry == Entry::kAllocate ? 0U : 1U) << entryName(row.entry);
        EXPECT_EQ(filter.input().releases(), 0U);
    }
}

TEST(FilterOpen, AcceptsAnInputWithoutClose) {
    UnopenedFilter filter(kMessage);
    filter.input().object().close = nullptr;
    filter.open(0);
    ASSERT_NE(filter.context(), nullptr);
    filter.close();
    EXPECT_EQ(filter.input().closes(), 0U);
}

TEST(FilterOpen, AcceptsNoPlaceForTheResult) {
    RecordingHost host;
    MemoryInput input(host, "");
    EXPECT_EQ(emlInitEx(&input.object(), &host.services(), 0, 0, 0, nullptr), nullptr);
    EmlResult result = EML_OK;
    EXPECT_EQ(emlInitEx(&input.object(), nullptr, 0, 0, 0, &result), nullptr);
    EXPECT_EQ(result, EML_NO_MEMORY);
    EXPECT_EQ(emlInitEx(nullptr, &host.services(), 0, 0, 0, &result), nullptr);
    EXPECT_EQ(result, EML_INPUT_NOT_OPENED);
}

TEST(FilterOpen, MissingEntriesAreTheirFailures) {
    for (int missing = 0; missing < 3; ++missing) {
        RecordingHost host;
        MemoryInput input(host, kMessage);
        if (missing == 0) input.object().open = nullptr;
        if (missing == 1) input.object().seek = nullptr;
        if (missing == 2) input.object().read = nullptr;
        EmlResult result = EML_OK;
        EXPECT_EQ(emlInitEx(&input.object(), &host.services(), 0, 0, 0, &result), nullptr);
        EXPECT_EQ(result, missing == 2 ? EML_EMPTY_MESSAGE : EML_INPUT_NOT_OPENED);
    }
}

// Notes what is freed, by name, and what happens to the input between that.
class Shutdown {
  public:
    explicit Shutdown(RecordingHost& host, EmlFilterContext& context)
        : free_(host.services().allocator.free) {
        current = this;
        names_ = {{context.parts.attachments.records, "attachments"},
                  {context.parts.bodies.records, "parts"},
                  {context.body.decoded.data, "text"},
                  {context.extractBuffer, "block"},
                  {context.boundary.text, "boundary"},
                  {&context, "context"}};
        host.services().allocator.free = [](EmlAllocator* self, void* block) {
            current->note(block);
            current->free_(self, block);
        };
        close_ = context.io->close;
        context.io->close = [](EmlIOobj* self) {
            current->calls_ += "close ";
            return current->close_(self);
        };
        release_ = context.io->release;
        context.io->release = [](EmlIOobj* self) {
            current->calls_ += "release ";
            current->release_(self);
        };
        host_ = &host;
    }
    ~Shutdown() { host_->services().allocator.free = free_; }
    Shutdown(const Shutdown&) = delete;
    Shutdown& operator=(const Shutdown&) = delete;

    [[nodiscard]] const std::string& calls() const { return calls_; }

  private:
    void note(const void* block) {
        for (const auto& [known, name] : names_)
            if (known == block) calls_ += std::string(name) + " ";
    }

    static inline Shutdown* current = nullptr;
    RecordingHost* host_ = nullptr;
    decltype(EmlAllocator::free) free_;
    decltype(EmlIOobj::close) close_ = nullptr;
    decltype(EmlIOobj::release) release_ = nullptr;
    std::vector<std::pair<const void*, const char*>> names_;
    std::string calls_;
};

// A text and an attachment that both have to be decoded, so that the context owns all that it can.
constexpr const char kEncoded[] =
    "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
    "--b\r\nContent-Type: text/plain\r\nContent-Transfer-Encoding: base64\r\n\r\nQUJD\r\n"
    "--b\r\nContent-Type: image/x; name=n\r\nContent-Transfer-Encoding: base64\r\n\r\nQUJD\r\n--b--\r\n";

// The block of the extraction is freed after the first close.
TEST(FilterShutdown, FreesAndClosesInThisOrder) {
    OpenFilter filter(kEncoded);
    useAll(filter);
    const Shutdown shutdown(filter.host(), filter.opened());
    filter.close();
    EXPECT_EQ(shutdown.calls(), "attachments parts text close block boundary context ");
    EXPECT_EQ(filter.input().closes(), 1U);
    EXPECT_EQ(filter.input().releases(), 0U);
    EXPECT_EQ(filter.host().heap().liveBlocks(), 0U);
}

TEST(FilterShutdown, FreesBetweenTheTwoClosesOfAnObjectOfItsOwn) {
    OpenFilter filter(kEncoded);
    useAll(filter);
    filter.opened().ownsIo = true;
    const Shutdown shutdown(filter.host(), filter.opened());
    filter.close();
    EXPECT_EQ(shutdown.calls(), "attachments parts text close block close release boundary context ");
    EXPECT_EQ(filter.host().heap().liveBlocks(), 0U);
}

TEST(FilterShutdown, IgnoresNull) { emlShutdown(nullptr); }

TEST(FilterShutdown, FreesAStagingBufferThatIsPending) {
    OpenFilter filter("Subject: " + std::string(2000, 's') + "\r\n\r\ntext\r\n");
    std::string buffer(300, '\0');
    uint32_t size = 0;
    uint32_t progress = 0;
    ASSERT_EQ(emlFillBuffer(filter.context(), buffer.data(), &size, &progress, 300), EML_OK);
    ASSERT_NE(filter.opened().staging.data, nullptr);
    filter.close();
    EXPECT_EQ(filter.host().heap().liveBlocks(), 0U);
}

TEST(FilterOpenByName, OwnsTheObject) {
    RecordingHost host;
    MemoryInput input(host, kMessage);
    EmlFilterContext* const context = emlInit(&input.object(), &host.services(), EML_OPEN_ROOT_FOLDER);
    ASSERT_NE(context, nullptr);
    EXPECT_TRUE(context->ownsIo);
    EXPECT_EQ(context->flags, EML_OPEN_ROOT_FOLDER);
    EXPECT_EQ(host.journal().calls(Entry::kOpenFile), 1U);
    host.journal().record();
    const size_t start = host.journal().sequence().size();
    emlShutdown(context);
    // KEPT: closed twice, then released, then the boundary and the context freed
    EXPECT_EQ(input.closes(), 2U);
    EXPECT_EQ(input.releases(), 1U);
    std::vector<Entry> ofInput;
    for (size_t i = start; i < host.journal().sequence().size(); ++i)
        if (host.journal().sequence()[i] != Entry::kFree) ofInput.push_back(host.journal().sequence()[i]);
    const std::vector<Entry> kCalls = {Entry::kInputClose, Entry::kInputClose, Entry::kOutputRelease};
    EXPECT_EQ(ofInput, kCalls);
    EXPECT_EQ(host.journal().sequence().back(), Entry::kFree);
}

TEST(FilterOpenByName, WithoutEntriesOfTheObject) {
    RecordingHost host;
    MemoryInput input(host, kMessage);
    input.object().close = nullptr;
    input.object().release = nullptr;
    EmlFilterContext* const context = emlInit(&input.object(), &host.services(), 0);
    ASSERT_NE(context, nullptr);
    emlShutdown(context);
}

TEST(FilterOpenByName, WithoutAnObjectGivesNothingAndNoCode) {
    RecordingHost host;
    host.services().lastError = 99;
    EXPECT_EQ(emlInit(nullptr, &host.services(), 0), nullptr);
    EXPECT_EQ(host.services().lastError, 99U);
    EXPECT_EQ(emlInit(nullptr, nullptr, 0), nullptr);
    RecordingHost without;
    without.remove(Entry::kOpenFile);
    EXPECT_EQ(emlInit(nullptr, &without.services(), 0), nullptr);
}

TEST(FilterOpenByName, FailedOpenKeepsItsCodeInTheServicesOnly) {
    RecordingHost host;
    MemoryInput input(host, "");
    EXPECT_EQ(emlInit(&input.object(), &host.services(), 0), nullptr);
    EXPECT_EQ(host.services().lastError, EML_EMPTY_MESSAGE);
    EXPECT_EQ(input.closes(), 1U);
    EXPECT_EQ(input.releases(), 0U);
    EXPECT_EQ(host.heap().liveBlocks(), 0U);
}

}  // namespace
}  // namespace eml::test
