// The manifest of a store: rows that are there as soon as their message is done.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tool/archive/message_source.h"
#include "tool/batch/row_output.h"
#include "tool/terminal/console.h"

namespace emltool {

// Reads the rows in the open file `descriptor`, called `name`, notes the messages that are done, and returns the length
// of their rows; those of one more message, and the beginning of a line, may follow. Throws Problem if the file holds
// anything else.
uint64_t readStoreRows(int descriptor, const std::string& name, FinishedRows& finished);

class StoreManifest {
  public:
    // `path` "-" is standard output. With `resume` the file is continued; else it must not exist. Throws Problem.
    StoreManifest(Console& console, std::string path, bool resume);

    // Whether an earlier run is done with this message.
    bool takeDone(const MessageSource& source);

    // Writes the rows of a message, the last of which says that it is done. Throws Problem.
    void write(const std::string& rows);

  private:
    Console& console_;
    FinishedRows finished_;
    std::unique_ptr<RowOutput> file_;  // NULL if it is standard output
};

}  // namespace emltool
