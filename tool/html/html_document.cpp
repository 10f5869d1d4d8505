#include "tool/html/html_document.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "tool/html/element_style.h"
#include "tool/html/inline_run.h"
#include "tool/html/link_target.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

using Kind = Inline::Kind;

std::optional<Kind> inlineKind(std::string_view name) {
    if (name == "b" || name == "strong") return Kind::kStrongBegin;
    if (name == "i" || name == "em") return Kind::kEmphasisBegin;
    if (name == "code" || name == "tt" || name == "kbd" || name == "samp") return Kind::kCodeBegin;
    return std::nullopt;
}

int headingLevel(std::string_view name) {
    return name.size() == 2 && name[0] == 'h' && name[1] >= '1' && name[1] <= '6' ? name[1] - '0' : 0;
}

// Elements with room above and below.
bool isSpaced(std::string_view name) {
    constexpr std::array<std::string_view, 15> kNames = {"blockquote", "dl", "fieldset", "figure", "h1",
                                                         "h2",         "h3", "h4",       "h5",     "h6",
                                                         "hr",         "ol", "p",        "pre",    "ul"};
    return std::binary_search(kNames.begin(), kNames.end(), name);
}

bool isPicture(const HtmlTree& tree, uint32_t node) {
    const auto isTiny = [&](std::string_view side) {
        const auto value = tree.find(node, side);
        return value && (*value == "0" || *value == "1" || *value == "1px" || *value == "0px");
    };
    return !isTiny("width") && !isTiny("height");  // a picture of one pixel reports that the message was read
}

// Elements whose text is for programs; drawings and formulas have such, too.
bool hasNoText(const HtmlTree& tree, uint32_t node) {
    constexpr std::array<std::string_view, 10> kNames = {"datalist", "head",   "iframe", "noembed",
                                                         "noframes", "script", "select", "style",
                                                         "template", "title"};
    return tree[node].space != HtmlNamespace::kHtml ||
           std::binary_search(kNames.begin(), kNames.end(), tree.name(node));
}

class DocumentReader {
  public:
    explicit DocumentReader(const HtmlTree& tree) : tree_(tree), styled_(styleElements(tree)) {}

    HtmlDocument read();

  private:
    void readInside(uint32_t node);
    void readNode(uint32_t node);
    void readElement(uint32_t node);
    void readText(uint32_t node);
    void readImage(uint32_t node);
    void readGone(uint32_t node);
    void readInline(uint32_t node);
    void readBlock(uint32_t node);
    void readHeading(uint32_t node, int level);
    void readPreformatted(uint32_t node);
    void readContainer(uint32_t node, Block::Kind kind);
    void readList(uint32_t node);
    void readTable(uint32_t node);
    void readRows(uint32_t node, Block& table);
    void readRow(uint32_t node, Block& table);
    void endParagraph(Block::Kind kind = Block::Kind::kParagraph, int64_t level = 0);
    void addBlock(Block block);
    void endHidden();
    const ElementStyle& styleOf(uint32_t node) const { return styled_.styles[node]; }

    const HtmlTree& tree_;
    ElementStyles styled_;
    HtmlDocument document_;
    Block* block_ = &document_.content;  // where paragraphs go
    InlineRun run_;
    std::string hiddenLine_;
    bool wantsSpace_ = false;
    size_t depth_ = 0;  // of blocks
    size_t lists_ = 0;  // around
};

void DocumentReader::endHidden() {
    const size_t begin = hiddenLine_.find_first_not_of(' ');
    if (begin != std::string::npos) {
        const size_t end = hiddenLine_.find_last_not_of(' ');
        document_.hidden.append(hiddenLine_, begin, end + 1 - begin) += '\n';
    }
    hiddenLine_.clear();
}

void DocumentReader::addBlock(Block block) {
    block.hasSpaceBefore = wantsSpace_ && !block_->blocks.empty();
    wantsSpace_ = false;
    block_->blocks.push_back(std::move(block));
}

void DocumentReader::endParagraph(Block::Kind kind, int64_t level) {
    endHidden();
    if (!run_.hasContent()) {
        if (run_.breaks() != 0) wantsSpace_ = true;  // an empty line
        run_.take();
        return;
    }
    if (run_.breaks() > 1) {
        addBlock({kind, false, false, level, run_.take(), {}});
        wantsSpace_ = true;
        return;
    }
    addBlock({kind, false, false, level, run_.take(), {}});
}

