// Header values with encoded words: every short row of the pieces that matter, in both readers, against the
// plain references.
#include "bytes/decode_kernels.h"
#include "container/encoded_words.h"
#include "exhaustive/every_input.h"
#include "filter/field_value.h"
#include "filter/record_stream.h"
#include "filter/scan_dump.h"
#include "host/scripted_services.h"
#include "reference/encoded_words.h"
#include "reference/filter_values.h"

namespace eml::test {
namespace {

using reference::shown;

// The container reader's decoder, on a context that only has its work buffer.
class ContainerText {
  public:
    ContainerText() {
        context_.services = &services_.record();
        context_.kernels = &chooseKernels();
        EXPECT_EQ(context_.decoded.reserve(services_.record().allocator, 4096), EML_OK);
    }
    ~ContainerText() { context_.decoded.release(services_.record().allocator); }
    ContainerText(const ContainerText&) = delete;
    ContainerText& operator=(const ContainerText&) = delete;

    bool agrees(const std::string& text) {
        compared_.input();
        compared_.comparison();
        context_.decoded.length = 0;
        const EmlResult result =
            emlDecodeMetaText(context_, blocks_.copy(text), static_cast<uint32_t>(text.size()));
        const std::string got(reinterpret_cast<const char*>(context_.decoded.data), context_.decoded.length);
        const std::string expected = reference::textOf(reference::decodeHeaderText(reference::bytesOf(text)));
        EXPECT_EQ(result, EML_OK) << shown(text);
        EXPECT_EQ(shown(got), shown(expected)) << shown(text);
        return got == expected && result == EML_OK;
    }

  private:
    Compared compared_;
    ExactBlocks blocks_;
    ScriptedServices services_;
    EmlContainerContext context_{};
};

// The filter's decoder, in both modes, on a context without a message.
class FilterText {
  public:
    FilterText() : context_(std::make_unique<EmlFilterContext>()) {
        context_->services = &host_.services();
        context_->request.hostRecord = &host_.record();
        context_->kernels = &chooseKernels();
        context_->request.list = &list_;
        EXPECT_EQ(context_->request.value.reserve(host_.services().allocator, 4096), EML_OK);
        entry_.name = name_;
        list_.count = 1;
        list_.entries = entries_;
    }
    ~FilterText() {
        context_->body.decoded.release(host_.services().allocator);
        context_->request.value.release(host_.services().allocator);
    }
    FilterText(const FilterText&) = delete;
    FilterText& operator=(const FilterText&) = delete;

    // `text` begins with a value.
    bool agrees(const std::string& text) {
        compared_.input();
        const reference::FilterValue expected = reference::filterValue(text);
        std::string records;
        for (const std::string& record : expected.records) records += record;
        return same("records", text, written(text), showRecords(recordsOf(records))) &&
               same("end", text, std::to_string(end_), std::to_string(expected.end)) &&
               same("metadata", text, gathered(text), shown(expected.gathered)) &&
               same("end", text, std::to_string(end_), std::to_string(expected.end));
    }

  private:
    bool decode(const std::string& text, bool metadataMode, int32_t kind) {
        const uint8_t* const bytes = blocks_.copy(text);
        const uint8_t* position = bytes;
        context_->input.end = bytes + text.size();
        context_->input.readPos = bytes;
        const EmlResult result = outputEMLfieldbody(*context_, position, metadataMode, kind);
        end_ = position - bytes;
        EXPECT_EQ(result, EML_OK) << shown(text);
        return result == EML_OK;
    }

    std::string written(const std::string& text) {
        openRecordOutput(*context_, output_.data(), output_.size(), static_cast<int32_t>(output_.size()));
        const bool done = decode(text, false, kWholeLines);
        const std::string records(reinterpret_cast<const char*>(output_.data()), recordBytes(*context_));
        closeRecordOutput(*context_);
        return done ? showRecords(recordsOf(records)) : "(failed)";
    }

    std::string gathered(const std::string& text) {
        entry_.value = nullptr;
        entry_.valueLength = 0;
        entry_.hasValue = 0;
        if (!decode(text, true, 0)) return "(failed)";
        if (entry_.hasValue != 1 || entry_.value == nullptr) return "(none)";
        const std::string value(entry_.value, entry_.valueLength);
        host_.recordHeap().give(entry_.value);
        return shown(value);
    }

    bool same(const char* what, const std::string& text, const std::string& got,
              const std::string& expected) {
        compared_.comparison();
        EXPECT_EQ(got, expected) << what << " of \"" << shown(text) << "\"";
        return got == expected;
    }

    Compared compared_;
    ExactBlocks blocks_;
    RecordingHost host_;
    std::unique_ptr<EmlFilterContext> context_;
    char name_[8] = "Subject";
    EmlMetaDataEntry entry_{};
    EmlMetaDataEntry* entries_[1] = {&entry_};
    EmlMetaData list_{};
    std::array<uint8_t, 16384> output_{};
    ptrdiff_t end_ = 0;
};

// What opens a word, closes it, and stands in between.
const PieceList kWordPieces = {"=?", "?", "?=", "=?x?Q?", "=?x?b?", " ", "=41", "_"};
const PieceList kBytesOfWords = bytesAsPieces("=?QbZ ");

TEST(EveryShortHeaderText, OfTheContainerByBytes) {
    ContainerText text;
    forEveryText(kBytesOfWords, longest(5, 8), [&](const std::string& input) { return text.agrees(input); });
}

TEST(EveryShortHeaderText, OfTheContainerByPieces) {
    ContainerText text;
    PieceList pieces = kWordPieces;
    pieces.insert(pieces.end(), {"SGk=", "=?x?Z?", "=20", "\xFF"});
    forEveryText(pieces, longest(4, 6), [&](const std::string& input) { return text.agrees(input); });
}

TEST(EveryShortHeaderText, OfTheContainerInsideAWord) {
    ContainerText text;
    for (const char* const opening : {"=?x?Q?", "=?x?B?", "=?x?Z?", "=?x?Q?a?= =?x?Z?"}) {
        forEveryText(bytesAsPieces("=?_20D\r\xFF"), longest(4, 6),
                     [&](const std::string& input) { return text.agrees(opening + input); });
    }
}

TEST(EveryShortHeaderText, OfTheFilterByBytes) {
    FilterText text;
    forEveryText(kBytesOfWords, longest(4, 7), [&](const std::string& input) { return text.agrees(input); });
}

TEST(EveryShortHeaderText, OfTheFilterByPieces) {
    FilterText text;
    PieceList pieces = kWordPieces;
    pieces.insert(pieces.end(), {"=?koi8-r?q?", "QUI=", "ab", "\r\n ", "\n", "\r", std::string(1, '\0')});
    forEveryText(pieces, longest(3, 5), [&](const std::string& input) { return text.agrees(input); });
}

TEST(EveryShortHeaderText, OfTheFilterInsideAWord) {
    FilterText text;
    for (const char* const opening : {"=?x?Q?", "=?koi8-r?B?", "=?koi8-r?Z?"}) {
        forEveryText(bytesAsPieces("=?_20D\tQ"), longest(3, 6),
                     [&](const std::string& input) { return text.agrees(opening + input + "?=ab"); });
    }
}

TEST(EveryShortHeaderText, OfTheFilterFolded) {
    FilterText text;
    forEveryText(bytesAsPieces(std::string_view("a \t\r\n\0", 6)), longest(5, 7),
                 [&](const std::string& input) { return text.agrees(input); });
}

}  // namespace
}  // namespace eml::test
