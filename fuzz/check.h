// What a target checks. A broken rule ends the program, which both libFuzzer and the replay tests notice.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "reference/bytes.h"

namespace fuzz {

using reference::Bytes;

[[noreturn]] inline void fail(const std::string& text) {
    std::fprintf(stderr, "broken: %s\n", text.c_str());
    std::abort();
}

inline void require(bool held, const char* rule) {
    if (!held) fail(rule);
}

inline std::string shownStart(const Bytes& bytes) {
    constexpr size_t kMax = 400;
    if (bytes.size() <= kMax) return reference::shown(bytes);
    return reference::shown(Bytes(bytes.begin(), bytes.begin() + kMax)) + "...";
}

inline std::string shownStart(std::string_view bytes) { return shownStart(reference::bytesOf(bytes)); }
inline std::string shownStart(int64_t number) { return std::to_string(number); }

template <class Value>
void requireSame(const Value& expected, const Value& got, const char* rule) {
    if (expected == got) return;
    fail(std::string(rule) + "\n  expected " + shownStart(expected) + "\n  got      " + shownStart(got));
}

}  // namespace fuzz
