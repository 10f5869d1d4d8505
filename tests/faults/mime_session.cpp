#include "faults/mime_session.h"

#include <algorithm>
#include <cstring>

namespace eml::test {
namespace {

// A conversion of the host: bytes above 127 become characters of two bytes. Labels that begin with "x-" are unknown.
RecordingHost& hostOf(void* host) { return *static_cast<RecordingHost*>(host); }

void* openConversion(void* host, const char* label) {
    if (hostOf(host).journal().note(Entry::kConversionOpen)) return nullptr;
    return std::strncmp(label, "x-", 2) == 0 ? nullptr : host;
}

uint32_t convertBytes(void* conversion, const void* source, uint32_t* sourceLength, void* destination,
                      uint32_t* destinationLength, int32_t /*last*/) {
    Journal& journal = hostOf(conversion).journal();
    const bool fails = journal.note(Entry::kConversionConvert);
    const Way way = journal.way(Entry::kConversionConvert);
    const auto* const from = static_cast<const uint8_t*>(source);
    auto* const to = static_cast<uint8_t*>(destination);
    const uint32_t room = *destinationLength;
    uint32_t have = *sourceLength;
    if (fails && way == Way::kPlain) have = 0;
    if (fails && way == Way::kHalf) have = (have + 1) / 2;
    uint32_t used = 0;
    uint32_t written = 0;
    for (; used < have && written + 2 <= room; ++used) {
        if (from[used] >= 128) to[written++] = static_cast<uint8_t>(0xC0 | from[used] >> 6);
        to[written++] = static_cast<uint8_t>(from[used] >= 128 ? 0x80 | (from[used] & 0x3F) : from[used]);
    }
    const bool boasts = fails && way == Way::kTooMuch;
    *sourceLength = boasts ? UINT32_MAX : used;
    *destinationLength = boasts ? UINT32_MAX : written;
    // What is claimed must be there: the rest of the room has a value.
    if (boasts) std::memset(to + written, '!', room - written);
    return 0;
}

void closeConversion(void* conversion) { (void)hostOf(conversion).journal().note(Entry::kConversionClose); }

int32_t noteProgress(void* host, uint64_t /*offset*/) {
    return hostOf(host).journal().note(Entry::kProgress) ? 1 : 0;
}

void appendNumber(std::string& out, uint64_t number) { out += " " + std::to_string(number); }

}  // namespace

MimeSession::MimeSession(const Scene& scene, HostOptions options)
    : Session(scene, options), convert_(host().ownHeap()), options_(host().ownHeap()) {
    *convert_ = {&host(), openConversion, convertBytes, closeConversion};
    options_->recordSize = sizeof(EmlMimeOptions);
    options_->convert = &*convert_;
    options_->progress = noteProgress;
    options_->progressHost = &host();
    if (flags() == 0) return;
    options_->flags = EML_MIME_NO_INLINE_FILES;
    options_->maxDepth = 2;
    options_->maxParts = 4;
    options_->maxHeaderBytes = 200;
    options_->maxDefects = 2;
}

void MimeSession::remove(Entry entry) {
    if (entry == Entry::kConversionOpen) {
        convert_->open = nullptr;
    } else if (entry == Entry::kConversionConvert) {
        convert_->convert = nullptr;
    } else if (entry == Entry::kConversionClose) {
        convert_->close = nullptr;
    } else if (entry == Entry::kProgress) {
        options_->progress = nullptr;
    } else {
        Session::remove(entry);
    }
}

EmlResult MimeSession::open() {
    const HostValue<EmlResult> result(host().ownHeap(), UINT32_MAX);
    context_ = emlMimeOpen(&host().input(), &host().services().allocator, &*options_, &*result);
    if ((context_ != nullptr) != (*result == EML_OK)) {
        host().journal().violation("a context comes with EML_OK, and without it none");
    }
    return *result;
}

void MimeSession::closeContext() {
    emlMimeClose(context_);
    context_ = nullptr;
}

std::vector<Step> MimeSession::steps() {
    const auto count = static_cast<int32_t>(emlMimePartCount(context_));
    std::vector<Step> steps = {{Call::kQuery}, {Call::kSections}};
    for (int32_t i = 0; i <= count; ++i) {
        steps.push_back({Call::kDescribe, i});
        steps.push_back({Call::kNameDate, i});
        steps.push_back({Call::kRequests, i});
        for (uint32_t form = EML_MIME_RAW; form <= EML_MIME_TEXT + (i == 0 ? 1 : 0); ++form)
            steps.push_back({Call::kExtract, i, 0, form});
        steps.push_back({Call::kExtract, i, kNoOutput, EML_MIME_TEXT});
        for (uint32_t call = 0; call < static_cast<uint32_t>(FieldCall::kCount); ++call)
            steps.push_back({Call::kMetadata, i, 0, call});
    }
    return steps;
}

Answer MimeSession::run(const Step& step) {
    const auto part = static_cast<uint32_t>(step.number);
    switch (step.call) {
        case Call::kQuery:
            return query();
        case Call::kSections:
            return defects();
        case Call::kDescribe:
            return describe(part);
        case Call::kNameDate:
            return name(part);
        case Call::kRequests:
            return contentIds(part);
        case Call::kMetadata:
            return fields(part, static_cast<FieldCall>(step.detail));
        default:
            return extract(step);
    }
}

void MimeSession::append(std::string& out, const EmlMimeText& text) {
    out += " ";
    if (text.text == nullptr) {
        if (text.length != 0) host().journal().violation("an absent text has a length");
        out += "-";
        return;
    }
    if (text.text[text.length] != '\0') host().journal().violation("a text without a zero byte");
    out += "\"" + std::string(text.text, text.length) + "\"";
}

// The spans, and how many parts there are.
Answer MimeSession::query() {
    Answer answer;
    appendNumber(answer.text, emlMimePartCount(context_));
    const HostValue<EmlMimeSpanInfo> span(host().ownHeap());
    for (uint32_t i = 0; i < emlMimeSpanCount(context_); ++i) {
        answer.code = emlMimeGetSpan(context_, i, &*span);
        if (answer.code != EML_OK) return answer;
        answer.text += "\n";
        for (const uint64_t number :
             {span->span.offset, span->span.length, uint64_t{span->kind}, uint64_t{span->part}})
            appendNumber(answer.text, number);
    }
    return answer;
}

// Those of structure and headers: the others depend on what was extracted.
Answer MimeSession::defects() {
    Answer answer;
    const HostValue<EmlMimeDefect> defect(host().ownHeap());
    for (uint32_t i = 0; i < emlMimeDefectCount(context_); ++i) {
        answer.code = emlMimeGetDefect(context_, i, &*defect);
        if (answer.code != EML_OK) return answer;
        const bool ofContent = defect->code >= EML_MIME_DEFECT_BASE64_CHARACTER;
        if (ofContent || defect->code == EML_MIME_DEFECT_TOO_MANY_DEFECTS) continue;
        // The last place of a list that has only two may be taken by what is found later.
        if (flags() != 0 && i > 0) continue;
        answer.text += "\n" + std::string(emlMimeDefectName(defect->code));
        for (const uint64_t number : {uint64_t{defect->part}, defect->offset, defect->count})
            appendNumber(answer.text, number);
    }
    return answer;
}

Answer MimeSession::describe(uint32_t number) {
    const HostValue<EmlMimePart> part(host().ownHeap());
    Answer answer{emlMimeGetPart(context_, number, &*part, sizeof(EmlMimePart)), ""};
    for (const uint32_t value :
         {part->parent, part->firstChild, part->nextSibling, part->childCount, part->ordinal, part->depth,
          part->message, part->encoding, part->dispositionKind, part->ending, part->protection, part->roles,
          part->flags})
        appendNumber(answer.text, value);
    for (const EmlMimeText& text :
         {part->type, part->subtype, part->charset, part->encodingText, part->disposition, part->name,
          part->contentId, part->location, part->description})
        append(answer.text, text);
    for (const EmlMimeSpan& span : {part->header, part->body, part->signedSpan}) {
        appendNumber(answer.text, span.offset);
        appendNumber(answer.text, span.length);
    }
    return answer;
}

Answer MimeSession::name(uint32_t part) {
    const HostValue<EmlMimeText> text(host().ownHeap());
    Answer answer{emlMimeGetName(context_, part, &*text), ""};
    if (answer.code == EML_OK) append(answer.text, *text);
    return answer;
}

Answer MimeSession::contentIds(uint32_t part) {
    const HostValue<uint32_t> found(host().ownHeap());
    const HostBlock id(host().ownHeap(), std::string_view("id"));
    Answer answer{emlMimeFindContentId(context_, part, id.chars(), &*found), ""};
    appendNumber(answer.text, *found);
    return answer;
}

// One call for every field of a part, to the first that fails.
Answer MimeSession::fields(uint32_t part, FieldCall call) {
    const HostValue<uint32_t> count(host().ownHeap());
    Answer answer{emlMimeFieldCount(context_, part, &*count), ""};
    for (uint32_t i = 0; i < *count && answer.code == EML_OK; ++i) {
        answer.text += "\n";
        answer.code = field(part, i, call, answer.text);
    }
    return answer;
}

EmlResult MimeSession::field(uint32_t part, uint32_t index, FieldCall call, std::string& text) {
    if (call > FieldCall::kDate) return list(part, index, call, text);
    if (call == FieldCall::kAddresses) return list(part, index, call, text);
    if (call == FieldCall::kFind) {
        const HostBlock name(host().ownHeap(), std::string_view("content-type"));
        const HostValue<uint32_t> found(host().ownHeap());
        const EmlResult code = emlMimeFindField(context_, part, name.chars(), index, &*found);
        appendNumber(text, *found);
        return code;
    }
    if (call == FieldCall::kRaw) {
        const HostValue<EmlMimeField> field(host().ownHeap());
        const EmlResult code = emlMimeGetField(context_, part, index, &*field);
        if (code != EML_OK) return code;
        append(text, field->name);
        append(text, field->raw);
        appendNumber(text, field->span.offset);
        appendNumber(text, field->span.length);
        return code;
    }
    if (call == FieldCall::kText) {
        const HostValue<EmlMimeText> value(host().ownHeap());
        const EmlResult code = emlMimeFieldText(context_, part, index, &*value);
        if (code == EML_OK) append(text, *value);
        return code;
    }
    const HostValue<EmlMimeDate> date(host().ownHeap());
    const EmlResult code = emlMimeFieldDate(context_, part, index, &*date);
    text += " " + std::to_string(date->seconds) + " " + std::to_string(date->zoneMinutes);
    appendNumber(text, date->flags);
    return code;
}

EmlResult MimeSession::list(uint32_t part, uint32_t index, FieldCall call, std::string& text) {
    const HostValue<uint32_t> count(host().ownHeap());
    if (call == FieldCall::kAddresses) {
        const HostValue<const EmlMimeAddress*> addresses(host().ownHeap());
        const EmlResult code = emlMimeFieldAddresses(context_, part, index, &*addresses, &*count);
        for (uint32_t i = 0; i < *count && code == EML_OK; ++i) {
            append(text, (*addresses)[i].name);
            append(text, (*addresses)[i].address);
            append(text, (*addresses)[i].group);
        }
        return code;
    }
    if (call == FieldCall::kIds) {
        const HostValue<const EmlMimeText*> ids(host().ownHeap());
        const EmlResult code = emlMimeFieldIds(context_, part, index, &*ids, &*count);
        for (uint32_t i = 0; i < *count && code == EML_OK; ++i) append(text, (*ids)[i]);
        return code;
    }
    const HostValue<EmlMimeText> value(host().ownHeap());
    const HostValue<const EmlMimeParameter*> parameters(host().ownHeap());
    const EmlResult code = emlMimeFieldParameters(context_, part, index, &*value, &*parameters, &*count);
    if (code != EML_OK) return code;
    append(text, *value);
    for (uint32_t i = 0; i < *count; ++i) {
        append(text, (*parameters)[i].name);
        append(text, (*parameters)[i].value);
    }
    return code;
}

Answer MimeSession::extract(const Step& step) {
    const HostValue<EmlMimeContent> content(host().ownHeap());
    const auto part = static_cast<uint32_t>(step.number);
    MemoryOutput output(host());
    EmlIOobj* const object = step.options == kNoOutput ? nullptr : &output.object();
    const EmlResult code = emlMimeExtract(context_, part, step.detail, object, &*content);
    Answer answer = takeOutput(code, output, content->flags);
    // What a broken output took is not what was given to it.
    answer.text += " of " + std::to_string(content->size);
    if (code == EML_OK && object != nullptr && !output.closed())
        host().journal().violation("an output was left open");
    return answer;
}

}  // namespace eml::test
