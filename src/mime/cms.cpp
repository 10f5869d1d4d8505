// The first bytes of a CMS object (RFC 5652): ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, ... }.
#include <array>
#include <cstdint>
#include <optional>

#include "bytes/subtext.h"
#include "mime/protection.h"

namespace eml {

namespace {

constexpr uint8_t kInteger = 0x02;
constexpr uint8_t kObjectIdentifier = 0x06;
constexpr uint8_t kSequence = 0x30;
constexpr uint8_t kSet = 0x31;
constexpr uint8_t kExplicit0 = 0xA0;

// Walks the elements of DER or BER. What is cut off or is none ends the walk.
class DerWalk {
  public:
    explicit DerWalk(std::string_view bytes) : rest_(bytes) {}

    // Goes into the element with this tag: what follows are its contents. Its end is not looked for. The length,
    // if it has one.
    [[nodiscard]] bool enter(uint8_t tag, std::optional<uint64_t>& length) {
        if (rest_.size() < 2 || byteAt(0) != tag) return false;
        const uint8_t first = byteAt(1);
        length = first;
        size_t header = 2;
        if (first == 0x80) {
            length.reset();
        } else if (first > 0x80) {
            const size_t count = first & 0x7FU;
            if (count > sizeof(uint64_t) || rest_.size() < header + count) return false;
            uint64_t value = 0;
            for (size_t i = 0; i < count; ++i) value = value << 8 | byteAt(header + i);
            length = value;
            header += count;
        }
        rest_.remove_prefix(header);
        return true;
    }

    [[nodiscard]] bool enter(uint8_t tag) {
        std::optional<uint64_t> length;
        return enter(tag, length);
    }

    // The contents of a primitive element, which stands whole.
    [[nodiscard]] std::optional<std::string_view> take(uint8_t tag) {
        std::optional<uint64_t> length;
        if (!enter(tag, length) || !length.has_value() || *length > rest_.size()) return std::nullopt;
        const std::string_view contents = subtext(rest_, 0, static_cast<size_t>(*length));
        rest_.remove_prefix(contents.size());
        return contents;
    }

  private:
    [[nodiscard]] uint8_t byteAt(size_t place) const { return static_cast<uint8_t>(rest_[place]); }

    std::string_view rest_;
};

struct ContentType {
    std::string_view identifier;
    uint32_t protection;
};

constexpr std::string_view kData = "\x2A\x86\x48\x86\xF7\x0D\x01\x07\x01";
constexpr std::array<ContentType, 5> kContentTypes = {{
    {"\x2A\x86\x48\x86\xF7\x0D\x01\x07\x02", EML_MIME_SMIME_OPAQUE},              // id-signedData
    {"\x2A\x86\x48\x86\xF7\x0D\x01\x07\x03", EML_MIME_SMIME_ENVELOPED},           // id-envelopedData
    {"\x2A\x86\x48\x86\xF7\x0D\x01\x07\x06", EML_MIME_SMIME_ENVELOPED},           // id-encryptedData
    {"\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x01\x09", EML_MIME_SMIME_COMPRESSED},  // id-ct-compressedData
    {"\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x01\x17", EML_MIME_SMIME_ENVELOPED},   // id-ct-authEnvelopedData
}};

// SignedData without digest algorithms and without content: it carries certificates only.
bool holdsCertificatesOnly(DerWalk walk) {
    if (!walk.enter(kExplicit0) || !walk.enter(kSequence) || !walk.take(kInteger).has_value()) return false;
    const std::optional<std::string_view> algorithms = walk.take(kSet);
    std::optional<uint64_t> length;
    if (!algorithms.has_value() || !algorithms->empty() || !walk.enter(kSequence, length)) return false;
    constexpr size_t kHeader = 2;
    return length == kHeader + kData.size() && walk.take(kObjectIdentifier) == kData;
}

}  // namespace

uint32_t protectionOfCms(std::string_view bytes) {
    DerWalk walk(bytes);
    if (!walk.enter(kSequence)) return EML_MIME_SMIME_OTHER;
    const std::optional<std::string_view> identifier = walk.take(kObjectIdentifier);
    if (!identifier.has_value()) return EML_MIME_SMIME_OTHER;
    for (const ContentType& type : kContentTypes) {
        if (*identifier != type.identifier) continue;
        if (type.protection == EML_MIME_SMIME_OPAQUE && holdsCertificatesOnly(walk))
            return EML_MIME_SMIME_CERTS;
        return type.protection;
    }
    return EML_MIME_SMIME_OTHER;
}

}  // namespace eml
