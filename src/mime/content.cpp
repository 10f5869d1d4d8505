#include "mime/content.h"

#include <array>

#include "host/host_checks.h"
#include "host/host_file.h"
#include "host/host_memory.h"
#include "mime/body_reader.h"
#include "mime/content_reading.h"
#include "mime/defects.h"
#include "mime/part_texts.h"
#include "mime/text_stage.h"

namespace eml {

namespace {

// The blocks of one call. Written is at most what fills the processor's nearest memory.
constexpr size_t kDecodedRoom = 16 << 10;
constexpr size_t kConvertedRoom = 4 << 10;
constexpr size_t kWrittenRoom = 16 << 10;

ContentSource sourceOf(const EmlMimeContext& context, uint32_t number, uint32_t form) {
    const MimePart& part = partAt(context, number);
    const bool isFile = (part.flags & EML_MIME_PART_INLINE_FILE) != 0;
    const bool isWhole =
        form == EML_MIME_RAW || (part.flags & (EML_MIME_PART_MULTIPART | EML_MIME_PART_MESSAGE)) != 0;
    ContentSource source{};
    source.start = isFile && form != EML_MIME_RAW ? part.headerStart : part.bodyStart;
    source.end = part.bodyEnd;
    source.part = number;
    source.encoding = isWhole ? EML_MIME_ENCODING_BINARY : part.encoding;
    source.withoutFiles = form == EML_MIME_TEXT;
    source.promisesSevenBit =
        !isWhole && (part.measured & kTransferMeasured) == 0 &&
        (part.encoding == EML_MIME_ENCODING_NONE || part.encoding == EML_MIME_ENCODING_7BIT);
    return source;
}

struct TransferDefect {
    Problem DecodeProblems::*problem;
    uint32_t code;
    bool damage;
};

constexpr std::array<TransferDefect, 7> kTransferDefects = {{
    {&DecodeProblems::base64Character, EML_MIME_DEFECT_BASE64_CHARACTER, true},
    {&DecodeProblems::base64Padding, EML_MIME_DEFECT_BASE64_PADDING, true},
    {&DecodeProblems::base64CutOff, EML_MIME_DEFECT_BASE64_CUT_OFF, true},
    {&DecodeProblems::quotedEscape, EML_MIME_DEFECT_QUOTED_PRINTABLE_ESCAPE, true},
    {&DecodeProblems::uuencodeLine, EML_MIME_DEFECT_UUENCODE_LINE, true},
    {&DecodeProblems::yencDamaged, EML_MIME_DEFECT_YENC_DAMAGED, true},
    {&DecodeProblems::eightBit, EML_MIME_DEFECT_8BIT_IN_7BIT, false},
}};

// The most that one extraction can find: those above, and three of the charset.
constexpr uint32_t kMaxDefects = uint32_t{kTransferDefects.size()} + 3;

// A file without its last line: of one inside text the open has noted that.
void countCutOff(const EmlMimeContext& context, const ContentSource& source, DecodeProblems& problems) {
    if (problems.cutOff.count == 0) return;
    if ((partAt(context, source.part).flags & EML_MIME_PART_INLINE_FILE) != 0) return;
    Problem& problem =
        source.encoding == EML_MIME_ENCODING_YENC ? problems.yencDamaged : problems.uuencodeLine;
    problem.note(problems.cutOff.first);
}

// Lists what a reading to the end has met, the first time.
void noteTransferDefects(EmlMimeContext& context, const ContentSource& source, DecodeProblems& problems,
                         EmlMimeContent& content) {
    if (problems.cutOff.count != 0) content.flags |= EML_MIME_CONTENT_DAMAGED;
    countCutOff(context, source, problems);
    const bool measured = (partAt(context, source.part).measured & kTransferMeasured) != 0;
    for (const TransferDefect& defect : kTransferDefects) {
        const Problem& problem = problems.*defect.problem;
        if (problem.count == 0) continue;
        if (defect.damage) content.flags |= EML_MIME_CONTENT_DAMAGED;
        if (!measured) noteDefect(context, defect.code, source.part, problem.first, problem.count);
    }
    partAt(context, source.part).measured |= kTransferMeasured;
}

bool writeBytes(void* writer, std::string_view bytes) {
    static_cast<OutputWriter*>(writer)->write(bytes);
    return true;
}

EmlResult extractBytes(EmlMimeContext& context, const ContentSource& source, bool raw, EmlIOobj* output,
                       EmlMimeContent& content) {
    const ScopedBlock block(*context.allocator, kWrittenRoom);
    if (block.bytes() == nullptr) return EML_NO_MEMORY;
    OutputWriter writer(output, nullptr, 0);
    DecodedBytes bytes(block.bytes(), kWrittenRoom, writeBytes, &writer);
    DecodeProblems problems{};
    const EmlResult result = readContent(context, source, bytes, problems);
    if (result != EML_OK) bytes.flush();
    content.size = writer.written();
    if (result == EML_OK && !raw) noteTransferDefects(context, source, problems, content);
    return result;
}

// The text of one part, read once, twice or three times: an unknown charset is guessed from all of it.
class TextExtraction {
  public:
    TextExtraction(EmlMimeContext& context, const ContentSource& source, EmlIOobj* output, uint8_t* blocks)
        : context_(context),
          source_(source),
          decoded_(blocks),
          converted_(blocks + kDecodedRoom),
          writer_(output, converted_ + kConvertedRoom, kWrittenRoom) {}

    [[nodiscard]] EmlResult run(EmlMimeContent& content);

