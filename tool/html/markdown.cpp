#include "tool/html/markdown.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "tool/html/prefixed_lines.h"
#include "tool/html/table_shape.h"
#include "tool/text/format.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

using Kind = Inline::Kind;

bool isAlphanumeric(char c) {
    return static_cast<unsigned char>(c) >= 0x80 || std::isalnum(static_cast<unsigned char>(c)) != 0;
}

// A character that means something anywhere in a text.
bool isMark(std::string_view text, size_t at) {
    const char c = text[at];
    constexpr std::string_view kMarks = "\\`*[]<>|~";
    if (kMarks.find(c) != std::string_view::npos) return true;
    const bool isLast = at + 1 == text.size();
    if (c == '_') {
        return at == 0 || isLast || !isAlphanumeric(text[at - 1]) || !isAlphanumeric(text[at + 1]);
    }
    if (c == '&') return isLast || isAlphanumeric(text[at + 1]) || text[at + 1] == '#';
    return c == '!' && (isLast || text[at + 1] == '[');
}

// A line whose beginning would make it a heading, an item, a rule or an underline.
std::string escapedStart(std::string line) {
    const size_t digits = std::min(line.find_first_not_of("0123456789"), line.size());
    const size_t mark = digits;
    if (mark == line.size()) return line;
    const char c = line[mark];
    const bool isItem = digits != 0 && (c == '.' || c == ')');
    const bool isSign = digits == 0 && (c == '#' || c == '+' || c == '-' || c == '=');
    if (isItem || isSign) line.insert(mark, 1, '\\');
    return line;
}

// A line end would end the link; brackets too, unless they are in pairs.
std::string destination(std::string_view url) {
    std::string text;
    for (const char c : url) {
        if (std::string_view("()<>\\ \"").find(c) != std::string_view::npos ||
            static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
            text += formatted("%{:02X}", static_cast<unsigned>(static_cast<unsigned char>(c)));
        } else if (c == '&' || c == '*' || c == '_' || c == '`' || c == '[' || c == ']' || c == '|' ||
                   c == '~') {
            (text += '\\') += c;
        } else {
            text += c;
        }
    }
    return text;
}

// The lines of one paragraph.
class InlineWriter {
  public:
    explicit InlineWriter(bool isCell) : isCell_(isCell), lines_(1) {}

    std::vector<std::string> write(const std::vector<Inline>& inlines) {
        for (size_t i = 0; i < inlines.size(); ++i) add(inlines, i);
        return std::move(lines_);
    }

  private:
    void add(const std::vector<Inline>& inlines, size_t at);
    void addMark(const std::vector<Inline>& inlines, size_t at, std::string_view mark);
    static bool isSafe(const std::vector<Inline>& inlines, size_t begin, size_t end);

    bool isCell_;
    std::vector<std::string> lines_;
    std::vector<bool> marks_;  // of the emphases that are open: whether they have their mark
    std::string url_;
};

// Whether the text between has neither a blank nor a sign at its ends, for then its marks might be taken for signs.
bool InlineWriter::isSafe(const std::vector<Inline>& inlines, size_t begin, size_t end) {
    const auto isText = [](const Inline& each) { return each.kind == Kind::kText && !each.text.empty(); };
    if (begin + 1 >= end || !isText(inlines[begin + 1]) || !isText(inlines[end - 1])) return false;
    return isAlphanumeric(inlines[begin + 1].text.front()) && isAlphanumeric(inlines[end - 1].text.back());
}

void InlineWriter::addMark(const std::vector<Inline>& inlines, size_t at, std::string_view mark) {
    const Kind kind = inlines[at].kind;
    const bool isBegin = kind == Kind::kStrongBegin || kind == Kind::kEmphasisBegin;
    if (!isBegin) {
        if (!marks_.empty() && marks_.back()) lines_.back() += mark;
        if (!marks_.empty()) marks_.pop_back();
        return;
    }
    // One inside another has no marks of its own, nor one that holds a link or a line end.
    size_t end = at + 1;
    const bool isInside = !marks_.empty();
    while (!isInside && end < inlines.size() && inlines[end].kind == Kind::kText) ++end;
    const bool isWhole = !isInside && end < inlines.size() &&
                         inlines[end].kind == static_cast<Kind>(static_cast<int>(kind) + 1);
    marks_.push_back(isWhole && isSafe(inlines, at, end));
    if (marks_.back()) lines_.back() += mark;
}

