// S/MIME as libcrypto reads it, if the program is built with it. It runs in a process of its own, and its results are
// checked. No key, certificate or file is needed, for nothing is decrypted or verified.
#include "tool/message/smime.h"

#ifdef EML_WITH_SMIME

#include <openssl/cms.h>
#include <openssl/crypto.h>
#include <openssl/pkcs7.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <climits>
#include <memory>

namespace emltool {

namespace {

using Bytes = std::span<const uint8_t>;

// More certificates are not searched for a signer's.
constexpr int kMaxCertificates = 1000;

struct Deleter {
    void operator()(CMS_ContentInfo* cms) const { ::CMS_ContentInfo_free(cms); }
    void operator()(PKCS7* pkcs7) const { ::PKCS7_free(pkcs7); }
    void operator()(unsigned char* text) const { OPENSSL_free(text); }
    void operator()(STACK_OF(X509) * certificates) const { sk_X509_pop_free(certificates, ::X509_free); }
    void operator()(STACK_OF(OPENSSL_STRING) * texts) const { ::X509_email_free(texts); }
};
template <class T>
using Owned = std::unique_ptr<T, Deleter>;

Bytes bytesOf(const ASN1_OCTET_STRING& text) {
    return {::ASN1_STRING_get0_data(&text), static_cast<size_t>(std::max(::ASN1_STRING_length(&text), 0))};
}

std::string commonName(const X509& certificate) {
    const X509_NAME* subject = ::X509_get_subject_name(&certificate);
    const int at = ::X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
    if (at < 0) return "";
    unsigned char* utf8 = nullptr;
    const int length =
        ::ASN1_STRING_to_UTF8(&utf8, ::X509_NAME_ENTRY_get_data(::X509_NAME_get_entry(subject, at)));
    if (length < 0) return "";
    const Owned<unsigned char> owner(utf8);
    return {reinterpret_cast<const char*>(utf8), static_cast<size_t>(length)};
}

// `certificate` is NULL if the message does not have it.
void putSigner(X509* certificate, SmimeSink& sink) {
    if (certificate == nullptr) return sink.signer("", "");
    const Owned<STACK_OF(OPENSSL_STRING)> addresses(::X509_get1_email(certificate));
    const bool hasAddress = addresses != nullptr && sk_OPENSSL_STRING_num(addresses.get()) > 0;
    sink.signer(commonName(*certificate), hasAddress ? sk_OPENSSL_STRING_value(addresses.get(), 0) : "");
}

X509* certificateOf(CMS_SignerInfo* signer, const STACK_OF(X509) * certificates) {
    const int count = certificates == nullptr ? 0 : std::min(sk_X509_num(certificates), kMaxCertificates);
    for (int i = 0; i < count; ++i) {
        X509* certificate = sk_X509_value(certificates, i);
        if (::CMS_SignerInfo_cert_cmp(signer, certificate) == 0) return certificate;
    }
    return nullptr;
}

bool readSigned(CMS_ContentInfo* cms, SmimeSink& sink) {
    const Owned<STACK_OF(X509)> certificates(::CMS_get1_certs(cms));
    STACK_OF(CMS_SignerInfo)* signers = ::CMS_get0_SignerInfos(cms);
    const int signerCount = std::max(sk_CMS_SignerInfo_num(signers), 0);
    ASN1_OCTET_STRING** content = ::CMS_get0_content(cms);
    const bool hasContent = content != nullptr && *content != nullptr;
    if (!hasContent && signerCount == 0) return sink.end(SmimeKind::kCertificates, SmimeResult::kRead);
    for (int i = 0; i < std::min(signerCount, static_cast<int>(kMaxSmimeSigners)); ++i) {
        putSigner(certificateOf(sk_CMS_SignerInfo_value(signers, i), certificates.get()), sink);
    }
    if (::OBJ_obj2nid(::CMS_get0_eContentType(cms)) != NID_pkcs7_data) {
        return sink.end(SmimeKind::kSigned, SmimeResult::kOther);
    }
    if (!hasContent) return sink.end(SmimeKind::kSigned, SmimeResult::kDetached);
    sink.content(bytesOf(**content));
    return sink.end(SmimeKind::kSigned, SmimeResult::kRead);
}

// PKCS #7 may hold a signed message where CMS has the bytes of one.
bool readPkcs7(Bytes bytes, SmimeSink& sink) {
    const unsigned char* at = bytes.data();
    const Owned<PKCS7> owner(::d2i_PKCS7(nullptr, &at, static_cast<long>(bytes.size())));
    const PKCS7* content = owner.get();
    // libcrypto bounds the depth when it reads.
    while (content != nullptr && PKCS7_type_is_signed(content) && content->d.sign != nullptr) {
        const PKCS7_SIGNED& outer = *content->d.sign;
        const int signerCount = std::max(sk_PKCS7_SIGNER_INFO_num(outer.signer_info), 0);
        if (content == owner.get()) {
            for (int i = 0; i < std::min(signerCount, static_cast<int>(kMaxSmimeSigners)); ++i) {
                const PKCS7_ISSUER_AND_SERIAL* id =
                    sk_PKCS7_SIGNER_INFO_value(outer.signer_info, i)->issuer_and_serial;
                putSigner(::X509_find_by_issuer_and_serial(outer.cert, id->issuer, id->serial), sink);
            }
        }
        content = outer.contents;
    }
    if (content == nullptr || content == owner.get())
        return sink.end(SmimeKind::kUnknown, SmimeResult::kInvalid);
    if (!PKCS7_type_is_data(content)) return sink.end(SmimeKind::kSigned, SmimeResult::kOther);
    if (content->d.data == nullptr) return sink.end(SmimeKind::kSigned, SmimeResult::kDetached);
    sink.content(bytesOf(*content->d.data));
    return sink.end(SmimeKind::kSigned, SmimeResult::kRead);
}

}  // namespace

bool readsSmime() { return true; }

bool readSmimeWithLibrary(Bytes bytes, SmimeSink& sink) {
    // No configuration: it would be a file.
    const uint64_t options = OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_ATEXIT;
    if (::OPENSSL_init_crypto(options, nullptr) != 1 || bytes.size() > static_cast<size_t>(LONG_MAX))
        return false;
    const unsigned char* at = bytes.data();
    const Owned<CMS_ContentInfo> cms(::d2i_CMS_ContentInfo(nullptr, &at, static_cast<long>(bytes.size())));
    if (!cms) return readPkcs7(bytes, sink);
    if (::OBJ_obj2nid(::CMS_get0_type(cms.get())) == NID_pkcs7_signed) return readSigned(cms.get(), sink);
    return sink.end(smimeKind(bytes), SmimeResult::kRead);
}

}  // namespace emltool

#else

namespace emltool {

bool readsSmime() { return false; }

bool readSmimeWithLibrary(std::span<const uint8_t>, SmimeSink&) { return false; }

}  // namespace emltool

#endif
