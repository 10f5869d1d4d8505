#include "tool/html/document_text.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

#include "tool/html/link_target.h"
#include "tool/html/prefixed_lines.h"
#include "tool/html/table_shape.h"
#include "tool/text/format.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

class TextWriter {
  public:
    explicit TextWriter(LinkStyle links) : links_(links) {}

    std::string write(const Block& document) {
        writeBlocks(document);
        writeFootnotes();
        return lines_.take();
    }

  private:
    void writeBlocks(const Block& block);
    void writeBlock(const Block& block);
    void writeList(const Block& list);
    void writeTable(const Block& table);
    void writeColumns(const Block& table);
    void writeLayout(const Block& table);
    void writeFootnotes();
    void writeLine(std::string_view line);
    void writeEmptyLine();
    void writeInside(const Block& block, std::string_view first, std::string_view rest);
    std::vector<std::string> linesOf(const std::vector<Inline>& inlines);
    std::string lineOf(const Block* paragraph);
    std::string mark(std::string_view text, const std::string& url);

    LinkStyle links_;
    PrefixedLines lines_;
    bool isAfterEmptyLine_ = true;
    std::vector<std::string> footnotes_;
    std::unordered_map<std::string, size_t> numbers_;  // of footnotes
};

void TextWriter::writeLine(std::string_view line) {
    line = line.substr(0, line.find_last_not_of(" \t") + 1);
    lines_.write(line);
    isAfterEmptyLine_ = line.empty();
}

void TextWriter::writeEmptyLine() {
    if (!isAfterEmptyLine_ && !lines_.isAtFirst()) writeLine("");
}

// What follows the mark of a link with this text.
std::string TextWriter::mark(std::string_view text, const std::string& url) {
    if (links_ == LinkStyle::kNone || namesTarget(text, url)) return "";
    if (links_ == LinkStyle::kInline) return (text.empty() ? "<" : " <") + url + ">";
    const auto [place, isNew] = numbers_.try_emplace(url, footnotes_.size() + 1);
    if (isNew) footnotes_.push_back(url);
    return formatted("{}[{}]", text.empty() ? "" : " ", place->second);
}

std::vector<std::string> TextWriter::linesOf(const std::vector<Inline>& inlines) {
    std::vector<std::string> lines(1);
    std::string url;
    std::string linkText;
    for (const Inline& each : inlines) {
        switch (each.kind) {
            case Inline::Kind::kText:
                lines.back() += each.text;
                linkText += each.text;
                break;
            case Inline::Kind::kImage:
                lines.back() += '[' + each.text + ']';
                linkText += '[' + each.text + ']';
                break;
            case Inline::Kind::kBreak:
                lines.emplace_back();
                linkText += ' ';
                break;
            case Inline::Kind::kLinkBegin:
                url = each.url;
                linkText.clear();
                break;
            case Inline::Kind::kLinkEnd:
                lines.back() += mark(linkText, url);
                break;
            default:
                break;
        }
    }
    return lines;
}

std::string TextWriter::lineOf(const Block* paragraph) {
    if (paragraph == nullptr) return "";
    std::string line;
    for (const std::string& each : linesOf(paragraph->inlines)) (line += line.empty() ? "" : " ") += each;
    return line;
}

void TextWriter::writeInside(const Block& block, std::string_view first, std::string_view rest) {
    lines_.enter(first, rest, [&] { writeBlocks(block); });
}

void TextWriter::writeList(const Block& list) {
    int64_t number = list.number;
    for (const Block& item : list.blocks) {
        if (item.hasSpaceBefore) writeEmptyLine();
        if (item.kind != Block::Kind::kItem) {
            writeBlock(item);
            continue;
        }
        const std::string mark = itemMark(list, number, "* ");
        writeInside(item, mark, std::string(mark.size(), ' '));
    }
}

void TextWriter::writeColumns(const Block& table) {
    std::vector<std::vector<std::string>> rows;
    std::vector<size_t> widths;
    for (const Block& row : table.blocks) {
        std::vector<std::string>& cells = rows.emplace_back();
        for (const Block& cell : row.blocks) cells.push_back(lineOf(paragraphOf(cell)));
        if (widths.size() < cells.size()) widths.resize(cells.size());
        for (size_t i = 0; i < cells.size(); ++i) widths[i] = std::max(widths[i], displayWidth(cells[i]));
    }
    for (const std::vector<std::string>& cells : rows) {
        std::string line;
        for (size_t i = 0; i < cells.size(); ++i) {
            line += cells[i];
            if (widths[i] == 0 || i + 1 == cells.size()) continue;
            line.append(widths[i] - displayWidth(cells[i]) + 2, ' ');
        }
        writeLine(line);
    }
}

void TextWriter::writeLayout(const Block& table) {
    for (const Block& row : table.blocks) {
        if (!isOneLine(row)) {
            for (const Block& cell : row.blocks) writeBlocks(cell);
            continue;
        }
        std::string line;
        for (const Block& cell : row.blocks) {
            const std::string text = lineOf(paragraphOf(cell));
            if (!text.empty()) (line += line.empty() ? "" : "  ") += text;
        }
        writeLine(line);
    }
}

void TextWriter::writeTable(const Block& table) {
    if (isDataTable(table)) {
        writeColumns(table);
    } else {
        writeLayout(table);
    }
}

void TextWriter::writeBlock(const Block& block) {
    if (block.hasSpaceBefore) writeEmptyLine();
    switch (block.kind) {
        case Block::Kind::kParagraph:
        case Block::Kind::kHeading:
        case Block::Kind::kPreformatted:
            for (const std::string& line : linesOf(block.inlines)) writeLine(line);
            break;
        case Block::Kind::kQuote:
            writeInside(block, "> ", "> ");
            break;
        case Block::Kind::kList:
            writeList(block);
            break;
        case Block::Kind::kItem:
            writeInside(block, "* ", "  ");
            break;
        case Block::Kind::kTable:
            writeTable(block);
            break;
        case Block::Kind::kRule:
            writeLine("----------");
            break;
        case Block::Kind::kGroup:
        case Block::Kind::kRow:
        case Block::Kind::kCell:
            writeBlocks(block);
            break;
    }
}

void TextWriter::writeBlocks(const Block& block) {
    for (const Block& each : block.blocks) writeBlock(each);
}

void TextWriter::writeFootnotes() {
    if (footnotes_.empty()) return;
    writeEmptyLine();
    for (size_t i = 0; i < footnotes_.size(); ++i) writeLine(formatted("[{}] {}", i + 1, footnotes_[i]));
}

}  // namespace

std::string documentText(const Block& document, LinkStyle links) { return TextWriter(links).write(document); }

}  // namespace emltool
