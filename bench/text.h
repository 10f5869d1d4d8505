// Running text to fill messages with.
#pragma once

#include <string>

#include "bench/random.h"

namespace emlbench {

enum class Language { kGerman, kRussian };

// One paragraph of a few hundred characters in UTF-8, without a line end.
std::string paragraph(Language language, Random& random);

// A short text of `words` words, in ASCII.
std::string asciiWords(unsigned words, Random& random);

}  // namespace emlbench