void InlineWriter::add(const std::vector<Inline>& inlines, size_t at) {
    const Inline& each = inlines[at];
    switch (each.kind) {
        case Kind::kText:
            lines_.back() += markdownText(each.text);
            break;
        case Kind::kImage:
            lines_.back() += markdownText('[' + each.text + ']');
            break;
        case Kind::kBreak:
            if (isCell_) {
                lines_.back() += ' ';
            } else {
                lines_.emplace_back();
            }
            break;
        case Kind::kLinkBegin:
            url_ = each.url;
            if (lines_.back().ends_with('!')) lines_.back().insert(lines_.back().size() - 1, 1, '\\');
            lines_.back() += '[';
            break;
        case Kind::kLinkEnd:
            lines_.back() += "](" + destination(url_) + ')';
            break;
        case Kind::kStrongBegin:
        case Kind::kStrongEnd:
            addMark(inlines, at, "**");
            break;
        case Kind::kEmphasisBegin:
        case Kind::kEmphasisEnd:
            addMark(inlines, at, "*");
            break;
        case Kind::kCodeBegin:
        case Kind::kCodeEnd:
            break;
    }
}

class MarkdownWriter {
  public:
    std::string write(const Block& document) {
        writeBlocks(document);
        return lines_.take();
    }

  private:
    void writeBlocks(const Block& block);
    void writeBlock(const Block& block);
    void writeParagraph(const Block& block);
    void writeHeading(const Block& block);
    void writePreformatted(const Block& block);
    void writeList(const Block& list);
    void writeTable(const Block& table);
    void writeColumns(const Block& table);
    void writeInside(const Block& block, std::string_view first, std::string_view rest);
    void writeLine(std::string_view line);
    void beginBlock();

    PrefixedLines lines_;
    bool wantsEmptyLine_ = false;
};

void MarkdownWriter::writeLine(std::string_view line) {
    lines_.write(line);
    wantsEmptyLine_ = true;
}

// Blocks have an empty line between them.
void MarkdownWriter::beginBlock() {
    if (wantsEmptyLine_ && !lines_.isAtFirst()) writeLine("");
    wantsEmptyLine_ = false;
}

void MarkdownWriter::writeParagraph(const Block& block) {
    std::vector<std::string> lines = InlineWriter(false).write(block.inlines);
    const auto isEmpty = [](const std::string& line) {
        return line.find_first_not_of(" \t") == std::string::npos;
    };
    bool isBegun = false;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (isEmpty(lines[i])) {
            isBegun = false;
            continue;
        }
        if (!isBegun) beginBlock();
        isBegun = true;
        std::string line = lines[i].substr(lines[i].find_first_not_of(" \t"));
        line = escapedStart(line.substr(0, line.find_last_not_of(" \t") + 1));
        const bool goesOn = i + 1 < lines.size() && !isEmpty(lines[i + 1]);
        writeLine(goesOn ? line + '\\' : line);
    }
}

void MarkdownWriter::writeHeading(const Block& block) {
    std::string line;
    for (const std::string& each : InlineWriter(true).write(block.inlines)) line += each;
    beginBlock();
    writeLine(std::string(static_cast<size_t>(block.number), '#') + ' ' + line);
}

// A fence that is longer than any in the text.
void MarkdownWriter::writePreformatted(const Block& block) {
    std::string text;
    for (const Inline& each : block.inlines) {
        if (each.kind == Kind::kText) text += each.text;
        if (each.kind == Kind::kImage) text += '[' + each.text + ']';
        if (each.kind == Kind::kBreak) text += '\n';
    }
    size_t longest = 2;
    for (size_t at = text.find('`'); at != std::string::npos; at = text.find('`', at)) {
        const size_t end = std::min(text.find_first_not_of('`', at), text.size());
        longest = std::max(longest, end - at);
        at = end;
    }
    const std::string fence(longest + 1, '`');
    beginBlock();
    writeLine(fence);
    for (size_t at = 0; at <= text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        writeLine(std::string_view(text).substr(at, end - at));
        at = end + 1;
    }
    writeLine(fence);
}

void MarkdownWriter::writeInside(const Block& block, std::string_view first, std::string_view rest) {
    beginBlock();
    lines_.enter(first, rest, [&] { writeBlocks(block); });
}

void MarkdownWriter::writeList(const Block& list) {
    int64_t number = list.number;
    for (const Block& item : list.blocks) {
        const bool isFirst = &item == &list.blocks.front();
        if (!isFirst && !item.hasSpaceBefore) wantsEmptyLine_ = false;
        if (item.kind != Block::Kind::kItem) {
            writeBlock(item);
            continue;
        }
        const std::string mark = itemMark(list, number, "- ");
        writeInside(item, mark, std::string(mark.size(), ' '));
    }
}

