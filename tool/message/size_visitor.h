// What list and info need to know about each attachment.
#pragma once

#include "tool/message/tree.h"
#include "tool/text/safe_name.h"

namespace emltool {

// Determines the decoded size and the safe name of each attachment.
class SizeVisitor final : public AttachmentVisitor {
  public:
    explicit SizeVisitor(bool recursive) : recursive_(recursive) {}

    void visit(SubFileContent& content, SubFileEntry& entry) override {
        entry.size = decodedSize(content);
        entry.safeName = names_.take(safeName(entry.name, dotted(entry.path)));
    }
    bool opens(const SubFileEntry&) const override { return recursive_; }

  private:
    bool recursive_;
    NameSet names_;
};

}  // namespace emltool
