// Parts begin and end.
#include <algorithm>

#include "bytes/base64.h"
#include "mime/defects.h"
#include "mime/part_header.h"
#include "mime/part_texts.h"
#include "mime/part_tree.h"
#include "mime/protection.h"
#include "mime/spans.h"

namespace eml {

namespace {

constexpr size_t kMaxBoundary = 70;  // RFC 2046 section 5.1.1

// Decoded bytes, as many as fit.
class HeadSink {
  public:
    [[nodiscard]] OutputSpan space() { return {bytes_.data() + length_, bytes_.data() + bytes_.size()}; }
    void commit(const uint8_t* end) { length_ = static_cast<size_t>(end - bytes_.data()); }
    [[nodiscard]] std::string_view text() const {
        return {reinterpret_cast<const char*>(bytes_.data()), length_};
    }

  private:
    std::array<uint8_t, 96> bytes_{};
    size_t length_ = 0;
};

bool isIdentity(uint32_t encoding) {
    return encoding <= EML_MIME_ENCODING_BINARY || encoding == EML_MIME_ENCODING_UNKNOWN;
}

}  // namespace

// A message begins at `offset`: the file, or the body of a message part.
void PartTree::beginRoot(uint64_t offset) {
    const uint32_t parent = openCount() == 0 ? EML_MIME_NONE : openParts()[openCount() - 1].part;
    part_ = addPart(parent, offset);
    if (result_ != EML_OK) return;
    current().flags = EML_MIME_PART_ROOT;
    current().message = part_;
    state_ = State::kBeforeHeader;
    rootStart_ = offset;
    blankEnd_ = 0;
    span(offset, EML_MIME_SPAN_PADDING, part_);
}

// A part of the innermost multipart begins at `offset`.
void PartTree::beginChild(uint64_t offset) {
    part_ = addPart(openParts()[openCount() - 1].part, offset);
    if (result_ != EML_OK) return;
    state_ = State::kHeader;
    span(offset, EML_MIME_SPAN_HEADER, part_);
}

uint32_t PartTree::addPart(uint32_t parent, uint64_t offset) {
    const uint32_t number = partCount(context_);
    MimePart part{};
    part.headerStart = part.headerEnd = part.bodyStart = part.bodyEnd = offset;
    part.parent = parent;
    part.nextSibling = EML_MIME_NONE;
    keepResult(
        context_.parts.append(*context_.allocator, reinterpret_cast<const uint8_t*>(&part), sizeof part));
    if (result_ != EML_OK) return part_;
    context_.header.length = 0;
    context_.headerPart = 0;
    headerCut_ = false;
    boundarySearches_ = 0;
    if (parent == EML_MIME_NONE) return number;
    MimePart& owner = partAt(context_, parent);
    MimePart& added = partAt(context_, number);
    added.ordinal = ++owner.childCount;
    added.depth = static_cast<uint16_t>(owner.depth + 1);
    added.message = owner.message;
    uint32_t& last = lastChildOf(parent);
    if (added.ordinal > 1) partAt(context_, last).nextSibling = number;
    last = number;
    return number;
}

// Where the last child of `parent` is kept: with the open part, or for text with inline files, apart.
uint32_t& PartTree::lastChildOf(uint32_t parent) {
    const size_t count = openCount();
    if (count != 0 && openParts()[count - 1].part == parent) return openParts()[count - 1].lastChild;
    return lastInline_;
}

// The header of the current part ends; its body begins.
void PartTree::endHeader(uint64_t headerEnd, uint64_t bodyStart) {
    current().headerEnd = headerEnd;
    current().bodyStart = bodyStart;
    if (headerEnd < bodyStart) span(headerEnd, EML_MIME_SPAN_BLANK, part_);
    TextBuilder boundary(*context_.allocator, boundaries_);
    bool hasBoundary = false;
    keepResult(readPartHeader(context_, part_, boundary, hasBoundary));
    if (result_ != EML_OK) return;
    context_.headerPart = headerCut_ ? 0 : part_ + 1;
    openBody(bodyStart, hasBoundary);
}

void PartTree::openBody(uint64_t bodyStart, bool hasBoundary) {
    const bool isMultipart = viewAt(context_, current().type) == "multipart";
    const std::string_view subtype = viewAt(context_, current().subtype);
    const bool isMessage = viewAt(context_, current().type) == "message" &&
                           (subtype == "rfc822" || subtype == "global" || subtype == "news");
    const bool encoded = !isIdentity(current().encoding);
    state_ = State::kBody;
    contentStart_ = bodyStart;
    lastInline_ = 0;
    inline_ = InlineFile::kNone;
    headLength_ = 0;
    readsHead_ = current().protection == EML_MIME_SMIME_OTHER;
    readsText_ = viewAt(context_, current().type) == "text" && !encoded;
    peeksForHeader_ = false;
    if (encoded && (isMultipart || isMessage)) {
        noteDefect(context_, EML_MIME_DEFECT_ENCODED_MULTIPART, part_, current().headerStart);
    }
    if ((isMultipart || isMessage) && current().depth >= context_.options.maxDepth) {
        noteDefect(context_, EML_MIME_DEFECT_TOO_DEEP, part_, current().headerStart);
    } else if (isMultipart) {
        openMultipart(bodyStart, hasBoundary);
        return;
    } else if (isMessage && !encoded && partCount(context_) < context_.options.maxParts) {
        openMessage(bodyStart);
        return;
    } else if (isMessage && encoded) {
        current().flags |= EML_MIME_PART_ENCODED_MESSAGE;
        // In base64 no line is a field; in quoted-printable the header looks as it always does.
        const bool cannotBeField = current().encoding != EML_MIME_ENCODING_QUOTED_PRINTABLE;
        peeksForHeader_ = cannotBeField && partCount(context_) < context_.options.maxParts;
    }
    dropBoundary();
    span(bodyStart, EML_MIME_SPAN_BODY, part_);
}

// The boundary that was read last belongs to no open part.
void PartTree::dropBoundary() {
    const size_t count = openCount();
    const OpenPart* const last = count == 0 ? nullptr : &openParts()[count - 1];
    boundaries_.length = last == nullptr ? 0 : last->boundaryStart + last->boundaryLength;
}

void PartTree::openMultipart(uint64_t bodyStart, bool hasBoundary) {
    const size_t count = openCount();
    const OpenPart* const outer = count == 0 ? nullptr : &openParts()[count - 1];
    OpenPart open{};
    open.part = part_;
    open.boundaryStart = outer == nullptr ? 0 : outer->boundaryStart + outer->boundaryLength;
    open.boundaryLength = boundaries_.length - open.boundaryStart;
    open.hasBoundary = hasBoundary;
    open.comparedLength = static_cast<uint32_t>(comparedBoundary(writtenBoundary(open)).size());
    open.decided = open.comparedLength == open.boundaryLength;
    if (open.boundaryLength == 0)
        noteDefect(context_, EML_MIME_DEFECT_NO_BOUNDARY, part_, current().headerStart);
    if (open.boundaryLength > kMaxBoundary) {
        noteDefect(context_, EML_MIME_DEFECT_BOUNDARY_TOO_LONG, part_, current().headerStart);
    }
    keepResult(open_.append(*context_.allocator, reinterpret_cast<const uint8_t*>(&open), sizeof open));
    current().flags |= EML_MIME_PART_MULTIPART;
    state_ = State::kPreamble;
    span(bodyStart, EML_MIME_SPAN_PREAMBLE, part_);
}

void PartTree::openMessage(uint64_t bodyStart) {
    dropBoundary();
    OpenPart open{};
    open.part = part_;
    open.boundaryStart = boundaries_.length;
    open.isMessage = true;
    keepResult(open_.append(*context_.allocator, reinterpret_cast<const uint8_t*>(&open), sizeof open));
    if (result_ != EML_OK) return;
    current().flags |= EML_MIME_PART_MESSAGE;
    beginRoot(bodyStart);
}

// All open parts but the first `keep` end at `end`, and the body that is being read.
void PartTree::endParts(size_t keep, uint64_t end, uint32_t ending) {
    if (state_ <= State::kBody) endLeaf(end, endingOf(openCount(), keep, ending));
    while (openCount() > keep && result_ == EML_OK) {
        const OpenPart open = openParts()[openCount() - 1];
        open_.length -= uint32_t{sizeof(OpenPart)};
        boundaries_.length = open.boundaryStart;
        endOpenPart(open, end, endingOf(openCount(), keep, ending));
    }
}

// What ends a part inside `level` open parts when all but `keep` of them end: messages have no delimiters, so the
// one of the multipart around a message is its own.
uint32_t PartTree::endingOf(size_t level, size_t keep, uint32_t ending) const {
    if (ending == EML_MIME_ENDING_FILE) return ending;
    while (level > keep && openParts()[level - 1].isMessage) --level;
    return level == keep ? ending : EML_MIME_ENDING_OUTER;
}

void PartTree::endLeaf(uint64_t end, uint32_t ending) {
    MimePart& part = current();
    if (state_ == State::kBeforeHeader) {
        part.headerStart = part.headerEnd = part.bodyStart = end;
        context_.header.length = 0;
        keepResult(setDefaultType(context_, part_));
    }
    if (inline_ == InlineFile::kUuencode || inline_ == InlineFile::kYenc) endInlineFile(end, true);
    MimePart& leaf = current();
    leaf.bodyEnd = std::max(end, leaf.bodyStart);
    leaf.ending = static_cast<uint8_t>(ending);
    flushLineCounts();
    if (leaf.protection != EML_MIME_SMIME_OTHER || headLength_ == 0) return;
    HeadSink sink;
    if (leaf.encoding == EML_MIME_ENCODING_BASE64) {
        Base64Decoder<kFilterBase64> decoder(false);
        decoder.feed(head_.data(), head_.data() + headLength_, sink);
        leaf.protection = static_cast<uint8_t>(protectionOfCms(sink.text()));
    } else {
        leaf.protection =
            static_cast<uint8_t>(protectionOfCms({reinterpret_cast<const char*>(head_.data()), headLength_}));
    }
}

void PartTree::endOpenPart(const OpenPart& open, uint64_t end, uint32_t ending) {
    MimePart& part = partAt(context_, open.part);
    part.bodyEnd = std::max(end, part.bodyStart);
    part.ending = static_cast<uint8_t>(ending);
    if (open.isMessage || open.closed) return;
    if (part.childCount == 0) {
        // A multipart whose boundary never occurs is one body.
        noteDefect(context_, EML_MIME_DEFECT_NO_PARTS, open.part, part.bodyStart);
        part.flags &= ~uint32_t{EML_MIME_PART_MULTIPART};
        preambleIsBody(context_, open.part);
        return;
    }
    noteDefect(context_, EML_MIME_DEFECT_NO_CLOSING_DELIMITER, open.part, end);
    if (ending != EML_MIME_ENDING_FILE) noteDefect(context_, EML_MIME_DEFECT_OUTER_DELIMITER, open.part, end);
}

void PartTree::flushLineCounts() {
    const auto flush = [this](LineCount& lines, uint32_t code) {
        if (lines.count != 0) noteDefect(context_, code, part_, lines.offset, lines.count);
        lines = {};
    };
    flush(longLines_, EML_MIME_DEFECT_LONG_LINE);
    flush(bareCrs_, EML_MIME_DEFECT_BARE_CR);
    flush(mixedEnds_, EML_MIME_DEFECT_MIXED_LINE_ENDS);
    flush(nuls_, EML_MIME_DEFECT_NUL);
}

}  // namespace eml
