#include "tool/message/comparison_findings.h"

#include <algorithm>
#include <memory>

#include "standalone/filter.h"
#include "standalone/text_records.h"
#include "tool/html/html_text.h"
#include "tool/message/digest_output.h"
#include "tool/message/part_tree.h"
#include "tool/message/rendering.h"
#include "tool/message/shown_message.h"
#include "tool/terminal/problem.h"
#include "tool/text/charset_labels.h"
#include "tool/text/format.h"
#include "tool/text/name_decoding.h"
#include "tool/text/significant_text.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

using emlreader::mime::Message;
using emlreader::mime::Part;

// Of each text, so much is compared.
constexpr size_t kMaxText = size_t{64} << 20;

constexpr const char* kEncrypted = "takes the message for encrypted: gives its header only";

void appendUpTo(std::string& text, std::string_view piece) {
    text.append(piece.substr(0, kMaxText - std::min(text.size(), kMaxText)));
}

std::string comparedText(std::string_view html) { return textOfHtml(html, LinkStyle::kNone).text; }

std::string_view viewOf(const emlhost::MemoryOutput& output) {
    return {reinterpret_cast<const char*>(output.bytes().data()), std::min(output.bytes().size(), kMaxText)};
}

// ----------------------------------------------------------------------------------------------------------
// The MIME reader

bool isText(const Part& part) { return part.type() == "text" || part.type() == "multipart"; }

std::string textOf(const Part& part) {
    std::string text;
    part.extract([&](std::string_view piece) { appendUpTo(text, piece); }, emlreader::mime::Form::Text);
    return significantText(part.is("text", "html") ? comparedText(text) : text);
}

FoundPart found(const Part& part, const std::string& section) {
    FoundPart found;
    DigestOutput digest;
    found.sighting.size = part.extract([&](std::string_view piece) {
                                  digest.take({reinterpret_cast<const uint8_t*>(piece.data()), piece.size()});
                              })
                              .size;
    found.sighting.sha256 = digest.digest();
    found.sighting.linesDigest = digest.digestOfLines();
    found.sighting.number = part.number();
    found.shownName = part.name();
    found.sighting.isNamed = part.isNamed();
    if (part.isNamed()) found.sighting.name = found.shownName;
    found.place = {part.number(), section, part.mediaType(), part.info().body.offset,
                   part.info().body.length};
    const bool isBody = part.isTextBody() || part.isHtmlBody();
    found.isFile = part.isAttachment() || (isBody && !isText(part));
    if (isText(part)) found.text = textOf(part);
    return found;
}

void findParts(const Message& message, MimeFindings& findings) {
    const std::vector<std::string> sections = sectionNumbers(message);
    std::vector<uint32_t> alternatives(message.partCount(), EML_MIME_NONE);
    for (const Part& part : message.parts()) {
        const uint32_t parent = part.info().parent;
        if (parent != EML_MIME_NONE) alternatives[part.number()] = alternatives[parent];
        if (part.isMultipart() && part.subtype() == "alternative")
            alternatives[part.number()] = part.number();
        if (part.info().message != 0 || part.isMultipart()) continue;
        FoundPart one = found(part, sections[part.number()]);
        one.alternative = alternatives[part.number()];
        one.hasAlternative = one.alternative != EML_MIME_NONE;
        findings.parts.push_back(std::move(one));
    }
}

void findBetweenParts(const Message& message, MimeFindings& findings) {
    for (const EmlMimeSpanInfo& span : message.spans()) {
        const bool isEpilogue = span.kind == EML_MIME_SPAN_EPILOGUE;
        if ((span.kind != EML_MIME_SPAN_PREAMBLE && !isEpilogue) || span.span.length == 0) continue;
        findings.betweenParts.push_back({isEpilogue, span.part, span.span.offset, span.span.length, {}});
    }
}

// The beginning of the text in a span; empty if it is all white space.
std::string beginningOf(EmlIOobj* object, const BetweenParts& span) {
    constexpr size_t kShown = 256;
    std::string text;
    object->seek(object, static_cast<uint32_t>(span.offset), static_cast<int32_t>(span.offset >> 32), 0);
    char piece[4096];
    for (uint64_t left = span.length; left > 0 && text.size() < kShown;) {
        const int32_t got =
            object->read(object, piece, static_cast<uint32_t>(std::min<uint64_t>(left, sizeof piece)));
        if (got < 1) break;
        left -= static_cast<uint64_t>(got);
        std::string_view bytes(piece, static_cast<size_t>(got));
        if (text.empty()) bytes.remove_prefix(std::min(bytes.find_first_not_of(" \t\r\n"), bytes.size()));
        text += bytes.substr(0, kShown);
    }
    constexpr size_t kCharacters = 60;
    return excerptAt(text, 0, kCharacters);
}

