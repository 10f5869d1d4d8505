#include "reference/input_cuts.h"

#include <algorithm>
#include <cstring>

namespace reference {
namespace {

constexpr size_t kBufferSize = 4096;

char folded(char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte; }

bool beginsWithFolded(const std::string& text, const std::string& wanted) {
    if (text.size() < wanted.size() || text[0] != wanted[0]) return false;
    for (size_t i = 0; i < wanted.size(); ++i) {
        if (folded(text[i]) != folded(wanted[i])) return false;
    }
    return true;
}

char at(const std::string& text, size_t index) { return index < text.size() ? text[index] : '\0'; }

}  // namespace

LineEnd lineEndOf(const std::string& buffer) {
    LineEnd end;
    size_t i = 0;
    while (i < buffer.size()) {
        if (buffer[i] != '\r' && buffer[i] != '\n') {
            ++i;
        } else if (end.width == 0) {
            end.first = buffer[i];
            if (at(buffer, i + 1) == '\n') {
                end.second = '\n';
                end.width = 2;
                i += 2;
            } else {
                end.width = 1;
                i += 1;
            }
        } else if (end.width == 1 && buffer[i] == '\r' && at(buffer, i + 1) == '\n') {
            end = {'\r', '\n', 2};
            i += 2;
        } else {
            ++i;
        }
    }
    return end;
}

int boundaryCarry(const std::string& buffer, const std::string& boundary) {
    const size_t n = buffer.size();
    if (boundary.empty() || n == 0) return 0;
    const size_t s = std::min(n, buffer.find('\0'));
    if (s < n) {
        if (beginsWithFolded(buffer.substr(0, s), boundary)) return static_cast<int>(n - (s + 1));
        size_t piece = 0;
        while (piece < n) {
            const size_t end = std::min(n, buffer.find('\0', piece));
            const size_t hit = buffer.substr(piece, end - piece).find(boundary);
            if (hit != std::string::npos) return static_cast<int>(n - (piece + hit));
            piece = end + 1;
        }
        return 0;
    }
    int carry = 0;
    for (size_t hit = buffer.find(boundary); hit != std::string::npos;
         hit = buffer.find(boundary, hit + boundary.size())) {
        carry = static_cast<int>(n - hit);
    }
    return carry;
}

int lineCarry(const std::string& buffer, const LineEnd& lineEnd) {
    const int n = static_cast<int>(buffer.size());
    const int w = lineEnd.width;
    const int m = n - w;
    if (w == 0 || m <= 0) return 0;
    const auto hits = [&](int index) { return buffer[static_cast<size_t>(index)] == lineEnd.first; };
    int count = 0;
    int i = m;
    while (i > 0) {
        if (!hits(i)) {
            count = 0;
            i -= 1;
            continue;
        }
        count += 1;
        if (count == 2) return n - (i + 2 * w);
        i -= 1;
        if (w == 2) i -= 1;
    }
    for (i = m; i > 0; --i) {
        if (hits(i)) return n - (i + w);
    }
    return 0;
}

int Reader::read(int size) {
    if (size < 1) return 0;
    const auto wanted = static_cast<size_t>(size);
    if (!carry.empty() && wanted <= carry.size()) {
        std::memcpy(input.data(), carry.data(), wanted);
        input[wanted] = '\0';
        carry.erase(0, wanted);
        readCount += size;
        return size;  // the end of the buffer stays where it was
    }
    const std::string fresh =
        message.substr(std::min(position, message.size()), std::min(step, wanted - carry.size()));
    position += fresh.size();
    std::string buffer = carry + fresh;
    carry.clear();
    if (!fresh.empty() && !inBody) {
        if (lineEnd.width == 0) lineEnd = lineEndOf(buffer);
        auto kept = static_cast<size_t>(boundaryCarry(buffer, boundary));
        if (kept == 0 || kept >= kBufferSize) kept = static_cast<size_t>(lineCarry(buffer, lineEnd));
        carry = buffer.substr(buffer.size() - kept);
        buffer.resize(buffer.size() - kept);
    }
    std::memcpy(input.data(), buffer.data(), buffer.size());
    input[buffer.size()] = '\0';
    inputEnd = static_cast<int>(buffer.size());
    readCount += inputEnd;
    return inputEnd;
}

int Reader::next(int limit) {
    const auto served = [&] { return static_cast<unsigned char>(input[static_cast<size_t>(readPos++)]); };
    if (limit <= 0) return readPos < inputEnd ? served() : -1;
    if (readCount > 0 && readPos < inputEnd) return served();
    if (read(std::min(limit - readCount, 4096)) < 1) return -1;
    readPos = 0;
    return served();
}

}  // namespace reference
