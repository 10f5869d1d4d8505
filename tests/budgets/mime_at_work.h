// Everything that a host can ask of one message through the MIME reader, and the work that it took.
#pragma once

#include <emlreader/eml_mime.h>

#include <algorithm>

#include "budgets/readers_at_work.h"

namespace eml::test {

namespace budgets {

// A charset of the host: every byte is one character, '?' above 127.
inline uint32_t convertToQuestionMarks(void*, const void* source, uint32_t* sourceLength, void* destination,
                                       uint32_t* destinationLength, int32_t) {
    const uint32_t count = std::min(*sourceLength, *destinationLength);
    const auto* const from = static_cast<const uint8_t*>(source);
    std::transform(from, from + count, static_cast<uint8_t*>(destination),
                   [](uint8_t byte) { return byte < 128 ? byte : uint8_t{'?'}; });
    *sourceLength = *destinationLength = count;
    return 0;
}

// The label stands for the conversion.
inline constexpr EmlMimeConvert kConvert = {
    nullptr, [](void*, const char* label) -> void* { return const_cast<char*>(label); },
    convertToQuestionMarks, [](void*) {}};

// One field in each form that a host can ask for.
inline bool readField(EmlMimeContext* context, uint32_t part, uint32_t index) {
    EmlMimeField field{};
    EmlMimeText text{};
    EmlMimeDate date{};
    const EmlMimeAddress* addresses = nullptr;
    const EmlMimeText* ids = nullptr;
    const EmlMimeParameter* parameters = nullptr;
    uint32_t count = 0;
    return emlMimeGetField(context, part, index, &field) == EML_OK &&
           emlMimeFieldText(context, part, index, &text) == EML_OK &&
           emlMimeFieldAddresses(context, part, index, &addresses, &count) == EML_OK &&
           emlMimeFieldDate(context, part, index, &date) == EML_OK &&
           emlMimeFieldIds(context, part, index, &ids, &count) == EML_OK &&
           emlMimeFieldParameters(context, part, index, &text, &parameters, &count) == EML_OK;
}

inline bool readFields(EmlMimeContext* context, uint32_t part) {
    uint32_t count = 0;
    uint32_t found = 0;
    bool good = emlMimeFieldCount(context, part, &count) == EML_OK &&
                emlMimeFindField(context, part, "X-None", 0, &found) == EML_OK;
    for (uint32_t i = 0; i < count && good; ++i) good = readField(context, part, i);
    return good;
}

inline bool readPart(CountingHost& host, EmlMimeContext* context, uint32_t number) {
    EmlMimePart part{};
    EmlMimeText name{};
    const bool good = emlMimeGetPart(context, number, &part, sizeof part) == EML_OK &&
                      emlMimeGetName(context, number, &name) == EML_OK && readFields(context, number);
    host.countRecords(sizeof part + name.length);
    return good;
}

// The whole message as it stands, and some leaves in every form.
inline bool extractParts(CountingHost& host, EmlMimeContext* context, uint32_t count) {
    bool good = emlMimeExtract(context, 0, EML_MIME_RAW, &host.output(), nullptr) == EML_OK;
    for (uint32_t i = 0; i < count; i += stride(count)) {
        EmlMimePart part{};
        uint32_t found = 0;
        good = emlMimeGetPart(context, i, &part, sizeof part) == EML_OK && good;
        good = emlMimeFindContentId(context, i, "none", &found) == EML_OK && good;
        if ((part.flags & (EML_MIME_PART_MULTIPART | EML_MIME_PART_MESSAGE)) != 0) continue;
        for (const uint32_t form : {EML_MIME_DECODED, EML_MIME_TEXT})
            good = emlMimeExtract(context, i, form, &host.output(), nullptr) == EML_OK && good;
    }
    return good;
}

}  // namespace budgets

// Opens, lists, reads every field in every form, extracts and closes.
inline Run runMime(std::string_view message) {
    CountingHost host(message);
    EmlMimeOptions options{};
    options.recordSize = sizeof options;
    options.convert = &budgets::kConvert;
    Run run;
    EmlMimeContext* const context = emlMimeOpen(&host.input(), &host.services().allocator, &options, nullptr);
    run.opened = context != nullptr;
    if (context != nullptr) {
        run.finished = true;
        run.subFiles = emlMimePartCount(context);
        for (uint32_t i = 0; i < run.subFiles; ++i)
            run.finished = budgets::readPart(host, context, i) && run.finished;
        EmlMimeSpanInfo span{};
        for (uint32_t i = 0; i < emlMimeSpanCount(context); ++i)
            run.finished = emlMimeGetSpan(context, i, &span) == EML_OK && run.finished;
        run.finished = budgets::extractParts(host, context, run.subFiles) && run.finished;
        emlMimeClose(context);
    }
    run.work = host.work();
    return run;
}

}  // namespace eml::test
