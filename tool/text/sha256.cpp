#include "tool/text/sha256.h"

#include <stdexcept>
#include <vector>

#ifdef EML_WITH_CRYPTO

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "tool/loading/shared_library.h"

namespace emltool {

namespace {

#define EML_DIGEST_FUNCTIONS(X) \
    X(EVP_DigestFinal_ex)       \
    X(EVP_DigestInit_ex2)       \
    X(EVP_DigestUpdate)         \
    X(EVP_MD_CTX_free)          \
    X(EVP_MD_CTX_new)           \
    X(EVP_MD_fetch)             \
    X(OPENSSL_init_crypto)

struct Library {
// NOLINTNEXTLINE(bugprone-macro-parentheses): the name of a member stands without
#define EML_DECLARE(name) decltype(::name)* name = nullptr;
    EML_DIGEST_FUNCTIONS(EML_DECLARE)
#undef EML_DECLARE
    const EVP_MD* algorithm = nullptr;

    Library() {
        SharedLibrary file(EML_CRYPTO_LIBRARY);
#define EML_FIND(name) file.get(name, #name);
        EML_DIGEST_FUNCTIONS(EML_FIND)
#undef EML_FIND
        // No configuration: it would be a file.
        const uint64_t options = OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_ATEXIT;
        if (!file.isComplete() || OPENSSL_init_crypto(options, nullptr) != 1) return;
        algorithm = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    }
};

const Library& crypto() {
    static const Library loaded;
    return loaded;
}

using Context = std::unique_ptr<EVP_MD_CTX, Sha256::Deleter>;

constexpr size_t kMaxSpares = 4;

// Contexts that no object has: making one takes as long as the digest of a path.
std::vector<Context>& spares() {
    static std::vector<Context> contexts = [] {
        std::vector<Context> none;
        none.reserve(kMaxSpares);
        return none;
    }();
    return contexts;
}

}  // namespace

std::string sha256Lack() {
    return crypto().algorithm != nullptr ? "" : "run without " EML_CRYPTO_LIBRARY ", which cannot be used";
}

void Sha256::Deleter::operator()(evp_md_ctx_st* context) const { crypto().EVP_MD_CTX_free(context); }

Sha256::Sha256() {
    if (!hasSha256()) throw std::runtime_error("SHA-256: " + sha256Lack());
    if (spares().empty()) {
        context_.reset(crypto().EVP_MD_CTX_new());
        if (context_ == nullptr) throw std::bad_alloc();
    } else {
        context_ = std::move(spares().back());
        spares().pop_back();
    }
    restart();
}

Sha256::~Sha256() {
    if (spares().size() < kMaxSpares) spares().push_back(std::move(context_));
}

void Sha256::restart() noexcept {
    isGood_ = crypto().EVP_DigestInit_ex2(context_.get(), crypto().algorithm, nullptr) == 1;
}

void Sha256::update(std::span<const uint8_t> bytes) noexcept {
    isGood_ = isGood_ && crypto().EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) == 1;
}

Sha256::Digest Sha256::finish() {
    Digest digest{};
    isGood_ = isGood_ && crypto().EVP_DigestFinal_ex(context_.get(), digest.data(), nullptr) == 1;
    if (!isGood_) throw std::runtime_error("SHA-256: the library has failed");
    restart();
    return digest;
}

}  // namespace emltool

#else

namespace emltool {

std::string sha256Lack() { return "built without libcrypto"; }

void Sha256::Deleter::operator()(evp_md_ctx_st*) const {}

Sha256::Sha256() { throw std::runtime_error("SHA-256: " + sha256Lack()); }

Sha256::~Sha256() = default;

void Sha256::restart() noexcept { isGood_ = false; }

void Sha256::update(std::span<const uint8_t>) noexcept { isGood_ = false; }

Sha256::Digest Sha256::finish() { return {}; }

}  // namespace emltool

#endif

namespace emltool {

Sha256::Digest Sha256::of(std::string_view text) {
    Sha256 hash;
    hash.update({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    return hash.finish();
}

std::string hexText(const Sha256::Digest& digest) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * digest.size());
    for (uint8_t byte : digest) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

}  // namespace emltool
