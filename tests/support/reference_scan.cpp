#include "support/reference_scan.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "container/container_context.h"
#include "reference/parameters.h"
#include "support/reference_lines.h"

namespace eml::test {
namespace {

using Text = std::string_view;

constexpr size_t kBlock = 4096;
constexpr int kRelatedLimit = 100;

struct Line {
    int kind = 0;  // 0 end of the data, 1 a whole line, 2 no line end among the bytes read
    int64_t start = 0;
    std::string text;  // cut at the first zero byte
    bool empty = false;
};

class Model {
  public:
    Model(const std::string& message, uint32_t flags) : message_(message), flags_(flags) {}

    ReferenceMessage run() {
        out_.result = open();
        if (out_.contentClass == kEncrypted) out_.attachmentCount = 0;
        return out_;
    }

  private:
    [[nodiscard]] int64_t size() const { return static_cast<int64_t>(message_.size()); }

    [[nodiscard]] std::string block(int64_t at) const {
        return at < 0 || at >= size() ? "" : message_.substr(static_cast<size_t>(at), kBlock);
    }

    Line readLine() {
        Line line;
        line.start = position_;
        const std::string bytes = block(position_);
        if (bytes.empty()) return line;
        size_t length = bytes.find_first_of("\r\n");
        line.kind = length == std::string::npos ? 2 : 1;
        if (line.kind == 2) {
            length = bytes.size();
        } else {
            length += bytes.compare(length, 2, "\r\n") == 0 ? 2 : 1;
        }
        position_ += static_cast<int64_t>(length);
        line.text = bytes.substr(0, length);
        line.empty = line.text[0] == '\r' || line.text[0] == '\n';
        line.text = line.text.substr(0, line.text.find('\0'));
        return line;
    }

    // --- headers

    void topHeader() {
        ReferenceTopHeader header(out_);
        int previous = 1;
        for (;;) {
            const Line line = readLine();
            if (line.kind == 0 || line.empty) break;
            if (previous == 1) header.line(line.text);
            previous = line.kind;
        }
        out_.bodyOffset = position_;
        topName_ = header.name();
    }

    void partHeader(ReferenceSection& section) {
        position_ = section.start;
        for (;;) {
            const Line line = readLine();
            if (line.kind == 0 || line.start >= section.end) return;
            if (line.empty) break;
            referencePartLine(section, line.text);
        }
        section.bodyStart = position_;
        section.bodyEnd = section.end;
        const bool named = section.fileName || (section.flags & EML_SECTION_MESSAGE) != 0;
        if (section.contentClass != kSignature && named) section.isAttachment = true;
    }

    // --- the boundary scan

    SectionPointer append() {
        auto section = std::make_shared<ReferenceSection>();
        out_.sections.push_back(section);
        current_ = section;
        return section;
    }

    // The chunk at `position_`: `text` is what is searched; `position_` moves to the next read.
    std::string cutChunk(const std::string& bytes) {
        const int64_t start = position_;
        std::string chunk = bytes;
        const size_t zero = chunk.find('\0');
        if (zero != std::string::npos) {
            size_t behind = chunk.find_first_not_of('\0', zero);
            if (behind == std::string::npos) behind = chunk.size();
            chunk.resize(behind);
        }
        size_t next = chunk.size();
        if (chunk.size() == kBlock) {
            const size_t last = chunk.find_last_of("\r\n");
            if (last != std::string::npos && last > 0) {
                chunk.resize(last + 1);
                next = last;
            }
        }
        position_ = start + static_cast<int64_t>(next);
        return chunk.substr(0, chunk.find('\0'));
    }

    // Where the part behind a delimiter starts, as an offset in the chunk.
    [[nodiscard]] size_t behindDelimiter(const std::string& chunk, int64_t chunkStart, size_t at) const {
        while (at < chunk.size() && std::strchr(" \t\"", chunk[at]) != nullptr) ++at;
        const bool hasCr = at < chunk.size() && chunk[at] == '\r';
        if (hasCr) ++at;
        if (at < chunk.size()) return chunk[at] == '\n' ? at + 1 : at;
        // The CR was the last byte of the chunk: the LF behind it belongs to the line.
        const auto offset = static_cast<size_t>(chunkStart) + at;
        return hasCr && offset < message_.size() && message_[offset] == '\n' ? at + 1 : at;
    }

    void scan(const std::string& boundary, int64_t rangeStart, int64_t rangeEnd) {
        bool closed = false;
        position_ = rangeStart;
        while (!closed) {
            const int64_t start = position_;
            const std::string bytes = block(start);
            if (bytes.empty()) break;
            const std::string chunk = cutChunk(bytes);
            if (start >= rangeEnd) break;
            size_t at = 0;
            while (at <= chunk.size() && (at = chunk.find(boundary, at)) != std::string::npos) {
                if (current_) current_->end = start + static_cast<int64_t>(at);
                at += boundary.size();
                if (chunk.compare(at, 2, "--") == 0) {
                    closed = true;
                    break;
                }
                at = behindDelimiter(chunk, start, at);
                append()->start = start + static_cast<int64_t>(at);
            }
        }
        if (!closed && current_) current_->end = rangeEnd;
        for (const SectionPointer& section : out_.sections) {
            trimEnd(*section);
            partHeader(*section);
        }
    }

    void trimEnd(ReferenceSection& section) const {
        if (section.end < 3) return;
        const std::string two = block(section.end - 2).substr(0, 2);
        if (two.size() == 2 && two[1] == '\n') section.end -= 1;
        if (two.size() == 2 && two[0] == '\r') section.end -= 1;
    }

    // --- the bodies

