#include "mime/part_tree.h"

#include "bytes/subtext.h"
#include "mime/defects.h"
#include "mime/header_fields.h"
#include "mime/spans.h"

namespace eml {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// "From  : x" is a field.
bool isFromLine(std::string_view line) {
    return (line.starts_with("From ") || line.starts_with(">From ")) && !beginsField(line);
}

bool beginsWithBlank(std::string_view line) {
    return !line.empty() && isBlank(static_cast<uint8_t>(line.front()));
}

}  // namespace

PartTree::PartTree(EmlMimeContext& context)
    : context_(context),
      lines_(context),
      findsFiles_((context.options.flags & EML_MIME_NO_INLINE_FILES) == 0) {}

PartTree::~PartTree() {
    open_.release(*context_.allocator);
    boundaries_.release(*context_.allocator);
    fileName_.release(*context_.allocator);
}

EmlResult PartTree::build() {
    beginRoot(0);
    bool first = true;
    for (MimeLine line{}; result_ == EML_OK && lines_.next(line);) {
        if (first) {
            crLf_ = line.endLength == 2;
            first = false;
            if (line.text.starts_with(kByteOrderMark)) {
                line.text.remove_prefix(kByteOrderMark.size());
                line.offset += kByteOrderMark.size();
            }
        }
        context_.size = line.next();
        takeLine(line);
        if (readsOrdinaryLines()) {
            lines_.skipOrdinaryLines(!crLf_, previousTextEnd_);
            context_.size = lines_.offset();
        }
    }
    keepResult(lines_.result());
    if (result_ == EML_OK) finish();
    return result_;
}

// In a body most lines mean nothing to the tree.
bool PartTree::readsOrdinaryLines() const {
    return state_ == State::kBody && inline_ == InlineFile::kNone && !peeksForHeader_ && !readsHead_;
}

void PartTree::span(uint64_t offset, uint32_t kind, uint32_t part) {
    keepResult(beginSpan(context_, offset, kind, part));
}

void PartTree::takeLine(const MimeLine& line) {
    if (line.starts) lineStart_ = line.offset;
    const bool isDelimiter = line.starts && line.text.starts_with("--") && takeDelimiter(line);
    // A line can end a header, and is then the first of the body: it is looked at again.
    while (!isDelimiter && result_ == EML_OK && !takeInState(line)) {
    }
    previousTextEnd_ = line.textEnd();
}

// False: the line belongs to what the state has changed to.
bool PartTree::takeInState(const MimeLine& line) {
    switch (state_) {
        case State::kBeforeHeader:
            return takeLineBeforeHeader(line);
        case State::kHeader:
            return takeHeaderLine(line);
        case State::kBody:
            return takeBodyLine(line);
        case State::kPreamble:
        case State::kEpilogue:
            break;
    }
    return true;
}

// Empty lines before the header of a message, and an mbox "From " line, are padding. Empty lines that no field
// follows are the empty line after an empty header, and body.
bool PartTree::takeLineBeforeHeader(const MimeLine& line) {
    if (line.isEmpty()) {
        if (blankEnd_ == 0) blankEnd_ = line.next();
        return true;
    }
    if (!line.starts || isFromLine(line.text)) {
        blankEnd_ = 0;
        rootStart_ = line.next();
        return true;
    }
    if (blankEnd_ != 0 && !beginsField(line.text)) {
        endMissingHeader();
        return false;
    }
    current().headerStart = line.offset;
    span(line.offset, EML_MIME_SPAN_HEADER, part_);
    state_ = State::kHeader;
    return false;
}

// A message begins with empty lines, and no field follows: its header is empty.
void PartTree::endMissingHeader() {
    current().headerStart = rootStart_;
    endHeader(rootStart_, blankEnd_);
}

bool PartTree::takeHeaderLine(const MimeLine& line) {
    checkLine(line);
    if (!line.starts) {
        keepHeaderLine(line);
        return true;
    }
    if (line.isEmpty()) {
        if (fieldless_ && !continuesNothing_) return takeFieldlessLine(line);
        if (fieldless_) noteDefect(context_, EML_MIME_DEFECT_FIELD_WITHOUT_COLON, part_, fieldlessStart_);
        fieldless_ = false;
        endHeader(line.offset, line.next());
        return true;
    }
    if (beginsField(line.text)) {
        if (fieldless_) noteDefect(context_, EML_MIME_DEFECT_FIELD_WITHOUT_COLON, part_, fieldlessStart_);
        fieldless_ = false;
        keepHeaderLine(line);
        return true;
    }
    const bool continues = beginsWithBlank(line.text) && line.offset > current().headerStart;
    if (!continues && !takeFieldlessLine(line)) return false;
    keepHeaderLine(line);
    return true;
}