void readBetweenParts(emlhost::Input& input, MimeFindings& findings) {
    EmlIOobj* const object = input.object();
    if (findings.betweenParts.empty() || object->open(object) == 0) return;
    for (BetweenParts& span : findings.betweenParts) span.beginning = beginningOf(object, span);
    object->close(object);
}

// ----------------------------------------------------------------------------------------------------------
// The container reader

Sighting subFile(MessageFile& file, int32_t number) {
    emlhost::OpenMessage& message = file.message();
    const emlhost::SubFile info = message.describe(number);
    if (info.status == EML_NO_MEMORY) throw outOfMemory(file.name());
    Sighting sighting;
    sighting.number = static_cast<uint32_t>(number);
    sighting.name = decodeName(info.name, message.charset());
    sighting.isNamed = !sighting.name.empty();
    sighting.isInFile = (info.flags & EML_SUB_FILE_NOT_IN_FILE) == 0;
    DigestOutput digest;
    const emlhost::Extraction extraction = message.extract(number, digest);
    if (extraction.status == EML_NO_MEMORY) throw outOfMemory(file.name());
    if ((extraction.flags & EML_EXTRACT_NOT_IN_FILE) != 0) sighting.isInFile = false;
    sighting.size = digest.size();
    sighting.sha256 = digest.digest();
    sighting.linesDigest = digest.digestOfLines();
    return sighting;
}

// The body that a host gets with these EML_EXTRACT_... bits, as lines. An RTF body gives nothing.
std::string renderedText(MessageFile& file, uint32_t options, EngineFindings& findings) {
    emlhost::OpenMessage& message = file.message();
    const Form form = formOf(message, options);
    if (form == Form::kRtf) {
        findings.problem = "its text is RTF, which is not compared";
        return {};
    }
    emlhost::MemoryOutput output;
    const uint32_t charset = form == Form::kText ? EML_CHARSET_UTF_8 : 0;
    const emlhost::Extraction extraction =
        message.extract(0, output, options | EML_EXTRACT_BODY_ONLY, charset);
    if (extraction.status == EML_NO_MEMORY || output.error()) throw outOfMemory(file.name());
    const bool isConverted = (extraction.flags & EML_EXTRACT_CONVERTED) != 0;
    std::string text = isConverted ? withoutInvalidBytes(viewOf(output))
                                   : fromUnlabelledCharset(viewOf(output), message.charset());
    return form == Form::kHtml ? comparedText(text) : text;
}

// ----------------------------------------------------------------------------------------------------------
// The message filter

// The first subject and the body in a stream of text records.
class FilterTexts final : public MessageReader {
  public:
    explicit FilterTexts(EngineFindings& findings) : findings_(findings) {}

    void field(std::string_view name, std::string_view value) override {
        if (name == "Subject" && findings_.subject.empty()) findings_.subject = value;
    }
    void bodyBegins() override {}
    void line(std::string_view text) override {
        if (findings_.text.empty()) isHtml_ = looksLikeHtml(text);
        const bool isEmpty = text.find_first_not_of(" \t\r") == std::string_view::npos;
        if (isEmpty && findings_.text.empty()) return;
        appendUpTo(findings_.text, text);
        appendUpTo(findings_.text, "\n");
    }
    void finish() {
        if (isHtml_) findings_.text = comparedText(findings_.text);
    }

  private:
    EngineFindings& findings_;
    bool isHtml_ = false;
};

void readStream(MessageFile& file, emlhost::MessageFilter& filter, bool isEncrypted,
                EngineFindings& findings) {
    FilterTexts texts(findings);
    RecordReader reader(texts);
    std::vector<uint8_t> buffer(65536);
    filter.restart(true);
    while (!filter.finished() && !(isEncrypted && reader.inBody())) {
        emlhost::RecordWalker walker(filter.fill(buffer));
        emlhost::TextRecord record{};
        while (walker.next(record) && !(isEncrypted && reader.inBody())) reader.take(record);
    }
    reader.finish();
    texts.finish();
    file.checkReads();
    if (filter.status() == EML_NO_MEMORY) throw outOfMemory(file.name());
    if (filter.status() != EML_OK && findings.problem.empty()) {
        findings.problem = formatted("its text breaks off (result {})", filter.status());
    }
}

