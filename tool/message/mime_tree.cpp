// A message as the MIME reader has it.
#include <emlreader/mime.hpp>

#include "tool/message/defect_warnings.h"
#include "tool/message/mime_content.h"
#include "tool/message/mime_fields.h"
#include "tool/message/mime_text.h"
#include "tool/message/part_tree.h"
#include "tool/message/signed_message.h"
#include "tool/message/tree_reader.h"
#include "tool/text/charset_labels.h"

namespace emltool {

namespace {

using emlreader::mime::Message;
using emlreader::mime::Part;

class MimeTreeReader final : public TreeReader {
  public:
    MimeTreeReader(MessageFile& file, AttachmentVisitor& visitor, const Message& message)
        : TreeReader(file, visitor), message_(message) {}

    MessageTree read() override {
        MessageTree tree = readFile(message_, {});
        file_.checkReads();
        return tree;
    }

  private:
    std::unique_ptr<MessageTree> readEmbedded(emlhost::Input& input, const SubFilePath& path,
                                              Warnings& warnings) override;
    MessageTree readFile(const Message& message, const SubFilePath& path);
    MessageTree readMessage(const Message& message, uint32_t root, const SubFilePath& path);
    std::vector<uint32_t> readFiles(const Message& message, uint32_t root, const SubFilePath& path,
                                    MessageTree& tree);
    bool openSigned(const Message& message, const Part& part, SubFileEntry& entry, Warnings& warnings);
    void readInside(const SignedMessage& content, const SubFilePath& path, MessageTree& tree);
    SubFileEntry entryOf(const Part& part, const SubFilePath& path) const;
    bool openPart(const Message& message, const Part& part, MimeContent& content, SubFileEntry& entry,
                  Warnings& warnings);

