// What `eml extract` tells about the files that it wrote.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tool/message/tree.h"
#include "tool/terminal/console.h"

namespace emltool {

// Every entry that was asked for, in the order of the messages.
std::vector<const SubFileEntry*> resultsOf(const MessageTree& tree);

class ExtractReport {
  public:
    // `folder` as the user wrote it; `isUnion` if all readings were asked.
    ExtractReport(Console& console, std::string folder, bool onlyList, bool isUnion)
        : console_(console), folder_(std::move(folder)), onlyList_(onlyList), isUnion_(isUnion) {}

    // The rows of one message.
    void printRows(const std::vector<const SubFileEntry*>& results) const;

    // Adds up the results of a message.
    void count(const std::vector<const SubFileEntry*>& results);

    // The sum of what was counted; `ofMany` messages, also how many of them had attachments.
    void printSum(bool ofMany) const;

  private:
    std::string sum() const;

    Console& console_;
    std::string folder_;
    bool onlyList_;
    bool isUnion_;
    size_t messages_ = 0;
    size_t messagesWithFiles_ = 0;
    size_t written_ = 0;
    size_t skipped_ = 0;
    uint64_t bytes_ = 0;
};

}  // namespace emltool