// A line in a header that is no field. When a field follows it was an accident, and so was the rest of a folded field
// before an empty line; otherwise, when another such line or an empty one follows, the body has begun without an empty
// line: false.
bool PartTree::takeFieldlessLine(const MimeLine& line) {
    if (!fieldless_) {
        fieldless_ = true;
        continuesNothing_ = beginsWithBlank(line.text);
        fieldlessStart_ = line.offset;
        fieldlessHeader_ = context_.header.length;
        return true;
    }
    endHeaderAtFieldless();
    return false;
}

void PartTree::endHeaderAtFieldless() {
    fieldless_ = false;
    context_.header.length = fieldlessHeader_;
    noteDefect(context_, EML_MIME_DEFECT_NO_BLANK_LINE, part_, fieldlessStart_);
    endHeader(fieldlessStart_, fieldlessStart_);
}

// Keeps a line of the header, up to the limit.
void PartTree::keepHeaderLine(const MimeLine& line) {
    const uint64_t length = line.next() - line.offset;
    if (headerCut_ || context_.header.length + length > context_.options.maxHeaderBytes) {
        if (!headerCut_) noteDefect(context_, EML_MIME_DEFECT_HEADER_TOO_LONG, part_, line.offset);
        headerCut_ = true;
        return;
    }
    // The line end follows the text in the block.
    const auto* bytes = reinterpret_cast<const uint8_t*>(line.text.data());
    keepResult(context_.header.append(*context_.allocator, bytes, length));
}

bool PartTree::takeBodyLine(const MimeLine& line) {
    if (peeksForHeader_ && line.starts && !line.isEmpty()) {
        peeksForHeader_ = false;
        if (beginsField(line.text)) {
            current().flags &= ~uint32_t{EML_MIME_PART_ENCODED_MESSAGE};
            openMessage(contentStart_);
            return false;
        }
    }
    checkLine(line);
    if (readsText_ && line.starts) takeTextLine(line);
    if (readsHead_) takeHead(line.text);
    return true;
}

// The first bytes of a CMS object, which says what it is.
void PartTree::takeHead(std::string_view text) {
    const size_t room = head_.size() - headLength_;
    headLength_ +=
        static_cast<uint32_t>(text.copy(reinterpret_cast<char*>(head_.data()) + headLength_, room));
    readsHead_ = headLength_ < head_.size();
}

// Counts what breaks the rules for lines; binary content has none.
void PartTree::checkLine(const MimeLine& line) {
    constexpr uint64_t kMaxLine = 998;
    const bool lfAlone = crLf_ && line.endLength == 1 && !line.endsInCr;
    const bool isLong = line.ends && line.textEnd() - lineStart_ > kMaxLine;
    if (!lfAlone && !isLong && !line.endsInCr && !line.hasNul) return;
    if (inContent() && current().encoding == EML_MIME_ENCODING_BINARY) return;
    const auto count = [](LineCount& lines, uint64_t offset) {
        if (lines.count++ == 0) lines.offset = offset;
    };
    if (line.hasNul && inContent()) count(nuls_, line.offset);
    if (line.endsInCr) count(bareCrs_, line.textEnd());
    if (lfAlone) count(mixedEnds_, line.textEnd());
    if (isLong) count(longLines_, lineStart_);
}

bool PartTree::takeDelimiter(const MimeLine& line) {
    if (partsFull_) return false;
    if (state_ == State::kHeader && endsHeaderWithoutBlank(line)) endHeaderBefore(line);
    for (size_t level = openCount(); level > 0; --level) {
        OpenPart& open = openParts()[level - 1];
        if (!open.hasBoundary) continue;
        const DelimiterMatch match = matchDelimiter(line.text, boundaryOf(open));
        if (match.kind == DelimiterKind::kNone) continue;
        if (match.kind == DelimiterKind::kDelimiter && !hasRoomForPart(line)) return false;
        if (!open.decided) settleBoundary(line, open);
        endAtDelimiter(line, level, match);
        return true;
    }
    return takeGuessedDelimiter(line);
}

// A boundary is written with blanks at its end: they count when the first delimiter has them.
void PartTree::settleBoundary(const MimeLine& line, OpenPart& open) {
    open.decided = true;
    const uint32_t compared = open.comparedLength;
    open.comparedLength = open.boundaryLength;
    if (!subtext(line.text, 2).starts_with(boundaryOf(open))) open.comparedLength = compared;
}

