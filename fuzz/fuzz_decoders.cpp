// Each decoder against its slow plain reference in tests/reference, with any split of its input and any sink;
// the kernels for wide registers against the plain ones.
#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include "bytes/base64.h"
#include "bytes/find.h"
#include "bytes/quoted_printable.h"
#include "charset/charset_names.h"
#include "check.h"
#include "choices.h"
#include "container/encoded_words.h"
#include "container/parameters.h"
#include "decoder_texts.h"
#include "filter/input_cuts.h"
#include "host.h"
#include "pieces.h"
#include "reference/charset.h"
#include "reference/decoders.h"
#include "reference/encoded_words.h"
#include "reference/filter_extraction.h"
#include "reference/filter_text.h"
#include "reference/input_cuts.h"
#include "reference/parameters.h"
#include "reference/search.h"
#include "support/kernel_sets.h"

namespace {

using namespace fuzz;
using eml::DecodeKernels;
using reference::bytesOf;

constexpr size_t kHead = 6;

// How the input arrives and the output is taken.
struct Target {
    Feeding feeding;
    bool option;  // drop CR, or "_" is a blank
    std::string_view text;
};

// The output as far as the sink takes it.
template <class Decoder>
void holdDecoder(const Target& target, const Bytes& expected, const char* rule) {
    Bytes cut = expected;
    if (cut.size() > target.feeding.limit) cut.resize(target.feeding.limit);
    for (const DecodeKernels* kernels : eml::test::kernelSets())
        requireSame(cut, decodeInPieces(Decoder(target.option, *kernels), target.text, target.feeding), rule);
}

void base64(const Target& target) {
    holdDecoder<eml::Base64Decoder<eml::kContainerBase64>>(
        target, reference::decodeBase64(bytesOf(target.text), target.option), "base64, container");
    holdDecoder<eml::Base64Decoder<eml::kFilterBase64>>(
        target, bytesOf(reference::extractedBase64(target.text, target.option)), "base64, extraction");
    Target text = target;
    text.option = true;
    holdDecoder<eml::Base64Decoder<eml::kFilterBase64>>(text, bytesOf(reference::filterBase64(target.text)),
                                                        "base64, text of the filter");
}

void quotedPrintable(const Target& target) {
    Target body = target;
    body.option = false;
    holdDecoder<eml::QuotedPrintableDecoder<eml::kContainerStream>>(
        body, reference::decodeQuotedPrintableBody(bytesOf(target.text)), "quoted-printable, container body");
    holdDecoder<eml::QuotedPrintableDecoder<eml::kContainerBuffer>>(
        target, reference::decodeQuotedPrintableText(bytesOf(target.text), target.option),
        "quoted-printable, container text");
    holdDecoder<eml::QuotedPrintableDecoder<eml::kFilterExtract>>(
        body, bytesOf(reference::extractedQuotedPrintable(target.text)), "quoted-printable, extraction");
    body.option = true;
    holdDecoder<eml::QuotedPrintableDecoder<eml::kFilterText>>(
        body, bytesOf(reference::filterQuotedPrintable(target.text)), "quoted-printable, text of the filter");
}

// Each kernel alone, from the place that the first choice gives on.
void kernels(const Target& target) {
    const size_t start = std::min(target.text.size(), target.feeding.firstPiece % 70);
    const Exact text(target.text.substr(start));
    const auto second = static_cast<uint8_t>(target.feeding.atOnce);
    const size_t distance = std::min<size_t>(target.feeding.firstPiece, text.size());
    // No use stops at a byte from 0xF0 on, where a kernel may leave a soft line break to the state machine.
    const uint16_t stop = second < 0xF0 ? second : eml::QuotedStops::kNone;
    const eml::QuotedStops stops{target.option, stop, eml::QuotedStops::kNone};
    struct Result {
        size_t groups, copied, run, lineEnd, zero, pair;
        Bytes decoded, copy;
        bool operator==(const Result&) const = default;
    };
    std::vector<Result> results;
    for (const DecodeKernels* set : eml::test::kernelSets()) {
        Result result{};
        const auto place = [&](const uint8_t* at) { return static_cast<size_t>(at - text.begin()); };
        const std::unique_ptr<uint8_t[]> decoded(new uint8_t[text.size()]);
        uint8_t* out = decoded.get();
        result.groups = place(set->base64Lines(text.begin(), text.end(), out, decoded.get() + text.size()));
        result.decoded.assign(decoded.get(), out);
        const std::unique_ptr<uint8_t[]> copy(new uint8_t[text.size()]);
        out = copy.get();
        result.copied = place(set->quotedText(text.begin(), text.end(), stops, out));
        result.copy.assign(copy.get(), out);
        result.run = place(set->findTextRunEnd(text.begin(), text.end()));
        const uint8_t* zero = nullptr;
        result.lineEnd = place(set->findLineEnd(text.begin(), text.end(), zero));
        result.zero = place(zero);
        result.pair = place(set->findPair(text.begin(), text.end() - distance, '-', second, distance));
        results.push_back(std::move(result));
    }
    require(results[0] == results[1], "kernels of all registers give the same bytes");
    const std::string_view rest = target.text.substr(start);
    const size_t run = std::min(rest.find_first_of(std::string_view("\0\t\n\r", 4)), rest.size());
    require(results[0].run == run, "a run ends at a zero byte, a tab or a line end");
    const size_t lineEnd = std::min(rest.find_first_of("\r\n"), rest.size());
    require(results[0].lineEnd == lineEnd, "a line ends at CR or LF");
    require(results[0].zero == std::min(rest.find('\0'), lineEnd), "its text ends at its first zero byte");
    const size_t plain = std::min(rest.find_first_of("=_"), rest.size());
    require(results[0].copied >= plain, "plain text is copied up to a stop");
    require(bytesOf(rest.substr(0, plain)) ==
                Bytes(results[0].copy.begin(), results[0].copy.begin() + static_cast<ptrdiff_t>(plain)),
            "what is copied stands before the stop");
    requireSame(reference::decodeBase64(bytesOf(rest.substr(0, results[0].groups)), false),
                results[0].decoded, "groups decode to their bytes");
}

// Header text of the container reader, in one call or two that append.
void encodedWords(const Target& target) {
    Host host(Plan{}, {}, 100000);
    {
        EmlContainerContext context{};
        context.services = &host.services();
        context.kernels = target.option ? &eml::chooseKernels() : &eml::kPlainKernels;
        require(context.decoded.reserve(host.services().allocator, 4096) == EML_OK, "a buffer");
        Bytes expected;
        const size_t cut = std::min(target.text.size(), target.feeding.firstPiece);
        for (const std::string_view part : {target.text.substr(0, cut), target.text.substr(cut)}) {
            const Exact block(part);
            const Bytes decoded = reference::decodeHeaderText(bytesOf(part));
            expected.insert(expected.end(), decoded.begin(), decoded.end());
            require(emlDecodeMetaText(context, block.begin(), static_cast<uint32_t>(block.size())) == EML_OK,
                    "header text is decoded");
        }
        requireSame(expected, Bytes(context.decoded.data, context.decoded.data + context.decoded.length),
                    "encoded words, container");
        context.decoded.release(host.services().allocator);
    }
    host.requireNothingLive();
}

void charsetNames(const Target& target) {
    const Exact text(target.text);
    const std::string parameter = "charset=" + std::string(target.text);
    const Exact behind(parameter);
    requireSame<int64_t>(reference::charsetIdOfParameter(parameter),
                         eml2MapCharset({behind.begin(), behind.end()}), "a charset name, container");
    if (text.size() == 0) return;
    requireSame<int64_t>(reference::charsetId(target.text, false),
                         mapEMLcharset(text.begin(), static_cast<uint32_t>(text.size())),
                         "a charset name, filter");
}

std::optional<std::string> textOf(const eml::HeaderValue& value) {
    if (!value.found) return std::nullopt;
    return std::string(value.begin, value.begin + value.length);
}

void requireSameText(const std::optional<std::string>& expected, const std::optional<std::string>& got,
                     const char* rule) {
    requireSame<std::string_view>(expected ? "+" + *expected : "-", got ? "+" + *got : "-", rule);
}

void headerValues(const Target& target) {
    const Exact text(target.text);
    const eml::Cursor cursor{text.begin(), text.end()};
    requireSame<int64_t>(reference::contentClass(target.text), eml::classifyContentType(cursor), "a class");
    requireSame<int64_t>(reference::transferEncoding(target.text),
                         static_cast<int64_t>(eml::classifyEncoding(cursor)), "an encoding");
    requireSameText(reference::quotedValue(target.text), textOf(eml::quotedValue(cursor)), "a quoted value");
    requireSameText(reference::boundary(target.text), textOf(eml::boundaryValue(cursor)), "a boundary");
    const std::string parameter = "boundary=" + std::string(target.text);
    const Exact behind(parameter);
    requireSameText(reference::boundary(parameter),
                    textOf(eml::boundaryValue({behind.begin(), behind.end()})), "a boundary value");
    eml::Cursor moved = cursor;
    eml::skipToParameter(moved);
    const std::string rest(moved.pos, moved.end);
    requireSame<std::string_view>(reference::firstParameter(target.text),
                                  rest.substr(0, rest.find_first_of(std::string_view("\0\r\n", 3))),
                                  "what follows a token");
}

// The needle is the beginning of the text, up to a length that the first choice gives.
void searches(const Target& target) {
    const size_t length = std::min(target.feeding.firstPiece, target.text.size());
    const std::string needle(target.text.substr(0, length));
    const std::string text(target.text.substr(length));
    const Exact block(text);
    const Exact sought(needle);
    const eml::SubstringFinder finder(sought.begin(), sought.size());
    const uint8_t* const found = finder.find(block.begin(), block.end());
    const size_t at = found == nullptr ? reference::kNotFound : static_cast<size_t>(found - block.begin());
    require(at == reference::find(bytesOf(text), bytesOf(needle)), "a search finds the first occurrence");
    const auto count = static_cast<int32_t>(text.size());
    if (!needle.empty() && needle.find('\0') == std::string::npos) {
        requireSame<int64_t>(
            reference::boundaryCarry(text, needle),
            eml::boundaryCut(block.begin(), count, {needle.c_str(), static_cast<int32_t>(length), finder}),
            "the cut before a boundary");
    }
    const reference::LineEnd expected = reference::lineEndOf(text);
    const eml::LineEnd got = eml::detectLineEnd(block.begin(), count);
    require(static_cast<int>(got.width) == expected.width &&
                (got.width < 1 || got.bytes[0] == static_cast<uint8_t>(expected.first)) &&
                (got.width < 2 || got.bytes[1] == static_cast<uint8_t>(expected.second)),
            "the line end of a buffer");
    requireSame<int64_t>(reference::lineCarry(text, expected), eml::lineCut(block.begin(), count, got),
                         "the cut after a line");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr void (*kDecoders[])(const Target&) = {&base64,       &quotedPrintable, &kernels, &encodedWords,
                                                    &charsetNames, &headerValues,    &searches};
    constexpr void (*kTexts[])(std::string_view) = {&fuzz::holdDates, &fuzz::holdNames,
                                                    &fuzz::holdFieldValues, &fuzz::holdBodyText};
    Choices choices(data, size, kHead);
    const uint32_t kind = choices.below(std::size(kDecoders) + std::size(kTexts));
    Target target{};
    target.feeding.firstPiece = choices.byte() + size_t{1};
    target.feeding.pieces = choices.byte() + size_t{1};
    target.feeding.atOnce = choices.byte() + size_t{1};
    const uint8_t limit = choices.byte();
    if (limit != 0) target.feeding.limit = limit - size_t{1};
    target.option = choices.flag();
    target.text = choices.restText();
    if (kind < std::size(kDecoders)) {
        kDecoders[kind](target);
    } else {
        kTexts[kind - std::size(kDecoders)](target.text);
    }
    return 0;
}