void DocumentReader::readText(uint32_t node) {
    const ElementStyle& style = styleOf(node);
    const std::string_view text = tree_.text(node);
    std::string smuggled;
    if (style.hidesText()) {
        InlineRun hidden;
        document_.hiddenLength += hidden.addText(text, false, false, hiddenLine_);
        if (!hidden.hasContent()) return;
        for (const Inline& each : hidden.take()) (hiddenLine_ += hiddenLine_.empty() ? "" : " ") += each.text;
        return;
    }
    document_.visibleLength += run_.addText(text, style.keepsBlanks, style.keepsLines, smuggled);
    if (smuggled.empty()) return;
    document_.hiddenLength += smuggled.size();
    endHidden();
    hiddenLine_ = std::move(smuggled);
    endHidden();
}

void DocumentReader::readImage(uint32_t node) {
    const auto alternative = tree_.find(node, "alt");
    if (styleOf(node).hidesPictures() || !alternative || !isPicture(tree_, node)) return;
    InlineRun text;
    std::string smuggled;
    text.addText(*alternative, false, false, smuggled);
    if (!text.hasContent()) return;
    std::string words;
    for (const Inline& each : text.take()) words += each.text;
    run_.addImage(std::move(words));
}

// What is not displayed does not part the text around it.
void DocumentReader::readGone(uint32_t node) {
    if (hasNoText(tree_, node)) return;
    for (uint32_t child = node + 1; child < tree_[node].end;) {
        if (tree_[child].isElement && hasNoText(tree_, child)) {
            child = tree_[child].end;
            continue;
        }
        if (!tree_[child].isElement) readText(child);
        ++child;
    }
    endHidden();
}

void DocumentReader::readInline(uint32_t node) {
    const std::string_view name = tree_.name(node);
    if (styleOf(node).display == Display::kInlineBlock) run_.addBlank();
    std::optional<Kind> kind = inlineKind(name);
    std::string url;
    if (const auto target = tree_.find(node, "href"); name == "a" && target) {
        url = linkTarget(*target);
        if (!url.empty()) kind = Kind::kLinkBegin;
    }
    if (kind) run_.begin(*kind, std::move(url));
    readInside(node);
    if (kind) run_.end(static_cast<Kind>(static_cast<int>(*kind) + 1));
    if (styleOf(node).display == Display::kInlineBlock) run_.addBlank();
}

void DocumentReader::readContainer(uint32_t node, Block::Kind kind) {
    if (depth_ == kMaxBlockDepth) return readInside(node);
    ++depth_;
    Block* const around = block_;
    Block inside{kind, false, false, 0, {}, {}};
    const bool wantedSpace = wantsSpace_;
    block_ = &inside;
    wantsSpace_ = false;
    readInside(node);
    endParagraph();
    block_ = around;
    wantsSpace_ = wantedSpace;
    --depth_;
    if (!inside.blocks.empty()) addBlock(std::move(inside));
}

