#include "tool/message/tnef.h"

#include <emlreader/eml_host.h>

#include <algorithm>
#include <array>
#include <optional>

#include "tool/system/isolated_work.h"
#include "tool/text/charset_decoder.h"
#include "tool/text/charset_labels.h"
#include "tool/text/date_text.h"
#include "tool/text/format.h"
#include "tool/text/packed_rtf.h"
#include "tool/text/rtf_words.h"

namespace emltool {

namespace {

// A file: `flag` if its name is UTF-8, the lengths of name and type, its size. A property: its code page in `flag`, its
// number in `first`. The end: `flag` if everything was there, the code page in `first`.
constexpr uint32_t kFile = 1;
constexpr uint32_t kEnd = 2;
constexpr uint32_t kProperty = 3;
constexpr uint32_t kMaxTextLength = 4096;

constexpr std::string_view kInvalidReply = "gave an answer that makes no sense";

std::string decodedText(std::string_view text, uint32_t codePage) {
    std::optional<std::string> decoded = toUtf8(text, codePageLabel(codePage));
    return decoded ? *decoded : fromUnlabelledCharset(text, EML_CHARSET_WESTERN);
}

struct FoundFile {
    std::string_view name;
    bool nameIsUtf8;
    std::string_view type;
    std::span<const uint8_t> bytes;
};

struct FoundProperty {
    bool isThere;
    uint32_t codePage;
    std::string_view text;
};

struct Found {
    std::vector<FoundFile> files;
    std::array<FoundProperty, kTnefProperties> properties{};
    ReplyFrame end{};
};

bool readFile(const ReplyFrame& frame, ReplyPieces& pieces, uint64_t& maxBytes, Found& found) {
    if (found.files.size() == kMaxTnefFiles) return false;
    if (frame.first > kMaxTextLength || frame.second > kMaxTextLength) return false;
    FoundFile file{{}, frame.flag != 0, {}, {}};
    if (!pieces.take(frame.first, file.name) || !pieces.take(frame.second, file.type)) return false;
    // Nothing is compressed: all files stand in the TNEF, one after another.
    if (frame.size > maxBytes || !pieces.take(frame.size, file.bytes)) return false;
    maxBytes -= frame.size;
    found.files.push_back(file);
    return true;
}

bool readProperty(const ReplyFrame& frame, ReplyPieces& pieces, uint64_t& maxBytes, Found& found) {
    if (frame.first >= kTnefProperties || found.properties[frame.first].isThere) return false;
    FoundProperty& property = found.properties[frame.first];
    property = {true, frame.flag, {}};
    if (frame.size > maxBytes || !pieces.take(frame.size, property.text)) return false;
    maxBytes -= frame.size;
    return true;
}

// Reads the frames of a whole reply. False if they are invalid.
bool readFrames(std::span<const uint8_t> reply, uint64_t maxBytes, Found& found) {
    // Two bytes of UTF-16 are up to three of UTF-8.
    uint64_t maxPropertyBytes = maxBytes + maxBytes / 2;
    ReplyPieces pieces(reply);
    ReplyFrame frame{};
    while (pieces.take(frame)) {
        switch (frame.kind) {
            case kEnd:
                found.end = frame;
                return pieces.empty();
            case kFile:
                if (!readFile(frame, pieces, maxBytes, found)) return false;
                break;
            case kProperty:
                if (!readProperty(frame, pieces, maxPropertyBytes, found)) return false;
                break;
            default:
                return false;
        }
    }
    return false;
}

std::string withLineFeeds(std::string_view text) {
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r') {
            result += text[i];
        } else if (i + 1 == text.size() || text[i + 1] != '\n') {
            result += '\n';
        }
    }
    return result;
}

// A FILETIME (MS-DTYP section 2.3.3). Empty unless its year has four digits.
std::string timeText(std::string_view bytes) {
    constexpr int64_t kUnixEpoch = 11644473600;  // in seconds since 1601
    constexpr uint64_t kTicks = 10'000'000;      // of a second
    if (bytes.size() != sizeof(uint64_t)) return "";
    uint64_t ticks = 0;
    for (size_t i = bytes.size(); i-- > 0;) ticks = ticks << 8 | static_cast<uint8_t>(bytes[i]);
    return utcText(static_cast<int64_t>(ticks / kTicks) - kUnixEpoch);
}

// An address that no mail can be sent to, of a directory, only stands in for a name.
std::string senderOf(std::string name, const std::string& address) {
    if (name.empty() || name == address) return address;
    return address.find('@') == std::string::npos ? name : formatted("{} <{}>", name, address);
}

void takeProperties(const Found& found, TnefContent& content) {
    auto text = [&](TnefProperty id) {
        const FoundProperty& property = found.properties[static_cast<size_t>(id)];
        const uint32_t codePage = property.codePage == kTnefCodePage ? found.end.first : property.codePage;
        return decodedText(property.text, codePage);
    };
    content.subject = text(TnefProperty::kSubject);
    content.from = senderOf(text(TnefProperty::kSenderName), text(TnefProperty::kSenderAddress));
    content.to = text(TnefProperty::kTo);
    content.cc = text(TnefProperty::kCc);
    content.text = withLineFeeds(text(TnefProperty::kText));
    content.html = text(TnefProperty::kHtml);
    const auto bytes = [&](TnefProperty id) { return found.properties[static_cast<size_t>(id)].text; };
    content.sent = timeText(bytes(TnefProperty::kSent));
    const std::string_view packed = bytes(TnefProperty::kPackedRtf);
    if (packed.empty()) return;
    UnpackedRtf rtf = unpackRtf({reinterpret_cast<const uint8_t*>(packed.data()), packed.size()});
    content.rtf = std::move(rtf.bytes);
    if (!rtf.complete) content.problem = "its text in RTF is damaged";
}

