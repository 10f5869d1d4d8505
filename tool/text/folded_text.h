// A text without what its sender did not write: quotes, signatures and footers are a note each.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tool/text/text_spans.h"

namespace emltool {

struct FoldedLine {
    std::string text;  // without its LF
    bool isNote;       // "[12 quoted lines]" for the lines that are left out
};

// `spans` are those of `text`. Each run of other lines is one note; an attribution and the quote below it are one, too.
std::vector<FoldedLine> foldedLines(std::string_view text, std::span<const TextSpan> spans);

}  // namespace emltool
