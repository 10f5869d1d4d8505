// What the readers of trees share: the visitor, the limits, and how files inside TNEF are opened.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "tool/message/opening_limits.h"
#include "tool/message/tnef.h"
#include "tool/message/tree.h"

namespace emltool {

class TreeReader {
  public:
    virtual ~TreeReader() = default;
    TreeReader(const TreeReader&) = delete;
    TreeReader& operator=(const TreeReader&) = delete;

    // The tree of the whole file.
    virtual MessageTree read() = 0;

  protected:
    using Warnings = std::vector<Warning>;

    TreeReader(MessageFile& file, AttachmentVisitor& visitor)
        : file_(file), visitor_(visitor), limits_(file.input().size()) {}

    // The message in `input`, which lies at `path`. NULL, with a warning, if it cannot be opened.
    virtual std::unique_ptr<MessageTree> readEmbedded(emlhost::Input& input, const SubFilePath& path,
                                                      Warnings& warnings) = 0;

    // Extracts an embedded message of so many bytes and opens what came out.
    void openExtracted(SubFileContent& content, uint64_t bytes, SubFileEntry& entry, Warnings& warnings);

    // Unpacks TNEF that has so many bytes in the message.
    void openTnefPart(SubFileContent& content, uint64_t stored, SubFileEntry& entry, Warnings& warnings);

    // All bytes of a part. Throws Problem.
    std::vector<uint8_t> bytesOf(SubFileContent& content) const;

    MessageFile& file_;
    AttachmentVisitor& visitor_;
    OpeningLimits limits_;

  private:
    void openTnef(std::span<const uint8_t> bytes, SubFileEntry& entry, Warnings& warnings);
    SubFileEntry readTnefFile(const TnefFile& file, const SubFilePath& path, Warnings& warnings);

    uint64_t tnefInMemory_ = 0;  // bytes of TNEF that are being unpacked, one inside the other
};

MessageTree readContainerTree(MessageFile& file, AttachmentVisitor& visitor);
MessageTree readMimeTree(MessageFile& file, AttachmentVisitor& visitor);

}  // namespace emltool
