// Which tables are tables to a person. Most in mail only lay out a page.
#pragma once

#include <cstddef>

#include "tool/html/document.h"

namespace emltool {

// Whether each cell is at most one short line, and several rows have several cells that are not empty.
bool isDataTable(const Block& table);

// The only paragraph of a cell; nullptr if it is empty.
const Block* paragraphOf(const Block& cell);

// Whether each cell of the row is at most one paragraph, so that they can stand in one line.
bool isOneLine(const Block& row);

}  // namespace emltool
