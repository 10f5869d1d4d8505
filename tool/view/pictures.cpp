#include "tool/view/pictures.h"

#include <array>

#include "tool/text/ascii.h"
#include "tool/text/base64_text.h"

namespace emltool {

namespace {

struct Beginning {
    std::string_view bytes;
    size_t offset;
    std::string_view type;
};

constexpr std::array<Beginning, 8> kBeginnings = {{{"\x89PNG\r\n\x1A\n", 0, "image/png"},
                                                   {"GIF8", 0, "image/gif"},
                                                   {"\xFF\xD8\xFF", 0, "image/jpeg"},
                                                   {"WEBP", 8, "image/webp"},
                                                   {"ftypavif", 4, "image/avif"},
                                                   {"ftypavis", 4, "image/avif"},
                                                   {"BM", 0, "image/bmp"},
                                                   {std::string_view("\0\0\1\0", 4), 0, "image/x-icon"}}};

// Of a reference in that part or message.
std::string keyOf(uint32_t number, std::string_view reference) {
    return std::to_string(number) + ' ' + std::string(reference);
}

}  // namespace

std::string_view pictureType(std::string_view beginning, std::string_view type) {
    const bool mayBe = type.starts_with("image/") || type == "application/octet-stream";
    if (!mayBe) return {};
    for (const Beginning& each : kBeginnings) {
        if (beginning.size() > each.offset && beginning.substr(each.offset).starts_with(each.bytes))
            return each.type;
    }
    // In <img> and in a style sheet it can neither run nor load anything.
    return type == "image/svg+xml" ? "image/svg+xml" : std::string_view();
}

std::optional<std::string> smallContent(const emlreader::mime::Part& part, uint64_t limit) {
    std::string content;
    bool fits = true;
    part.extract([&](std::string_view piece) {
        fits = fits && content.size() + piece.size() <= limit;
        if (fits) content += piece;
    });
    if (!fits) return std::nullopt;
    return content;
}

std::optional<std::string> Pictures::dataUrl(const emlreader::mime::Part& part) {
    auto [place, isNew] = urls_.try_emplace(part.number());
    std::string& url = place->second;
    const std::string type = part.mediaType();
    const bool mayBe = type.starts_with("image/") || type == "application/octet-stream";
    if (isNew && mayBe) {
        // What would not fit in any case is not kept.
        const std::optional<std::string> bytes =
            smallContent(part, std::min(maxPicture_, kMaxPictureCharacters));
        const std::string_view shownType = bytes ? pictureType(*bytes, type) : std::string_view();
        if (!shownType.empty()) url = "data:" + std::string(shownType) + ";base64," + base64(*bytes);
    }
    if (url.empty() || url.size() > budget_) return std::nullopt;
    budget_ -= url.size();
    shown_.insert(part.number());
    return url;
}

std::optional<uint32_t> Pictures::byContentId(std::string_view reference, const emlreader::mime::Part& from) {
    const std::string key = keyOf(from.number(), reference);
    const auto known = ids_.find(key);
    if (known != ids_.end()) return known->second;
    if (ids_.size() == kMaxReferences) return std::nullopt;
    const std::optional<emlreader::mime::Part> part = from.findContentId(reference);
    const std::optional<uint32_t> number = part ? std::optional(part->number()) : std::nullopt;
    ids_.emplace(key, number);
    return number;
}

std::optional<uint32_t> Pictures::byLocation(std::string_view location, uint32_t message) {
    if (!knowsLocations_) {
        knowsLocations_ = true;
        for (const emlreader::mime::Part& part : message_.parts()) {
            if (part.location().empty()) continue;
            locations_.try_emplace(keyOf(part.info().message, part.location()), part.number());
        }
    }
    const auto found = locations_.find(keyOf(message, location));
    return found == locations_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> Pictures::find(std::string_view reference, const emlreader::mime::Part& from) {
    if (reference.empty()) return std::nullopt;
    const std::optional<uint32_t> number = startsWithNoCase(reference, "cid:")
                                               ? byContentId(reference, from)
                                               : byLocation(reference, from.info().message);
    return number ? dataUrl(message_.part(*number)) : std::nullopt;
}

}  // namespace emltool
