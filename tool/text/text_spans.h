// Which lines of a message's text its sender wrote, and which were put there by programs: quotes, signatures, footers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace emltool {

enum class SpanKind : uint8_t {
    kOwn,
    kQuote,
    kAttribution,  // "On 4 March, Anna wrote:"
    kSignature,
    kFooter  // what mailing lists and providers add
};

struct TextSpan {
    SpanKind kind;
    size_t firstLine;  // from 1 on
    size_t lines;

    bool operator==(const TextSpan&) const = default;
};

// The spans of `text`, UTF-8 whose lines end with LF: each line is in exactly one of them, and neighbours differ in
// kind. Empty lines belong to the span before them. A line that may be the sender's own is.
std::vector<TextSpan> textSpans(std::string_view text);

// Adds `more`, the spans of a text that is put below another whose spans are `spans`.
void appendSpans(std::vector<TextSpan>& spans, std::span<const TextSpan> more);

// "own", "quote", "attribution", "signature", "footer".
std::string_view nameOf(SpanKind kind);

}  // namespace emltool
