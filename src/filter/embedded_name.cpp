#include "filter/embedded_name.h"

#include <algorithm>
#include <cstring>

#include "bytes/fixed_text.h"
#include "bytes/name_characters.h"

namespace eml {

namespace {

constexpr size_t kStemLength = 8;
constexpr size_t kMaxSubject = kFileNameSize - 1;
constexpr std::string_view kSubject = "Subject:";

using Name = FixedText<32>;

void store(const Name& text, char (&name)[kFileNameSize]) {
    std::memset(name, 0, sizeof name);
    std::memcpy(name, text.view().data(), text.view().size());
}

bool acceptExactly(Cursor& text, std::string_view literal) {
    if (!text.startsWith(literal)) return false;
    text.skip(literal.size());
    return true;
}

// KEPT: the keyword is looked for in lower and upper case as it stands here, and anywhere further on, not
// only in the embedded header.
bool findSubject(Cursor& rest) {
    const auto* hit =
        std::search(rest.pos, rest.end, kSubject.begin(), kSubject.end(),
                    [](uint8_t left, char right) { return left == static_cast<uint8_t>(right); });
    if (static_cast<size_t>(rest.end - hit) <= kSubject.size()) return false;
    rest.pos = hit + kSubject.size();
    return true;
}

// The first characters of a subject that every file system takes, without leading blanks.
Name stemOfSubject(Cursor subject) {
    Name stem;
    const uint8_t* const limit = subject.pos + std::min(subject.left(), kMaxSubject);
    for (; subject.pos < limit && !isLineEnd(*subject.pos) && stem.view().size() < kStemLength;
         subject.skip(1)) {
        const uint8_t byte = *subject.pos;
        if (isForbiddenInName(byte) || static_cast<int8_t>(byte) < 32) continue;
        if (byte == ' ' && stem.view().empty()) continue;
        const char character = static_cast<char>(byte);
        stem.append({&character, 1});
    }
    return stem;
}

}  // namespace

void makeSubjectName(Cursor rest, int32_t number, char (&name)[kFileNameSize]) {
    Name text;
    if (findSubject(rest)) {
        rest.skipBlanks();
        if (acceptExactly(rest, "Fw:") || acceptExactly(rest, "Re:")) rest.skipBlanks();
        text = stemOfSubject(rest);
    } else {
        text.append("zt").appendDecimal(number);
    }
    store(text.append(".eml"), name);
}

void makeReportName(int32_t number, char (&name)[kFileNameSize]) {
    Name text;
    store(text.append("zt").appendDecimal(number).append(".tmp"), name);
}

}  // namespace eml
