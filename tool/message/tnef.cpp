#include "tool/message/tnef.h"

#include <emlreader/eml_host.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "standalone/write_all.h"
#include "tool/system/isolated_work.h"
#include "tool/text/charset_labels.h"

namespace emltool {

namespace {

// Both processes are the same program, so numbers have the form that they have in memory.
struct Frame {
    uint32_t kind;
    uint32_t flag;        // a file: the name is UTF-8; the end: everything was there
    uint32_t nameLength;  // the end: the code page
    uint32_t typeLength;
    uint64_t size;
};

constexpr uint32_t kFile = 1;
constexpr uint32_t kEnd = 2;
constexpr uint32_t kMaxTextLength = 4096;

constexpr std::string_view kInvalidReply = "gave an answer that makes no sense";

// iconv's label of a Windows code page.
std::string labelOf(uint32_t codePage) {
    constexpr uint32_t kUtf8 = 65001;
    return codePage == kUtf8 ? "utf-8" : fmt::format("cp{}", codePage);
}

std::string decodedName(std::string_view name, bool isUtf8, uint32_t codePage) {
    std::optional<std::string> decoded = fromLabelledCharset(isUtf8 ? "utf-8" : labelOf(codePage), name);
    return decoded ? *decoded : fromUnlabelledCharset(name, EML_CHARSET_WESTERN);
}

// Takes pieces off the front, never more than is left.
class Pieces {
  public:
    explicit Pieces(std::span<const uint8_t> bytes) : rest_(bytes) {}

    bool take(uint64_t count, std::span<const uint8_t>& piece) {
        if (count > rest_.size()) return false;
        piece = rest_.first(static_cast<size_t>(count));
        rest_ = rest_.subspan(static_cast<size_t>(count));
        return true;
    }
    bool take(Frame& frame) {
        std::span<const uint8_t> piece;
        if (!take(sizeof frame, piece)) return false;
        std::memcpy(&frame, piece.data(), sizeof frame);
        return true;
    }
    bool empty() const { return rest_.empty(); }

  private:
    std::span<const uint8_t> rest_;
};

std::string_view textOf(std::span<const uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

struct FoundFile {
    std::string_view name;
    bool nameIsUtf8;
    std::string_view type;
    std::span<const uint8_t> bytes;
};

// Reads the frames of a whole reply; the last one is `end`. False if they are invalid.
bool readFrames(std::span<const uint8_t> reply, uint64_t maxBytes, std::vector<FoundFile>& files,
                Frame& end) {
    Pieces pieces(reply);
    while (pieces.take(end)) {
        if (end.kind == kEnd) return pieces.empty();
        if (files.size() == kMaxTnefFiles) return false;
        if (end.kind != kFile || end.nameLength > kMaxTextLength || end.typeLength > kMaxTextLength)
            return false;
        std::span<const uint8_t> name;
        std::span<const uint8_t> type;
        std::span<const uint8_t> bytes;
        if (!pieces.take(end.nameLength, name) || !pieces.take(end.typeLength, type)) return false;
        // Nothing is compressed: all files stand in the TNEF, one after another.
        if (end.size > maxBytes || !pieces.take(end.size, bytes)) return false;
        maxBytes -= end.size;
        files.push_back({textOf(name), end.flag != 0, textOf(type), bytes});
    }
    return false;
}

}  // namespace

bool beginsTnef(std::span<const uint8_t> bytes) {
    constexpr uint8_t kSignature[] = {0x78, 0x9F, 0x3E, 0x22};
    return bytes.size() >= sizeof kSignature && std::equal(kSignature, std::end(kSignature), bytes.begin());
}

std::vector<uint8_t> withoutEmptyAttributes(std::span<const uint8_t> bytes, bool& breaksOff) {
    constexpr size_t kStart = 6;   // signature and key
    constexpr size_t kHeader = 9;  // level, name and type, length
    constexpr size_t kChecksum = 2;
    std::vector<uint8_t> kept(bytes.begin(),
                              bytes.begin() + static_cast<ptrdiff_t>(std::min(kStart, bytes.size())));
    std::span<const uint8_t> rest = bytes.subspan(kept.size());
    while (rest.size() >= kHeader + kChecksum) {
        uint64_t length = 0;
        for (size_t i = kHeader; i-- > kHeader - 4;) length = length << 8 | rest[i];
        uint64_t whole = kHeader + length + kChecksum;
        if (whole > rest.size()) break;
        std::span<const uint8_t> attribute = rest.first(static_cast<size_t>(whole));
        if (length > 0) kept.insert(kept.end(), attribute.begin(), attribute.end());
        rest = rest.subspan(attribute.size());
    }
    breaksOff = !rest.empty() || kept.size() < kStart;
    return kept;
}

void TnefSink::put(std::span<const uint8_t> bytes) {
    failed_ = failed_ || emlhost::writeAll(descriptor_, bytes) != 0;
}

void TnefSink::put(std::string_view text) {
    put(std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
}

void TnefSink::file(std::string_view name, bool isUtf8, std::string_view type,
                    std::span<const uint8_t> bytes) {
    name = name.substr(0, kMaxTextLength);
    type = type.substr(0, kMaxTextLength);
    Frame frame{kFile, isUtf8 ? 1U : 0U, static_cast<uint32_t>(name.size()),
                static_cast<uint32_t>(type.size()), bytes.size()};
    put(std::span(reinterpret_cast<const uint8_t*>(&frame), sizeof frame));
    put(name);
    put(type);
    put(bytes);
}

bool TnefSink::end(uint32_t codePage, bool complete) {
    Frame frame{kEnd, complete ? 1U : 0U, codePage, 0, 0};
    put(std::span(reinterpret_cast<const uint8_t*>(&frame), sizeof frame));
    return !failed_;
}

TnefContent parseTnefReply(std::vector<uint8_t> reply, uint64_t maxBytes) {
    TnefContent content;
    std::vector<FoundFile> files;
    Frame end{};
    content.storage = std::move(reply);
    if (!readFrames(content.storage, maxBytes, files, end)) {
        content.problem = fmt::format("its reader {}", kInvalidReply);
        return content;
    }
    for (const FoundFile& file : files) {
        content.files.push_back(
            {decodedName(file.name, file.nameIsUtf8, end.nameLength), std::string(file.type), file.bytes});
    }
    if (end.flag == 0) {
        content.problem = files.empty() ? "nothing in it can be read" : "its end cannot be read";
    }
    return content;
}

TnefContent unpackTnef(std::span<const uint8_t> bytes, TnefReader reader) {
    // The library holds each file up to three times. For a file of one byte, a TNEF has more bytes than a
    // frame.
    IsolationLimits limits{4 * bytes.size() + (uint64_t{64} << 20), 10, std::chrono::minutes(2),
                           2 * bytes.size() + (size_t{1} << 20)};
    IsolatedReply reply = workIsolated(
        [&](int descriptor) {
            TnefSink sink(descriptor);
            return reader(bytes, sink);
        },
        limits);
    if (reply.done()) return parseTnefReply(std::move(reply.bytes), bytes.size());
    TnefContent content;
    content.problem = fmt::format("its reader {}", reply.failure);
    return content;
}

}  // namespace emltool
