#include "reference/search.h"

namespace reference {

size_t find(const Bytes& text, const Bytes& needle) {
    if (needle.empty()) return kNotFound;
    for (size_t place = 0; place + needle.size() <= text.size(); ++place) {
        size_t equal = 0;
        while (equal < needle.size() && text[place + equal] == needle[equal]) ++equal;
        if (equal == needle.size()) return place;
    }
    return kNotFound;
}

}  // namespace reference
