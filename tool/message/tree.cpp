#include "tool/message/tree.h"

#include <fmt/format.h>
#include <strings.h>

#include <algorithm>

#include "tool/message/end.h"
#include "tool/message/opening_limits.h"
#include "tool/message/sub_file_content.h"
#include "tool/message/tnef.h"
#include "tool/system/spooled_file.h"
#include "tool/text/charset_labels.h"
#include "tool/text/date_text.h"
#include "tool/text/name_decoding.h"

namespace emltool {

namespace {

// An output that keeps only the count.
class CountingOutput final : public emlhost::Output {
  public:
    CountingOutput() : Output(Seeking::kAnywhere) {}

  private:
    int put(uint64_t, std::span<const uint8_t>) noexcept override { return 0; }
};

MetadataField fieldOf(const emlhost::HeaderValue& value, uint32_t charset) {
    MetadataField field{value.name, std::nullopt, std::nullopt};
    if (!value.value) return field;
    field.text = fromUnlabelledCharset(*value.value, charset);
    constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
    if (field.text->find(kReplacement) != std::string::npos) field.raw = value.value;
    return field;
}

// The fields of a message, and its date with the zone that its "Date" field names.
void readMetadata(emlhost::OpenMessage& message, const std::optional<int64_t>& date, MessageTree& tree) {
    std::string sent;
    for (const emlhost::HeaderValue& value : message.metadata()) {
        tree.metadata.push_back(fieldOf(value, message.charset()));
        if (value.name == "Sent" && value.value) sent = *value.value;
    }
    if (date) tree.date = dateText(*date, sent);
}

uint64_t storedSize(const SubFileEntry& entry) { return static_cast<uint64_t>(std::max(entry.info.size, 0)); }

// A file of a TNEF that is an e-mail message: by its type or its name, and by its beginning.
bool isMessage(const TnefFile& file) {
    constexpr size_t kExamined = size_t{64} << 10;
    constexpr std::string_view kSuffix = ".eml";
    std::string_view name = file.name;
    bool named = name.size() >= kSuffix.size() &&
                 ::strcasecmp(file.name.c_str() + name.size() - kSuffix.size(), kSuffix.data()) == 0;
    bool typed = ::strcasecmp(file.type.c_str(), "message/rfc822") == 0;
    std::string_view beginning(reinterpret_cast<const char*>(file.bytes.data()),
                               std::min(file.bytes.size(), kExamined));
    return (named || typed) && hasHeaderField(beginning);
}

class TreeReader {
  public:
    TreeReader(MessageFile& file, AttachmentVisitor& visitor)
        : file_(file), visitor_(visitor), limits_(file.input().size()) {}

    MessageTree read() {
        MessageTree tree = readMessage(file_.message(), file_.input().size(), {});
        file_.checkReads();
        return tree;
    }

  private:
    using Warnings = std::vector<std::string>;

    MessageTree readMessage(emlhost::OpenMessage& message, uint64_t bytes, const SubFilePath& path);
    SubFileEntry readEntry(emlhost::OpenMessage& message, int32_t number, const SubFilePath& path);
    void openPart(PartContent& content, SubFileEntry& entry, Warnings& warnings);
    void openEmbedded(PartContent& content, SubFileEntry& entry, Warnings& warnings);
    void openEmbedded(emlhost::Input& input, SubFileEntry& entry, Warnings& warnings);
    void openTnef(std::span<const uint8_t> bytes, SubFileEntry& entry, Warnings& warnings);
    SubFileEntry readTnefFile(const TnefFile& file, const SubFilePath& path, Warnings& warnings);