// The name as the message has it, and the EML_SUB_FILE_... bits of one of the filter's sub-files.
struct FilterSubFile {
    std::string name;
    uint32_t flags = 0;
};

FilterSubFile describeInFilter(MessageFile& file, emlhost::MessageFilter& filter, int32_t number) {
    EmlSubFileInfo info{};
    EmlHostRecord* const record = file.services().hostRecord();
    const EmlResult result = emlGetSubFileInfoEx(filter.context(), number, &info, record);
    // Freed in any case: a call may hand over something before it fails.
    const auto free = [record](void* block) {
        if (block != nullptr) record->allocator->free(record->allocator, block);
    };
    const std::unique_ptr<char, decltype(free)> name(info.name, free);
    const std::unique_ptr<uint32_t, decltype(free)> children(info.children, free);
    if (result == EML_NO_MEMORY) throw outOfMemory(file.name());
    return {name == nullptr ? std::string() : std::string(name.get()), info.flags};
}

Sighting filterFile(MessageFile& file, emlhost::MessageFilter& filter, int32_t number) {
    Sighting sighting;
    sighting.number = static_cast<uint32_t>(number);
    uint32_t extra = 0;
    const uint32_t charset = emlCharSet(filter.context(), &extra);
    sighting.name = decodeName(describeInFilter(file, filter, number).name, charset);
    sighting.isNamed = !sighting.name.empty();
    DigestOutput digest;
    emlExtractSubFileToIOobjEx(filter.context(), number, digest.object(), 0, 0, 0);
    sighting.size = digest.size();
    sighting.sha256 = digest.digest();
    sighting.linesDigest = digest.digestOfLines();
    return sighting;
}

}  // namespace

MimeFindings findByMime(MessageFile& file) {
    MimeFindings findings;
    withMime(file, [&](const Message& message) {
        findings.subject = message.subject();
        message.text([&](std::string_view piece) { appendUpTo(findings.text, piece); });
        message.html([&](std::string_view piece) { appendUpTo(findings.html, piece); });
        findings.html = comparedText(findings.html);
        findParts(message, findings);
        findBetweenParts(message, findings);
    });
    readBetweenParts(file.input(), findings);
    file.checkReads();
    return findings;
}

EngineFindings findByContainer(MessageFile& file) {
    EngineFindings findings;
    emlhost::OpenMessage& message = file.message();
    for (const emlhost::HeaderValue& value : message.metadata()) {
        if (value.name == "Subject" && value.value) {
            findings.subject = fromUnlabelledCharset(*value.value, message.charset());
        }
    }
    if ((message.describe(0).flags & EML_SUB_FILE_ENCRYPTED) != 0) {
        findings.problem = kEncrypted;
        return findings;
    }
    if (message.status() != EML_OK) {
        findings.problem = formatted("reads the message in part (result {})", message.status());
    }
    for (uint32_t number = 1; number < message.subFileCount(); ++number) {
        findings.files.push_back(subFile(file, static_cast<int32_t>(number)));
    }
    findings.text = renderedText(file, 0, findings);
    findings.richText = renderedText(file, EML_EXTRACT_PREFER_RICH, findings);
    file.checkReads();
    return findings;
}

EngineFindings findByFilter(MessageFile& file) {
    EngineFindings findings;
    emlhost::MessageFilter filter(file.input(), file.services());
    file.checkReads();
    if (filter.status() == EML_NO_MEMORY) throw outOfMemory(file.name());
    if (!filter.usable()) {
        findings.problem = formatted("cannot open the message (result {})", filter.status());
        return findings;
    }
    const bool isEncrypted = (describeInFilter(file, filter, 0).flags & EML_SUB_FILE_ENCRYPTED) != 0;
    if (isEncrypted) findings.problem = kEncrypted;
    const int32_t count = isEncrypted ? 0 : emlGetFileNumber(filter.context());
    for (int32_t number = 1; number <= count; ++number) {
        findings.files.push_back(filterFile(file, filter, number));
    }
    readStream(file, filter, isEncrypted, findings);
    return findings;
}

}  // namespace emltool
