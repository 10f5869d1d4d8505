// A message whose content lies inside a signature (application/pkcs7-mime with signed-data, RFC 8551): its header is
// outside, its parts are inside.
#pragma once

#include <cstdint>
#include <emlreader/mime.hpp>
#include <memory>
#include <string>
#include <vector>

#include "standalone/input.h"
#include "tool/message/smime.h"
#include "tool/terminal/problem.h"

namespace emltool {

// Signatures around signatures are opened to this depth.
inline constexpr size_t kMaxSignatures = 8;

class SignedMessage {
  public:
    // Reads what part `root` of `message` holds, if it is S/MIME that may be signed, and what is signed in there, up to
    // `limit` signatures. Throws what the MIME reader throws.
    SignedMessage(const emlreader::mime::Message& message, uint32_t root, size_t limit = kMaxSignatures);

    // The message inside; NULL if there is none that can be read.
    const emlreader::mime::Message* inside() const {
        return layers_.empty() ? nullptr : layers_.back()->message.get();
    }

    // How many signatures were opened.
    size_t depth() const { return layers_.size(); }

    // Whether only someone with a key can read it, going by the content where the header does not tell.
    bool isEncrypted() const { return isEncrypted_; }

    // "signed (S/MIME), not verified"; empty if the message is not protected.
    const std::string& notice() const { return notice_; }

    // Why the content cannot be read; empty if it can be, or is encrypted.
    const std::string& problem() const { return problem_; }

  private:
    // One signature, opened.
    struct Layer {
        SmimeContent content;
        std::unique_ptr<emlhost::MemoryInput> input;
        std::unique_ptr<emlreader::mime::Message> message;
    };

    bool open(const emlreader::mime::Part& part);

    size_t limit_;
    std::vector<std::unique_ptr<Layer>> layers_;
    bool isEncrypted_ = false;
    std::string notice_;
    std::string problem_;
};

// That the content cannot be read.
Warning signatureWarning(const SignedMessage& message);

}  // namespace emltool
