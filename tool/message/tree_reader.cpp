#include "tool/message/tree_reader.h"

#include <strings.h>

#include <algorithm>

#include "tool/message/sub_file_content.h"
#include "tool/system/spooled_file.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

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

// What a TNEF says of its message. Its text is what `eml show` shows, so it is not here.
MessageTree propertiesOf(const TnefContent& content) {
    MessageTree tree;
    tree.isMessage = false;
    tree.name = content.subject;
    tree.date = content.sent;
    const std::pair<const char*, const std::string&> fields[] = {
        {"From", content.from}, {"To", content.to}, {"Cc", content.cc}, {"Subject", content.subject}};
    for (const auto& [name, text] : fields) {
        if (!text.empty()) tree.metadata.push_back({name, text, std::nullopt});
    }
    return tree;
}

Warning notUnpacked(const SubFilePath& path) {
    return {"not-unpacked", formatted("sub-file {}: not unpacked, it is too large", dotted(path))};
}

}  // namespace

std::vector<uint8_t> TreeReader::bytesOf(SubFileContent& content) const {
    emlhost::MemoryOutput output;
    emlhost::Extraction extraction = content.extract(output);
    if (output.error() || extraction.status == EML_NO_MEMORY) throw outOfMemory(file_.name());
    return output.take();
}

void TreeReader::openExtracted(SubFileContent& content, uint64_t bytes, SubFileEntry& entry,
                               Warnings& warnings) {
    if (!limits_.mayOpen(entry.path, bytes, warnings)) return;
    SpooledFile spooled;
    emlhost::Extraction extraction = content.extract(spooled);
    if (extraction.status == EML_NO_MEMORY) throw outOfMemory(file_.name());
    entry.message = readEmbedded(*spooled.takeInput(file_.name()), entry.path, warnings);
}

void TreeReader::openTnefPart(SubFileContent& content, uint64_t stored, SubFileEntry& entry,
                              Warnings& warnings) {
    if (!limits_.mayOpen(entry.path, stored, warnings)) return;
    if (stored > 2 * kMaxTnefSize) {
        warnings.push_back(notUnpacked(entry.path));
        return;
    }
    openTnef(bytesOf(content), entry, warnings);
}

// The files of a TNEF become its sub-files, numbered from 1, like the attachments of a message.
void TreeReader::openTnef(std::span<const uint8_t> bytes, SubFileEntry& entry, Warnings& warnings) {
    if (tnefInMemory_ + bytes.size() > kMaxTnefSize) {
        warnings.push_back(notUnpacked(entry.path));
        return;
    }
    tnefInMemory_ += bytes.size();
    TnefContent content = unpackTnef(bytes);
    if (!content.problem.empty()) {
        const char* how = content.files.empty() ? "not unpacked" : "unpacked in part";
        warnings.push_back(
            {"tnef", formatted("sub-file {}: {}, {}", dotted(entry.path), how, content.problem)});
    }
    MessageTree tree = propertiesOf(content);
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
    entry.writtenName = file.name;
    entry.type = file.type;
    entry.isEmbeddedMessage = isMessage(file);
    BytesContent content(file.bytes);
    visitor_.visit(content, entry);
    if (!visitor_.opens(entry)) return entry;
    entry.isTnef = beginsTnef(file.bytes);
    bool opened = entry.isTnef || entry.isEmbeddedMessage;
    if (!opened || !limits_.mayOpen(entry.path, file.bytes.size(), warnings)) return entry;
    if (entry.isTnef) {
        openTnef(file.bytes, entry, warnings);
    } else {
        emlhost::MemoryInput input(file.bytes);
        entry.message = readEmbedded(input, entry.path, warnings);
    }
    return entry;
}

}  // namespace emltool
