#include "tool/message/signed_message.h"

#include "tool/message/mime_fields.h"
#include "tool/message/part_words.h"

namespace emltool {

SignedMessage::SignedMessage(const emlreader::mime::Message& message, uint32_t root, size_t limit)
    : limit_(limit) {
    const uint32_t protection = message.part(root).protection();
    bool isSigned = open(message.part(root));
    const bool wasUnclear = protection == EML_MIME_SMIME_OTHER && !isEncrypted_;
    notice_ = protectionNotice(wasUnclear ? EML_MIME_SMIME_OPAQUE : protection);
    while (isSigned) isSigned = open(inside()->root());
    if (isEncrypted_ && !layers_.empty()) notice_ += ", encrypted inside";
}

// True if there is a message inside, which may be signed as well.
bool SignedMessage::open(const emlreader::mime::Part& part) {
    isEncrypted_ = isEncryption(part.protection());
    if (part.protection() != EML_MIME_SMIME_OPAQUE && part.protection() != EML_MIME_SMIME_OTHER) return false;
    if (part.info().body.length > 2 * kMaxSmimeSize) {
        problem_ = "it is too large to be unwrapped";
        return false;
    }
    if (layers_.size() >= limit_) {
        problem_ = "signatures inside each other, more than are opened";
        return false;
    }
    const std::string bytes = part.bytes();
    auto layer = std::make_unique<Layer>();
    layer->content = openSmime({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    const SmimeContent& content = layer->content;
    if (content.kind != SmimeKind::kUnknown) isEncrypted_ = content.kind == SmimeKind::kEnveloped;
    if (!isEncrypted_) problem_ = content.problem;
    if (content.kind != SmimeKind::kSigned || !content.problem.empty()) return false;
    layer->input = std::make_unique<emlhost::MemoryInput>(content.content);
    layer->message = std::make_unique<emlreader::mime::Message>(*layer->input);
    layers_.push_back(std::move(layer));
    return true;
}

Warning signatureWarning(const SignedMessage& message) {
    return {"smime", "what is inside the signature is left out: " + message.problem()};
}

}  // namespace emltool
