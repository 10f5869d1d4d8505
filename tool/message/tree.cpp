#include "tool/message/tree.h"

#include "tool/message/left_out.h"
#include "tool/message/tree_reader.h"

namespace emltool {

namespace {

// An output that keeps only the count.
class CountingOutput final : public emlhost::Output {
  public:
    CountingOutput() : Output(Seeking::kAnywhere) {}

  private:
    int put(uint64_t, std::span<const uint8_t>) noexcept override { return 0; }
};

}  // namespace

MessageTree readTree(MessageFile& file, AttachmentVisitor& visitor, Reading reading) {
    if (reading == Reading::kMime) return readMimeTree(file, visitor);
    if (reading == Reading::kFilter) {
        throw usageProblem(
            "--reader=filter: the message filter gives text and no sub-files; use it with show, or see "
            "\"eml records\"");
    }
    MessageTree tree = readContainerTree(file, visitor);
    if (tree.encrypted) return tree;
    if (auto warning = leftOutWarning(file, reading)) tree.warnings.insert(tree.warnings.begin(), *warning);
    return tree;
}

std::optional<uint64_t> decodedSize(SubFileContent& content) {
    CountingOutput output;
    emlhost::Extraction extraction = content.extract(output);
    bool hasContent = extraction.status == EML_OK && (extraction.flags & EML_EXTRACT_NOT_IN_FILE) == 0;
    return hasContent ? std::optional<uint64_t>(output.size()) : std::nullopt;
}

}  // namespace emltool
