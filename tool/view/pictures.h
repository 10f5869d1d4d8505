// The pictures of a message that its HTML refers to, as "data:" URLs.
#pragma once

#include <cstdint>
#include <emlreader/mime.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace emltool {

// The type under which browsers show a picture with this beginning: "image/png"; empty if they show none. `type` is the
// one that the message says, in lower case; it decides only about SVG, which is text.
std::string_view pictureType(std::string_view beginning, std::string_view type);

// The decoded bytes of a part; nothing if there are more than `limit`.
std::optional<std::string> smallContent(const emlreader::mime::Part& part, uint64_t limit);

// The search for a Content-ID looks at each part, so only so many different ones are looked for.
inline constexpr size_t kMaxReferences = 2000;

// All pictures of one page together may have so many characters as URLs. A page has each twice, see htmlBody.
inline constexpr uint64_t kMaxPictureCharacters = uint64_t{64} << 20;

class Pictures {
  public:
    // The message must outlive the object.
    Pictures(const emlreader::mime::Message& message, uint64_t maxPicture, uint64_t& budget)
        : message_(message), maxPicture_(maxPicture), budget_(budget) {}

    // The picture that `reference` in the part `from` means: by Content-ID, or by Content-Location.
    std::optional<std::string> find(std::string_view reference, const emlreader::mime::Part& from);

    // The part itself, if it is a picture that browsers show.
    std::optional<std::string> dataUrl(const emlreader::mime::Part& part);

    // Whether the part has been handed out.
    bool isShown(uint32_t part) const { return shown_.contains(part); }

  private:
    std::optional<uint32_t> byContentId(std::string_view reference, const emlreader::mime::Part& from);
    std::optional<uint32_t> byLocation(std::string_view location, uint32_t message);

    const emlreader::mime::Message& message_;
    uint64_t maxPicture_;
    uint64_t& budget_;                                              // characters that are left
    std::unordered_map<uint32_t, std::string> urls_;                // by part; empty for what is no picture
    std::unordered_map<std::string, std::optional<uint32_t>> ids_;  // what references have led to
    std::unordered_map<std::string, uint32_t> locations_;  // of all parts, with their message before it
    bool knowsLocations_ = false;
    std::unordered_set<uint32_t> shown_;
};

}  // namespace emltool