void MarkdownWriter::writeColumns(const Block& table) {
    size_t columns = 0;
    for (const Block& row : table.blocks) columns = std::max(columns, row.blocks.size());
    constexpr size_t kMaxColumns = 64;
    columns = std::min(columns, kMaxColumns);
    beginBlock();
    bool isFirst = true;
    for (const Block& row : table.blocks) {
        std::string line = "|";
        for (size_t i = 0; i < columns; ++i) {
            const Block* const cell = i < row.blocks.size() ? paragraphOf(row.blocks[i]) : nullptr;
            line += ' ';
            if (cell != nullptr) line += InlineWriter(true).write(cell->inlines).front();
            line += " |";
        }
        for (size_t i = columns; i < row.blocks.size(); ++i) {
            if (const Block* const cell = paragraphOf(row.blocks[i])) {
                line += ' ' + InlineWriter(true).write(cell->inlines).front();
            }
        }
        writeLine(line);
        if (!isFirst) continue;
        isFirst = false;
        std::string rule = "|";
        for (size_t i = 0; i < columns; ++i) rule += " --- |";
        writeLine(rule);
    }
}

void MarkdownWriter::writeTable(const Block& table) {
    if (isDataTable(table)) return writeColumns(table);
    for (const Block& row : table.blocks) {
        for (const Block& cell : row.blocks) writeBlocks(cell);
    }
}

void MarkdownWriter::writeBlock(const Block& block) {
    switch (block.kind) {
        case Block::Kind::kParagraph:
            writeParagraph(block);
            break;
        case Block::Kind::kHeading:
            writeHeading(block);
            break;
        case Block::Kind::kPreformatted:
            writePreformatted(block);
            break;
        case Block::Kind::kQuote:
            writeInside(block, "> ", "> ");
            break;
        case Block::Kind::kList:
            writeList(block);
            break;
        case Block::Kind::kItem:
            writeInside(block, "- ", "  ");
            break;
        case Block::Kind::kTable:
            writeTable(block);
            break;
        case Block::Kind::kRule:
            beginBlock();
            writeLine("---");
            break;
        case Block::Kind::kGroup:
        case Block::Kind::kRow:
        case Block::Kind::kCell:
            writeBlocks(block);
            break;
    }
}

// Lines that stand directly below each other stay one paragraph.
void MarkdownWriter::writeBlocks(const Block& block) {
    const std::vector<Block>& blocks = block.blocks;
    for (size_t i = 0; i < blocks.size(); ++i) {
        const auto isLine = [&](size_t at) {
            return at < blocks.size() && blocks[at].kind == Block::Kind::kParagraph;
        };
        if (!isLine(i) || !isLine(i + 1) || blocks[i + 1].hasSpaceBefore) {
            writeBlock(blocks[i]);
            continue;
        }
        Block joined = blocks[i];
        for (; isLine(i + 1) && !blocks[i + 1].hasSpaceBefore; ++i) {
            joined.inlines.push_back({Kind::kBreak, "", ""});
            joined.inlines.insert(joined.inlines.end(), blocks[i + 1].inlines.begin(),
                                  blocks[i + 1].inlines.end());
        }
        writeBlock(joined);
    }
}

// How deep a line is quoted, and where its text begins.
size_t quoteDepth(std::string_view line, size_t& begin) {
    size_t depth = 0;
    begin = 0;
    while (begin < line.size() && line[begin] == '>') {
        ++depth;
        ++begin;
        if (begin < line.size() && line[begin] == ' ') ++begin;
    }
    return std::min(depth, kMaxBlockDepth);
}

}  // namespace

std::string markdownOf(const Block& document) { return MarkdownWriter().write(document); }

std::string markdownText(std::string_view text) {
    std::string escaped;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool isControl = (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F;
        if (isControl) {
            escaped += "\uFFFD";
            continue;
        }
        if (isMark(text, i)) escaped += '\\';
        escaped += c;
    }
    return escaped;
}

Block plainDocument(std::string_view text) {
    Block document;
    bool hasSpace = false;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        size_t begin = 0;
        size_t depth = quoteDepth(line, begin);
        line = line.substr(begin);
        Block* around = &document;
        for (; depth != 0; --depth) {
            std::vector<Block>& blocks = around->blocks;
            if (blocks.empty() || blocks.back().kind != Block::Kind::kQuote) {
                blocks.push_back({Block::Kind::kQuote, hasSpace, false, 0, {}, {}});
            }
            around = &blocks.back();
        }
        if (line.find_first_not_of(" \t\r") == std::string_view::npos) {
            hasSpace = true;
            continue;
        }
        around->blocks.push_back(
            {Block::Kind::kParagraph, hasSpace, false, 0, {{Kind::kText, std::string(line), ""}}, {}});
        hasSpace = false;
    }
    return document;
}

}  // namespace emltool