    const Message& message_;
    size_t signatures_ = 0;              // that are open, one inside the other
    std::vector<std::string> sections_;  // of the parts of the file that is being read
};

// What is wrong with a file is known when all of it has been read.
MessageTree MimeTreeReader::readFile(const Message& message, const SubFilePath& path) {
    std::vector<std::string> outer = std::exchange(sections_, sectionNumbers(message));
    MessageTree tree = readMessage(message, 0, path);
    for (Warning& warning : defectWarnings(message)) tree.warnings.push_back(std::move(warning));
    sections_ = std::move(outer);
    return tree;
}

MessageTree MimeTreeReader::readMessage(const Message& message, uint32_t root, const SubFilePath& path) {
    const Part part = message.part(root);
    MessageTree tree;
    tree.bytes = root == 0 ? message.size() : message.part(part.info().parent).info().body.length;
    MessageHead head = readHead(message, root);
    tree.metadata = std::move(head.fields);
    tree.date = head.facts.date;
    tree.facts = std::move(head.facts);
    tree.name = std::move(head.subject);
    const SignedMessage content(message, root, kMaxSignatures - signatures_);
    tree.encrypted = content.isEncrypted();
    tree.protection = content.notice();
    const std::vector<Part> texts = textParts(message, root);
    tree.charsetLabel = charsetOf(texts);
    SubFileEntry self;
    self.path = path;
    self.path.push_back(0);
    self.isMessage = true;
    self.isEncrypted = tree.encrypted;
    self.name = self.writtenName = tree.name;
    self.size = textSize(texts);
    tree.subFiles.push_back(std::move(self));
    // The signature around this one has said it already if there are too many.
    if (!content.problem().empty() && signatures_ < kMaxSignatures)
        tree.warnings.push_back(signatureWarning(content));
    std::vector<uint32_t> opened;
    if (content.inside() != nullptr) {
        readInside(content, path, tree);
    } else {
        opened = readFiles(message, root, path, tree);
    }
    for (Warning& warning : hiddenPartWarnings(message, root, opened))
        tree.warnings.push_back(std::move(warning));
    tree.charset = charsetIdOf(tree.charsetLabel);
    return tree;
}

// The header is outside of the signature, all else inside.
void MimeTreeReader::readInside(const SignedMessage& content, const SubFilePath& path, MessageTree& tree) {
    signatures_ += content.depth();
    MessageTree inside = readFile(*content.inside(), path);
    signatures_ -= content.depth();
    tree.charsetLabel = inside.charsetLabel;
    inside.subFiles.front().name = tree.subFiles.front().name;
    inside.subFiles.front().writtenName = tree.subFiles.front().writtenName;
    tree.subFiles = std::move(inside.subFiles);
    for (Warning& warning : inside.warnings) tree.warnings.push_back(std::move(warning));
}

// Returns the parts that were opened, or are said not to be.
std::vector<uint32_t> MimeTreeReader::readFiles(const Message& message, uint32_t root,
                                                const SubFilePath& path, MessageTree& tree) {
    std::vector<uint32_t> opened;
    int32_t number = 0;
    const std::vector<Part> files = message.files(root);
    tree.subFiles.reserve(tree.subFiles.size() + files.size());
    for (const Part& file : files) {
        SubFilePath filePath = path;
        filePath.push_back(++number);
        SubFileEntry entry = entryOf(file, filePath);
        MimeContent content(message, file.number());
        visitor_.visit(content, entry);
        if (visitor_.opens(entry) && openPart(message, file, content, entry, tree.warnings))
            opened.push_back(file.number());
        tree.subFiles.push_back(std::move(entry));
    }
    return opened;
}

SubFileEntry MimeTreeReader::entryOf(const Part& part, const SubFilePath& path) const {
    SubFileEntry entry;
    entry.path = path;
    entry.parent = 0;
    entry.name = entry.writtenName = part.name();
    entry.isNamed = part.isNamed();
    entry.type = part.mediaType();
    entry.disposition = part.disposition();
    entry.contentId = part.contentId();
    entry.section = sections_[part.number()];
    entry.storedSize = part.info().body.length;
    entry.isEmbeddedMessage = part.isMessage() || part.isEncodedMessage();
    entry.isEncrypted = isEncryption(part.protection());
    return entry;
}

// A signed part that is not the whole message holds a message without a header of its own.
bool MimeTreeReader::openSigned(const Message& message, const Part& part, SubFileEntry& entry,
                                Warnings& warnings) {
    if (!limits_.mayOpen(entry.path, part.info().body.length, warnings)) return true;
    const SignedMessage content(message, part.number(), kMaxSignatures - signatures_);
    entry.isEncrypted = content.isEncrypted();
    if (!content.problem().empty()) warnings.push_back(signatureWarning(content));
    if (content.inside() == nullptr) return !content.problem().empty();
    signatures_ += content.depth();
    entry.message = std::make_unique<MessageTree>(readFile(*content.inside(), entry.path));
    signatures_ -= content.depth();
    entry.message->protection = content.notice();
    return true;
}

// A message inside is open already, unless it is encoded. True if it was opened, or a warning says why not.
bool MimeTreeReader::openPart(const Message& message, const Part& part, MimeContent& content,
                              SubFileEntry& entry, Warnings& warnings) {
    if (part.isMessage()) {
        const uint32_t root = part.info().firstChild;
        if (root != EML_MIME_NONE) {
            entry.message = std::make_unique<MessageTree>(readMessage(message, root, entry.path));
        }
        return true;
    }
    if (part.isEncodedMessage()) {
        openExtracted(content, part.info().body.length, entry, warnings);
        return true;
    }
    if (part.protection() == EML_MIME_SMIME_OPAQUE || part.protection() == EML_MIME_SMIME_OTHER)
        return openSigned(message, part, entry, warnings);
    entry.isTnef = beginsTnef(content.beginning()) && readsTnef();
    if (entry.isTnef) openTnefPart(content, part.info().body.length, entry, warnings);
    return entry.isTnef;
}

std::unique_ptr<MessageTree> MimeTreeReader::readEmbedded(emlhost::Input& input, const SubFilePath& path,
                                                          Warnings&) {
    const Message message(input);
    return std::make_unique<MessageTree>(readFile(message, path));
}

}  // namespace

MessageTree readMimeTree(MessageFile& file, AttachmentVisitor& visitor) {
    MessageTree tree;
    withMime(file, [&](const Message& message) { tree = MimeTreeReader(file, visitor, message).read(); });
    return tree;
}

}  // namespace emltool
