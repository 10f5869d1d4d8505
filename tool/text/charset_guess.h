// What charset a text without a label is likely to be in.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace emltool {

// Why the library that guesses is not there: the program has been built without it, or it cannot be loaded. Empty if it
// is there.
std::string charsetGuessLack();

inline bool guessesCharsets() { return charsetGuessLack().empty(); }

// Only so many bytes at the start of a text are looked at.
inline constexpr size_t kCharsetGuessBytes = size_t{256} << 10;

// Fewer bytes above 127 tell nothing.
inline constexpr ptrdiff_t kCharsetGuessLetters = 8;

// The label of the charset, which CharsetDecoder knows; nothing if there is no good guess, if there is too
// little to go by, and if guessesCharsets() is false. It is a guess by the frequency of letters, more often
// right the longer the text is: meant for text with bytes above 127 that names no charset and is not UTF-8,
// and the reader should be told.
std::optional<std::string> guessCharset(std::string_view bytes);

}  // namespace emltool
