// What the body of a part with the type application/pkcs7-mime holds (RFC 8551, RFC 5652). Other people's
// code reads it, so it runs in isolation (system/isolated_work.h). Nothing is decrypted, and no signature is
// verified.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tool/message/reply_frames.h"

namespace emltool {

enum class SmimeKind : uint8_t {
    kUnknown,       // not the syntax, or a kind that mail does not have
    kSigned,        // a message and signatures
    kCertificates,  // nothing but certificates
    kEnveloped,     // encrypted
    kCompressed,
};
inline constexpr uint32_t kSmimeKinds = 5;

// What a signer's certificate says. Nobody has checked that it is theirs, or that they signed this message. UTF-8; both
// are empty if the certificate does not come with the message.
struct SmimeSigner {
    std::string name;
    std::string address;
};

struct SmimeContent {
    SmimeKind kind = SmimeKind::kUnknown;
    std::span<const uint8_t> content;  // of kSigned: a MIME entity; belongs to the SmimeContent
    std::vector<SmimeSigner> signers;  // of kSigned
    std::string problem;  // why there is no content where there should be; "kSigned" may still be true then
    std::vector<uint8_t> storage;
};

// Why the library is not there: the program has been built without it, or it cannot be loaded. Empty if it is there.
std::string smimeLack();

inline bool readsSmime() { return smimeLack().empty(); }

// The kind that the first bytes (DER or BER) name. It does not tell kCertificates from kSigned.
SmimeKind smimeKind(std::span<const uint8_t> bytes);

// The bytes themselves, or what they are in base64, with or without lines "-----BEGIN ..." and "-----END ...", if they
// begin so.
std::vector<uint8_t> withoutBase64(std::span<const uint8_t> bytes);

// Larger ones are not read.
inline constexpr uint64_t kMaxSmimeSize = uint64_t{256} << 20;

// At most this many signers are named, with so many bytes each.
inline constexpr size_t kMaxSmimeSigners = 100;
inline constexpr uint32_t kMaxSmimeText = 1024;

// How far the reading came.
enum class SmimeResult : uint32_t {
    kRead,
    kInvalid,   // it cannot be read
    kDetached,  // there are signatures, but not what they sign
    kOther,     // what is signed is no message
};
inline constexpr uint32_t kSmimeResults = 4;

// Takes what was found and writes it to the other process at once.
class SmimeSink {
  public:
    explicit SmimeSink(int descriptor) : writer_(descriptor) {}

    void signer(std::string_view name, std::string_view address);
    // Once at most.
    void content(std::span<const uint8_t> bytes);
    // Nothing follows. True if everything has been written.
    bool end(SmimeKind kind, SmimeResult result);

  private:
    ReplyWriter writer_;
};

// Reads DER or BER and returns the result of end(); runs in a process of its own.
using SmimeReader = bool (*)(std::span<const uint8_t> bytes, SmimeSink& sink);

// Reads with the library; only if readsSmime() is true.
bool readSmimeWithLibrary(std::span<const uint8_t> bytes, SmimeSink& sink);

// What `bytes` hold: DER, BER, or one of these in base64.
SmimeContent openSmime(std::span<const uint8_t> bytes, SmimeReader reader = readSmimeWithLibrary);

// The same from what a SmimeSink has written; `maxBytes` is the limit of the content.
SmimeContent parseSmimeReply(std::vector<uint8_t> reply, uint64_t maxBytes);

}  // namespace emltool
