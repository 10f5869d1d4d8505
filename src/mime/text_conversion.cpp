#include "mime/text_conversion.h"

#include "bytes/ascii.h"
#include "mime/utf8.h"

namespace eml {

namespace {

constexpr size_t kMaxCharacter = 4;  // bytes of one character in UTF-8

const uint8_t* bytesOf(std::string_view text) { return reinterpret_cast<const uint8_t*>(text.data()); }

// The end of the run of ASCII at `pos`.
const uint8_t* skipAscii(const uint8_t* pos, const uint8_t* end) {
    constexpr uint64_t kHighBits = 0x8080808080808080;
    while (end - pos >= 8) {
        uint64_t eight = 0;
        std::memcpy(&eight, pos, sizeof eight);
        if ((eight & kHighBits) != 0) break;
        pos += sizeof eight;
    }
    while (pos < end && *pos < 0x80) ++pos;
    return pos;
}

// Labels by their letters and digits.
struct Label {
    std::string_view letters;
    KnownCharset charset;
};

constexpr std::array<Label, 38> kLabels = {{
    {"utf8", KnownCharset::kUtf8},
    {"unicode11utf8", KnownCharset::kUtf8},
    {"unicode20utf8", KnownCharset::kUtf8},
    {"xunicode20utf8", KnownCharset::kUtf8},
    {"xutf8", KnownCharset::kUtf8},
    {"csutf8", KnownCharset::kUtf8},
    {"cp65001", KnownCharset::kUtf8},
    {"utf8mb4", KnownCharset::kUtf8},
    {"usascii", KnownCharset::kAscii},
    {"ascii", KnownCharset::kAscii},
    {"ansix341968", KnownCharset::kAscii},
    {"ansix341986", KnownCharset::kAscii},
    {"iso646us", KnownCharset::kAscii},
    {"iso646irv1991", KnownCharset::kAscii},
    {"isoir6", KnownCharset::kAscii},
    {"us", KnownCharset::kAscii},
    {"ibm367", KnownCharset::kAscii},
    {"cp367", KnownCharset::kAscii},
    {"csascii", KnownCharset::kAscii},
    {"iso88591", KnownCharset::kWindows1252},
    {"iso885911987", KnownCharset::kWindows1252},
    {"88591", KnownCharset::kWindows1252},
    {"isoir100", KnownCharset::kWindows1252},
    {"latin1", KnownCharset::kWindows1252},
    {"isolatin1", KnownCharset::kWindows1252},
    {"l1", KnownCharset::kWindows1252},
    {"ibm819", KnownCharset::kWindows1252},
    {"cp819", KnownCharset::kWindows1252},
    {"csisolatin1", KnownCharset::kWindows1252},
    {"windows1252", KnownCharset::kWindows1252},
    {"xwindows1252", KnownCharset::kWindows1252},
    {"win1252", KnownCharset::kWindows1252},
    {"cp1252", KnownCharset::kWindows1252},
    {"xcp1252", KnownCharset::kWindows1252},
    {"ms1252", KnownCharset::kWindows1252},
    {"msansi", KnownCharset::kWindows1252},
    {"ibm1252", KnownCharset::kWindows1252},
    {"cswindows1252", KnownCharset::kWindows1252},
}};

constexpr std::array<std::string_view, 5> kUnknownLabels = {"unknown8bit", "xunknown", "unknown",
                                                            "csunknown8bit", "8bit"};

constexpr std::array<std::string_view, 14> kSevenBitLabels = {
    "iso2022jp",   "csiso2022jp", "iso2022jp1",   "iso2022jp2", "iso2022jp3",    "iso2022jpms", "iso2022kr",
    "csiso2022kr", "iso2022cn",   "iso2022cnext", "utf7",       "unicode11utf7", "hz",          "hzgb2312"};

bool isLetterOrDigit(uint8_t byte) {
    const uint8_t lower = toLower(byte);
    return (lower >= 'a' && lower <= 'z') || (byte >= '0' && byte <= '9');
}

// Whether the letters and digits of `label` are `letters`, whatever the case.
bool sameLabel(std::string_view label, std::string_view letters) {
    size_t have = 0;
    for (const char character : label) {
        const auto byte = static_cast<uint8_t>(character);
        if (!isLetterOrDigit(byte)) continue;
        if (have == letters.size() || toLower(byte) != static_cast<uint8_t>(letters[have])) return false;
        ++have;
    }
    return have == letters.size();
}

// What windows-1252 has for 0x80 to 0x9F. The five bytes that it lacks stay control characters: nothing is lost.
constexpr std::array<uint16_t, 32> kWindows1252 = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

uint32_t windows1252Character(uint8_t byte) {
    return byte >= 0x80 && byte < 0xA0 ? kWindows1252[byte - 0x80u] : byte;
}

uint8_t* putReplacement(uint8_t* out) {
    std::memcpy(out, kReplacement.data(), kReplacement.size());
    return out + kReplacement.size();
}

std::string_view withoutQuotesAndBlanks(std::string_view label) {
    const auto isAround = [](char character) {
        return character == '"' || character == '\'' || static_cast<uint8_t>(character) <= ' ';
    };
    while (!label.empty() && isAround(label.front())) label.remove_prefix(1);
    while (!label.empty() && isAround(label.back())) label.remove_suffix(1);
    return label;
}

}  // namespace

KnownCharset knownCharset(std::string_view label) {
    if (label.size() > TextConversion::kMaxLabel) return KnownCharset::kOther;
    for (const Label& known : kLabels) {
        if (sameLabel(label, known.letters)) return known.charset;
    }
    return KnownCharset::kOther;
}

namespace {

template <size_t Count>
bool isAmong(std::string_view label, const std::array<std::string_view, Count>& labels) {
    if (label.size() > TextConversion::kMaxLabel) return false;
    return std::any_of(labels.begin(), labels.end(),
                       [label](std::string_view letters) { return sameLabel(label, letters); });
}

}  // namespace

bool isLabelOfUnknown(std::string_view label) { return isAmong(label, kUnknownLabels); }

bool isSevenBitCharset(std::string_view label) { return isAmong(label, kSevenBitLabels); }

bool isAscii(std::string_view bytes) {
    const uint8_t* const end = bytesOf(bytes) + bytes.size();
    return skipAscii(bytesOf(bytes), end) == end;
}

bool isUtf8(std::string_view bytes) {
    const uint8_t* pos = bytesOf(bytes);
    const uint8_t* const end = pos + bytes.size();
    while ((pos = skipAscii(pos, end)) != end) {
        const Utf8Step step = utf8At(pos, end);
        if (step.kind != Utf8Kind::kCharacter) return false;
        pos += step.length;
    }
    return true;
}

void Utf8Check::feed(std::string_view piece) {
    const uint8_t* pos = bytesOf(piece);
    const uint8_t* const end = pos + piece.size();
    while (valid_ && cutLength_ != 0 && pos != end) {
        cut_[cutLength_++] = *pos++;
        const Utf8Step step = utf8At(cut_.data(), cut_.data() + cutLength_);
        valid_ = step.kind != Utf8Kind::kInvalid;
        if (step.kind == Utf8Kind::kCharacter) cutLength_ = 0;
    }
    while (valid_ && (pos = skipAscii(pos, end)) != end) {
        has8Bit_ = true;
        const Utf8Step step = utf8At(pos, end);
        valid_ = step.kind != Utf8Kind::kInvalid;
        if (step.kind == Utf8Kind::kCut) {
            std::memcpy(cut_.data(), pos, step.length);
            cutLength_ = step.length;
        }
        pos += step.length;
    }
}

TextConversion::TextConversion(const EmlMimeConvert* host, std::string_view label)
    : host_(host), charset_(knownCharset(label)) {
    if (charset_ == KnownCharset::kOther) openHost(withoutQuotesAndBlanks(label));
}

void TextConversion::openHost(std::string_view label) {
    const bool usable = host_ != nullptr && host_->open != nullptr && host_->convert != nullptr &&
                        host_->close != nullptr && !label.empty() && label.size() <= kMaxLabel &&
                        label.find('\0') == std::string_view::npos;
    if (usable) {
        std::array<char, kMaxLabel + 1> zeroTerminated{};
        std::copy(label.begin(), label.end(), zeroTerminated.begin());
        conversion_ = host_->open(host_->host, zeroTerminated.data());
    }
    outcome_.unknownCharset = conversion_ == nullptr;
}

TextConversion::~TextConversion() {
    if (conversion_ != nullptr) host_->close(conversion_);
}

size_t TextConversion::convertSome(std::string_view& piece, bool last, uint8_t* out, size_t room) {
    if (outcome_.unknownCharset) {
        const size_t count = std::min(piece.size(), room);
        if (count != 0) std::memcpy(out, piece.data(), count);
        piece.remove_prefix(count);
        return count;
    }
    if (charset_ == KnownCharset::kUtf8) return convertUtf8(piece, last, out, room);
    if (charset_ == KnownCharset::kOther) return convertByHost(piece, last, out, room);
    return convertBytes(piece, out, room);
}

// Goes on with the character that the last piece has begun. False: the piece is used up, and it is still not whole.
bool TextConversion::completeCharacter(std::string_view& piece, bool last, uint8_t*& out) {
    while (carryLength_ != 0) {
        if (!piece.empty()) {
            carry_[carryLength_] = static_cast<uint8_t>(piece.front());
            const Utf8Step step = utf8At(carry_.data(), carry_.data() + carryLength_ + 1);
            if (step.kind != Utf8Kind::kInvalid) {
                ++carryLength_;
                piece.remove_prefix(1);
                if (step.kind == Utf8Kind::kCut) continue;
                std::memcpy(out, carry_.data(), carryLength_);
                out += carryLength_;
                carryLength_ = 0;
                return true;
            }
        } else if (!last) {
            return false;
        }
        // The byte that does not fit begins something new.
        carryLength_ = 0;
        ++outcome_.replaced;
        out = putReplacement(out);
    }
    return true;
}

size_t TextConversion::convertUtf8(std::string_view& piece, bool last, uint8_t* out, size_t room) {
    uint8_t* const begin = out;
    uint8_t* const roomEnd = out + room;
    if (!completeCharacter(piece, last, out)) return static_cast<size_t>(out - begin);
    const uint8_t* pos = bytesOf(piece);
    const uint8_t* const end = pos + piece.size();
    while (pos != end && static_cast<size_t>(roomEnd - out) >= kMaxCharacter) {
        const size_t most = std::min(static_cast<size_t>(end - pos), static_cast<size_t>(roomEnd - out));
        const auto run = static_cast<size_t>(skipAscii(pos, pos + most) - pos);
        std::memcpy(out, pos, run);
        out += run;
        pos += run;
        if (run == most || static_cast<size_t>(roomEnd - out) < kMaxCharacter) continue;
        const Utf8Step step = utf8At(pos, end);
        if (step.kind == Utf8Kind::kCharacter) {
            std::memcpy(out, pos, step.length);
            out += step.length;
        } else if (step.kind == Utf8Kind::kInvalid || last) {
            ++outcome_.replaced;
            out = putReplacement(out);
        } else {
            std::memcpy(carry_.data(), pos, step.length);
            carryLength_ = step.length;
        }
        pos += step.length;
    }
    piece.remove_prefix(static_cast<size_t>(pos - bytesOf(piece)));
    return static_cast<size_t>(out - begin);
}

// US-ASCII and windows-1252.
size_t TextConversion::convertBytes(std::string_view& piece, uint8_t* out, size_t room) {
    uint8_t* const begin = out;
    uint8_t* const roomEnd = out + room;
    size_t used = 0;
    while (used < piece.size() && static_cast<size_t>(roomEnd - out) >= kMaxCharacter) {
        const auto byte = static_cast<uint8_t>(piece[used++]);
        if (byte >= 0x80 && charset_ == KnownCharset::kAscii) {
            ++outcome_.replaced;
            out = putReplacement(out);
        } else {
            out = putCharacter(windows1252Character(byte), out);
        }
    }
    piece.remove_prefix(used);
    return static_cast<size_t>(out - begin);
}

// One call of the host. What it claims beyond what it was given counts as nothing done.
TextConversion::HostStep TextConversion::callHost(const uint8_t* source, size_t length, bool last,
                                                  uint8_t* out, size_t room) {
    constexpr size_t kMaxAtOnce = size_t{1} << 20;
    const size_t given = std::min(length, kMaxAtOnce);
    auto used = static_cast<uint32_t>(given);
    auto written = static_cast<uint32_t>(room);
    outcome_.replaced +=
        host_->convert(conversion_, source, &used, out, &written, last && given == length ? 1 : 0);
    if (used > given || written > room) return {0, 0};
    idleCalls_ = used == 0 ? idleCalls_ + 1 : 0;
    if (used == 0 && idleCalls_ > kMaxIdleCalls) return {0, 0};
    return {used, written};
}

// The host cannot go on: one U+FFFD stands for the rest of the text.
size_t TextConversion::giveUp(std::string_view& piece, uint8_t* out) {
    const bool leavesText = carryLength_ != 0 || !piece.empty();
    hostEnded_ = true;
    carryLength_ = 0;
    piece = {};
    if (!leavesText) return 0;
    ++outcome_.replaced;
    putReplacement(out);
    return kReplacement.size();
}

size_t TextConversion::convertByHost(std::string_view& piece, bool last, uint8_t* out, size_t room) {
    if (hostEnded_) {
        piece = {};
        return 0;
    }
    if (piece.empty() && !last) return 0;
    if (carryLength_ != 0) return convertCarried(piece, last, out, room);
    const HostStep step = callHost(bytesOf(piece), piece.size(), last, out, room);
    piece.remove_prefix(step.used);
    if (step.used != 0 || step.written != 0) return step.written;
    if (last || piece.size() > kCarry) return giveUp(piece, out);
    std::memcpy(carry_.data(), piece.data(), piece.size());
    carryLength_ = piece.size();
    piece = {};
    return 0;
}

// The bytes that were left last, and as many more as there is room for.
size_t TextConversion::convertCarried(std::string_view& piece, bool last, uint8_t* out, size_t room) {
    const size_t more = std::min(piece.size(), kCarry - carryLength_);
    if (more != 0) std::memcpy(carry_.data() + carryLength_, piece.data(), more);
    const size_t length = carryLength_ + more;
    const bool all = more == piece.size();
    const HostStep step = callHost(carry_.data(), length, last && all, out, room);
    if (step.used >= carryLength_) {
        piece.remove_prefix(step.used - carryLength_);
        carryLength_ = 0;
        return step.written;
    }
    if (step.used != 0 || step.written != 0) {
        carryLength_ -= step.used;
        std::memmove(carry_.data(), carry_.data() + step.used, carryLength_);
        return step.written;
    }
    if (last || !all) return giveUp(piece, out);
    carryLength_ = length;
    piece = {};
    return 0;
}

void appendGuessed(std::string_view bytes, std::string_view label, const EmlMimeConvert* host,
                   TextBuilder& text) {
    if (isUtf8(bytes)) {
        text.append(bytes);
    } else {
        appendGuessedNotUtf8(bytes, label, host, text);
    }
}

void appendGuessedNotUtf8(std::string_view bytes, std::string_view label, const EmlMimeConvert* host,
                          TextBuilder& text) {
    if (!label.empty() && knownCharset(label) == KnownCharset::kOther) {
        TextConversion conversion(host, label);
        if (!conversion.outcome().unknownCharset) {
            conversion.feed(bytes, true, text);
            return;
        }
    }
    TextConversion western(nullptr, "windows-1252");
    western.feed(bytes, true, text);
}

ConversionOutcome appendConverted(std::string_view bytes, std::string_view label, const EmlMimeConvert* host,
                                  TextBuilder& text) {
    TextConversion conversion(host, label);
    if (knownCharset(label) == KnownCharset::kAscii) {
        appendGuessed(bytes, {}, host, text);
    } else {
        conversion.feed(bytes, true, text);
    }
    return conversion.outcome();
}

}  // namespace eml
