// Attachments into a store.
#pragma once

#include <functional>
#include <optional>

#include "tool/message/content_store.h"
#include "tool/message/extraction.h"
#include "tool/message/tree.h"

namespace emltool {

// Stores each chosen attachment. A failure is noted in the entry; after one of the store, nothing more is read.
class StoreVisitor final : public AttachmentVisitor {
  public:
    using OnStored = std::function<void(const SubFileEntry& entry)>;

    // `onStored` hears of each file that is in the store, new or not.
    StoreVisitor(MessageFile& file, Selection& selection, ContentStore& store, OnStored onStored)
        : file_(file), selection_(selection), store_(store), onStored_(std::move(onStored)) {}

    void visit(SubFileContent& content, SubFileEntry& entry) override;
    bool opens(const SubFileEntry& entry) const override {
        return !failure_ && selection_.reachesInto(entry.path);
    }

    // Of the store: the next message has no chance either.
    const std::optional<Problem>& failure() const { return failure_; }

  private:
    void store(SubFileContent& content, SubFileEntry& entry);

    MessageFile& file_;
    Selection& selection_;
    ContentStore& store_;
    OnStored onStored_;
    std::optional<Problem> failure_;
};

}  // namespace emltool
