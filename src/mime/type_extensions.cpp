#include "mime/type_extensions.h"

#include <array>

namespace eml {

namespace {

struct Extension {
    std::string_view type;
    std::string_view subtype;
    std::string_view extension;
};

constexpr std::array kExtensions = std::to_array<Extension>({
    {"text", "plain", "txt"},
    {"text", "html", "html"},
    {"text", "calendar", "ics"},
    {"text", "csv", "csv"},
    {"text", "css", "css"},
    {"text", "directory", "vcf"},
    {"text", "vcard", "vcf"},
    {"text", "x-vcard", "vcf"},
    {"text", "xml", "xml"},
    {"text", "markdown", "md"},
    {"text", "rtf", "rtf"},
    {"text", "enriched", "txt"},
    {"text", "x-amp-html", "html"},
    {"text", "javascript", "js"},
    {"text", "rfc822-headers", "txt"},
    {"message", "rfc822", "eml"},
    {"message", "global", "eml"},
    {"message", "news", "eml"},
    {"message", "delivery-status", "txt"},
    {"message", "global-delivery-status", "txt"},
    {"message", "disposition-notification", "txt"},
    {"message", "feedback-report", "txt"},
    {"image", "jpeg", "jpg"},
    {"image", "jpg", "jpg"},
    {"image", "pjpeg", "jpg"},
    {"image", "png", "png"},
    {"image", "x-png", "png"},
    {"image", "gif", "gif"},
    {"image", "svg+xml", "svg"},
    {"image", "tiff", "tif"},
    {"image", "webp", "webp"},
    {"image", "bmp", "bmp"},
    {"image", "heic", "heic"},
    {"image", "avif", "avif"},
    {"image", "x-icon", "ico"},
    {"image", "vnd.microsoft.icon", "ico"},
    {"audio", "mpeg", "mp3"},
    {"audio", "mp3", "mp3"},
    {"audio", "mp4", "m4a"},
    {"audio", "x-m4a", "m4a"},
    {"audio", "wav", "wav"},
    {"audio", "x-wav", "wav"},
    {"audio", "ogg", "ogg"},
    {"audio", "basic", "au"},
    {"audio", "amr", "amr"},
    {"video", "mp4", "mp4"},
    {"video", "mpeg", "mpg"},
    {"video", "quicktime", "mov"},
    {"video", "webm", "webm"},
    {"video", "x-msvideo", "avi"},
    {"application", "pdf", "pdf"},
    {"application", "x-pdf", "pdf"},
    {"application", "rtf", "rtf"},
    {"application", "json", "json"},
    {"application", "xml", "xml"},
    {"application", "ics", "ics"},
    {"application", "zip", "zip"},
    {"application", "x-zip-compressed", "zip"},
    {"application", "gzip", "gz"},
    {"application", "x-gzip", "gz"},
    {"application", "x-tar", "tar"},
    {"application", "x-7z-compressed", "7z"},
    {"application", "msword", "doc"},
    {"application", "vnd.ms-excel", "xls"},
    {"application", "vnd.ms-powerpoint", "ppt"},
    {"application", "vnd.ms-outlook", "msg"},
    {"application", "vnd.openxmlformats-officedocument.wordprocessingml.document", "docx"},
    {"application", "vnd.openxmlformats-officedocument.spreadsheetml.sheet", "xlsx"},
    {"application", "vnd.openxmlformats-officedocument.presentationml.presentation", "pptx"},
    {"application", "vnd.oasis.opendocument.text", "odt"},
    {"application", "vnd.oasis.opendocument.spreadsheet", "ods"},
    {"application", "vnd.oasis.opendocument.presentation", "odp"},
    {"application", "postscript", "ps"},
    {"application", "ms-tnef", "dat"},
    {"application", "vnd.ms-tnef", "dat"},
    {"application", "pkcs7-mime", "p7m"},
    {"application", "x-pkcs7-mime", "p7m"},
    {"application", "pkcs7-signature", "p7s"},
    {"application", "x-pkcs7-signature", "p7s"},
    {"application", "pgp-signature", "asc"},
    {"application", "pgp-encrypted", "asc"},
    {"application", "pgp-keys", "asc"},
    {"application", "javascript", "js"},
    {"application", "x-javascript", "js"},
    {"application", "mac-binhex40", "hqx"},
    {"application", "epub+zip", "epub"},
});

}  // namespace

std::string_view extensionOf(std::string_view type, std::string_view subtype) {
    for (const Extension& row : kExtensions) {
        if (row.type == type && row.subtype == subtype) return row.extension;
    }
    if (type == "text" || type == "multipart") return "txt";
    return "bin";
}

}  // namespace eml
