#include "tool/message/header_in_utf8.h"

#include <algorithm>
#include <optional>

#include "tool/message/mime_text.h"
#include "tool/text/charset_decoder.h"
#include "tool/text/charset_guess.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

using emlreader::mime::Field;
using emlreader::mime::Message;
using emlreader::mime::Part;

// Longer headers stay as they are.
constexpr uint64_t kMaxHeader = uint64_t{1} << 20;

// With the charset of the part its fields are read by the MIME reader itself.
bool lacksCharset(const Part& part) {
    // Bytes that are not UTF-8 are a defect.
    if (part.info().defectCount == 0 || !part.charset().empty() || part.info().header.length > kMaxHeader)
        return false;
    return std::ranges::any_of(part.fields(), [](const Field& field) { return !isUtf8(field.raw()); });
}

std::optional<std::string> labelOf(const Message& message, const Part& part) {
    const std::string named = charsetOf(textParts(message, part.number()));
    if (!named.empty() && !named.starts_with("utf-") && named != "us-ascii") return named;
    std::string unknown;
    for (const Field& field : part.fields()) {
        if (!isUtf8(field.raw())) unknown += field.raw();
    }
    return guessCharset(unknown);
}

// Nothing if no charset is known, or not this one.
std::string inUtf8(const Message& message, const Part& part) {
    const std::optional<std::string> label = labelOf(message, part);
    if (!label) return "";
    std::string header;
    for (const Field& field : part.fields()) {
        std::optional<std::string> value;
        if (!isUtf8(field.raw())) value = toUtf8(field.raw(), *label);
        header += field.name() + ':' + (value ? withoutInvalidBytes(*value) : field.raw());
        if (!header.ends_with('\n')) header += "\r\n";
    }
    return header + "\r\n";
}

}  // namespace

HeaderInUtf8::HeaderInUtf8(const Message& message, uint32_t root) : part_(message.part(root)) {
    if (!lacksCharset(part_)) return;
    bytes_ = inUtf8(message, part_);
    if (bytes_.empty()) return;
    input_ = std::make_unique<emlhost::MemoryInput>(
        std::span(reinterpret_cast<const uint8_t*>(bytes_.data()), bytes_.size()));
    converted_ = std::make_unique<Message>(*input_);
    if (converted_->root().fieldCount() == part_.fieldCount()) part_ = converted_->root();
}

}  // namespace emltool
