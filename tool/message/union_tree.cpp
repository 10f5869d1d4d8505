#include "tool/message/union_tree.h"

#include <algorithm>
#include <emlreader/mime.hpp>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "tool/message/comparison.h"
#include "tool/message/digest_output.h"
#include "tool/message/part_tree.h"

namespace emltool {

namespace {

std::vector<Reading> readingsOf(const OfReadings<bool>& offeredBy) {
    std::vector<Reading> readings;
    for (size_t i = 0; i < kReadings; ++i) {
        if (offeredBy[i]) readings.push_back(static_cast<Reading>(i));
    }
    return readings;
}

// Lets another visitor see each content once.
class OnceVisitor final : public AttachmentVisitor {
  public:
    OnceVisitor(AttachmentVisitor& visitor, const std::vector<FoundContent>& contents) : visitor_(visitor) {
        for (const FoundContent& content : contents) offers_.emplace(content.sha256, content.offeredBy);
    }

    // What cannot be read is for the other visitor to find out.
    void visit(SubFileContent& content, SubFileEntry& entry) override {
        entry.readings = {Reading::kMime};
        DigestOutput output;
        if (content.extract(output).status == EML_OK) {
            const std::string digest = output.digest();
            if (!seen_.insert(digest).second) return;
            const auto offer = offers_.find(digest);
            if (offer != offers_.end()) entry.readings = readingsOf(offer->second);
        }
        visitor_.visit(content, entry);
    }
    bool opens(const SubFileEntry& entry) const override { return visitor_.opens(entry); }

    bool hasSeen(const FoundContent& content) const { return seen_.contains(content.sha256); }

  private:
    AttachmentVisitor& visitor_;
    std::unordered_map<std::string, OfReadings<bool>> offers_;  // by digest
    std::unordered_set<std::string> seen_;
};

// A content of the union while its reader is open.
class OpenContent final : public SubFileContent {
  public:
    explicit OpenContent(const WriteContent& write) : write_(write) {}

    emlhost::Extraction extract(emlhost::Output& output) override {
        write_(output);
        return {};
    }

  private:
    const WriteContent& write_;
};

}  // namespace

MessageTree readUnionTree(MessageFile& file, AttachmentVisitor& visitor) {
    std::vector<FoundContent> contents = unionOf(compareReadings(file));
    OnceVisitor once(visitor, contents);
    MessageTree tree = readTree(file, once, Reading::kMime);
    std::erase_if(contents, [&once](const FoundContent& content) { return once.hasSeen(content); });
    std::vector<std::string> sections;
    withMime(file,
             [&sections](const emlreader::mime::Message& message) { sections = sectionNumbers(message); });
    int32_t number = tree.subFiles.empty() ? 0 : tree.subFiles.back().path.back();
    extractUnion(file, contents, [&](const FoundContent& found, const WriteContent& write) {
        SubFileEntry entry;
        entry.path = {++number};
        entry.parent = 0;
        entry.name = entry.writtenName = found.name;
        entry.readings = readingsOf(found.offeredBy);
        if (found.reading == Reading::kMime) entry.section = sections[found.number];
        OpenContent content(write);
        visitor.visit(content, entry);
        if (!entry.size) entry.size = found.size;
        tree.subFiles.push_back(std::move(entry));
    });
    return tree;
}

}  // namespace emltool
