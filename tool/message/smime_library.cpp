// S/MIME as libcrypto reads it, if the program is built with it. It runs in a process of its own, and its results are
// checked. No key, certificate or file is needed, for nothing is decrypted or verified.
#include "tool/message/smime.h"

#ifdef EML_WITH_CRYPTO

#include <openssl/cms.h>
#include <openssl/crypto.h>
#include <openssl/pkcs7.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <string>

#include "tool/loading/shared_library.h"

namespace emltool {

namespace {

using Bytes = std::span<const uint8_t>;

// What is used of libcrypto. The macros of its headers call it by name, so they cannot be used.
#define EML_CRYPTO_FUNCTIONS(X)       \
    X(ASN1_STRING_get0_data)          \
    X(ASN1_STRING_length)             \
    X(ASN1_STRING_to_UTF8)            \
    X(CMS_ContentInfo_free)           \
    X(CMS_SignerInfo_cert_cmp)        \
    X(CMS_get0_SignerInfos)           \
    X(CMS_get0_content)               \
    X(CMS_get0_eContentType)          \
    X(CMS_get0_type)                  \
    X(CMS_get1_certs)                 \
    X(CRYPTO_free)                    \
    X(OBJ_obj2nid)                    \
    X(OPENSSL_init_crypto)            \
    X(OPENSSL_sk_free)                \
    X(OPENSSL_sk_num)                 \
    X(OPENSSL_sk_value)               \
    X(PKCS7_free)                     \
    X(X509_NAME_ENTRY_get_data)       \
    X(X509_NAME_get_entry)            \
    X(X509_NAME_get_index_by_NID)     \
    X(X509_email_free)                \
    X(X509_find_by_issuer_and_serial) \
    X(X509_free)                      \
    X(X509_get1_email)                \
    X(X509_get_subject_name)          \
    X(d2i_CMS_ContentInfo)            \
    X(d2i_PKCS7)

struct Library {
// NOLINTNEXTLINE(bugprone-macro-parentheses): the name of a member stands without
#define EML_DECLARE(name) decltype(::name)* name = nullptr;
    EML_CRYPTO_FUNCTIONS(EML_DECLARE)
#undef EML_DECLARE
    bool isLoaded = false;

