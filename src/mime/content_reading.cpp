#include "mime/content_reading.h"

#include <algorithm>
#include <cstring>

#include "mime/body_reader.h"
#include "mime/transfer.h"
#include "mime/uuencode.h"
#include "mime/yenc.h"

namespace eml {

namespace {

const uint8_t* bytesOf(std::string_view piece) { return reinterpret_cast<const uint8_t*>(piece.data()); }

// 7bit, 8bit, binary, and what is unknown: nothing to decode.
class Identity : public FilePlace {
  public:
    Identity(DecodeProblems& problems, bool promisesSevenBit)
        : problems_(problems), promisesSevenBit_(promisesSevenBit) {}

    [[nodiscard]] bool ended() const { return ended_; }

    void feed(const uint8_t* pos, const uint8_t* end, DecodedBytes& bytes) {
        beginPiece(pos);
        if (promisesSevenBit_) {
            if (const uint64_t count = count8Bit(pos, end); count != 0) {
                const uint8_t* const first = std::find_if(pos, end, [](uint8_t byte) { return byte > 127; });
                problems_.eightBit.note(placeOf(first), count);
            }
        }
        bytes.pass({reinterpret_cast<const char*>(pos), static_cast<size_t>(end - pos)});
        ended_ = bytes.stopped();
        endPiece(end);
    }

    void finish(DecodedBytes& /*bytes*/) { ended_ = true; }

  private:
    DecodeProblems& problems_;
    bool promisesSevenBit_;
    bool ended_ = false;
};

// The ranges of a content in the file, one after the other: all of it, or what stands around the files inside.
class ContentRanges {
  public:
    ContentRanges(const EmlMimeContext& context, const ContentSource& source)
        : context_(context), source_(source), start_(source.start), file_(source.part + 1) {}

    // False when there are no more.
    [[nodiscard]] bool next(uint64_t& start, uint64_t& end) {
        if (done_) return false;
        start = start_;
        if (!isFileInside()) {
            end = source_.end;
            done_ = true;
            return true;
        }
        const MimePart& file = partAt(context_, file_++);
        end = std::clamp(file.headerStart, start_, source_.end);
        start_ = std::clamp(file.bodyEnd, end, source_.end);
        return true;
    }

  private:
    // The files inside a text are its children, and follow it in the table.
    [[nodiscard]] bool isFileInside() const {
        if (!source_.withoutFiles || file_ >= partCount(context_)) return false;
        const MimePart& part = partAt(context_, file_);
        return part.parent == source_.part && (part.flags & EML_MIME_PART_INLINE_FILE) != 0;
    }

    const EmlMimeContext& context_;
    const ContentSource& source_;
    uint64_t start_;
    uint32_t file_;
    bool done_ = false;
};

template <class Decoder>
EmlResult decodeContent(EmlMimeContext& context, const ContentSource& source, Decoder& decoder,
                        DecodedBytes& bytes) {
    ContentRanges ranges(context, source);
    uint64_t start = 0;
    uint64_t end = 0;
    while (!decoder.ended() && ranges.next(start, end)) {
        BodyReader reader(context, start, end);
        if (!reader.begin()) return reader.result();
        while (!decoder.ended()) {
            const std::string_view piece = reader.next();
            if (piece.empty()) break;
            decoder.at(reader.offset());
            decoder.feed(bytesOf(piece), bytesOf(piece) + piece.size(), bytes);
        }
        if (reader.result() != EML_OK) return reader.result();
    }
    decoder.finish(bytes);
    bytes.flush();
    return EML_OK;
}

// Uuencode and yEnc. What has no first line is data from its first byte on; that is known only at the end.
template <class Decoder>
EmlResult decodeFramed(EmlMimeContext& context, const ContentSource& source, DecodedBytes& bytes,
                       DecodeProblems& problems) {
    Decoder decoder(*context.kernels, problems, false);
    const EmlResult result = decodeContent(context, source, decoder, bytes);
    if (result != EML_OK || decoder.begun()) return result;
    problems = DecodeProblems{};
    Decoder withoutBegin(*context.kernels, problems, true);
    return decodeContent(context, source, withoutBegin, bytes);
}

}  // namespace

EmlResult readContent(EmlMimeContext& context, const ContentSource& source, DecodedBytes& bytes,
                      DecodeProblems& problems) {
    switch (source.encoding) {
        case EML_MIME_ENCODING_BASE64: {
            MailBase64 decoder(*context.kernels, problems);
            return decodeContent(context, source, decoder, bytes);
        }
        case EML_MIME_ENCODING_QUOTED_PRINTABLE: {
            MailQuotedPrintable decoder(*context.kernels, problems);
            return decodeContent(context, source, decoder, bytes);
        }
        case EML_MIME_ENCODING_UUENCODE:
            return decodeFramed<UuencodeDecoder>(context, source, bytes, problems);
        case EML_MIME_ENCODING_YENC:
            return decodeFramed<YencDecoder>(context, source, bytes, problems);
        default: {
            Identity decoder(problems, source.promisesSevenBit);
            return decodeContent(context, source, decoder, bytes);
        }
    }
}

uint64_t count8Bit(const uint8_t* pos, const uint8_t* end) {
    constexpr uint64_t kHighBits = 0x8080808080808080;
    constexpr uint64_t kOnes = 0x0101010101010101;
    uint64_t count = 0;
    for (; end - pos >= 8; pos += 8) {
        uint64_t bytes = 0;
        std::memcpy(&bytes, pos, sizeof bytes);
        // The product sums the bytes in its highest one. std::popcount would call the compiler's run time.
        count += (((bytes & kHighBits) >> 7) * kOnes) >> 56;
    }
    for (; pos < end; ++pos) count += *pos >> 7;
    return count;
}

}  // namespace eml
