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

#include "tool/loading/shared_library.h"

namespace emltool {

namespace {

// Properties of the message
constexpr uint32_t kSubject = 0x0037;
constexpr uint32_t kSubmitTime = 0x0039;
constexpr uint32_t kRepresentedName = 0x0042;
constexpr uint32_t kRepresentedAddress = 0x0065;
constexpr uint32_t kSenderName = 0x0C1A;
constexpr uint32_t kSenderAddress = 0x0C1F;
constexpr uint32_t kDisplayCc = 0x0E03;
constexpr uint32_t kDisplayTo = 0x0E04;
constexpr uint32_t kBody = 0x1000;
constexpr uint32_t kPackedRtf = 0x1009;
constexpr uint32_t kHtml = 0x1013;
constexpr uint32_t kInternetCodePage = 0x3FDE;
constexpr uint32_t kSenderSmtpAddress = 0x5D01;
constexpr uint32_t kRepresentedSmtpAddress = 0x5D02;

// Attributes of the message, for what older writers have outside of the properties
constexpr uint32_t kFromAttribute = 0x00008000;
constexpr uint32_t kSubjectAttribute = 0x00018004;
constexpr uint32_t kBodyAttribute = 0x0002800C;

// Of an attachment
constexpr uint32_t kDisplayName = 0x3001;
constexpr uint32_t kData = 0x3701;
constexpr uint32_t kShortName = 0x3704;
constexpr uint32_t kLongName = 0x3707;
constexpr uint32_t kType = 0x370E;

// Types
constexpr uint32_t kLong = 0x0003;
constexpr uint32_t kObject = 0x000D;
constexpr uint32_t kAnsi = 0x001E;
constexpr uint32_t kUnicode = 0x001F;  // the library has made UTF-8 of it
constexpr uint32_t kTime = 0x0040;
constexpr uint32_t kBinary = 0x0102;

using Bytes = std::span<const uint8_t>;

struct Library {
    decltype(::TNEFInitialize)* initialize = nullptr;
    decltype(::TNEFParseMemory)* parse = nullptr;
    decltype(::MAPIFindProperty)* find = nullptr;
    bool isLoaded = false;

    Library() {
        isLoaded = SharedLibrary(EML_TNEF_LIBRARY)
                       .get(initialize, "TNEFInitialize")
                       .get(parse, "TNEFParseMemory")
                       .get(find, "MAPIFindProperty")
                       .isComplete();
    }
};

// Loaded by tnefLack(), before there is a process that can open no file.
const Library& library() {
    static const Library loaded;
    return loaded;
}

Bytes bytesOf(const variableLength& value) {
    if (value.data == nullptr || value.size <= 0) return {};
    return {value.data, static_cast<size_t>(value.size)};
}

Bytes property(MAPIProps& properties, uint32_t id, uint32_t type) {
    const variableLength* value = library().find(&properties, id << 16 | type);
    return value == MAPI_UNDEFINED || value == nullptr ? Bytes{} : bytesOf(*value);
}

// The text up to the zero byte; anything may follow it.
std::string_view textOf(Bytes bytes) {
    const auto* text = reinterpret_cast<const char*>(bytes.data());
    return {text, static_cast<size_t>(std::find(bytes.begin(), bytes.end(), 0) - bytes.begin())};
}

struct Name {
    std::string_view text;
    bool isUtf8 = false;
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

// The number with the lowest byte first; 0 if there is none.
uint32_t numberOf(Bytes bytes) {
    uint32_t number = 0;
    if (bytes.size() < sizeof number) return number;
    for (size_t i = sizeof number; i-- > 0;) number = number << 8 | bytes[i];
    return number;
}

uint32_t codePageOf(const TNEFStruct& tnef) { return numberOf(bytesOf(tnef.CodePage)); }

void putText(TnefProperty property, Name text, TnefSink& sink) {
    if (text.text.empty()) return;
    sink.property(property, text.isUtf8 ? kUtf8CodePage : kTnefCodePage,
                  {reinterpret_cast<const uint8_t*>(text.text.data()), text.text.size()});
}

// The property, or else what the TNEF has outside of the properties.
void putText(TnefProperty property, MAPIProps& properties, uint32_t id, Bytes other, TnefSink& sink) {
    Name text = nameOf(properties, id);
    if (text.text.empty()) text = {textOf(other), false};
    putText(property, text, sink);
}

struct Sender {
    Name name;
    Name address;