    MessageFile& file_;
    AttachmentVisitor& visitor_;
    OpeningLimits limits_;
    uint64_t tnefInMemory_ = 0;  // bytes of TNEF that are being unpacked, one inside the other
};

MessageTree TreeReader::readMessage(emlhost::OpenMessage& message, uint64_t bytes, const SubFilePath& path) {
    MessageTree tree;
    tree.bytes = bytes;
    tree.charset = message.charset();
    if (message.status() == EML_OBJECT_FAILED) {
        tree.warnings.emplace_back("a multipart/related part holds no part; the list may be incomplete");
    }
    tree.subFiles.reserve(message.subFileCount());
    for (uint32_t number = 0; number < message.subFileCount(); ++number) {
        SubFileEntry entry = readEntry(message, static_cast<int32_t>(number), path);
        if (entry.info.kind == EML_KIND_MESSAGE) {
            tree.name = entry.name;
            tree.encrypted = (entry.info.flags & EML_SUB_FILE_ENCRYPTED) != 0;
            readMetadata(message, entry.info.date, tree);
        } else {
            PartContent content(message, entry.path.back());
            visitor_.visit(content, entry);
            if (visitor_.opens(entry)) openPart(content, entry, tree.warnings);
        }
        tree.subFiles.push_back(std::move(entry));
    }
    return tree;
}

SubFileEntry TreeReader::readEntry(emlhost::OpenMessage& message, int32_t number, const SubFilePath& path) {
    SubFileEntry entry;
    entry.path = path;
    entry.path.push_back(number);
    entry.info = message.describe(number);
    if (entry.info.status == EML_NO_MEMORY) throw outOfMemory(file_.name());
    if (entry.info.status != EML_OK) entry.info.kind = EML_KIND_ATTACHMENT;  // a part without a name
    entry.name = decodeName(entry.info.name, message.charset());
    // The size of a message is that of its plain text, which it may not have.
    bool isMessage = entry.info.kind == EML_KIND_MESSAGE;
    if (isMessage && entry.info.size > 0) entry.size = static_cast<uint64_t>(entry.info.size);
    return entry;
}

// Opens what is inside a sub-file, if there is anything to open.
void TreeReader::openPart(PartContent& content, SubFileEntry& entry, Warnings& warnings) {
    if (entry.isEmbeddedMessage()) {
        openEmbedded(content, entry, warnings);
        return;
    }
    entry.isTnef = readsTnef() && entry.isInFile() && beginsTnef(content.beginning());
    uint64_t stored = storedSize(entry);
    if (!entry.isTnef || !limits_.mayOpen(entry.path, stored, warnings)) return;
    if (stored > 2 * kMaxTnefSize) {
        warnings.push_back(fmt::format("sub-file {}: not unpacked, it is too large", dotted(entry.path)));
        return;
    }
    emlhost::MemoryOutput output;
    content.extract(output);
    if (output.error()) throw outOfMemory(file_.name());
    openTnef(output.bytes(), entry, warnings);
}

// Extracts an embedded message and opens what came out.
void TreeReader::openEmbedded(PartContent& content, SubFileEntry& entry, Warnings& warnings) {
    if (!limits_.mayOpen(entry.path, storedSize(entry), warnings)) return;
    SpooledFile spooled;
    emlhost::Extraction extraction = content.extract(spooled);
    if (extraction.status == EML_NO_MEMORY) throw outOfMemory(file_.name());
    openEmbedded(*spooled.takeInput(file_.name()), entry, warnings);
}

void TreeReader::openEmbedded(emlhost::Input& input, SubFileEntry& entry, Warnings& warnings) {
    emlhost::OpenMessage embedded(input, file_.services(), kOpenFlags);
    if (embedded.status() == EML_NO_MEMORY) throw outOfMemory(file_.name());
    if (!embedded.usable()) {
        warnings.push_back(fmt::format("sub-file {}: cannot be opened as a message (result {})",
                                       dotted(entry.path), embedded.status()));
        return;
    }
    entry.message = std::make_unique<MessageTree>(readMessage(embedded, input.size(), entry.path));
}

// The files of a TNEF become its sub-files, numbered from 1, like the attachments of a message.
void TreeReader::openTnef(std::span<const uint8_t> bytes, SubFileEntry& entry, Warnings& warnings) {
    if (tnefInMemory_ + bytes.size() > kMaxTnefSize) {
        warnings.push_back(fmt::format("sub-file {}: not unpacked, it is too large", dotted(entry.path)));
        return;
    }
    tnefInMemory_ += bytes.size();
    TnefContent content = unpackTnef(bytes);
    if (!content.problem.empty()) {
        const char* how = content.files.empty() ? "not unpacked" : "unpacked in part";
        warnings.push_back(fmt::format("sub-file {}: {}, {}", dotted(entry.path), how, content.problem));
    }
    MessageTree tree;
    tree.isMessage = false;
    tree.bytes = bytes.size();
    SubFilePath path = entry.path;
    path.push_back(0);
    for (const TnefFile& file : content.files) {
        ++path.back();
        tree.subFiles.push_back(readTnefFile(file, path, warnings));
    }
    entry.message = std::make_unique<MessageTree>(std::move(tree));
    tnefInMemory_ -= bytes.size();
}

SubFileEntry TreeReader::readTnefFile(const TnefFile& file, const SubFilePath& path, Warnings& warnings) {
    SubFileEntry entry;
    entry.path = path;
    entry.name = file.name;
    entry.info.name = file.name;
    entry.info.kind = EML_KIND_ATTACHMENT;
    entry.info.size = -1;  // it has no bytes of its own in the message
    if (isMessage(file)) entry.info.flags |= EML_SUB_FILE_MESSAGE;
    BytesContent content(file.bytes);
    visitor_.visit(content, entry);
    if (!visitor_.opens(entry)) return entry;
    entry.isTnef = beginsTnef(file.bytes);
    bool opened = entry.isTnef || entry.isEmbeddedMessage();
    if (!opened || !limits_.mayOpen(entry.path, file.bytes.size(), warnings)) return entry;
    if (entry.isTnef) {
        openTnef(file.bytes, entry, warnings);
    } else {
        emlhost::MemoryInput input(file.bytes);
        openEmbedded(input, entry, warnings);
    }
    return entry;
}

}  // namespace

MessageTree readTree(MessageFile& file, AttachmentVisitor& visitor) {
    MessageTree tree = TreeReader(file, visitor).read();
    if (lacksClosingDelimiter(file.input()))
        tree.warnings.emplace_back(
            "cut off, the closing delimiter is missing; the last part may be incomplete");
    return tree;
}

std::optional<uint64_t> decodedSize(SubFileContent& content) {
    CountingOutput output;
    emlhost::Extraction extraction = content.extract(output);
    bool hasContent = extraction.status == EML_OK && (extraction.flags & EML_EXTRACT_NOT_IN_FILE) == 0;
    return hasContent ? std::optional<uint64_t>(output.size()) : std::nullopt;
}

}  // namespace emltool
