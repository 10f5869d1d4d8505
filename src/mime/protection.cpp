#include "mime/protection.h"

#include <algorithm>
#include <array>
#include <optional>

#include "bytes/ascii.h"
#include "bytes/subtext.h"
#include "mime/parameters.h"

namespace eml {

namespace {

bool equalsNoCase(std::string_view text, std::string_view lower) {
    return text.size() == lower.size() &&
           equalNoCase(reinterpret_cast<const uint8_t*>(text.data()), lower.data(), lower.size());
}

bool endsWithNoCase(std::string_view text, std::string_view lower) {
    return text.size() >= lower.size() && equalsNoCase(subtext(text, text.size() - lower.size()), lower);
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const size_t start = std::min(text.find_first_not_of(kBlanks), text.size());
    text.remove_prefix(start);
    return subtext(text, 0, text.find_last_not_of(kBlanks) + 1);
}

struct Named {
    std::string_view name;  // lower case
    uint32_t protection;
};

template <size_t Count>
uint32_t find(const std::array<Named, Count>& table, std::string_view name, uint32_t otherwise) {
    for (const Named& row : table) {
        if (equalsNoCase(name, row.name)) return row.protection;
    }
    return otherwise;
}

constexpr std::array<Named, 3> kSignedProtocols = {{
    {"application/pkcs7-signature", EML_MIME_SMIME_SIGNED},
    {"application/x-pkcs7-signature", EML_MIME_SMIME_SIGNED},
    {"application/pgp-signature", EML_MIME_PGP_SIGNED},
}};

constexpr std::array<Named, 1> kEncryptedProtocols = {{
    {"application/pgp-encrypted", EML_MIME_PGP_ENCRYPTED},
}};

// RFC 8551 section 3.2.2.
constexpr std::array<Named, 6> kSmimeTypes = {{
    {"signed-data", EML_MIME_SMIME_OPAQUE},
    {"enveloped-data", EML_MIME_SMIME_ENVELOPED},
    {"authenveloped-data", EML_MIME_SMIME_ENVELOPED},
    {"compressed-data", EML_MIME_SMIME_COMPRESSED},
    {"certs-only", EML_MIME_SMIME_CERTS},
    {"signed-receipt", EML_MIME_SMIME_OPAQUE},
}};

// RFC 8551 section 3.2.1: extensions, for a type that says nothing.
constexpr std::array<Named, 3> kExtensions = {{
    {".p7m", EML_MIME_SMIME_OTHER},
    {".p7c", EML_MIME_SMIME_CERTS},
    {".p7z", EML_MIME_SMIME_COMPRESSED},
}};

// Looks a parameter up in a table; `scratch` is as before afterwards.
template <size_t Count>
uint32_t protectionOfParameter(const std::array<Named, Count>& table, std::string_view name,
                               uint32_t otherwise, std::string_view parameters, const HeaderText& how,
                               TextBuilder& scratch) {
    const uint32_t start = scratch.length();
    uint32_t problems = 0;
    uint32_t protection = otherwise;
    if (appendParameter(parameters, name, how, scratch, problems)) {
        protection = find(table, trimmed(scratch.since(start)), otherwise);
    }
    scratch.truncate(start);
    return protection;
}

uint32_t protectionOfName(std::string_view parameters, const HeaderText& how, TextBuilder& scratch) {
    const uint32_t start = scratch.length();
    uint32_t problems = 0;
    uint32_t protection = EML_MIME_PROTECTION_NONE;
    if (appendParameter(parameters, "name", how, scratch, problems)) {
        const std::string_view name = trimmed(scratch.since(start));
        for (const Named& row : kExtensions) {
            if (endsWithNoCase(name, row.name)) protection = row.protection;
        }
    }
    scratch.truncate(start);
    return protection;
}

}  // namespace

uint32_t protectionOf(std::string_view type, std::string_view subtype, std::string_view parameters,
                      const HeaderText& how, TextBuilder& scratch) {
    if (type == "multipart" && subtype == "signed") {
        return protectionOfParameter(kSignedProtocols, "protocol", EML_MIME_SIGNED_OTHER, parameters, how,
                                     scratch);
    }
    if (type == "multipart" && subtype == "encrypted") {
        return protectionOfParameter(kEncryptedProtocols, "protocol", EML_MIME_ENCRYPTED_OTHER, parameters,
                                     how, scratch);
    }
    if (type != "application") return EML_MIME_PROTECTION_NONE;
    if (subtype == "pkcs7-mime" || subtype == "x-pkcs7-mime") {
        return protectionOfParameter(kSmimeTypes, "smime-type", EML_MIME_SMIME_OTHER, parameters, how,
                                     scratch);
    }
    if (subtype == "octet-stream") return protectionOfName(parameters, how, scratch);
    return EML_MIME_PROTECTION_NONE;
}

uint32_t protectionOfLine(std::string_view line) {
    constexpr std::string_view kBegin = "-----BEGIN PGP ";
    if (!line.starts_with(kBegin)) return EML_MIME_PROTECTION_NONE;
    line = trimmed(subtext(line, kBegin.size()));
    if (!line.ends_with("-----")) return EML_MIME_PROTECTION_NONE;
    if (line == "SIGNED MESSAGE-----") return EML_MIME_PGP_INLINE_SIGNED;
    // "MESSAGE, PART 1/3-----" is one of several (RFC 4880 section 6.2).
    if (line == "MESSAGE-----" || line.starts_with("MESSAGE, PART ")) return EML_MIME_PGP_INLINE_ENCRYPTED;
    return EML_MIME_PROTECTION_NONE;
}

}  // namespace eml
