#include "mime/part_header.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "bytes/subtext.h"
#include "mime/content_type.h"
#include "mime/defects.h"
#include "mime/file_name.h"
#include "mime/header_fields.h"
#include "mime/message_ids.h"
#include "mime/parameters.h"
#include "mime/part_texts.h"
#include "mime/protection.h"
#include "mime/text_conversion.h"

namespace eml {

namespace {

// Fields that a header has once.
enum SingleField : uint8_t {
    kContentType,
    kContentEncoding,
    kContentDisposition,
    kContentId,
    kContentLocation,
    kContentDescription,
    kFirstOfMessage,  // those below only the header of a message has (RFC 5322 section 3.6)
    kSingleFieldCount = 16,
};

constexpr std::array<std::string_view, kSingleFieldCount> kSingleFields = {"content-type",
                                                                           "content-transfer-encoding",
                                                                           "content-disposition",
                                                                           "content-id",
                                                                           "content-location",
                                                                           "content-description",
                                                                           "subject",
                                                                           "from",
                                                                           "to",
                                                                           "cc",
                                                                           "date",
                                                                           "message-id",
                                                                           "references",
                                                                           "sender",
                                                                           "reply-to",
                                                                           "in-reply-to"};

// The place of `name` in kSingleFields, or kSingleFieldCount.
uint32_t singleField(std::string_view name) {
    for (uint32_t i = 0; i < kSingleFieldCount; ++i) {
        if (name.size() == kSingleFields[i].size() && equalNoCase(name, kSingleFields[i])) return i;
    }
    return kSingleFieldCount;
}

bool isWhite(char character) {
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isWhite(text.front())) text.remove_prefix(1);
    while (!text.empty() && isWhite(text.back())) text.remove_suffix(1);
    return text;
}

class PartHeaderReader {
  public:
    PartHeaderReader(EmlMimeContext& context, uint32_t number)
        : context_(context),
          number_(number),
          header_(reinterpret_cast<const char*>(context.header.data), context.header.length),
          work_(*context.allocator, context.scratch) {}

    [[nodiscard]] EmlResult read(TextBuilder& boundary, bool& hasBoundary) {
        collectFields();
        readType();
        readEncoding();
        readDisposition();
        readName();
        readIdentity();
        hasBoundary = readBoundary(boundary);
        readProtection();
        noteProblems();
        if (failed_ || work_.failed() || boundary.failed()) return EML_NO_MEMORY;
        return EML_OK;
    }

  private:
    [[nodiscard]] MimePart& part() const { return partAt(context_, number_); }

    void note(uint32_t code, size_t place) {
        noteDefect(context_, code, number_, part().headerStart + place);
    }

    void collectFields() {
        const bool isMessage = (part().flags & EML_MIME_PART_ROOT) != 0;
        FieldLines field{};
        for (FieldWalk walk(header_); walk.next(field);) {
            if (field.name.empty()) continue;
            const uint32_t place = singleField(field.name);
            if (place == kSingleFieldCount || (place >= kFirstOfMessage && !isMessage)) continue;
            Found& found = found_[place];
            if (!found.there) {
                found = {true, field.value, field.start};
                continue;
            }
            const bool same = trimmed(found.value) == trimmed(field.value);
            note(same ? EML_MIME_DEFECT_DUPLICATE_FIELD : EML_MIME_DEFECT_CONFLICTING_FIELD, field.start);
        }
        noteRawBytes();
    }

    void noteRawBytes() {
        const void* nul = header_.empty() ? nullptr : std::memchr(header_.data(), 0, header_.size());
        if (nul != nullptr) {
            note(EML_MIME_DEFECT_NUL_IN_HEADER,
                 static_cast<size_t>(static_cast<const char*>(nul) - header_.data()));
        }
        if (isAscii(header_) || isUtf8(header_)) return;
        const auto isHigh = [](char character) { return (static_cast<uint8_t>(character) & 0x80) != 0; };
        const auto* const first = std::find_if(header_.begin(), header_.end(), isHigh);
        note(EML_MIME_DEFECT_8BIT_IN_HEADER, static_cast<size_t>(first - header_.begin()));
    }

    [[nodiscard]] HeaderText how() const {
        return {context_.options.convert, viewAt(context_, part().charset)};
    }

    // The work buffer, empty.
    [[nodiscard]] TextBuilder& fresh() {
        work_.truncate(0);
        return work_;
    }

    [[nodiscard]] TextStart keep(std::string_view text) {
        const TextStart start = keepText(context_, text);
        failed_ = failed_ || start == 0;
        return start;
    }

