#include "tool/html/table_shape.h"

#include <algorithm>

namespace emltool {

namespace {

constexpr size_t kMaxCell = 100;  // bytes of a short cell
constexpr size_t kMaxLine = 240;

bool isLine(const Block& block) {
    return (block.kind == Block::Kind::kParagraph || block.kind == Block::Kind::kHeading) &&
           std::none_of(block.inlines.begin(), block.inlines.end(),
                        [](const Inline& each) { return each.kind == Inline::Kind::kBreak; });
}

bool isLine(const Block& cell, size_t maxLength) {
    if (cell.blocks.empty()) return true;
    if (cell.blocks.size() != 1 || !isLine(cell.blocks[0])) return false;
    size_t length = 0;
    for (const Inline& each : cell.blocks[0].inlines) length += each.text.size();
    return length <= maxLength;
}

}  // namespace

bool isDataTable(const Block& table) {
    size_t rows = 0;
    for (const Block& row : table.blocks) {
        const auto isShort = [](const Block& cell) { return isLine(cell, kMaxCell); };
        if (!std::all_of(row.blocks.begin(), row.blocks.end(), isShort)) return false;
        const auto filled = std::count_if(row.blocks.begin(), row.blocks.end(),
                                          [](const Block& cell) { return !cell.blocks.empty(); });
        if (filled >= 2) ++rows;
    }
    return rows >= 2;
}

const Block* paragraphOf(const Block& cell) { return cell.blocks.empty() ? nullptr : cell.blocks.data(); }

bool isOneLine(const Block& row) {
    return std::all_of(row.blocks.begin(), row.blocks.end(),
                       [](const Block& cell) { return isLine(cell, kMaxLine); });
}

}  // namespace emltool
