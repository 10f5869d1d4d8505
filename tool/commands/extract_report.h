// What `eml extract` tells about the files that it wrote.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tool/commands/extract_work.h"
#include "tool/message/tree.h"
#include "tool/terminal/console.h"

namespace emltool {

// Every entry that was asked for, in the order of the messages.
std::vector<const SubFileEntry*> resultsOf(const MessageTree& tree);

class ExtractReport {
  public:
    // `isUnion` if all readings were asked.
    ExtractReport(Console& console, const ExtractRequest& request, bool isUnion)
        : console_(console), request_(request), isUnion_(isUnion) {}

    // The rows of one message.
    void printRows(const std::vector<const SubFileEntry*>& results) const;

    // Adds up the results of a message.
    void count(const std::vector<const SubFileEntry*>& results);

    // So many messages were done by an earlier run.
    void addDone(uint64_t messages) { done_ += messages; }

    // The sum of what was counted; `ofMany` messages, also how many of them had attachments.
    void printSum(bool ofMany) const;

  private:
    std::string sum() const;
    std::string sumOfStore() const;

    Console& console_;
    const ExtractRequest& request_;
    bool isUnion_;
    size_t messages_ = 0;
    size_t messagesWithFiles_ = 0;
    size_t written_ = 0;
    size_t skipped_ = 0;
    uint64_t bytes_ = 0;  // written
    uint64_t done_ = 0;
};

}  // namespace emltool
