#include "container/boundary_scan.h"

#include <cstring>

#include "bytes/cursor.h"
#include "bytes/find.h"
#include "container/container_calls.h"
#include "container/line_reader.h"
#include "container/section_header.h"
#include "container/section_list.h"
#include "host/host_file.h"

namespace eml {

namespace {

// How a chunk of the message is cut: where its search ends, and where the next chunk begins.
struct ChunkCut {
    uint32_t searchEnd;
    uint32_t next;
};

// The index after the run of zero bytes that begins at the first zero; `searchEnd` is that first zero. Both
// are `count` without one.
ChunkCut cutAtZeros(const uint8_t* bytes, uint32_t count) {
    const auto* zero = static_cast<const uint8_t*>(std::memchr(bytes, 0, count));
    if (zero == nullptr) return {count, count};
    auto next = static_cast<uint32_t>(zero - bytes);
    const uint32_t first = next;
    while (next < count && bytes[next] == 0) ++next;
    return {first, next};
}

// A chunk ends after its first run of zero bytes. A full block without one also ends after its last line
// end, which is read again with the next chunk, so that no delimiter line is split.
ChunkCut cutChunk(const uint8_t* bytes, uint32_t count) {
    ChunkCut cut = cutAtZeros(bytes, count);
    if (cut.next < kBlockSize) return cut;
    const size_t lf = indexAfterLast(bytes, cut.next, kLf);
    const size_t after = lf + indexAfterLast(bytes + lf, cut.next - lf, kCr);
    if (after <= 1) return cut;
    const auto last = static_cast<uint32_t>(after - 1);
    cut.next = last;
    if (cut.searchEnd > last + 1) cut.searchEnd = last + 1;
    return cut;
}

struct Scan {
    EmlContainerContext& context;
    BoundaryText boundary;
    SubstringFinder finder;
    bool closed;       // the closing delimiter was met
    bool lineMayGoOn;  // the last delimiter's CR was the last byte read: its LF comes with the next block
    EmlResult result;
};

// Begins a section after a delimiter. Returns the position reached.
const uint8_t* beginSection(Scan& scan, Cursor rest, const uint8_t* chunk, const uint8_t* blockEnd) {
    EmlContainerContext& context = scan.context;
    while (isBlank(rest.peek()) || rest.peek() == '"') rest.skip(1);
    const bool carriageReturn = rest.accept(kCr);
    rest.accept(kLf);
    scan.result = appendSection(context);
    if (scan.result != EML_OK) return rest.pos;
    context.currentSection->start = context.lineStart + (rest.pos - chunk);
    scan.lineMayGoOn = carriageReturn && rest.pos == blockEnd;
    return rest.pos;
}

// Searches [chunk, chunkEnd), which stands at context.lineStart.
// KEPT: a plain search. A delimiter need not stand at the start of a line, nor end where its line ends.
void searchChunk(Scan& scan, const uint8_t* chunk, const uint8_t* chunkEnd, const uint8_t* blockEnd) {
    EmlContainerContext& context = scan.context;
    const uint8_t* pos = chunk;
    while (const uint8_t* hit = scan.finder.find(pos, chunkEnd)) {
        if (context.currentSection != nullptr)
            context.currentSection->end = context.lineStart + (hit - chunk);
        const Cursor rest{hit + scan.boundary.length, chunkEnd};
        scan.closed = rest.startsWith("--");
        if (scan.closed) return;
        pos = beginSection(scan, rest, chunk, blockEnd);
        if (scan.result != EML_OK) return;
    }
}

// The LF that completes the line end of the last delimiter, when the block in the buffer brings it.
void completeDelimiterLine(Scan& scan) {
    if (!scan.lineMayGoOn) return;
    scan.lineMayGoOn = false;
    EmlSection& section = *scan.context.currentSection;
    const int64_t index = section.start - scan.context.lineStart;
    if (index < scan.context.lineLength && scan.context.lineBuffer[index] == kLf) ++section.start;
}

// A delimiter has no zero byte, so a block without one has none in any chunk. Then only the place counts where the last
// chunk begins, and blocks full of zero bytes cost no more than others. False if that does not hold.
bool passOverChunks(Scan& scan, int64_t rangeEnd) {
    EmlContainerContext& context = scan.context;
    const uint8_t* const block = context.lineBuffer;
    const uint32_t count = context.lineLength;
    if (context.lineStart + count > rangeEnd || cutAtZeros(block, count).next == count) return false;
    if (scan.finder.find(block, block + count) != nullptr) return false;
    context.position = context.lineStart + static_cast<int64_t>(indexAfterLast(block, count, 0));
    return true;
}

// Goes through the chunks that begin in the block in the buffer and are known whole. Returns false when the
// scan is over. KEPT: the end of the range is tested where a chunk begins; the chunk is then searched to its
// end.
bool searchBlock(Scan& scan, int64_t rangeEnd) {
    EmlContainerContext& context = scan.context;
    const int64_t blockStart = context.lineStart;
    const uint32_t count = context.lineLength;
    uint32_t at = 0;
    for (;;) {
        const uint8_t* const chunk = context.lineBuffer + at;
        context.lineStart = blockStart + at;
        if (context.lineStart >= rangeEnd) return false;
        const ChunkCut cut = cutChunk(chunk, count - at);
        searchChunk(scan, chunk, chunk + cut.searchEnd, context.lineBuffer + count);
        at += cut.next;
        context.position = blockStart + at;
        if (scan.closed || scan.result != EML_OK) return false;
        // A further chunk is known whole, and need not be read again, when its zeros end inside the block.
        if (cut.next == cut.searchEnd || at >= count) return true;
        if (cutAtZeros(context.lineBuffer + at, count - at).next == count - at) return true;
    }
}

// KEPT: CR LF or LF before a delimiter belong to the delimiter. A part that ends in CR and some other byte
// loses that byte, while one that ends in some byte and CR keeps both.
void trimEnd(EmlContainerContext& context, EmlSection& section) {
    if (section.end < 3 || !seekFile(*context.input, section.end - 2)) return;
    uint8_t last[2] = {};
    const uint32_t count = readFile(*context.input, last, sizeof last);
    if (count != 0 && last[count - 1] == kLf) --section.end;
    if (count == 2 && last[0] == kCr) --section.end;
}

}  // namespace

EmlResult scanSections(EmlContainerContext& context, BoundaryText boundary, int64_t rangeStart,
                       int64_t rangeEnd) {
    const auto* const text = reinterpret_cast<const uint8_t*>(boundary.text);
    Scan scan{context, boundary, SubstringFinder(text, boundary.length, *context.kernels),
              false,   false,    EML_OK};
    context.position = rangeStart;
    while (readBlock(context) != 0) {
        completeDelimiterLine(scan);
        if (!passOverChunks(scan, rangeEnd) && !searchBlock(scan, rangeEnd)) break;
    }
    if (scan.result != EML_OK) return scan.result;
    if (!scan.closed && context.currentSection != nullptr) context.currentSection->end = rangeEnd;
    for (EmlSectionNode* node = context.sections; node != nullptr; node = node->next) {
        trimEnd(context, node->section);
        readPartHeader(context, node->section);
    }
    if (context.debug != 0) debugSections(context);
    return EML_OK;
}

}  // namespace eml
