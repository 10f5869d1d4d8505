// A message as the container reader has it.
#include <algorithm>

#include "tool/message/end.h"
#include "tool/message/sub_file_content.h"
#include "tool/message/tree_reader.h"
#include "tool/text/charset_labels.h"
#include "tool/text/date_text.h"
#include "tool/text/format.h"
#include "tool/text/name_decoding.h"

namespace emltool {

namespace {

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

class ContainerTreeReader final : public TreeReader {
  public:
    ContainerTreeReader(MessageFile& file, AttachmentVisitor& visitor) : TreeReader(file, visitor) {}

    MessageTree read() override {
        MessageTree tree = readMessage(file_.message(), file_.input().size(), {});
        file_.checkReads();
        return tree;
    }

  private:
    std::unique_ptr<MessageTree> readEmbedded(emlhost::Input& input, const SubFilePath& path,
                                              Warnings& warnings) override;
    MessageTree readMessage(emlhost::OpenMessage& message, uint64_t bytes, const SubFilePath& path);
    SubFileEntry readEntry(emlhost::OpenMessage& message, int32_t number, const SubFilePath& path,
                           std::optional<int64_t>& date);
    void openPart(PartContent& content, SubFileEntry& entry, Warnings& warnings);
};

MessageTree ContainerTreeReader::readMessage(emlhost::OpenMessage& message, uint64_t bytes,
                                             const SubFilePath& path) {
    MessageTree tree;
    tree.bytes = bytes;
    tree.charset = message.charset();
    if (message.status() == EML_OBJECT_FAILED) {
        tree.warnings.push_back(
            {"message-structure", "a multipart/related part holds no part; the list may be incomplete"});
    }
    tree.subFiles.reserve(message.subFileCount());
    for (uint32_t number = 0; number < message.subFileCount(); ++number) {
        std::optional<int64_t> date;
        SubFileEntry entry = readEntry(message, static_cast<int32_t>(number), path, date);
        if (entry.isMessage) {
            tree.name = entry.name;
            tree.encrypted = entry.isEncrypted;
            if (tree.encrypted) tree.protection = "encrypted (S/MIME)";
            readMetadata(message, date, tree);
        } else {
            PartContent content(message, entry.path.back());
            visitor_.visit(content, entry);
            if (visitor_.opens(entry)) openPart(content, entry, tree.warnings);
        }
        tree.subFiles.push_back(std::move(entry));
    }
    return tree;
}

SubFileEntry ContainerTreeReader::readEntry(emlhost::OpenMessage& message, int32_t number,
                                            const SubFilePath& path, std::optional<int64_t>& date) {
    SubFileEntry entry;
    entry.path = path;
    entry.path.push_back(number);
    emlhost::SubFile info = message.describe(number);
    if (info.status == EML_NO_MEMORY) throw outOfMemory(file_.name());
    // A part without a name cannot be described.
    entry.isMessage = info.status == EML_OK && info.kind == EML_KIND_MESSAGE;
    entry.isEmbeddedMessage = (info.flags & EML_SUB_FILE_MESSAGE) != 0;
    entry.isInFile = (info.flags & EML_SUB_FILE_NOT_IN_FILE) == 0;
    entry.isEncrypted = (info.flags & EML_SUB_FILE_ENCRYPTED) != 0;
    entry.parent = info.parent;
    entry.name = decodeName(info.name, message.charset());
    entry.writtenName = std::move(info.name);
    if (info.size >= 0) entry.storedSize = static_cast<uint64_t>(info.size);
    // The size of a message is that of its plain text, which it may not have.
    if (entry.isMessage && info.size > 0) entry.size = entry.storedSize;
    date = info.date;
    return entry;
}

// Opens what is inside a sub-file, if there is anything to open.
void ContainerTreeReader::openPart(PartContent& content, SubFileEntry& entry, Warnings& warnings) {
    const uint64_t stored = entry.storedSize.value_or(0);
    if (entry.isEmbeddedMessage) {
        openExtracted(content, stored, entry, warnings);
        return;
    }
    entry.isTnef = entry.isInFile && beginsTnef(content.beginning()) && readsTnef();
    if (entry.isTnef) openTnefPart(content, stored, entry, warnings);
}

std::unique_ptr<MessageTree> ContainerTreeReader::readEmbedded(emlhost::Input& input, const SubFilePath& path,
                                                               Warnings& warnings) {
    emlhost::OpenMessage embedded(input, file_.services(), kOpenFlags);
    if (embedded.status() == EML_NO_MEMORY) throw outOfMemory(file_.name());
    if (!embedded.usable()) {
        warnings.push_back({"cannot-open", formatted("sub-file {}: cannot be opened as a message (result {})",
                                                     dotted(path), embedded.status())});
        return nullptr;
    }
    return std::make_unique<MessageTree>(readMessage(embedded, input.size(), path));
}

}  // namespace

MessageTree readContainerTree(MessageFile& file, AttachmentVisitor& visitor) {
    MessageTree tree = ContainerTreeReader(file, visitor).read();
    if (lacksClosingDelimiter(file.input())) {
        tree.warnings.push_back(
            {"no-closing-delimiter",
             "cut off, the closing delimiter is missing; the last part may be incomplete"});
    }
    return tree;
}

}  // namespace emltool
