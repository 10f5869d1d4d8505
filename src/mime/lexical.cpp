#include "mime/lexical.h"

namespace eml {

std::string_view trimSpacing(std::string_view text) {
    while (!text.empty() && isSpacing(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpacing(text.back())) text.remove_suffix(1);
    return text;
}

size_t commentEnd(std::string_view text, size_t at) {
    size_t depth = 0;
    for (size_t i = at; i < text.size(); ++i) {
        if (text[i] == '\\') {
            ++i;
        } else if (text[i] == '(') {
            ++depth;
        } else if (text[i] == ')' && --depth == 0) {
            return i + 1;
        }
    }
    return std::string_view::npos;
}

size_t quotedEnd(std::string_view text, size_t at) {
    for (size_t i = at + 1; i < text.size(); ++i) {
        if (text[i] == '\\') {
            ++i;
        } else if (text[i] == '"') {
            return i + 1;
        }
    }
    return std::string_view::npos;
}

}  // namespace eml