    // What was written into the work buffer; 0 when that is nothing.
    [[nodiscard]] TextStart keepWork() {
        failed_ = failed_ || work_.failed();
        return work_.length() == 0 || failed_ ? 0 : keep(work_.since(0));
    }

    // A parameter as the text of a part; 0 without it.
    [[nodiscard]] TextStart keepParameter(std::string_view parameters, std::string_view name) {
        const HeaderText plain{context_.options.convert, {}};
        return appendParameter(parameters, name, plain, fresh(), problems_) ? keepWork() : 0;
    }

    [[nodiscard]] bool parameterIs(std::string_view name, std::string_view value) {
        const bool there = appendParameter(typeParameters_, name, how(), fresh(), problems_);
        return there && equalNoCase(trimmed(work_.since(0)), value);
    }

    void readType() {
        const Found& field = found_[kContentType];
        const MediaType type = field.there ? readMediaType(field.value) : MediaType{};
        typeParameters_ = type.parameters;
        if (type.type.empty()) {
            if (field.there) note(EML_MIME_DEFECT_CONTENT_TYPE_SYNTAX, field.start);
            failed_ = setDefaultType(context_, number_) != EML_OK || failed_;
        } else {
            failed_ = setType(context_, number_, type.type, type.subtype) != EML_OK || failed_;
        }
        if (typeParameters_.empty()) return;
        part().charset = keepParameter(typeParameters_, "charset");
        if (viewAt(context_, part().subtype) == "related") readRelatedRoot();
        if (viewAt(context_, part().type) != "text") return;
        if (parameterIs("format", "flowed")) part().flags |= EML_MIME_PART_FLOWED;
        if (parameterIs("delsp", "yes")) part().flags |= EML_MIME_PART_DELSP;
    }

    // What a multipart/related says of its root (RFC 2387 sections 3.1, 3.2): its Content-ID, and its type.
    void readRelatedRoot() {
        std::string_view id;
        const bool hasStart = appendParameter(typeParameters_, "start", how(), fresh(), problems_);
        if (hasStart && firstMessageId(work_.since(0), id)) part().rootId = keep(id);
        const bool hasType = appendParameter(typeParameters_, "type", how(), fresh(), problems_);
        if (hasType) part().rootType = keep(trimmed(work_.since(0)));
    }

    void readEncoding() {
        const Found& field = found_[kContentEncoding];
        if (!field.there) return;
        const EncodingName encoding = readTransferEncoding(field.value);
        part().encoding = static_cast<uint8_t>(encoding.encoding);
        part().encodingText = keep(encoding.written);
        if (encoding.encoding == EML_MIME_ENCODING_UNKNOWN)
            note(EML_MIME_DEFECT_UNKNOWN_ENCODING, field.start);
        if (encoding.irregular) note(EML_MIME_DEFECT_ENCODING_SYNTAX, field.start);
    }

    void readDisposition() {
        const Found& field = found_[kContentDisposition];
        if (!field.there) return;
        const TokenAndParameters value = readToken(field.value);
        dispositionParameters_ = value.parameters;
        appendLower(value.token, fresh());
        part().disposition = keepWork();
        part().dispositionKind = equalNoCase(value.token, "inline")       ? EML_MIME_DISPOSITION_INLINE
                                 : equalNoCase(value.token, "attachment") ? EML_MIME_DISPOSITION_ATTACHMENT
                                 : value.token.empty()                    ? EML_MIME_DISPOSITION_NONE
                                                                          : EML_MIME_DISPOSITION_OTHER;
    }

    void readName() {
        if (dispositionParameters_.empty() && typeParameters_.empty()) return;
        if (!appendFileName(dispositionParameters_, typeParameters_, how(), fresh(), problems_)) return;
        part().name = keepWork();
        if (part().name != 0) part().flags |= EML_MIME_PART_NAMED;
    }

    // Content-ID, Content-Location, Content-Description.
    void readIdentity() {
        if (const Found& field = found_[kContentId]; field.there) {
            std::string_view id;
            if (firstMessageId(field.value, id)) {
                appendMessageId(id, how(), fresh());
                part().contentId = keepWork();
            }
        }
        if (const Found& field = found_[kContentLocation]; field.there)
            part().location = keepWithoutWhite(field.value);
        if (const Found& field = found_[kContentDescription]; field.there) {
            appendDecodedTrimmed(field.value, how(), fresh());
            part().description = keepWork();
        }
    }

