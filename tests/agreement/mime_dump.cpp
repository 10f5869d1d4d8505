// Prints what the MIME reader finds in messages, through its public interface: one path from standard input, one
// line of JSON to standard output. README.md describes the line.
#include <emlreader/eml_mime.h>

#include <cstdio>
#include <cstring>
#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "standalone/heap.h"
#include "standalone/input.h"
#include "standalone/mime_charsets.h"
#include "standalone/output.h"

namespace {

using Bytes = std::span<const uint8_t>;

// --- JSON ---

std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (const char character : text) {
        const auto byte = static_cast<uint8_t>(character);
        if (byte == '"' || byte == '\\') {
            result += '\\';
            result += character;
        } else if (byte < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", byte);
            result += escape;
        } else {
            result += character;
        }
    }
    return result += '"';
}

std::string json(const EmlMimeText& text) {
    return text.text == nullptr ? "null" : quoted({text.text, text.length});
}

std::string base64(Bytes bytes) {
    constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string result;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t count = bytes.size() - i < 3 ? bytes.size() - i : 3;
        uint32_t group = 0;
        for (size_t k = 0; k < 3; ++k) group = group << 8 | (k < count ? bytes[i + k] : 0u);
        for (size_t k = 0; k < 4; ++k) {
            result += k <= count ? kAlphabet[group >> (18 - 6 * k) & 63] : '=';
        }
    }
    return result;
}

// --- One message ---

// An embedded message in base64 or quoted-printable is opened as a caller does: from its extracted bytes.
constexpr uint32_t kMaxEmbedded = 8;

class Dump {
  public:
    Dump(EmlIOobj* input, std::string prefix, uint32_t depth) : prefix_(std::move(prefix)), depth_(depth) {
        EmlMimeOptions options = {};
        options.recordSize = sizeof options;
        options.convert = emlhost::mimeConvert();
        EmlResult result = EML_OK;
        context_ = emlMimeOpen(input, heap_.allocator(), &options, &result);
        done(result, "emlMimeOpen");
    }

    ~Dump() { emlMimeClose(context_); }

    Dump(const Dump&) = delete;
    Dump& operator=(const Dump&) = delete;

    std::string message() {
        if (context_ == nullptr) return "{\"error\":" + quoted(failure_) + "}";
        std::string line = "{\"parts\":[" + parts() + "]";
        line += ",\"subject\":" + subject();
        for (const char* name : {"from", "to", "cc"}) {
            line += ",\"" + std::string(name) + "\":[" + addresses(name) + "]";
        }
        line += ",\"date\":" + date();
        line += ",\"text\":" + body("plain", EML_MIME_ROLE_TEXT_BODY);
        line += ",\"html\":" + body("html", EML_MIME_ROLE_HTML_BODY);
        close();
        return failure_.empty() ? line + "}" : "{\"error\":" + quoted(failure_) + "}";
    }

    std::string parts() {
        std::string list;
        for (uint32_t number = 0; context_ != nullptr && number < emlMimePartCount(context_); ++number) {
            const EmlMimePart record = part(number);
            if (!list.empty()) list += ',';
            list += partLine(number, record);
        }
        return list;
    }

    const std::string& failure() const { return failure_; }

  private:
    bool done(EmlResult result, const char* what) {
        if (result != EML_OK && failure_.empty())
            failure_ = std::string(what) + ": " + std::to_string(result);
        return result == EML_OK;
    }

    void close() {
        emlMimeClose(context_);
        context_ = nullptr;
        if (heap_.counts().liveBlocks != 0 && failure_.empty()) failure_ = "blocks are left";
    }

    EmlMimePart part(uint32_t number) {
        EmlMimePart record = {};
        done(emlMimeGetPart(context_, number, &record, sizeof record), "emlMimeGetPart");
        return record;
    }

    std::string path(const EmlMimePart& record) {
        if (record.parent == EML_MIME_NONE) return prefix_.empty() ? "" : prefix_ + "0";
        std::string result = std::to_string(record.ordinal);
        for (EmlMimePart up = part(record.parent); up.parent != EML_MIME_NONE && failure_.empty();
             up = part(up.parent)) {
            result = std::to_string(up.ordinal) + "." + result;
        }
        return prefix_ + result;
    }

    Bytes content(uint32_t number, uint32_t form, uint32_t& flags) {
        EmlMimeContent found = {};
        done(emlMimeExtract(context_, number, form, output_.object(), &found), "emlMimeExtract");
        if (found.size != output_.bytes().size()) failure_ = "the content has another size than it says";
        flags = found.flags;
        return output_.bytes();
    }