void DocumentReader::readList(uint32_t node) {
    const size_t before = block_->blocks.size();
    readContainer(node, Block::Kind::kList);
    if (block_->blocks.size() == before || block_->blocks.back().kind != Block::Kind::kList) return;
    Block& list = block_->blocks.back();
    list.isOrdered = tree_.name(node) == "ol";
    list.number = 1;
    if (const auto start = tree_.find(node, "start")) {
        int64_t number = 0;
        const auto [end, failure] = std::from_chars(start->data(), start->data() + start->size(), number);
        if (failure == std::errc{} && number >= 0 && number < 1'000'000'000) list.number = number;
    }
}

void DocumentReader::readHeading(uint32_t node, int level) {
    readInside(node);
    endParagraph(Block::Kind::kHeading, level);
}

void DocumentReader::readPreformatted(uint32_t node) {
    readInside(node);
    endParagraph(Block::Kind::kPreformatted);
}

// The rows of a table, however deep they stand in its parts.
void DocumentReader::readRows(uint32_t node, Block& table) {
    for (uint32_t child = node + 1; child < tree_[node].end; child = tree_[child].end) {
        if (!tree_[child].isElement) {
            readText(child);
            continue;
        }
        switch (styleOf(child).display) {
            case Display::kTableRow:
                endParagraph();
                readRow(child, table);
                break;
            case Display::kTablePart:
                endParagraph();
                readRows(child, table);
                break;
            default:
                readNode(child);
        }
    }
}

void DocumentReader::readRow(uint32_t node, Block& table) {
    Block row{Block::Kind::kRow, false, false, 0, {}, {}};
    Block* const around = block_;
    for (uint32_t child = node + 1; child < tree_[node].end; child = tree_[child].end) {
        Block cell{Block::Kind::kCell, false, tree_.name(child) == "th", 0, {}, {}};
        block_ = &cell;
        wantsSpace_ = false;
        readNode(child);
        endParagraph();
        block_ = around;
        const bool isCell = tree_[child].isElement && styleOf(child).display == Display::kTableCell;
        if (isCell || !cell.blocks.empty()) row.blocks.push_back(std::move(cell));
    }
    const bool any = std::any_of(row.blocks.begin(), row.blocks.end(),
                                 [](const Block& cell) { return !cell.blocks.empty(); });
    if (any) table.blocks.push_back(std::move(row));
}

void DocumentReader::readTable(uint32_t node) {
    if (depth_ == kMaxBlockDepth) return readInside(node);
    ++depth_;
    const bool wantedSpace = wantsSpace_;
    Block table{Block::Kind::kTable, false, false, 0, {}, {}};
    Block* const around = block_;
    Block outside;  // what stands in the table, but in no row of it
    block_ = &outside;
    readRows(node, table);
    endParagraph();
    block_ = around;
    wantsSpace_ = wantedSpace;
    --depth_;
    for (Block& block : outside.blocks) addBlock(std::move(block));
    if (!table.blocks.empty()) addBlock(std::move(table));
}

void DocumentReader::readBlock(uint32_t node) {
    const std::string_view name = tree_.name(node);
    endParagraph();
    const bool isList = name == "ul" || name == "ol" || name == "menu" || name == "dir";
    const bool spaced = isSpaced(name) && !(isList && lists_ != 0);
    wantsSpace_ = wantsSpace_ || spaced;
    const Display display = styleOf(node).display;
    if (display == Display::kTable) {
        readTable(node);
    } else if (name == "hr") {
        if (!styleOf(node).hidesPictures()) addBlock({Block::Kind::kRule, false, false, 0, {}, {}});
    } else if (name == "blockquote") {
        readContainer(node, Block::Kind::kQuote);
    } else if (isList) {
        ++lists_;
        readList(node);
        --lists_;
    } else if (name == "li") {
        readContainer(node, Block::Kind::kItem);
    } else if (const int level = headingLevel(name); level != 0) {
        readHeading(node, level);
    } else if (name == "pre" || name == "listing" || name == "xmp" || name == "plaintext") {
        readPreformatted(node);
    } else {
        readInside(node);
    }
    endParagraph();
    wantsSpace_ = wantsSpace_ || spaced;
}

void DocumentReader::readElement(uint32_t node) {
    const std::string_view name = tree_.name(node);
    if (name == "br") {
        if (!styleOf(node).hidesPictures()) run_.addBreak();
        return;
    }
    if (styleOf(node).isGone) return readGone(node);
    if (name == "img") return readImage(node);
    switch (styleOf(node).display) {
        case Display::kInline:
        case Display::kInlineBlock:
            return readInline(node);
        case Display::kNone:
        case Display::kBlock:
        case Display::kListItem:
        case Display::kTable:
        case Display::kTableRow:
        case Display::kTableCell:
        case Display::kTablePart:
            return readBlock(node);
    }
}

void DocumentReader::readNode(uint32_t node) {
    if (tree_[node].isElement) {
        readElement(node);
    } else {
        readText(node);
    }
}

// As deep as the tree, at most.
void DocumentReader::readInside(uint32_t node) {
    if (hasNoText(tree_, node)) return;
    for (uint32_t child = node + 1; child < tree_[node].end; child = tree_[child].end) readNode(child);
}

HtmlDocument DocumentReader::read() {
    if (!tree_.empty()) readNode(0);
    endParagraph();
    document_.isComplete = styled_.isComplete;
    return std::move(document_);
}

}  // namespace

HtmlDocument readHtml(const HtmlTree& tree) { return DocumentReader(tree).read(); }

}  // namespace emltool