    bool isThere() const { return !name.text.empty() || !address.text.empty(); }
};

Sender senderOf(MAPIProps& properties, uint32_t name, uint32_t smtpAddress, uint32_t address) {
    Sender sender{nameOf(properties, name), nameOf(properties, smtpAddress)};
    if (sender.address.text.empty()) sender.address = nameOf(properties, address);
    return sender;
}

// Outside of the properties: four numbers of two bytes, of which the last two are the lengths of the name and of
// the address, then these. The address begins with its kind: "SMTP:".
Sender senderOf(Bytes triple) {
    constexpr size_t kNumbers = 8;
    constexpr std::string_view kSmtp = "SMTP:";
    if (triple.size() < kNumbers) return {};
    const size_t nameLength = triple[4] | size_t{triple[5]} << 8;
    const size_t addressLength = triple[6] | size_t{triple[7]} << 8;
    triple = triple.subspan(kNumbers);
    if (nameLength > triple.size() || addressLength > triple.size() - nameLength) return {};
    std::string_view address = textOf(triple.subspan(nameLength, addressLength));
    if (address.starts_with(kSmtp)) address.remove_prefix(kSmtp.size());
    return {{textOf(triple.first(nameLength)), false}, {address, false}};
}

// Whom the message is from, before who sent it for them.
void putSender(TNEFStruct& tnef, Bytes bytes, TnefSink& sink) {
    MAPIProps& message = tnef.MapiProperties;
    Sender sender = senderOf(message, kRepresentedName, kRepresentedSmtpAddress, kRepresentedAddress);
    if (!sender.isThere()) sender = senderOf(message, kSenderName, kSenderSmtpAddress, kSenderAddress);
    if (!sender.isThere()) sender = senderOf(tnefAttribute(bytes, kFromAttribute));
    putText(TnefProperty::kSenderName, sender.name, sink);
    putText(TnefProperty::kSenderAddress, sender.address, sink);
}

void putHtml(MAPIProps& properties, TnefSink& sink) {
    Bytes html = property(properties, kHtml, kBinary);
    if (html.empty()) return putText(TnefProperty::kHtml, nameOf(properties, kHtml), sink);
    while (!html.empty() && html.back() == 0) html = html.first(html.size() - 1);
    sink.property(TnefProperty::kHtml, numberOf(property(properties, kInternetCodePage, kLong)), html);
}

void putProperties(TNEFStruct& tnef, Bytes bytes, TnefSink& sink) {
    MAPIProps& message = tnef.MapiProperties;
    putText(TnefProperty::kSubject, message, kSubject, tnefAttribute(bytes, kSubjectAttribute), sink);
    putSender(tnef, bytes, sink);
    putText(TnefProperty::kTo, message, kDisplayTo, {}, sink);
    putText(TnefProperty::kCc, message, kDisplayCc, {}, sink);
    putText(TnefProperty::kText, message, kBody, tnefAttribute(bytes, kBodyAttribute), sink);
    putHtml(message, sink);
    const Bytes packed = property(message, kPackedRtf, kBinary);
    if (!packed.empty()) sink.property(TnefProperty::kPackedRtf, 0, packed);
    const Bytes sent = property(message, kSubmitTime, kTime);
    if (!sent.empty()) sink.property(TnefProperty::kSent, 0, sent);
}

}  // namespace

std::string tnefLack() {
    return library().isLoaded ? "" : "run without " EML_TNEF_LIBRARY ", which cannot be loaded";
}

bool readTnefWithLibrary(std::span<const uint8_t> bytes, TnefSink& sink) {
    if (!library().isLoaded || bytes.size() > static_cast<size_t>(LONG_MAX)) return false;
    bool breaksOff = false;
    std::vector<uint8_t> kept = withoutEmptyAttributes(bytes, breaksOff);
    TNEFStruct tnef{};  // the library does not set all of it
    library().initialize(&tnef);
    bool read = library().parse(kept.data(), static_cast<long>(kept.size()), &tnef) >= 0;
    bool complete = read && !breaksOff;
    putProperties(tnef, kept, sink);
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

std::string tnefLack() { return "built without libytnef"; }

bool readTnefWithLibrary(std::span<const uint8_t>, TnefSink& sink) { return sink.end(0, true); }

}  // namespace emltool

#endif
