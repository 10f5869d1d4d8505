#include "reference/filter_text.h"

#include <algorithm>

namespace reference {
namespace {

constexpr size_t kTextHeader = 9;
constexpr int kEnd = -1;

int hexValue(int byte) {
    if (byte >= '0' && byte <= '9') return byte - '0';
    if (byte >= 'A' && byte <= 'F') return byte - 'A' + 10;
    if (byte >= 'a' && byte <= 'f') return byte - 'a' + 10;
    return 127;
}

int base64Value(int byte) {
    static const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const size_t at = byte == kEnd ? std::string::npos : kAlphabet.find(static_cast<char>(byte));
    return at == std::string::npos ? 127 : static_cast<int>(at);
}

struct Source {
    std::string_view bytes;
    size_t at = 0;

    int get() { return at < bytes.size() ? static_cast<unsigned char>(bytes[at++]) : kEnd; }
    int peek() const { return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : kEnd; }
};

void escape(Source& source, std::string& text) {
    const int first = source.get();
    if (first == '\n') return;
    if (first == '\r') {
        if (source.peek() == '\n') source.get();
        return;
    }
    const int second = source.get();
    const int byte = (hexValue(first) * 16 | hexValue(second)) & 0xFF;
    if (byte == '\r') return;
    text += static_cast<char>(byte);
    if (byte == ' ' && source.peek() == '\r') {
        source.get();
        source.get();
    }
}

// The next character of a group: invalid ones are skipped, "=" is taken.
int groupCharacter(Source& source) {
    for (;;) {
        const int byte = source.get();
        if (byte == kEnd || byte == '=' || base64Value(byte) != 127) return byte;
    }
}

void putByte(std::string& text, int value) {
    const auto byte = static_cast<char>(value & 0xFF);
    if (byte != '\r') text += byte;
}

uint32_t readWord(const std::string& bytes, size_t at) {
    uint32_t value = 0;
    for (size_t i = 4; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

std::string record(char tag, const std::string& payload) {
    std::string bytes(1, tag);
    bytes += word(static_cast<uint32_t>(payload.size()) + 5);
    bytes += payload;
    return bytes;
}

bool put(Buffer& buffer, const std::string& bytes) {
    if (buffer.bytes.size() + bytes.size() > buffer.capacity) {
        buffer.full = true;
        return false;
    }
    buffer.bytes += bytes;
    return true;
}

bool isFull(const Buffer& buffer) { return buffer.bytes.size() >= buffer.limit; }

// Writes the run [start, end) of `bytes`. Gives how far it got.
size_t flush(const std::string& bytes, size_t start, size_t end, Buffer& buffer) {
    if (start == end) return end;
    const size_t length = std::min(end - start, buffer.limit - buffer.bytes.size());
    if (!put(buffer, textRecord(bytes.substr(start, length)))) return start;
    if (start + length < end) buffer.full = true;
    return start + length;
}

}  // namespace

std::string word(uint32_t value) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
    return bytes;
}

std::string textRecord(std::string_view text) {
    return record(0, word(static_cast<uint32_t>(text.size())).append(text));
}

std::string tabRecord() { return record(3, std::string(1, '\0')); }

std::string lineBreakRecord() { return record(13, {}); }

std::string charsetRecord(uint32_t charset) { return record(27, word(charset)); }

std::string filterQuotedPrintable(std::string_view body) {
    Source source{body};
    std::string text;
    for (int byte = source.get(); byte != kEnd; byte = source.get()) {
        if (byte == '=') {
            escape(source, text);
        } else {
            text += byte == '_' ? ' ' : static_cast<char>(byte);
        }
    }
    return text;
}

std::string filterBase64(std::string_view body) {
    Source source{body};
    std::string text;
    for (;;) {
        int group[4];
        int byte = source.get();
        while (byte != kEnd && byte != '-' && byte != '=' && base64Value(byte) == 127) byte = source.get();
        if (byte == kEnd || byte == '-') return text;
        group[0] = byte;
        for (int i = 1; i < 4; ++i) {
            group[i] = groupCharacter(source);
            if (group[i] == kEnd) return text;
        }
        if (group[0] == '=' || group[1] == '=') return text;
        putByte(text, base64Value(group[0]) * 4 | base64Value(group[1]) >> 4);
        if (group[2] == '=') return text;
        putByte(text, base64Value(group[1]) * 16 | base64Value(group[2]) >> 2);
        if (group[3] == '=') return text;
        putByte(text, base64Value(group[2]) * 64 | base64Value(group[3]));
    }
}

std::string fieldText(std::string_view bytes, bool zeroAfter) {
    std::string text;
    std::string run;
    for (size_t i = 0; i < bytes.size(); ++i) {
        const char byte = bytes[i];
        if (byte != '\r' && byte != '\n' && byte != '\0' && byte != '\t') {
            run += byte;
            continue;
        }
        text += run;
        run.clear();
        if (byte == '\r' || byte == '\n') text += ' ';
        if (byte == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n') ++i;
    }
    return run.size() == 1 && zeroAfter ? text : text + run;
}

Buffer bufferOf(size_t capacity) { return {capacity, capacity * 9 / 10, {}, false}; }

std::string convert(std::string& rest, Buffer& buffer) {
    const std::string bytes = rest;
    size_t start = 0;  // of the run
    size_t at = 0;
    const auto stopAt = [&](size_t place) {
        buffer.full = true;
        rest = bytes.substr(place);
        return std::string();
    };
    while (at < bytes.size()) {
        if (isFull(buffer)) return stopAt(start);
        const char byte = bytes[at];
        if (byte != '\r' && byte != '\n' && byte != '\0' && byte != '\t') {
            ++at;
            continue;
        }
        start = flush(bytes, start, at, buffer);
        if (start < at) return stopAt(start);
        const bool isLineEnd = byte == '\r' || byte == '\n';
        if (isLineEnd && !put(buffer, lineBreakRecord())) return stopAt(start);
        if (byte == '\t' && !put(buffer, tabRecord())) return stopAt(start);
        at += byte == '\r' && at + 1 < bytes.size() && bytes[at + 1] == '\n' ? 2 : 1;
        start = at;
    }
    rest.clear();
    if (at - start == 1) return bytes.substr(start);
    const size_t written = flush(bytes, start, at, buffer);
    if (written < at) return stopAt(written);
    return {};
}

bool drain(std::string& staged, Buffer& buffer) {
    if (staged.size() <= buffer.capacity) {
        buffer.bytes = staged;
        staged.clear();
        return false;
    }
    size_t fits = 0;
    while (fits < staged.size()) {
        const size_t length = staged[fits] == 11 ? 1 : readWord(staged, fits + 1);
        if (fits + length > buffer.capacity) break;
        fits += length;
    }
    if (fits > 0) {
        buffer.bytes = staged.substr(0, fits);
        staged.erase(0, fits);
        return true;
    }
    if (staged[0] != 0 || buffer.capacity < kTextHeader + 2) {
        staged.clear();
        return false;
    }
    const size_t length = readWord(staged, 5);
    const size_t piece = (buffer.capacity - 9) % 2 == 0 ? buffer.capacity - 9 : buffer.capacity - 10;
    const std::string text = staged.substr(kTextHeader, length);
    buffer.bytes = textRecord(text.substr(0, piece));
    staged = textRecord(text.substr(piece)) + staged.substr(kTextHeader + length);
    return true;
}

StreamModel::StreamModel(std::string staged, uint32_t charset, std::deque<std::string> chunks)
    : staged_(std::move(staged)), charset_(charset), chunks_(std::move(chunks)) {
    for (const std::string& chunk : chunks_) bodyLength_ += chunk.size();
}

bool StreamModel::startBody(Buffer& buffer) {
    if (buffer.capacity - buffer.bytes.size() < kTextHeader) return false;
    inBody_ = true;
    buffer.bytes += charsetRecord(charset_);
    return true;
}

void StreamModel::step(Buffer& buffer) {
    if (rest_.empty() && chunks_.empty()) {
        progress_ = 100;
        return;
    }
    if (rest_.empty()) {
        rest_ = chunks_.front();
        chunks_.pop_front();
    }
    const std::string before = rest_;
    const std::string taken = convert(rest_, buffer);
    const size_t used = before.size() - rest_.size();
    dropped_ += taken;
    shown_ += before.substr(0, used - taken.size());
    converted_ += used;
    progress_ = static_cast<uint32_t>(converted_ * 100 / bodyLength_);
}

std::string StreamModel::fill(size_t capacity) {
    Buffer buffer = bufferOf(capacity);
    if (!staged_.empty() && drain(staged_, buffer)) return buffer.bytes;
    if (!inBody_ && !startBody(buffer)) return buffer.bytes;
    while (!buffer.full && progress_ <= 99) step(buffer);
    return buffer.bytes;
}

}  // namespace reference