// Whether the first delimiter of a multipart follows its header without an empty line: the header holds the
// boundary. Looked for a few times in a header, since the search costs its length.
bool PartTree::endsHeaderWithoutBlank(const MimeLine& line) {
    const std::string_view boundary = guessedBoundary(line.text);
    if (boundary.empty() || boundarySearches_ >= kMaxBoundarySearches) return false;
    ++boundarySearches_;
    const std::string_view header(reinterpret_cast<const char*>(context_.header.data),
                                  context_.header.length);
    return header.find(boundary) != std::string_view::npos;
}

void PartTree::endHeaderBefore(const MimeLine& line) {
    if (fieldless_) {
        endHeaderAtFieldless();
        return;
    }
    noteDefect(context_, EML_MIME_DEFECT_NO_BLANK_LINE, part_, line.offset);
    endHeader(line.offset, line.offset);
}

bool PartTree::hasRoomForPart(const MimeLine& line) {
    if (partCount(context_) < context_.options.maxParts) return true;
    if (!partsFull_) noteDefect(context_, EML_MIME_DEFECT_TOO_MANY_PARTS, part_, line.offset);
    partsFull_ = true;
    return false;
}

// A multipart that names no boundary: the first line like a delimiter gives it.
bool PartTree::takeGuessedDelimiter(const MimeLine& line) {
    const size_t level = openCount();
    if (state_ != State::kPreamble || level == 0 || !line.ends) return false;
    OpenPart& open = openParts()[level - 1];
    const std::string_view boundary = guessedBoundary(line.text);
    const bool mayGuess = !open.isMessage && open.boundaryLength == 0 && !boundary.empty();
    if (!mayGuess || !hasRoomForPart(line)) return false;
    noteDefect(context_, EML_MIME_DEFECT_BOUNDARY_GUESSED, open.part, line.offset);
    boundaries_.length = open.boundaryStart;
    const auto* bytes = reinterpret_cast<const uint8_t*>(boundary.data());
    keepResult(boundaries_.append(*context_.allocator, bytes, boundary.size()));
    if (result_ != EML_OK) return true;
    open.boundaryLength = open.comparedLength = static_cast<uint32_t>(boundary.size());
    open.hasBoundary = open.decided = true;
    endAtDelimiter(line, level, {DelimiterKind::kDelimiter, false});
    return true;
}

// `line` is a delimiter of the open part at `level`, counted from 1: all further in ends before it.
void PartTree::endAtDelimiter(const MimeLine& line, size_t level, const DelimiterMatch& match) {
    const bool closing = match.kind == DelimiterKind::kClosing;
    if (state_ == State::kHeader) endHeaderAtDelimiter(line);
    const uint64_t end = inContent() ? contentEnd(line) : line.offset;
    endParts(level, end, closing ? EML_MIME_ENDING_CLOSING : EML_MIME_ENDING_DELIMITER);
    if (result_ != EML_OK) return;
    OpenPart& open = openParts()[level - 1];
    if (match.hasText) noteDefect(context_, EML_MIME_DEFECT_DELIMITER_TEXT, open.part, line.offset);
    if (open.closed && !closing)
        noteDefect(context_, EML_MIME_DEFECT_PART_AFTER_CLOSING, open.part, line.offset);
    span(end, closing ? EML_MIME_SPAN_CLOSING : EML_MIME_SPAN_DELIMITER, open.part);
    if (closing) {
        open.closed = true;
        part_ = open.part;
        state_ = State::kEpilogue;
        contentStart_ = line.next();
        span(contentStart_, EML_MIME_SPAN_EPILOGUE, open.part);
    } else {
        beginChild(line.next());
    }
}

void PartTree::endHeaderAtDelimiter(const MimeLine& line) {
    if (fieldless_) {
        endHeaderAtFieldless();
        return;
    }
    noteDefect(context_, EML_MIME_DEFECT_DELIMITER_IN_HEADER, part_, line.offset);
    endHeader(line.offset, line.offset);
}

void PartTree::finish() {
    if (fieldless_) endHeaderAtFieldless();
    if (state_ == State::kHeader) endHeader(context_.size, context_.size);
    if (state_ == State::kBeforeHeader && blankEnd_ != 0) endMissingHeader();
    if (result_ != EML_OK) return;
    endParts(0, context_.size, EML_MIME_ENDING_FILE);
    const MimePart& root = partAt(context_, 0);
    if (context_.size != 0 && root.headerEnd == root.headerStart)
        noteDefect(context_, EML_MIME_DEFECT_NO_HEADER, 0, 0);
    endSpans(context_);
}

}  // namespace eml
