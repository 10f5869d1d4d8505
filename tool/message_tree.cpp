#include "tool/message_tree.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "tool/date_text.h"
#include "tool/name_decoding.h"
#include "tool/temporary_file.h"

namespace emltool {

namespace {

/* An output that keeps nothing but the count. */
class CountingOutput final : public emlhost::Output {
  public:
    CountingOutput() : Output(Seeking::Anywhere) {}

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

/* The fields of a message, and its date with the zone that its "Date" field names. */
void readMetadata(emlhost::OpenMessage& message, const std::optional<int64_t>& date, MessageTree& tree) {
    std::string sent;
    for (const emlhost::HeaderValue& value : message.metadata()) {
        tree.metadata.push_back(fieldOf(value, message.charset()));
        if (value.name == "Sent" && value.value) sent = *value.value;
    }
    if (date) tree.date = dateText(*date, sent);
}

class TreeReader {
  public:
    TreeReader(MessageFile& file, AttachmentVisitor& visitor)
        : file_(file), visitor_(visitor), budget_(file.input().size() * kDeepestMessage) {}

    MessageTree read() {
        MessageTree tree = readMessage(file_.message(), file_.input().size(), {});
        file_.checkReads();
        return tree;
    }

  private:
    MessageTree readMessage(emlhost::OpenMessage& message, uint64_t bytes, const SubFilePath& path);
    SubFileEntry readEntry(emlhost::OpenMessage& message, int32_t number, const SubFilePath& path);
    void openEmbedded(emlhost::OpenMessage& message, SubFileEntry& entry, std::vector<std::string>& warnings);
    void openEmbedded(emlhost::Input& input, SubFileEntry& entry, std::vector<std::string>& warnings);

    MessageFile& file_;
    AttachmentVisitor& visitor_;
    /* Messages that lie inside each other are never larger than what is around them. Boundaries can be made
     * to let parts overlap, though, and then the work would grow with every level; so the embedded messages
     * that are opened may have as many bytes together as ordinary ones at the greatest depth. */
    uint64_t budget_;
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
            visitor_.visit(message, entry);
            if (entry.isEmbeddedMessage() && visitor_.opens(entry)) {
                openEmbedded(message, entry, tree.warnings);
            }
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
    if (entry.info.status != EML_OK) entry.info.kind = EML_KIND_ATTACHMENT; /* a part without a name */
    entry.name = decodeName(entry.info.name, message.charset());
    /* The size of a message is that of its plain text, which it may not have. */
    bool isMessage = entry.info.kind == EML_KIND_MESSAGE;
    if (isMessage && entry.info.size > 0) entry.size = static_cast<uint64_t>(entry.info.size);
    return entry;
}

/* Extracts an embedded message and opens what came out. */
void TreeReader::openEmbedded(emlhost::OpenMessage& message, SubFileEntry& entry,
                              std::vector<std::string>& warnings) {
    if (entry.path.size() > kDeepestMessage) {
        warnings.push_back(fmt::format("sub-file {}: not opened, more than {} messages inside each other",
                                       dotted(entry.path), kDeepestMessage));
        return;
    }
    auto stored = static_cast<uint32_t>(std::max(entry.info.size, 0));
    if (stored > budget_) {
        warnings.push_back(
            fmt::format("sub-file {}: not opened, its parts overlap too often", dotted(entry.path)));
        return;
    }
    budget_ -= stored;

    constexpr uint32_t kLargestInMemory = uint32_t{4} << 20;
    if (stored <= kLargestInMemory) {
        emlhost::MemoryOutput output;
        emlhost::Extraction extraction = message.extract(entry.path.back(), output);
        if (extraction.status == EML_NO_MEMORY || output.error()) throw outOfMemory(file_.name());
        emlhost::MemoryInput input(output.bytes());
        openEmbedded(input, entry, warnings);
        return;
    }
    TemporaryFile temporary;
    emlhost::DescriptorOutput output(temporary.descriptor());
    message.extract(entry.path.back(), output);
    std::error_code error = output.error();
    std::unique_ptr<emlhost::DescriptorInput> input;
    if (!error) input = emlhost::DescriptorInput::fromDescriptor(temporary.release(), error);
    if (input == nullptr) throw Problem(ExitCode::Output, "write-failed", "temporary file", describe(error));
    openEmbedded(*input, entry, warnings);
}

void TreeReader::openEmbedded(emlhost::Input& input, SubFileEntry& entry,
                              std::vector<std::string>& warnings) {
    emlhost::OpenMessage embedded(input, file_.services(), kOpenFlags);
    if (embedded.status() == EML_NO_MEMORY) throw outOfMemory(file_.name());
    if (!embedded.usable()) {
        warnings.push_back(fmt::format("sub-file {}: cannot be opened as a message (result {})",
                                       dotted(entry.path), embedded.status()));
        return;
    }
    entry.message = std::make_unique<MessageTree>(readMessage(embedded, input.size(), entry.path));
}

}  // namespace

std::string dotted(const SubFilePath& path) { return fmt::format("{}", fmt::join(path, ".")); }

std::optional<SubFilePath> parseSubFilePath(std::string_view text) {
    SubFilePath path;
    const char* at = text.data();
    const char* end = at + text.size();
    for (;;) {
        int32_t number = 0;
        auto [behind, failure] = std::from_chars(at, end, number);
        if (failure != std::errc{} || number < 0) return std::nullopt;
        path.push_back(number);
        if (behind == end) return path;
        if (*behind != '.') return std::nullopt;
        at = behind + 1;
    }
}

MessageTree readTree(MessageFile& file, AttachmentVisitor& visitor) {
    return TreeReader(file, visitor).read();
}

std::optional<uint64_t> decodedSize(emlhost::OpenMessage& message, int32_t number) {
    CountingOutput output;
    emlhost::Extraction extraction = message.extract(number, output);
    bool hasContent = extraction.status == EML_OK && (extraction.flags & EML_EXTRACT_NOT_IN_FILE) == 0;
    return hasContent ? std::optional<uint64_t>(output.size()) : std::nullopt;
}

}  // namespace emltool