constexpr size_t kStart = 6;  // signature and key

struct Attribute {
    uint32_t id;                     // name and type
    std::span<const uint8_t> whole;  // level, id, length, content, checksum
    std::span<const uint8_t> content;
};

// The number with the lowest byte first.
uint32_t numberAt(std::span<const uint8_t> bytes, size_t at) {
    uint32_t number = 0;
    for (size_t i = sizeof number; i-- > 0;) number = number << 8 | bytes[at + i];
    return number;
}

// The next attribute, which is taken off `rest`; nothing if there is no whole one.
std::optional<Attribute> takeAttribute(std::span<const uint8_t>& rest) {
    constexpr size_t kHeader = 9;
    constexpr size_t kChecksum = 2;
    if (rest.size() < kHeader + kChecksum) return std::nullopt;
    const uint32_t length = numberAt(rest, 5);
    if (length > rest.size() - kHeader - kChecksum) return std::nullopt;
    const Attribute attribute{numberAt(rest, 1), rest.first(kHeader + length + kChecksum),
                              rest.subspan(kHeader, length)};
    rest = rest.subspan(attribute.whole.size());
    return attribute;
}

}  // namespace

bool beginsTnef(std::span<const uint8_t> bytes) {
    constexpr uint8_t kSignature[] = {0x78, 0x9F, 0x3E, 0x22};
    return bytes.size() >= sizeof kSignature && std::equal(kSignature, std::end(kSignature), bytes.begin());
}

std::vector<uint8_t> withoutEmptyAttributes(std::span<const uint8_t> bytes, bool& breaksOff) {
    std::vector<uint8_t> kept(bytes.begin(),
                              bytes.begin() + static_cast<ptrdiff_t>(std::min(kStart, bytes.size())));
    std::span<const uint8_t> rest = bytes.subspan(kept.size());
    while (const std::optional<Attribute> attribute = takeAttribute(rest)) {
        if (!attribute->content.empty())
            kept.insert(kept.end(), attribute->whole.begin(), attribute->whole.end());
    }
    breaksOff = !rest.empty() || kept.size() < kStart;
    return kept;
}

std::span<const uint8_t> tnefAttribute(std::span<const uint8_t> bytes, uint32_t id) {
    constexpr uint8_t kMessageLevel = 1;
    std::span<const uint8_t> rest = bytes.subspan(std::min(kStart, bytes.size()));
    while (const std::optional<Attribute> attribute = takeAttribute(rest)) {
        if (attribute->whole.front() == kMessageLevel && attribute->id == id) return attribute->content;
    }
    return {};
}

void TnefSink::file(std::string_view name, bool isUtf8, std::string_view type,
                    std::span<const uint8_t> bytes) {
    name = name.substr(0, kMaxTextLength);
    type = type.substr(0, kMaxTextLength);
    writer_.put({kFile, isUtf8 ? 1U : 0U, static_cast<uint32_t>(name.size()),
                 static_cast<uint32_t>(type.size()), bytes.size()});
    writer_.put(name);
    writer_.put(type);
    writer_.put(bytes);
}

void TnefSink::property(TnefProperty property, uint32_t codePage, std::span<const uint8_t> bytes) {
    writer_.put({kProperty, codePage, static_cast<uint32_t>(property), 0, bytes.size()});
    writer_.put(bytes);
}

bool TnefSink::end(uint32_t codePage, bool complete) {
    writer_.put({kEnd, complete ? 1U : 0U, codePage, 0, 0});
    return !writer_.failed();
}

TnefContent parseTnefReply(std::vector<uint8_t> reply, uint64_t maxBytes) {
    TnefContent content;
    Found found;
    content.storage = std::move(reply);
    if (!readFrames(content.storage, maxBytes, found)) {
        content.problem = formatted("its reader {}", kInvalidReply);
        return content;
    }
    const uint32_t codePage = found.end.first;
    for (const FoundFile& file : found.files) {
        content.files.push_back({decodedText(file.name, file.nameIsUtf8 ? kUtf8CodePage : codePage),
                                 std::string(file.type), file.bytes});
    }
    takeProperties(found, content);
    const bool isThere = std::any_of(found.properties.begin(), found.properties.end(),
                                     [](const FoundProperty& property) { return property.isThere; });
    if (found.end.flag == 0) {
        content.problem =
            found.files.empty() && !isThere ? "nothing in it can be read" : "its end cannot be read";
    }
    return content;
}

TnefContent unpackTnef(std::span<const uint8_t> bytes, TnefReader reader) {
    if (reader == readTnefWithLibrary) readsTnef();  // loads it: the other process can open no file
    // The library holds each file up to three times. For a file of one byte, a TNEF has more bytes than a
    // frame.
    IsolationLimits limits{4 * bytes.size() + (uint64_t{64} << 20), 10, std::chrono::minutes(2),
                           4 * bytes.size() + (size_t{1} << 20)};
    IsolatedReply reply = workIsolated(
        [&](int descriptor) {
            TnefSink sink(descriptor);
            return reader(bytes, sink);
        },
        limits);
    if (reply.done()) return parseTnefReply(std::move(reply.bytes), bytes.size());
    TnefContent content;
    content.problem = formatted("its reader {}", reply.failure);
    return content;
}

}  // namespace emltool