    // Ids and addresses of resources are folded anywhere (RFC 2557 section 4.4.1): no blank belongs to them.
    [[nodiscard]] TextStart keepWithoutWhite(std::string_view text) {
        TextBuilder& out = fresh();
        for (const char character : text) {
            if (!isWhite(character)) out.append(static_cast<uint8_t>(character));
        }
        return keepWork();
    }

    // A boundary is taken literally: what looks like an encoded word in it is none.
    [[nodiscard]] bool readBoundary(TextBuilder& boundary) {
        if (viewAt(context_, part().type) != "multipart") return false;
        RawParameter parameter{};
        for (ParameterWalk walk(typeParameters_); walk.next(parameter);) {
            if (!equalNoCase(parameter.name, "boundary") || !parameter.hasValue) continue;
            if (parameter.section >= 0 || parameter.extended) break;
            appendUnescaped(parameter, boundary);
            return true;
        }
        return appendParameter(typeParameters_, "boundary", how(), boundary, problems_);
    }

    static void appendUnescaped(const RawParameter& parameter, TextBuilder& out) {
        const std::string_view value = parameter.value;
        for (size_t i = 0; i < value.size(); ++i) {
            if (parameter.quoted && value[i] == '\\' && i + 1 < value.size()) ++i;
            if (value[i] != '\r' && value[i] != '\n') out.append(static_cast<uint8_t>(value[i]));
        }
    }

    void readProtection() {
        const uint32_t protection = protectionOf(
            viewAt(context_, part().type), viewAt(context_, part().subtype), typeParameters_, how(), fresh());
        part().protection = static_cast<uint8_t>(protection);
    }

    // What is wrong with parameters, at the field that has the last of them.
    void noteProblems() {
        const Found& disposition = found_[kContentDisposition];
        const size_t place = disposition.there ? disposition.start : found_[kContentType].start;
        constexpr std::array<std::array<uint32_t, 2>, 5> kDefects = {{
            {kParameterSyntax, EML_MIME_DEFECT_PARAMETER_SYNTAX},
            {kUnterminatedQuote, EML_MIME_DEFECT_UNTERMINATED_QUOTE},
            {kDuplicateParameter, EML_MIME_DEFECT_DUPLICATE_PARAMETER},
            {kEncodedWordInParameter, EML_MIME_DEFECT_NAME_ENCODED_WORD},
            {kWrongPercentEscape, EML_MIME_DEFECT_NAME_PERCENT},
        }};
        for (const auto& [problem, defect] : kDefects) {
            if ((problems_ & problem) != 0) note(defect, place);
        }
    }

    struct Found {
        bool there;
        std::string_view value;
        size_t start;
    };

    EmlMimeContext& context_;
    uint32_t number_;
    std::string_view header_;
    TextBuilder work_;  // over the context's buffer for texts that are handed over: free during the open
    std::array<Found, kSingleFieldCount> found_{};
    std::string_view typeParameters_;
    std::string_view dispositionParameters_;
    uint32_t problems_ = 0;  // bits of ParameterProblem
    bool failed_ = false;
};

}  // namespace

EmlResult readPartHeader(EmlMimeContext& context, uint32_t number, TextBuilder& boundary, bool& hasBoundary) {
    return PartHeaderReader(context, number).read(boundary, hasBoundary);
}

EmlResult setType(EmlMimeContext& context, uint32_t number, std::string_view type, std::string_view subtype) {
    TextBuilder work(*context.allocator, context.scratch);
    work.truncate(0);
    appendLower(type, work);
    const uint32_t typeLength = work.length();
    appendLower(subtype, work);
    if (work.failed()) return EML_NO_MEMORY;
    MimePart& part = partAt(context, number);
    part.type = keepText(context, subtext(work.since(0), 0, typeLength));
    part.subtype = keepText(context, work.since(typeLength));
    return part.type == 0 || part.subtype == 0 ? EML_NO_MEMORY : EML_OK;
}

EmlResult setDefaultType(EmlMimeContext& context, uint32_t number) {
    MimePart& part = partAt(context, number);
    part.flags |= EML_MIME_PART_DEFAULT_TYPE;
    if ((part.flags & EML_MIME_PART_ROOT) == 0) {
        const MimePart& parent = partAt(context, part.parent);
        const bool inDigest =
            viewAt(context, parent.type) == "multipart" && viewAt(context, parent.subtype) == "digest";
        if (inDigest) return setType(context, number, "message", "rfc822");
    }
    return setType(context, number, "text", "plain");
}

}  // namespace eml
