#include "tool/message/smime.h"

#include <algorithm>
#include <array>

#include "tool/system/isolated_work.h"
#include "tool/text/format.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

using Bytes = std::span<const uint8_t>;

// A signer: the lengths of name and address. The content: its size. The end: the kind in `first`, the result in
// `second`.
constexpr uint32_t kSigner = 1;
constexpr uint32_t kContent = 2;
constexpr uint32_t kEnd = 3;

constexpr std::string_view kInvalidReply = "its reader gave an answer that makes no sense";
constexpr std::string_view kUnreadable = "it is damaged, cut off, or not S/MIME";

struct KnownType {
    SmimeKind kind;
    std::string_view objectIdentifier;  // its content octets
};

constexpr std::array<KnownType, 6> kTypes = {{
    {SmimeKind::kSigned, "\x2A\x86\x48\x86\xF7\x0D\x01\x07\x02"},
    {SmimeKind::kEnveloped, "\x2A\x86\x48\x86\xF7\x0D\x01\x07\x03"},
    {SmimeKind::kEnveloped, "\x2A\x86\x48\x86\xF7\x0D\x01\x07\x04"},  // signed and enveloped, of PKCS #7
    {SmimeKind::kEnveloped, "\x2A\x86\x48\x86\xF7\x0D\x01\x07\x06"},  // with a key that both sides know
    {SmimeKind::kEnveloped, "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x01\x17"},  // authenticated
    {SmimeKind::kCompressed, "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x01\x09"},
}};

bool isBlank(uint8_t byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }

// -1 for a byte that is not of base64.
int base64Value(uint8_t byte) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const size_t at = kDigits.find(static_cast<char>(byte));
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

// Up to the padding, or a line that ends it.
std::vector<uint8_t> decodeBase64(Bytes text) {
    std::vector<uint8_t> bytes;
    uint32_t bits = 0;
    int count = 0;
    for (const uint8_t byte : text) {
        if (byte == '=' || byte == '-') break;
        const int value = base64Value(byte);
        if (value < 0) continue;
        bits = (bits << 6 | static_cast<uint32_t>(value)) & 0xFFFF;
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes.push_back(static_cast<uint8_t>(bits >> count));
    }
    return bytes;
}

// Whether only characters of base64 and blanks stand at the start of a text.
bool beginsLikeBase64(Bytes text) {
    constexpr size_t kExamined = 64;
    text = text.first(std::min(text.size(), kExamined));
    return std::all_of(text.begin(), text.end(),
                       [](uint8_t byte) { return base64Value(byte) >= 0 || byte == '=' || isBlank(byte); });
}

bool readSigner(const ReplyFrame& frame, ReplyPieces& pieces, SmimeContent& content) {
    std::string_view name;
    std::string_view address;
    if (content.signers.size() == kMaxSmimeSigners) return false;
    if (frame.first > kMaxSmimeText || frame.second > kMaxSmimeText) return false;
    if (!pieces.take(frame.first, name) || !pieces.take(frame.second, address)) return false;
    content.signers.push_back({withoutInvalidBytes(name), withoutInvalidBytes(address)});
    return true;
}

bool readFrames(Bytes reply, uint64_t maxBytes, SmimeContent& content, SmimeResult& result) {
    ReplyPieces pieces(reply);
    ReplyFrame frame{};
    bool hasContent = false;
    while (pieces.take(frame)) {
        switch (frame.kind) {
            case kSigner:
                if (!readSigner(frame, pieces, content)) return false;
                break;
            case kContent:
                // What is signed stands in the bytes as it is, at most in pieces.
                if (hasContent || frame.size > maxBytes || !pieces.take(frame.size, content.content))
                    return false;
                hasContent = true;
                break;
            case kEnd:
                if (frame.first >= kSmimeKinds || frame.second >= kSmimeResults || !pieces.empty())
                    return false;
                content.kind = static_cast<SmimeKind>(frame.first);
                result = static_cast<SmimeResult>(frame.second);
                return hasContent == (content.kind == SmimeKind::kSigned && result == SmimeResult::kRead);
            default:
                return false;
        }
    }
    return false;
}

std::string problemOf(SmimeResult result) {
    switch (result) {
        case SmimeResult::kRead:
            break;
        case SmimeResult::kInvalid:
            return std::string(kUnreadable);
        case SmimeResult::kDetached:
            return "it holds signatures, but not what they sign";
        case SmimeResult::kOther:
            return "what it holds is no message";
    }
    return "";
}

SmimeContent unread(SmimeKind kind, std::string problem) {
    SmimeContent content;
    content.kind = kind;
    content.problem = std::move(problem);
    return content;
}

}  // namespace

