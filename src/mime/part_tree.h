// The tree of parts, built line by line in one pass over the message.
#pragma once

#include <array>

#include "mime/boundaries.h"
#include "mime/line_reader.h"
#include "mime/mime_context.h"
#include "mime/text_builder.h"

namespace eml {

// A multipart or message whose end has not been reached.
struct OpenPart {
    uint32_t part;
    uint32_t boundaryStart;  // in PartTree's boundaries
    uint32_t boundaryLength;
    uint32_t
        comparedLength;  // how much of it is compared: blanks at its end only when the first delimiter has them
    uint32_t lastChild;
    bool hasBoundary;  // it may be empty; a message has none
    bool decided;      // comparedLength is settled
    bool isMessage;
    bool closed;  // its closing delimiter was seen
};

// Lines that break a rule, counted for the part that they stand in.
struct LineCount {
    uint64_t offset;  // of the first
    uint64_t count;
};

class PartTree {
  public:
    explicit PartTree(EmlMimeContext& context);
    ~PartTree();
    PartTree(const PartTree&) = delete;
    PartTree& operator=(const PartTree&) = delete;

    // Reads the whole input.
    [[nodiscard]] EmlResult build();

  private:
    enum class State : uint8_t {
        kBeforeHeader,  // of a message: empty lines and "From " lines may stand there
        kHeader,
        kBody,
        kPreamble,
        kEpilogue,
    };
    static constexpr uint32_t kMaxBoundarySearches = 4;  // in one header
    enum class InlineFile : uint8_t { kNone, kMaybeUuencode, kUuencode, kYenc };

    // part_tree.cpp: which line means what
    [[nodiscard]] bool readsOrdinaryLines() const;
    void takeLine(const MimeLine& line);
    [[nodiscard]] bool takeInState(const MimeLine& line);
    [[nodiscard]] bool takeLineBeforeHeader(const MimeLine& line);
    [[nodiscard]] bool takeHeaderLine(const MimeLine& line);
    [[nodiscard]] bool takeFieldlessLine(const MimeLine& line);
    [[nodiscard]] bool takeBodyLine(const MimeLine& line);
    void takeHead(std::string_view text);
    void checkLine(const MimeLine& line);
    void keepHeaderLine(const MimeLine& line);
    void endMissingHeader();
    void endHeaderAtFieldless();
    void endHeaderBefore(const MimeLine& line);
    void endHeaderAtDelimiter(const MimeLine& line);
    [[nodiscard]] bool endsHeaderWithoutBlank(const MimeLine& line);
    [[nodiscard]] bool hasRoomForPart(const MimeLine& line);
    [[nodiscard]] bool takeDelimiter(const MimeLine& line);
    [[nodiscard]] bool takeGuessedDelimiter(const MimeLine& line);
    void settleBoundary(const MimeLine& line, OpenPart& open);
    void endAtDelimiter(const MimeLine& line, size_t level, const DelimiterMatch& match);
    void finish();

    // part_tree_parts.cpp: parts begin and end
    void beginRoot(uint64_t offset);
    void beginChild(uint64_t offset);
    [[nodiscard]] uint32_t addPart(uint32_t parent, uint64_t offset);
    [[nodiscard]] uint32_t& lastChildOf(uint32_t parent);
    void endHeader(uint64_t headerEnd, uint64_t bodyStart);
    void openBody(uint64_t bodyStart, bool hasBoundary);
    void openMultipart(uint64_t bodyStart, bool hasBoundary);
    void openMessage(uint64_t bodyStart);
    void dropBoundary();
    void endParts(size_t keep, uint64_t end, uint32_t ending);
    void endLeaf(uint64_t end, uint32_t ending);
    void endOpenPart(const OpenPart& open, uint64_t end, uint32_t ending);
    [[nodiscard]] uint32_t endingOf(size_t level, size_t keep, uint32_t ending) const;
    void flushLineCounts();

    // part_tree_inline.cpp: files inside text, and OpenPGP messages
    void takeTextLine(const MimeLine& line);
    void takeInlineLine(const MimeLine& line);
    void takeOutsideLine(const MimeLine& line);
    void rememberInlineFile(const MimeLine& line, std::string_view name);
    void beginInlineFile(uint32_t encoding);
    void endInlineFile(uint64_t end, bool cutOff);

    [[nodiscard]] MimePart& current() const { return partAt(context_, part_); }
    [[nodiscard]] OpenPart* openParts() const { return recordsOf<OpenPart>(open_); }
    [[nodiscard]] size_t openCount() const { return recordCount<OpenPart>(open_); }
    [[nodiscard]] std::string_view boundaryOf(const OpenPart& open) const {
        return {reinterpret_cast<const char*>(boundaries_.data) + open.boundaryStart, open.comparedLength};
    }
    [[nodiscard]] std::string_view writtenBoundary(const OpenPart& open) const {
        return {reinterpret_cast<const char*>(boundaries_.data) + open.boundaryStart, open.boundaryLength};
    }
    // Where content ends when a delimiter follows in `line`: the line end before it is the delimiter's.
    [[nodiscard]] uint64_t contentEnd(const MimeLine& line) const {
        return line.offset > contentStart_ ? previousTextEnd_ : line.offset;
    }
    [[nodiscard]] bool inContent() const { return state_ >= State::kBody; }
    void span(uint64_t offset, uint32_t kind, uint32_t part);
    void keepResult(EmlResult result) {
        if (result_ == EML_OK) result_ = result;
    }

    EmlMimeContext& context_;
    LineReader lines_;
    GrowingBuffer open_{};        // OpenPart
    GrowingBuffer boundaries_{};  // their boundaries, one after the other
    GrowingBuffer fileName_{};    // of a file that may begin
    EmlResult result_ = EML_OK;
    State state_ = State::kBeforeHeader;
    InlineFile inline_ = InlineFile::kNone;
    uint32_t part_ = 0;             // whose header or body is read; in preamble and epilogue the multipart
    uint64_t rootStart_ = 0;        // kBeforeHeader: where the message begins
    uint64_t blankEnd_ = 0;         // kBeforeHeader: after the first empty line, 0 without one
    uint64_t fieldlessStart_ = 0;   // kHeader: the line that is no field, and may be the body's first
    uint32_t fieldlessHeader_ = 0;  // the length of the header before it
    bool fieldless_ = false;
    bool continuesNothing_ = false;  // that line begins with a blank
    bool headerCut_ = false;         // longer than what is kept
    bool partsFull_ = false;         // no more parts: all that follows belongs to the last one
    bool crLf_ = false;              // the first line ends in CR LF
    bool readsText_ = false;         // the body is text as it stands: files may be inside
    bool findsFiles_ = true;         // files inside text are looked for
    bool peeksForHeader_ = false;    // a message said to be encoded: does it begin with a field all the same?
    uint64_t contentStart_ = 0;      // of the body, preamble or epilogue
    uint64_t previousTextEnd_ = 0;   // where the line end of the line before begins
    uint64_t inlineStart_ = 0;       // of the line that may begin a file
    uint64_t lineStart_ = 0;         // of the line that pieces belong to
    uint32_t inlinePart_ = 0;        // the inline file that is being read
    uint32_t lastInline_ = 0;        // the last one in this text
    LineCount longLines_{};
    LineCount bareCrs_{};
    LineCount mixedEnds_{};
    LineCount nuls_{};
    std::array<uint8_t, 128> head_{};  // the first bytes of a CMS object, as encoded
    uint32_t headLength_ = 0;
    bool readsHead_ = false;
    uint32_t boundarySearches_ = 0;
};

}  // namespace eml
