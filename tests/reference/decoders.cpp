#include "reference/decoders.h"

namespace reference {
namespace {

constexpr int kEnd = -1;
constexpr int kInvalid = 0x7F;

// One character after the other. 0xFF is -1 as a signed character: the end, for good.
class Reader {
  public:
    explicit Reader(const Bytes& input) : input_(input) {}

    int next() {
        if (peek() == kEnd) return kEnd;
        return input_[pos_++];
    }

    [[nodiscard]] int peek() const {
        if (pos_ == input_.size() || input_[pos_] == 0xFF) return kEnd;
        return input_[pos_];
    }

    [[nodiscard]] bool atEnd() const { return pos_ == input_.size(); }

  private:
    const Bytes& input_;
    size_t pos_ = 0;
};

int base64Value(int character) {
    if (character >= 'A' && character <= 'Z') return character - 'A';
    if (character >= 'a' && character <= 'z') return character - 'a' + 26;
    if (character >= '0' && character <= '9') return character - '0' + 52;
    if (character == '+') return 62;
    if (character == '/') return 63;
    return kInvalid;
}

int hexValue(int character) {
    if (character >= '0' && character <= '9') return character - '0';
    if (character >= 'A' && character <= 'F') return character - 'A' + 10;
    if (character >= 'a' && character <= 'f') return character - 'a' + 10;
    return kInvalid;
}

bool belongsToGroup(int character) { return base64Value(character) != kInvalid || character == '='; }

int nextOfGroup(Reader& reader) {
    int character = reader.next();
    while (character != kEnd && !belongsToGroup(character)) character = reader.next();
    return character;
}

void append(Bytes& output, int value, bool dropCr) {
    const auto byte = static_cast<uint8_t>(value & 0xFF);
    if (byte != 13 || !dropCr) output.push_back(byte);
}

// What follows "=": a soft line break (false), or the byte that two digits give.
bool decodeEscape(Reader& reader, int& value) {
    const int high = reader.next();
    if (high == '\n') return false;
    if (high == '\r') {
        if (reader.peek() == '\n') reader.next();
        return false;
    }
    const int low = high == kEnd ? kEnd : reader.next();
    value = ((hexValue(high) * 16) | hexValue(low)) & 0xFF;
    return true;
}

}  // namespace

Bytes decodeBase64(const Bytes& input, bool dropCr) {
    Bytes output;
    Reader reader(input);
    bool padded = false;
    for (int c0 = reader.next(); c0 != kEnd && c0 != '-'; c0 = reader.next()) {
        if (!belongsToGroup(c0)) continue;
        if (padded) continue;
        const int c1 = nextOfGroup(reader);
        const int c2 = nextOfGroup(reader);
        const int c3 = nextOfGroup(reader);
        if (c1 == kEnd || c2 == kEnd || c3 == kEnd) break;
        if (c0 == '=' || c1 == '=') {
            padded = true;
            continue;
        }
        append(output, (base64Value(c0) * 4) | ((base64Value(c1) & 0x30) / 16), dropCr);
        if (c2 == '=') {
            padded = true;
            continue;
        }
        append(output, (base64Value(c1) * 16) | ((base64Value(c2) & 0x3C) / 4), dropCr);
        if (c3 == '=') {
            padded = true;
            continue;
        }
        append(output, (base64Value(c2) * 64) | base64Value(c3), dropCr);
    }
    return output;
}

Bytes decodeQuotedPrintableBody(const Bytes& input) {
    Bytes output;
    Reader reader(input);
    for (int character = reader.next(); character != kEnd; character = reader.next()) {
        int value = character;
        if (character == '=' && !decodeEscape(reader, value)) continue;
        output.push_back(static_cast<uint8_t>(value));
    }
    return output;
}

Bytes decodeQuotedPrintableText(const Bytes& input, bool underscoreIsSpace) {
    Bytes output;
    Reader reader(input);
    for (int character = reader.next(); character != kEnd; character = reader.next()) {
        if (character != '=') {
            const bool blank = character == '_' && underscoreIsSpace;
            output.push_back(blank ? uint8_t{' '} : static_cast<uint8_t>(character));
            continue;
        }
        int value = 0;
        if (!decodeEscape(reader, value)) continue;
        if (value == 13) continue;
        output.push_back(static_cast<uint8_t>(value));
        if (value != ' ') continue;
        if (reader.atEnd()) output.push_back('0');
        if (reader.peek() == '\r') {
            reader.next();
            reader.next();
        }
    }
    return output;
}

}  // namespace reference
