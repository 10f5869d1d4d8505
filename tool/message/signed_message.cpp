#include "tool/message/signed_message.h"

#include "tool/message/mime_fields.h"

namespace emltool {

SignedMessage::SignedMessage(const emlreader::mime::Message& message, uint32_t root)
    : isEncrypted_(isEncryption(message.part(root).protection())) {
    const emlreader::mime::Part part = message.part(root);
    if (part.protection() != EML_MIME_SMIME_OPAQUE && part.protection() != EML_MIME_SMIME_OTHER) return;
    if (part.info().body.length > 2 * kMaxSmimeSize) {
        content_.problem = "it is too large to be unwrapped";
        return;
    }
    const std::string bytes = part.bytes();
    content_ = openSmime({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    const bool isKnown = content_.kind != SmimeKind::kUnknown;
    if (isKnown) isEncrypted_ = content_.kind == SmimeKind::kEnveloped;
    if (isEncrypted_) content_.problem.clear();
    if (content_.kind != SmimeKind::kSigned || !content_.problem.empty()) return;
    input_ = std::make_unique<emlhost::MemoryInput>(content_.content);
    inside_ = std::make_unique<emlreader::mime::Message>(*input_);
}

}  // namespace emltool
