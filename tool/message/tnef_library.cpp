// TNEF as libytnef reads it, if the program is built with it. Everything here may crash: it runs in a process
// of its own, with nothing to lose, and its results are checked.
#include "tool/message/tnef.h"

#ifdef EML_WITH_TNEF

#include <cstdio>  // ytnef.h expects FILE to be declared
extern "C" {
#include <ytnef.h>
}

#include <algorithm>
#include <climits>

namespace emltool {

namespace {

constexpr uint32_t kDisplayName = 0x3001;
constexpr uint32_t kData = 0x3701;
constexpr uint32_t kShortName = 0x3704;
constexpr uint32_t kLongName = 0x3707;
constexpr uint32_t kType = 0x370E;

constexpr uint32_t kObject = 0x000D;
constexpr uint32_t kAnsi = 0x001E;
constexpr uint32_t kUnicode = 0x001F;  // the library has made UTF-8 of it
constexpr uint32_t kBinary = 0x0102;

using Bytes = std::span<const uint8_t>;

Bytes bytesOf(const variableLength& value) {
    if (value.data == nullptr || value.size <= 0) return {};
    return {value.data, static_cast<size_t>(value.size)};
}

Bytes property(MAPIProps& properties, uint32_t id, uint32_t type) {
    const variableLength* value = ::MAPIFindProperty(&properties, id << 16 | type);
    return value == MAPI_UNDEFINED || value == nullptr ? Bytes{} : bytesOf(*value);
}

// The text up to the zero byte; anything may follow it.
std::string_view textOf(Bytes bytes) {
    const auto* text = reinterpret_cast<const char*>(bytes.data());
    return {text, static_cast<size_t>(std::find(bytes.begin(), bytes.end(), 0) - bytes.begin())};
}

struct Name {
    std::string_view text;
    bool isUtf8;
};

Name nameOf(MAPIProps& properties, uint32_t id) {
    std::string_view unicode = textOf(property(properties, id, kUnicode));
    if (!unicode.empty()) return {unicode, true};
    return {textOf(property(properties, id, kAnsi)), false};
}

// The name that the sender saw comes before one that was cut to eight letters.
Name nameOf(Attachment& attachment) {
    Name name = nameOf(attachment.MAPI, kLongName);
    if (name.text.empty()) name = {textOf(bytesOf(attachment.Title)), false};
    if (name.text.empty()) name = nameOf(attachment.MAPI, kShortName);
    if (name.text.empty()) name = nameOf(attachment.MAPI, kDisplayName);
    return name;
}

// An object begins with the 16 bytes that say how to talk to it. After them, an embedded message is TNEF
// itself.
Bytes contentOf(Attachment& attachment) {
    constexpr size_t kInterface = 16;
    Bytes object = property(attachment.MAPI, kData, kObject);
    object = object.subspan(std::min(kInterface, object.size()));
    if (beginsTnef(object)) return object;
    Bytes file = bytesOf(attachment.FileData);
    if (!file.empty()) return file;
    Bytes binary = property(attachment.MAPI, kData, kBinary);
    return binary.empty() ? object : binary;
}

uint32_t codePageOf(const TNEFStruct& tnef) {
    Bytes bytes = bytesOf(tnef.CodePage);
    uint32_t codePage = 0;
    if (bytes.size() < sizeof codePage) return codePage;
    for (size_t i = sizeof codePage; i-- > 0;) codePage = codePage << 8 | bytes[i];
    return codePage;
}

}  // namespace

bool readsTnef() { return true; }

bool readTnefWithLibrary(std::span<const uint8_t> bytes, TnefSink& sink) {
    if (bytes.size() > static_cast<size_t>(LONG_MAX)) return false;
    bool breaksOff = false;
    std::vector<uint8_t> kept = withoutEmptyAttributes(bytes, breaksOff);
    TNEFStruct tnef;
    ::TNEFInitialize(&tnef);
    bool read = ::TNEFParseMemory(kept.data(), static_cast<long>(kept.size()), &tnef) >= 0;
    bool complete = read && !breaksOff;
    size_t left = kMaxTnefFiles;
    // The first entry of the list stands for the message.
    for (Attachment* attachment = tnef.starting_attach.next; attachment != nullptr;
         attachment = attachment->next) {
        Name name = nameOf(*attachment);
        Bytes content = contentOf(*attachment);
        if (name.text.empty() && content.empty()) continue;
        if (left-- == 0) return sink.end(codePageOf(tnef), false);
        sink.file(name.text, name.isUtf8, textOf(property(attachment->MAPI, kType, kAnsi)), content);
    }
    return sink.end(codePageOf(tnef), complete);
}

}  // namespace emltool

#else

namespace emltool {

bool readsTnef() { return false; }

bool readTnefWithLibrary(std::span<const uint8_t>, TnefSink& sink) { return sink.end(0, true); }

}  // namespace emltool

#endif
