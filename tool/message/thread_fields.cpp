#include "tool/message/thread_fields.h"

#include <algorithm>
#include <emlreader/mime.hpp>
#include <iterator>
#include <numeric>

#include "tool/text/ascii.h"

namespace emltool {

namespace {

void append(std::vector<std::string> more, std::vector<std::string>& ids) {
    if (ids.empty()) {
        ids = std::move(more);
    } else {
        std::ranges::move(more, std::back_inserter(ids));
    }
}

}  // namespace

void addThreadField(const emlreader::mime::Field& field, ThreadFields& fields) {
    const std::string& name = field.name();
    if (equalNoCase(name, "Message-ID")) {
        if (!fields.messageId.empty()) return;
        std::vector<std::string> ids = field.ids();
        if (!ids.empty()) fields.messageId = std::move(ids.front());
    } else if (equalNoCase(name, "In-Reply-To")) {
        append(field.ids(), fields.inReplyTo);
    } else if (equalNoCase(name, "References")) {
        append(field.ids(), fields.references);
    }
}

// By sorting: hash tables can be filled with texts of one hash on purpose.
void dropRepeatedIds(std::vector<std::string>& ids) {
    if (ids.size() < 2) return;
    std::vector<size_t> places(ids.size());
    std::iota(places.begin(), places.end(), size_t{0});
    std::ranges::sort(places, [&ids](size_t one, size_t other) {
        const int order = ids[one].compare(ids[other]);
        return order != 0 ? order < 0 : one < other;
    });
    std::vector<bool> isRepeated(ids.size());
    for (size_t i = 1; i < places.size(); ++i)
        isRepeated[places[i - 1]] = ids[places[i - 1]] == ids[places[i]];
    size_t kept = 0;
    for (size_t i = 0; i < ids.size(); ++i) {
        if (isRepeated[i]) continue;
        if (kept != i) ids[kept] = std::move(ids[i]);
        ++kept;
    }
    ids.resize(kept);
}

}  // namespace emltool
