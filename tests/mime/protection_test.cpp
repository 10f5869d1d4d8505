#include "mime/protection.h"

#include <gtest/gtest.h>

#include <string>

#include "support/recording_host.h"

namespace {

using namespace std::string_literals;

struct TypeRow {
    const char* type;
    const char* subtype;
    const char* parameters;
    uint32_t protection;
};

const TypeRow kTypes[] = {
    // RFC 8551 section 3.5.3.3 and RFC 3156 section 5
    {"multipart", "signed", "; protocol=\"application/pkcs7-signature\"; micalg=sha-256; boundary=b",
     EML_MIME_SMIME_SIGNED},
    {"multipart", "signed", "; protocol=application/pkcs7-signature", EML_MIME_SMIME_SIGNED},
    {"multipart", "signed", "; PROTOCOL=\"Application/X-PKCS7-Signature\"", EML_MIME_SMIME_SIGNED},
    {"multipart", "signed", "; boundary=b;\r\n protocol=\" application/pkcs7-signature \"",
     EML_MIME_SMIME_SIGNED},
    {"multipart", "signed", "; protocol=\"application/pgp-signature\"", EML_MIME_PGP_SIGNED},
    {"multipart", "signed", "; micalg=pgp-sha1; protocol=application/pgp-signature", EML_MIME_PGP_SIGNED},
    {"multipart", "signed", "; protocol=\"application/foo\"", EML_MIME_SIGNED_OTHER},
    {"multipart", "signed", "; boundary=b", EML_MIME_SIGNED_OTHER},
    {"multipart", "signed", "", EML_MIME_SIGNED_OTHER},
    // RFC 3156 section 4
    {"multipart", "encrypted", "; protocol=\"application/pgp-encrypted\"", EML_MIME_PGP_ENCRYPTED},
    {"multipart", "encrypted", "; protocol=application/pgp-encrypted", EML_MIME_PGP_ENCRYPTED},
    {"multipart", "encrypted", "; protocol=\"APPLICATION/PGP-ENCRYPTED\"", EML_MIME_PGP_ENCRYPTED},
    {"multipart", "encrypted", "; protocol=\"application/pgp-signature\"", EML_MIME_ENCRYPTED_OTHER},
    {"multipart", "encrypted", "", EML_MIME_ENCRYPTED_OTHER},
    {"multipart", "mixed", "; protocol=\"application/pgp-encrypted\"", EML_MIME_PROTECTION_NONE},
    // RFC 8551 section 3.2.2
    {"application", "pkcs7-mime", "; smime-type=enveloped-data; name=smime.p7m", EML_MIME_SMIME_ENVELOPED},
    {"application", "pkcs7-mime", "; smime-type=\"Enveloped-Data\"", EML_MIME_SMIME_ENVELOPED},
    {"application", "pkcs7-mime", "; SMIME-TYPE=authEnveloped-data", EML_MIME_SMIME_ENVELOPED},
    {"application", "x-pkcs7-mime", "; smime-type=signed-data", EML_MIME_SMIME_OPAQUE},
    {"application", "pkcs7-mime", "; smime-type=compressed-data", EML_MIME_SMIME_COMPRESSED},
    {"application", "pkcs7-mime", "; smime-type=certs-only; name=smime.p7c", EML_MIME_SMIME_CERTS},
    {"application", "pkcs7-mime", "; smime-type=other", EML_MIME_SMIME_OTHER},
    {"application", "pkcs7-mime", "; name=smime.p7m", EML_MIME_SMIME_OTHER},
    {"application", "x-pkcs7-mime", "", EML_MIME_SMIME_OTHER},
    {"application", "pkcs7-signature", "; name=smime.p7s", EML_MIME_PROTECTION_NONE},
    {"application", "pgp-encrypted", "", EML_MIME_PROTECTION_NONE},
    // RFC 8551 section 3.2.1: the extension tells where the type does not
    {"application", "octet-stream", "; name=smime.p7m", EML_MIME_SMIME_OTHER},
    {"application", "octet-stream", "; name=\"SMIME.P7M\"", EML_MIME_SMIME_OTHER},
    {"application", "octet-stream", "; name=certs.p7c", EML_MIME_SMIME_CERTS},
    {"application", "octet-stream", "; name=smime.p7z", EML_MIME_SMIME_COMPRESSED},
    {"application", "octet-stream", "; name=smime.p7s", EML_MIME_PROTECTION_NONE},
    {"application", "octet-stream", "; name=p7m", EML_MIME_PROTECTION_NONE},
    {"application", "octet-stream", "", EML_MIME_PROTECTION_NONE},
    {"application", "pdf", "; name=smime.p7m", EML_MIME_PROTECTION_NONE},
    {"text", "plain", "; smime-type=signed-data", EML_MIME_PROTECTION_NONE},
};

TEST(Protection, OfContentTypes) {
    eml::test::RecordingHost host;
    eml::GrowingBuffer buffer{};
    eml::TextBuilder scratch(host.services().allocator, buffer);
    scratch.append("kept");
    for (const TypeRow& row : kTypes) {
        EXPECT_EQ(eml::protectionOf(row.type, row.subtype, row.parameters, {nullptr, {}}, scratch),
                  row.protection)
            << row.type << "/" << row.subtype << row.parameters;
        EXPECT_EQ(scratch.since(0), "kept");
    }
    buffer.release(host.services().allocator);
}

const std::string kPkcs7 = "\x2A\x86\x48\x86\xF7\x0D\x01\x07"s;
const std::string kSmimeCt = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x01"s;

// ContentInfo with this identifier, the lengths as `sequence` has them.
std::string contentInfo(const std::string& sequence, const std::string& identifier,
                        const std::string& rest = "") {
    return sequence + "\x06" + static_cast<char>(identifier.size()) + identifier + rest;
}

struct CmsRow {
    const char* rule;
    std::string bytes;
    uint32_t protection;
};

// SignedData up to its certificates: version 1, no digest algorithms, no content.
const std::string kNoSigners = "\xA0\x80\x30\x80\x02\x01\x01\x31\x00\x30\x0B\x06\x09"s + kPkcs7 + "\x01";

const CmsRow kCms[] = {
    {"signed-data, short length", contentInfo("\x30\x20", kPkcs7 + "\x02"), EML_MIME_SMIME_OPAQUE},
    {"signed-data, long length", contentInfo("\x30\x82\x10\x20", kPkcs7 + "\x02"), EML_MIME_SMIME_OPAQUE},
    {"signed-data, indefinite length", contentInfo("\x30\x80", kPkcs7 + "\x02"), EML_MIME_SMIME_OPAQUE},
    {"a length with zeros before it", contentInfo("\x30\x84\x00\x00\x10\x20"s, kPkcs7 + "\x02"),
     EML_MIME_SMIME_OPAQUE},
    {"a length of eight bytes", contentInfo("\x30\x88\x00\x00\x00\x00\x00\x00\x10\x20"s, kPkcs7 + "\x02"),
     EML_MIME_SMIME_OPAQUE},
    {"a length of nine bytes", contentInfo("\x30\x89\x00\x00\x00\x00\x00\x00\x00\x10\x20"s, kPkcs7 + "\x02"),
     EML_MIME_SMIME_OTHER},
    {"enveloped-data", contentInfo("\x30\x80", kPkcs7 + "\x03"), EML_MIME_SMIME_ENVELOPED},
    {"encrypted-data", contentInfo("\x30\x80", kPkcs7 + "\x06"), EML_MIME_SMIME_ENVELOPED},
    {"authenticated-enveloped-data", contentInfo("\x30\x80", kSmimeCt + "\x17"), EML_MIME_SMIME_ENVELOPED},
    {"compressed-data", contentInfo("\x30\x80", kSmimeCt + "\x09"), EML_MIME_SMIME_COMPRESSED},
    {"data", contentInfo("\x30\x80", kPkcs7 + "\x01"), EML_MIME_SMIME_OTHER},
    {"digested-data", contentInfo("\x30\x80", kPkcs7 + "\x05"), EML_MIME_SMIME_OTHER},
    {"signed-data without signers", contentInfo("\x30\x80", kPkcs7 + "\x02", kNoSigners),
     EML_MIME_SMIME_CERTS},
    {"signed-data with a signer",
     contentInfo("\x30\x80", kPkcs7 + "\x02", "\xA0\x80\x30\x80\x02\x01\x01\x31\x02\x05\x00\x30\x0B"s),
     EML_MIME_SMIME_OPAQUE},
    {"signed-data without algorithms and with content",
     contentInfo("\x30\x80", kPkcs7 + "\x02",
                 "\xA0\x80\x30\x80\x02\x01\x01\x31\x00\x30\x80\x06\x09"s + kPkcs7 + "\x01"),
     EML_MIME_SMIME_OPAQUE},
    {"no sequence", contentInfo("\x31\x20", kPkcs7 + "\x02"), EML_MIME_SMIME_OTHER},
    {"a longer identifier", contentInfo("\x30\x20", kPkcs7 + "\x02\x01"), EML_MIME_SMIME_OTHER},
    {"text", "-----BEGIN PKCS7-----", EML_MIME_SMIME_OTHER},
    {"nothing", "", EML_MIME_SMIME_OTHER},
};

TEST(Protection, OfCmsObjects) {
    for (const CmsRow& row : kCms) {
        EXPECT_EQ(eml::protectionOfCms(row.bytes), row.protection) << row.rule;
        // In a block of exactly that size, cut off at every byte.
        for (size_t size = 0; size < row.bytes.size(); ++size) {
            const std::vector<char> cut(row.bytes.begin(), row.bytes.begin() + static_cast<ptrdiff_t>(size));
            const uint32_t protection = eml::protectionOfCms({cut.data(), cut.size()});
            EXPECT_TRUE(protection == EML_MIME_SMIME_OTHER || protection == row.protection ||
                        (protection == EML_MIME_SMIME_OPAQUE && row.protection == EML_MIME_SMIME_CERTS))
                << row.rule << " " << size;
        }
    }
}

TEST(Protection, OfLines) {
    struct Row {
        const char* line;
        uint32_t protection;
    };
    const Row rows[] = {
        {"-----BEGIN PGP MESSAGE-----", EML_MIME_PGP_INLINE_ENCRYPTED},
        {"-----BEGIN PGP MESSAGE-----  ", EML_MIME_PGP_INLINE_ENCRYPTED},
        {"-----BEGIN PGP MESSAGE, PART 1/3-----", EML_MIME_PGP_INLINE_ENCRYPTED},
        {"-----BEGIN PGP SIGNED MESSAGE-----", EML_MIME_PGP_INLINE_SIGNED},
        {"-----BEGIN PGP SIGNED MESSAGE-----\t", EML_MIME_PGP_INLINE_SIGNED},
        {"-----BEGIN PGP SIGNATURE-----", EML_MIME_PROTECTION_NONE},
        {"-----BEGIN PGP PUBLIC KEY BLOCK-----", EML_MIME_PROTECTION_NONE},
        {"-----END PGP MESSAGE-----", EML_MIME_PROTECTION_NONE},
        {"-----BEGIN PGP MESSAGE", EML_MIME_PROTECTION_NONE},
        {"-----BEGIN PGP MESSAGE----- x", EML_MIME_PROTECTION_NONE},
        {"> -----BEGIN PGP MESSAGE-----", EML_MIME_PROTECTION_NONE},
        {"-----BEGIN PGP ", EML_MIME_PROTECTION_NONE},
        {"", EML_MIME_PROTECTION_NONE},
    };
    for (const Row& row : rows) EXPECT_EQ(eml::protectionOfLine(row.line), row.protection) << row.line;
}

}  // namespace
