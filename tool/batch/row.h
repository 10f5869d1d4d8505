// One message of a batch, as its row.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tool/archive/message_source.h"
#include "tool/message/json_text.h"
#include "tool/terminal/problem.h"

namespace emltool {

// What is to be read: a file, or one message of an mbox or an archive.
struct BatchItem : MessageSource {
    uint64_t weight = 0;  // bytes of its file that have been read for it, if it has an index
};

struct RowOptions {
    bool force = false;
    bool recursive = false;  // opens embedded messages
    bool text = false;
    bool markdown = false;
    bool html = false;
    bool parts = false;
    bool digest = false;
    std::optional<std::vector<std::string>>
        headers;  // the fields wanted, in lower case; empty is all of them
    AnswerForm form;
};

// What came of an item. Processes send each other these numbers.
enum class RowKind : uint8_t {
    kGood = 1,
    kError = 2,    // the row says what is wrong
    kFolder = 3,   // no row: this is a folder, whose files are to be read
    kMbox = 4,     // no row: this is an mbox, whose messages are to be read
    kArchive = 5,  // no row: this is an archive, whose messages are to be read
    kUnread = 6    // no row: the worker gives the item back
};

struct BatchRow {
    RowKind kind = RowKind::kError;
    std::string line;
    bool outOfMemory = false;
};

// Reads the item. Throws std::bad_alloc if there is no memory even for the row.
BatchRow readItem(BatchItem item, const RowOptions& options);

// The row of an item that cannot be read.
std::string problemRow(const AnswerForm& form, const BatchItem& item, const Problem& problem);

}  // namespace emltool
