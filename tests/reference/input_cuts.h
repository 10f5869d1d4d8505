// The message filter's input reader once more: slow, whole strings, one rule after the other. Held against
// the real one.
#pragma once

#include <string>

namespace reference {

struct LineEnd {
    char first = 0;
    char second = 0;
    int width = 0;  // 0: not known
};

// The line end that a first buffer shows.
[[nodiscard]] LineEnd lineEndOf(const std::string& buffer);

// Bytes kept back before a boundary; 0 for none. At most the whole buffer.
[[nodiscard]] int boundaryCarry(const std::string& buffer, const std::string& boundary);

// Bytes kept back after the last empty line, or else the last line end; 0 for none.
[[nodiscard]] int lineCarry(const std::string& buffer, const LineEnd& lineEnd);

// The reader over a message in memory.
struct Reader {
    std::string message;
    std::string boundary;
    size_t step = 4096;  // the most that a read of the file delivers
    bool inBody = false;

    size_t position = 0;  // in the message
    std::string input = std::string(4100, '\0');
    int inputEnd = 0;
    int readPos = 0;
    int readCount = 0;
    std::string carry;
    LineEnd lineEnd;

    int read(int size);
    int next(int limit);  // the next byte, or -1
};

}  // namespace reference
