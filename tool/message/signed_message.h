// A message whose content lies inside a signature (application/pkcs7-mime with signed-data, RFC 8551): its header is
// outside, its parts are inside.
#pragma once

#include <cstdint>
#include <emlreader/mime.hpp>
#include <memory>
#include <string>

#include "standalone/input.h"
#include "tool/message/smime.h"

namespace emltool {

class SignedMessage {
  public:
    // Reads what part `root` of `message` holds, if it is S/MIME that may be signed. Throws what the MIME reader throws.
    SignedMessage(const emlreader::mime::Message& message, uint32_t root);

    // The message inside; NULL if there is none that can be read.
    const emlreader::mime::Message* inside() const { return inside_.get(); }

    // Whether it is encrypted, going by the content where the header does not tell.
    bool isEncrypted() const { return isEncrypted_; }

    // Why there is nothing inside that can be read; empty if there is, or need not be.
    const std::string& problem() const { return content_.problem; }

  private:
    SmimeContent content_;
    std::unique_ptr<emlhost::MemoryInput> input_;
    std::unique_ptr<emlreader::mime::Message> inside_;
    bool isEncrypted_;
};

}  // namespace emltool
