#include "reference/packed_rtf.h"

#include <algorithm>
#include <cstddef>

namespace reference {

const std::string& rtfDictionary() {
    // Line feed stands before carriage return here.
    static const std::string kText =
        "{\\rtf1\\ansi\\mac\\deff0\\deftab720{\\fonttbl;}{\\f0\\fnil \\froman \\fswiss \\fmodern \\fscript "
        "\\fdecor MS Sans SerifSymbolArialTimes New RomanCourier{\\colortbl\\red0\\green0\\blue0"
        "\n\r"
        "\\par \\pard\\plain\\f0\\fs20\\b\\i\\u\\tab\\tx";
    return kText;
}

namespace {

Bytes unpack(const Bytes& body, uint64_t rawSize) {
    Bytes text = bytesOf(rtfDictionary());
    const uint64_t full = text.size() + rawSize;
    size_t at = 16;
    while (at < body.size() && text.size() < full) {
        const unsigned control = body[at++];
        for (unsigned bit = 0; bit < 8; ++bit) {
            if (text.size() >= full || at >= body.size()) break;
            if ((control >> bit & 1) == 0) {
                text.push_back(body[at++]);
                continue;
            }
            if (at + 1 >= body.size()) {
                at = body.size();
                break;
            }
            const int64_t offset = body[at] * 16 + (body[at + 1] >> 4);
            const int64_t length = (body[at + 1] & 15) + 2;
            at += 2;
            const auto position = static_cast<int64_t>(text.size());
            int64_t from = offset + position - position % 4096;
            if (from >= position) from -= 4096;
            for (int64_t i = 0; i < length && from >= 0 && text.size() < full; ++i) {
                const uint8_t byte = text[static_cast<size_t>(from + i)];
                text.push_back(byte);
            }
        }
    }
    return Bytes(text.begin() + static_cast<std::ptrdiff_t>(rtfDictionary().size()), text.end());
}

}  // namespace

Bytes textOfRtfBody(const Bytes& body) {
    if (body.size() <= 16) return body;
    const uint64_t rawSize =
        body[4] + body[5] * uint64_t{256} + body[6] * uint64_t{65536} + body[7] * uint64_t{16777216};
    const std::string type(body.begin() + 8, body.begin() + 12);
    if (type == "LZFu") return unpack(body, rawSize);
    Bytes rest(body.begin() + 16, body.end());
    if (type == "MELA" && rawSize < rest.size()) rest.resize(static_cast<size_t>(rawSize));
    return rest;
}

Bytes packedRtfHeader(std::string_view type, uint32_t rawSize) {
    Bytes header = {0xEE, 0xEE, 0xEE, 0xEE};
    for (int shift = 0; shift < 32; shift += 8)
        header.push_back(static_cast<uint8_t>(rawSize >> shift & 0xFF));
    header.insert(header.end(), type.begin(), type.end());
    header.insert(header.end(), {0xCC, 0xCC, 0xCC, 0xCC});
    return header;
}

namespace {

// Gathers tokens in groups of eight, each group after its control byte.
class TokenWriter {
  public:
    explicit TokenWriter(Bytes& target) : target_(target) {}

    void literal(uint8_t byte) {
        begin(false);
        target_.push_back(byte);
    }
    void reference(size_t offset, size_t length) {
        begin(true);
        target_.push_back(static_cast<uint8_t>(offset >> 4));
        target_.push_back(static_cast<uint8_t>((offset & 15) << 4 | (length - 2)));
    }

  private:
    void begin(bool isReference) {
        if (count_ % 8 == 0) {
            control_ = target_.size();
            target_.push_back(0);
        }
        if (isReference) target_[control_] = static_cast<uint8_t>(target_[control_] | 1u << count_ % 8);
        ++count_;
    }

    Bytes& target_;
    size_t control_ = 0;
    size_t count_ = 0;
};

// The longest match for `all` at `position` among the 4095 bytes before it: where it begins, and its length.
std::pair<size_t, size_t> longestMatch(const Bytes& all, size_t position) {
    std::pair<size_t, size_t> best{0, 0};
    for (size_t from = position > 4095 ? position - 4095 : 0; from < position; ++from) {
        size_t length = 0;
        while (length < 17 && position + length < all.size() && all[from + length] == all[position + length])
            ++length;
        if (length > best.second) best = {from, length};
    }
    return best;
}

}  // namespace

Bytes packRtf(const Bytes& text, bool literalsOnly) {
    Bytes packed = packedRtfHeader("LZFu", static_cast<uint32_t>(text.size()));
    Bytes all = bytesOf(rtfDictionary());
    size_t position = all.size();
    all.insert(all.end(), text.begin(), text.end());
    TokenWriter tokens(packed);
    while (position < all.size()) {
        const auto [from, length] = literalsOnly ? std::pair<size_t, size_t>{} : longestMatch(all, position);
        if (length < 2) {
            tokens.literal(all[position++]);
        } else {
            tokens.reference(from % 4096, length);
            position += length;
        }
    }
    tokens.reference(position % 4096, 2);
    return packed;
}

}  // namespace reference