    void takeBody(const SectionPointer& section) {
        if (!out_.plainBody && section->contentClass == kText) {
            out_.plainBody = section;
        } else if (!out_.htmlBody && section->contentClass == kHtml) {
            out_.htmlBody = section;
        } else if (!out_.rtfBody && section->contentClass == kRtf) {
            out_.rtfBody = section;
        }
    }

    void alternatives() {
        for (const SectionPointer& section : out_.sections) {
            if (section->isAttachment) return;
            takeBody(section);
        }
    }

    uint32_t chooseBody(const SectionPointer& section, int relatedDepth) {
        const bool nested = section->boundary.has_value();
        if (nested && section->contentClass == kAlternative) {
            std::vector<SectionPointer> kept = detach();
            scan(*section->boundary, section->bodyStart, section->bodyEnd);
            alternatives();
            out_.sections = kept;
            return 0;
        }
        if (nested && section->contentClass == kRelated && relatedDepth < kRelatedLimit) {
            return chooseRelated(section, relatedDepth);
        }
        takeBody(section);
        return 0;
    }

    uint32_t chooseRelated(const SectionPointer& section, int relatedDepth) {
        std::vector<SectionPointer> kept = detach();
        scan(*section->boundary, section->bodyStart, section->bodyEnd);
        if (out_.sections.empty()) {
            out_.sections = kept;
            return 6;
        }
        const uint32_t result = chooseBody(out_.sections.front(), relatedDepth + 1);
        for (const SectionPointer& inner : out_.sections) {
            if (inner->isAttachment) kept.push_back(inner);
        }
        out_.sections = kept;
        return result;
    }

    std::vector<SectionPointer> detach() {
        current_ = nullptr;
        std::vector<SectionPointer> kept;
        kept.swap(out_.sections);
        return kept;
    }

    // --- the open

    SectionPointer appendOfMessage(int64_t start, int64_t end, int64_t bodyStart) {
        SectionPointer section = append();
        section->start = start;
        section->end = end;
        section->bodyStart = bodyStart;
        section->bodyEnd = end;
        section->encoding = out_.encoding;
        section->charset = out_.charset;
        section->contentClass = out_.contentClass;
        return section;
    }

    void takeOwnBody(const SectionPointer& section) {
        SectionPointer& slot = section->contentClass == kHtml  ? out_.htmlBody
                               : section->contentClass == kRtf ? out_.rtfBody
                                                               : out_.plainBody;
        slot = section;
    }

    void namedMessage() {
        takeOwnBody(appendOfMessage(0, out_.bodyOffset, out_.bodyOffset));
        SectionPointer content = appendOfMessage(out_.bodyOffset, size(), out_.bodyOffset);
        content->isAttachment = true;
        content->fileName = topName_;
    }

    void singleSection() {
        takeOwnBody(appendOfMessage(0, size(), out_.bodyOffset));
        if ((flags_ & EML_OPEN_CONVERTED_ATTACHMENTS) == 0 || out_.contentClass != kMultipart) return;
        position_ = out_.bodyOffset;
        for (Line line = readLine(); line.kind != 0; line = readLine()) {
            if (line.text.compare(0, 21, "Attachment Converted:") != 0) continue;
            const std::optional<std::string> name = reference::quotedValue(Text(line.text).substr(21));
            if (!name) continue;
            SectionPointer section = append();
            section->isAttachment = true;
            section->fileName = name;
            section->flags |= EML_SECTION_CONVERTED;
        }
    }

    uint32_t chooseBodies() {
        if (out_.contentClass == kSigned && out_.boundary && !out_.sections.empty()) {
            const SectionPointer first = out_.sections.front();
            if (first->contentClass != kMultipart || !first->boundary) return chooseBody(first, 0);
            std::vector<SectionPointer> kept = detach();
            scan(*first->boundary, first->bodyStart, first->bodyEnd);
            if (out_.sections.empty()) out_.sections = kept;
        }
        if (out_.sections.empty()) {
            singleSection();
            return 0;
        }
        if (out_.contentClass == kAlternative) alternatives();
        if (out_.contentClass >= kRelated && out_.contentClass <= kMultipart)
            return chooseBody(out_.sections.front(), 0);
        return 0;
    }

    std::string embeddedName(const ReferenceSection& section) {
        position_ = section.bodyStart;
        for (;;) {
            const Line line = readLine();
            if (line.kind == 0 || line.start >= section.bodyEnd || line.empty) break;
            Text text = line.text;
            if (acceptNoCase(text, "subject:"))
                return reference::embeddedName(text, out_.attachmentCount - 1);
        }
        return reference::embeddedName("", out_.attachmentCount - 1);
    }

    void numberAttachments() {
        for (const SectionPointer& section : out_.sections) {
            if (section->isAttachment) ++out_.attachmentCount;
            if ((section->flags & EML_SECTION_MESSAGE) == 0 || section->fileName) continue;
            section->fileName = embeddedName(*section);
        }
    }

    uint32_t open() {
        topHeader();
        if (topName_) namedMessage();
        if (out_.boundary && isMultipartClass(out_.contentClass))
            scan(*out_.boundary, out_.bodyOffset, size());
        if (uint32_t result = chooseBodies(); result != 0) return result;
        numberAttachments();
        if (out_.charset == 0) out_.charset = out_.plainBody ? out_.plainBody->charset : 0;
        if (out_.charset == 0) out_.charset = 7;
        return 0;
    }

    const std::string& message_;
    uint32_t flags_;
    ReferenceMessage out_;
    int64_t position_ = 0;
    std::optional<std::string> topName_;
    SectionPointer current_;
};

}  // namespace

ReferenceMessage referenceOpen(const std::string& message, uint32_t flags) {
    return Model(message, flags).run();
}

}  // namespace eml::test