  private:
    [[nodiscard]] EmlResult convert(const TextForm& form, bool& met8Bit);
    [[nodiscard]] EmlResult guess(std::string_view otherwise, std::string_view& label);
    void noteTextDefects(bool guessed, EmlMimeContent& content) const;

    EmlMimeContext& context_;
    const ContentSource& source_;
    uint8_t* decoded_;
    uint8_t* converted_;
    OutputWriter writer_;
    DecodeProblems problems_{};
    ConversionOutcome outcome_{};
};

EmlResult TextExtraction::run(EmlMimeContent& content) {
    const MimePart& part = partAt(context_, source_.part);
    const std::string_view label = viewAt(context_, part.charset);
    const bool plain = viewAt(context_, part.type) == "text" && viewAt(context_, part.subtype) == "plain";
    const bool named =
        !label.empty() && !isLabelOfUnknown(label) && knownCharset(label) != KnownCharset::kAscii;
    const bool sevenBit = named && isSevenBitCharset(label);
    TextForm form{label, !named || sevenBit, plain && (part.flags & EML_MIME_PART_FLOWED) != 0,
                  (part.flags & EML_MIME_PART_DELSP) != 0};
    if (!named) form.charset = "utf-8";
    bool met8Bit = false;
    EmlResult result = convert(form, met8Bit);
    bool guessed = false;
    if (result == EML_OK && met8Bit) {
        form.asciiOnly = false;
        result = guess(sevenBit ? label : "windows-1252", form.charset);
        guessed = !sevenBit || form.charset != label;
        writer_.restart();
        if (result == EML_OK) result = convert(form, met8Bit);
    }
    content.size = writer_.written();
    if (result != EML_OK) return result;
    noteTransferDefects(context_, source_, problems_, content);
    noteTextDefects(guessed, content);
    return EML_OK;
}

// One reading into the output.
EmlResult TextExtraction::convert(const TextForm& form, bool& met8Bit) {
    TextTail tail(writer_, form, converted_, kConvertedRoom);
    TextStage stage(context_.options.convert, form, tail);
    DecodedBytes bytes(decoded_, kDecodedRoom, TextStage::take, &stage);
    problems_ = DecodeProblems{};
    const EmlResult result = readContent(context_, source_, bytes, problems_);
    met8Bit = stage.met8Bit();
    if (result != EML_OK || met8Bit) return result;
    stage.finish();
    outcome_ = stage.outcome();
    return EML_OK;
}

bool checkUtf8(void* check, std::string_view bytes) {
    static_cast<Utf8Check*>(check)->feed(bytes);
    return true;
}

// One reading without output: UTF-8 if all of it is.
EmlResult TextExtraction::guess(std::string_view otherwise, std::string_view& label) {
    Utf8Check check;
    DecodedBytes bytes(decoded_, kDecodedRoom, checkUtf8, &check);
    DecodeProblems problems{};
    const EmlResult result = readContent(context_, source_, bytes, problems);
    label = check.finish() ? "utf-8" : otherwise;
    return result;
}

void TextExtraction::noteTextDefects(bool guessed, EmlMimeContent& content) const {
    MimePart& part = partAt(context_, source_.part);
    const bool measured = (part.measured & kTextMeasured) != 0;
    part.measured |= kTextMeasured;
    const auto note = [&](bool met, uint32_t flag, uint32_t code, uint64_t count) {
        if (!met) return;
        content.flags |= flag;
        if (!measured) noteDefect(context_, code, source_.part, source_.start, count);
    };
    note(guessed, EML_MIME_TEXT_GUESSED, EML_MIME_DEFECT_CHARSET_GUESSED, 1);
    note(outcome_.unknownCharset, EML_MIME_TEXT_NOT_CONVERTED, EML_MIME_DEFECT_UNKNOWN_CHARSET, 1);
    note(outcome_.replaced != 0, EML_MIME_TEXT_REPLACED, EML_MIME_DEFECT_CHARSET_MISMATCH, outcome_.replaced);
}

EmlResult extractText(EmlMimeContext& context, const ContentSource& source, EmlIOobj* output,
                      EmlMimeContent& content) {
    const ScopedBlock blocks(*context.allocator, kDecodedRoom + kConvertedRoom + kWrittenRoom);
    if (blocks.bytes() == nullptr) return EML_NO_MEMORY;
    return TextExtraction(context, source, output, blocks.bytes()).run(content);
}

EmlResult extractForm(EmlMimeContext& context, uint32_t part, uint32_t form, EmlIOobj* output,
                      EmlMimeContent& content) {
    const ContentSource source = sourceOf(context, part, form);
    if (form == EML_MIME_TEXT) return extractText(context, source, output, content);
    return extractBytes(context, source, form == EML_MIME_RAW, output, content);
}

}  // namespace

EmlResult extractContent(EmlMimeContext& context, uint32_t part, uint32_t form, EmlIOobj* output,
                         EmlMimeContent& content) {
    content = EmlMimeContent{};
    if (EmlResult result = reserveDefects(context, kMaxDefects); result != EML_OK) return result;
    if (output == nullptr) return extractForm(context, part, form, nullptr, content);
    if (!isUsableOutput(output) || output->open(output) == 0) return EML_OUTPUT_UNUSABLE;
    EmlResult result = EML_OBJECT_FAILED;
    if (seekFile(*output, 0)) {
        result = extractForm(context, part, form, output, content);
        storeFinalSize(*output);
    }
    if (output->close(output) == 0 && result == EML_OK) result = EML_OBJECT_FAILED;
    return result;
}

}  // namespace eml