    Library() {
        SharedLibrary file(EML_CRYPTO_LIBRARY);
#define EML_FIND(name) file.get(name, #name);
        EML_CRYPTO_FUNCTIONS(EML_FIND)
#undef EML_FIND
        isLoaded = file.isComplete();
    }
};

// Loaded by smimeLack(), before there is a process that can open no file.
const Library& crypto() {
    static const Library loaded;
    return loaded;
}

// Stacks of any type are one type to the library.
template <class Stack>
int countOf(const Stack* stack) {
    return crypto().OPENSSL_sk_num(reinterpret_cast<const OPENSSL_STACK*>(stack));
}

template <class T, class Stack>
T* itemAt(const Stack* stack, int index) {
    return static_cast<T*>(crypto().OPENSSL_sk_value(reinterpret_cast<const OPENSSL_STACK*>(stack), index));
}

bool isOfType(const PKCS7& content, int type) { return crypto().OBJ_obj2nid(content.type) == type; }

// More certificates are not searched for a signer's.
constexpr int kMaxCertificates = 1000;

struct Deleter {
    void operator()(CMS_ContentInfo* cms) const { crypto().CMS_ContentInfo_free(cms); }
    void operator()(PKCS7* pkcs7) const { crypto().PKCS7_free(pkcs7); }
    void operator()(unsigned char* text) const { crypto().CRYPTO_free(text, __FILE__, __LINE__); }
    void operator()(STACK_OF(X509) * certificates) const {
        for (int i = 0; i < countOf(certificates); ++i) crypto().X509_free(itemAt<X509>(certificates, i));
        crypto().OPENSSL_sk_free(reinterpret_cast<OPENSSL_STACK*>(certificates));
    }
    void operator()(STACK_OF(OPENSSL_STRING) * texts) const { crypto().X509_email_free(texts); }
};
template <class T>
using Owned = std::unique_ptr<T, Deleter>;

Bytes bytesOf(const ASN1_OCTET_STRING& text) {
    return {crypto().ASN1_STRING_get0_data(&text),
            static_cast<size_t>(std::max(crypto().ASN1_STRING_length(&text), 0))};
}

std::string commonName(const X509& certificate) {
    const X509_NAME* subject = crypto().X509_get_subject_name(&certificate);
    const int at = crypto().X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
    if (at < 0) return "";
    unsigned char* utf8 = nullptr;
    const int length = crypto().ASN1_STRING_to_UTF8(
        &utf8, crypto().X509_NAME_ENTRY_get_data(crypto().X509_NAME_get_entry(subject, at)));
    if (length < 0) return "";
    const Owned<unsigned char> owner(utf8);
    return {reinterpret_cast<const char*>(utf8), static_cast<size_t>(length)};
}

// `certificate` is NULL if the message does not have it.
void putSigner(X509* certificate, SmimeSink& sink) {
    if (certificate == nullptr) return sink.signer("", "");
    const Owned<STACK_OF(OPENSSL_STRING)> addresses(crypto().X509_get1_email(certificate));
    const bool hasAddress = addresses != nullptr && countOf(addresses.get()) > 0;
    sink.signer(commonName(*certificate), hasAddress ? itemAt<char>(addresses.get(), 0) : "");
}

X509* certificateOf(CMS_SignerInfo* signer, const STACK_OF(X509) * certificates) {
    const int count = certificates == nullptr ? 0 : std::min(countOf(certificates), kMaxCertificates);
    for (int i = 0; i < count; ++i) {
        X509* certificate = itemAt<X509>(certificates, i);
        if (crypto().CMS_SignerInfo_cert_cmp(signer, certificate) == 0) return certificate;
    }
    return nullptr;
}

bool readSigned(CMS_ContentInfo* cms, SmimeSink& sink) {
    const Owned<STACK_OF(X509)> certificates(crypto().CMS_get1_certs(cms));
    STACK_OF(CMS_SignerInfo)* signers = crypto().CMS_get0_SignerInfos(cms);
    const int signerCount = std::max(countOf(signers), 0);
    ASN1_OCTET_STRING** content = crypto().CMS_get0_content(cms);
    const bool hasContent = content != nullptr && *content != nullptr;
    if (!hasContent && signerCount == 0) return sink.end(SmimeKind::kCertificates, SmimeResult::kRead);
    for (int i = 0; i < std::min(signerCount, static_cast<int>(kMaxSmimeSigners)); ++i) {
        putSigner(certificateOf(itemAt<CMS_SignerInfo>(signers, i), certificates.get()), sink);
    }
    if (crypto().OBJ_obj2nid(crypto().CMS_get0_eContentType(cms)) != NID_pkcs7_data) {
        return sink.end(SmimeKind::kSigned, SmimeResult::kOther);
    }
    if (!hasContent) return sink.end(SmimeKind::kSigned, SmimeResult::kDetached);
    sink.content(bytesOf(**content));
    return sink.end(SmimeKind::kSigned, SmimeResult::kRead);
}

// PKCS #7 may hold a signed message where CMS has the bytes of one.
bool readPkcs7(Bytes bytes, SmimeSink& sink) {
    const unsigned char* at = bytes.data();
    const Owned<PKCS7> owner(crypto().d2i_PKCS7(nullptr, &at, static_cast<long>(bytes.size())));
    const PKCS7* content = owner.get();
    // libcrypto bounds the depth when it reads.
    while (content != nullptr && isOfType(*content, NID_pkcs7_signed) && content->d.sign != nullptr) {
        const PKCS7_SIGNED& outer = *content->d.sign;
        const int signerCount = std::max(countOf(outer.signer_info), 0);
        if (content == owner.get()) {
            for (int i = 0; i < std::min(signerCount, static_cast<int>(kMaxSmimeSigners)); ++i) {
                const PKCS7_ISSUER_AND_SERIAL* id =
                    itemAt<PKCS7_SIGNER_INFO>(outer.signer_info, i)->issuer_and_serial;
                putSigner(crypto().X509_find_by_issuer_and_serial(outer.cert, id->issuer, id->serial), sink);
            }
        }
        content = outer.contents;
    }
    if (content == nullptr || content == owner.get())
        return sink.end(SmimeKind::kUnknown, SmimeResult::kInvalid);
    if (!isOfType(*content, NID_pkcs7_data)) return sink.end(SmimeKind::kSigned, SmimeResult::kOther);
    if (content->d.data == nullptr) return sink.end(SmimeKind::kSigned, SmimeResult::kDetached);
    sink.content(bytesOf(*content->d.data));
    return sink.end(SmimeKind::kSigned, SmimeResult::kRead);
}

}  // namespace

std::string smimeLack() {
    return crypto().isLoaded ? "" : "run without " EML_CRYPTO_LIBRARY ", which cannot be loaded";
}

bool readSmimeWithLibrary(Bytes bytes, SmimeSink& sink) {
    if (!crypto().isLoaded) return false;
    // No configuration: it would be a file.
    const uint64_t options = OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_ATEXIT;
    if (crypto().OPENSSL_init_crypto(options, nullptr) != 1 || bytes.size() > static_cast<size_t>(LONG_MAX))
        return false;
    const unsigned char* at = bytes.data();
    const Owned<CMS_ContentInfo> cms(
        crypto().d2i_CMS_ContentInfo(nullptr, &at, static_cast<long>(bytes.size())));
    if (!cms) return readPkcs7(bytes, sink);
    if (crypto().OBJ_obj2nid(crypto().CMS_get0_type(cms.get())) == NID_pkcs7_signed)
        return readSigned(cms.get(), sink);
    return sink.end(smimeKind(bytes), SmimeResult::kRead);
}

}  // namespace emltool

#else

namespace emltool {

std::string smimeLack() { return "built without libcrypto"; }

bool readSmimeWithLibrary(std::span<const uint8_t>, SmimeSink&) { return false; }

}  // namespace emltool

#endif