    std::string partLine(uint32_t number, const EmlMimePart& record) {
        const std::string type = std::string(record.type.text, record.type.length) + "/" +
                                 std::string(record.subtype.text, record.subtype.length);
        const std::string place = path(record);
        std::string line = "{\"path\":" + quoted(place) + ",\"type\":" + quoted(type);
        line += ",\"name\":" + json(record.name) + ",\"disposition\":" + json(record.disposition);
        line += ",\"cid\":" + json(record.contentId);
        const bool opened = (record.flags & EML_MIME_PART_MULTIPART) != 0 && record.childCount != 0;
        if ((record.roles & EML_MIME_ROLE_ATTACHMENT) == 0) line += ",\"body\":true";
        if (opened || (record.flags & EML_MIME_PART_MESSAGE) != 0) line += ",\"container\":true";
        uint32_t flags = 0;
        const Bytes bytes = content(number, EML_MIME_DECODED, flags);
        line += ",\"data\":\"" + base64(bytes) + "\"}";
        if ((record.flags & EML_MIME_PART_ENCODED_MESSAGE) != 0 && depth_ < kMaxEmbedded) {
            emlhost::MemoryInput input(bytes);
            Dump inside(input.object(), place + ".", depth_ + 1);
            const std::string found = inside.parts();
            if (!found.empty()) line += "," + found;
            if (failure_.empty()) failure_ = inside.failure();
        }
        return line;
    }
    // The first field with this name from `index` on, which moves to it.
    bool find(const char* name, uint32_t& index) {
        uint32_t found = EML_MIME_NONE;
        if (!done(emlMimeFindField(context_, 0, name, index, &found), "emlMimeFindField")) return false;
        index = found;
        return found != EML_MIME_NONE;
    }

    std::string subject() {
        uint32_t index = 0;
        EmlMimeText text = {};
        if (!find("subject", index)) return "null";
        done(emlMimeFieldText(context_, 0, index, &text), "emlMimeFieldText");
        return json(text);
    }

    std::string addresses(const char* name) {
        std::string list;
        for (uint32_t index = 0; find(name, index); ++index) {
            const EmlMimeAddress* entries = nullptr;
            uint32_t count = 0;
            done(emlMimeFieldAddresses(context_, 0, index, &entries, &count), "emlMimeFieldAddresses");
            for (uint32_t i = 0; i < count; ++i) {
                if (!list.empty()) list += ',';
                list += "[" + json(entries[i].name) + "," + json(entries[i].address) + "]";
            }
        }
        return list;
    }

    std::string date() {
        uint32_t index = 0;
        EmlMimeDate found = {};
        if (!find("date", index)) return "null";
        done(emlMimeFieldDate(context_, 0, index, &found), "emlMimeFieldDate");
        if ((found.flags & EML_MIME_DATE_VALID) == 0) return "null";
        const bool zone = (found.flags & EML_MIME_DATE_NO_ZONE) == 0;
        return "[" + std::to_string(found.seconds) + "," +
               (zone ? std::to_string(found.zoneMinutes) : std::string("null")) + "]";
    }

    // The bodies of this type and role of the message itself, each on lines of its own.
    std::string body(std::string_view subtype, uint32_t role) {
        std::string text;
        for (uint32_t number = 0; number < emlMimePartCount(context_); ++number) {
            const EmlMimePart record = part(number);
            if (record.message != 0 || (record.roles & role) == 0) continue;
            if (std::string_view(record.type.text, record.type.length) != "text") continue;
            if (std::string_view(record.subtype.text, record.subtype.length) != subtype) continue;
            uint32_t flags = 0;
            const Bytes bytes = content(number, EML_MIME_TEXT, flags);
            const bool raw = (flags & EML_MIME_TEXT_NOT_CONVERTED) != 0;
            for (const uint8_t byte : bytes) {
                if (raw && byte >= 0x80) {
                    text += "\xEF\xBF\xBD";
                } else {
                    text += static_cast<char>(byte);
                }
            }
            text += '\n';
        }
        return text.empty() ? "null" : quoted(text);
    }

    std::string prefix_;
    uint32_t depth_;
    emlhost::CountingHeap heap_;
    emlhost::MemoryOutput output_;
    std::string failure_;
    EmlMimeContext* context_ = nullptr;
};

std::string dump(const std::string& path) {
    std::error_code error;
    const auto input = emlhost::openInput(path, error);
    if (input == nullptr) return "{\"error\":" + quoted(error.message()) + "}";
    return Dump(input->object(), "", 0).message();
}

}  // namespace

int main() {
    for (std::string path; std::getline(std::cin, path);) std::cout << dump(path) << std::endl;
}
