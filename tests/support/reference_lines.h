// The reference model's reading of header lines. Every line is a text that was cut at its first zero byte.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "support/reference_scan.h"

namespace eml::test {

enum ReferenceClass : uint32_t {
    kText = 0,
    kHtml = 1,
    kRtf = 2,
    kEncrypted = 3,
    kSignature = 4,
    kMessage = 5,
    kAlternative = 6,
    kRelated = 7,
    kSigned = 8,
    kMultipart = 9
};

[[nodiscard]] inline bool isMultipartClass(uint32_t contentClass) {
    return contentClass >= kAlternative && contentClass <= kMultipart;
}

// Moves behind `literal`, which is in lower case, when the text begins with it in any case.
bool acceptNoCase(std::string_view& text, std::string_view literal);

// The message's own header, line by line.
class ReferenceTopHeader {
  public:
    explicit ReferenceTopHeader(ReferenceMessage& message) : out_(message) {}

    void line(std::string_view text);

    // The name that the header gives the message itself.
    [[nodiscard]] const std::optional<std::string>& name() const { return topName_; }

  private:
    void takeBoundary(std::string_view text);
    void takeName(std::string_view text);
    void continuation(std::string_view text);
    void contentType(std::string_view text);

    ReferenceMessage& out_;
    bool dispositionSeen_ = false;
    std::optional<std::string> topName_;
};

// A line of a part's header.
void referencePartLine(ReferenceSection& section, std::string_view text);

}  // namespace eml::test