SmimeKind smimeKind(Bytes bytes) {
    constexpr uint8_t kSequence = 0x30;
    constexpr uint8_t kObjectIdentifier = 0x06;
    if (bytes.size() < 2 || bytes[0] != kSequence) return SmimeKind::kUnknown;
    // The length in one byte, in several, or at the end of the content.
    const size_t lengthBytes = bytes[1] > 0x80 ? bytes[1] & 0x7FU : 0;
    if (lengthBytes > 8 || bytes.size() < 4 + lengthBytes) return SmimeKind::kUnknown;
    bytes = bytes.subspan(2 + lengthBytes);
    if (bytes[0] != kObjectIdentifier || bytes[1] > bytes.size() - 2) return SmimeKind::kUnknown;
    const std::string_view type(reinterpret_cast<const char*>(bytes.data()) + 2, bytes[1]);
    for (const KnownType& known : kTypes) {
        if (known.objectIdentifier == type) return known.kind;
    }
    return SmimeKind::kUnknown;
}

std::vector<uint8_t> withoutBase64(Bytes bytes) {
    constexpr std::string_view kBegin = "-----BEGIN";
    // Base64 of a sequence that has a length of more than one byte, or none.
    constexpr std::string_view kSequence = "MI";
    const auto begins = [](Bytes text, std::string_view word) {
        return text.size() >= word.size() && std::equal(word.begin(), word.end(), text.begin());
    };
    const auto start = std::find_if_not(bytes.begin(), bytes.end(), isBlank);
    const Bytes text = bytes.subspan(static_cast<size_t>(start - bytes.begin()));
    if (begins(text, kBegin)) {
        const auto lineEnd = std::find(text.begin(), text.end(), '\n');
        return decodeBase64(text.subspan(static_cast<size_t>(lineEnd - text.begin())));
    }
    if (begins(text, kSequence) && beginsLikeBase64(text)) return decodeBase64(text);
    return {bytes.begin(), bytes.end()};
}

void SmimeSink::signer(std::string_view name, std::string_view address) {
    name = name.substr(0, kMaxSmimeText);
    address = address.substr(0, kMaxSmimeText);
    writer_.put({kSigner, 0, static_cast<uint32_t>(name.size()), static_cast<uint32_t>(address.size()), 0});
    writer_.put(name);
    writer_.put(address);
}

void SmimeSink::content(Bytes bytes) {
    writer_.put({kContent, 0, 0, 0, bytes.size()});
    writer_.put(bytes);
}

bool SmimeSink::end(SmimeKind kind, SmimeResult result) {
    writer_.put({kEnd, 0, static_cast<uint32_t>(kind), static_cast<uint32_t>(result), 0});
    return !writer_.failed();
}

SmimeContent parseSmimeReply(std::vector<uint8_t> reply, uint64_t maxBytes) {
    SmimeContent content;
    SmimeResult result = SmimeResult::kInvalid;
    content.storage = std::move(reply);
    if (!readFrames(content.storage, maxBytes, content, result)) {
        return unread(SmimeKind::kUnknown, std::string(kInvalidReply));
    }
    content.problem = problemOf(result);
    return content;
}

SmimeContent openSmime(Bytes bytes, SmimeReader reader) {
    if (bytes.size() > kMaxSmimeSize) return unread(smimeKind(bytes), "it is too large to be unwrapped");
    const std::vector<uint8_t> der = withoutBase64(bytes);
    const SmimeKind kind = smimeKind(der);
    if (kind == SmimeKind::kUnknown) return unread(kind, std::string(kUnreadable));
    if (reader == readSmimeWithLibrary && !readsSmime()) {
        // Nobody can read in these without a key.
        if (kind == SmimeKind::kEnveloped) return unread(kind, "");
        return unread(kind, "not unwrapped, this program was " + smimeLack());
    }
    // The library copies the content once, piece by piece if it comes so, and keeps a record of each certificate.
    const IsolationLimits limits{8 * der.size() + (uint64_t{64} << 20), 10, std::chrono::minutes(2),
                                 der.size() + (size_t{1} << 20)};
    IsolatedReply reply = workIsolated(
        [&](int descriptor) {
            SmimeSink sink(descriptor);
            return reader(der, sink);
        },
        limits);
    if (!reply.done()) return unread(kind, formatted("its reader {}", reply.failure));
    SmimeContent content = parseSmimeReply(std::move(reply.bytes), der.size());
    if (content.kind == SmimeKind::kUnknown) content.kind = kind;
    if (content.kind == SmimeKind::kCompressed && content.problem.empty()) {
        content.problem = "it is compressed, and not unpacked";
    }
    return content;
}

}  // namespace emltool
