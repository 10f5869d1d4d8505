#include "faults/stated_codes.h"

#include <emlreader/eml_mime.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace eml::test {
namespace {

constexpr EmlResult kNone = UINT32_MAX;
constexpr EmlResult kUndisturbed = UINT32_MAX - 1;

struct Row {
    Call call;
    Entry entry;
    std::array<EmlResult, 4> codes;
};

constexpr std::array<EmlResult, 4> one(EmlResult a) { return {a, kNone, kNone, kNone}; }
constexpr std::array<EmlResult, 4> orElse(EmlResult a, EmlResult b = kNone) {
    return {kUndisturbed, a, b, kNone};
}

// What has no row here gives what it gives undisturbed.
constexpr Row kContainerRows[] = {
    // A boundary or a name that cannot be copied is absent, which is no error.
    {Call::kOpen, Entry::kAllocate, orElse(EML_NO_MEMORY, EML_OK)},
    {Call::kOpen, Entry::kReallocate, one(EML_NO_MEMORY)},
    {Call::kOpen, Entry::kInputOpen, one(EML_INPUT_NOT_OPENED)},
    // The message ends early, which may leave a related part without parts.
    {Call::kOpen, Entry::kInputRead, orElse(EML_OK, EML_OBJECT_FAILED)},
    {Call::kOpen, Entry::kInputSeek, orElse(EML_OK, EML_OBJECT_FAILED)},
    {Call::kOpen, Entry::kInputTell, orElse(EML_OK, EML_OBJECT_FAILED)},
    // The name of an embedded message that cannot be copied.
    {Call::kOpen, Entry::kDuplicateString, orElse(EML_NO_MEMORY)},
    {Call::kDescribe, Entry::kRecordAllocate, one(EML_NO_MEMORY)},
    // A value that cannot be copied is left out.
    {Call::kMetadata, Entry::kRecordAllocate, orElse(EML_NO_MEMORY)},
    {Call::kRequests, Entry::kAllocate, one(EML_NO_MEMORY)},
    {Call::kRequests, Entry::kReallocate, one(EML_NO_MEMORY)},
    {Call::kRequests, Entry::kRecordAllocate, one(EML_NO_MEMORY)},
    {Call::kRequests, Entry::kRecordReallocate, one(EML_NO_MEMORY)},
    {Call::kExtract, Entry::kOutputOpen, one(EML_OUTPUT_UNUSABLE)},
    // A raw copy does not look at its seek.
    {Call::kExtract, Entry::kInputSeek, orElse(EML_INPUT_UNUSABLE)},
    {Call::kRender, Entry::kOutputOpen, one(EML_OUTPUT_UNUSABLE)},
    // Of a line that cannot be converted, the line is left out.
    {Call::kRender, Entry::kAllocate, orElse(EML_NO_MEMORY)},
    {Call::kRender, Entry::kReallocate, one(EML_NO_MEMORY)},
    {Call::kRender, Entry::kInputSeek, orElse(EML_INPUT_UNUSABLE)},
    {Call::kRender, Entry::kInputRead, orElse(EML_INPUT_UNUSABLE)},
};

constexpr Row kFilterRows[] = {
    {Call::kOpen, Entry::kAllocate, one(EML_NO_MEMORY)},
    {Call::kOpen, Entry::kAllocateZeroed, one(EML_NO_MEMORY)},
    {Call::kOpen, Entry::kReallocate, one(EML_NO_MEMORY)},
    {Call::kOpen, Entry::kInputOpen, one(EML_INPUT_NOT_OPENED)},
    {Call::kOpen, Entry::kInputSeek, one(EML_INPUT_NOT_OPENED)},
    // No object, no context, and nobody who could have a code.
    {Call::kOpen, Entry::kOpenFile, one(EML_OK)},
    // The message ends early; what then has no byte, or attachments without a boundary, counts as empty.
    {Call::kOpen, Entry::kInputRead, orElse(EML_OK, EML_EMPTY_MESSAGE)},
    {Call::kConvert, Entry::kAllocate, orElse(EML_NO_MEMORY, EML_OBJECT_FAILED)},
    {Call::kConvert, Entry::kReallocate, orElse(EML_NO_MEMORY, EML_OBJECT_FAILED)},
    {Call::kConvert, Entry::kInputSeek, one(EML_OBJECT_FAILED)},
    {Call::kConvert, Entry::kInputRead, orElse(EML_OBJECT_FAILED)},
    // A subject whose words cannot be decoded gives the name that there is so far.
    {Call::kNameDate, Entry::kAllocate, orElse(EML_NO_MEMORY)},
    {Call::kNameDate, Entry::kInputSeek, one(EML_OBJECT_FAILED)},
    {Call::kNameDate, Entry::kInputRead, orElse(EML_OBJECT_FAILED)},
    {Call::kDescribe, Entry::kRecordAllocate, one(EML_NO_MEMORY)},
    {Call::kMetadata, Entry::kAllocate, orElse(EML_NO_MEMORY, EML_OBJECT_FAILED)},
    {Call::kMetadata, Entry::kReallocate, orElse(EML_NO_MEMORY, EML_OBJECT_FAILED)},
    {Call::kMetadata, Entry::kRecordAllocate, one(EML_NO_MEMORY)},
    {Call::kMetadata, Entry::kRecordReallocate, one(EML_NO_MEMORY)},
    {Call::kMetadata, Entry::kInputSeek, one(EML_OBJECT_FAILED)},
    {Call::kMetadata, Entry::kInputRead, orElse(EML_OBJECT_FAILED)},
    {Call::kRequests, Entry::kAllocate, orElse(EML_NO_MEMORY, EML_OBJECT_FAILED)},
    {Call::kRequests, Entry::kReallocate, orElse(EML_NO_MEMORY, EML_OBJECT_FAILED)},
    {Call::kRequests, Entry::kRecordAllocate, one(EML_NO_MEMORY)},
    {Call::kRequests, Entry::kRecordReallocate, one(EML_NO_MEMORY)},
    {Call::kRequests, Entry::kInputSeek, one(EML_OBJECT_FAILED)},
    {Call::kRequests, Entry::kInputRead, orElse(EML_OBJECT_FAILED)},
    {Call::kExtract, Entry::kOutputOpen, one(EML_OBJECT_FAILED)},
    // The seek to the start is looked at, the one that measures the output is not.
    {Call::kExtract, Entry::kOutputSeek, orElse(EML_OBJECT_FAILED)},
    {Call::kExtract, Entry::kOutputClose, one(EML_OBJECT_FAILED)},
    {Call::kExtractToTarget, Entry::kOpenFile, one(EML_NO_OUTPUT)},
    {Call::kExtractToTarget, Entry::kOutputOpen, one(EML_OBJECT_FAILED)},
    {Call::kExtractToTarget, Entry::kOutputSeek, orElse(EML_OBJECT_FAILED)},
    // The second of the two closes is not looked at.
    {Call::kExtractToTarget, Entry::kOutputClose, orElse(EML_OBJECT_FAILED)},
};

constexpr Row kMimeRows[] = {
    // A list that cannot be copied keeps the room that it has left.
    {Call::kOpen, Entry::kAllocate, orElse(EML_NO_MEMORY)},
    {Call::kOpen, Entry::kReallocate, one(EML_NO_MEMORY)},
    {Call::kOpen, Entry::kInputOpen, one(EML_INPUT_NOT_OPENED)},
    {Call::kOpen, Entry::kInputSeek, one(EML_INPUT_NOT_OPENED)},
    // The message ends early.
    {Call::kOpen, Entry::kInputRead, one(EML_OK)},
    {Call::kOpen, Entry::kProgress, one(EML_MIME_CANCELLED)},
    {Call::kNameDate, Entry::kAllocate, one(EML_NO_MEMORY)},
    {Call::kNameDate, Entry::kReallocate, one(EML_NO_MEMORY)},
    {Call::kMetadata, Entry::kAllocate, one(EML_NO_MEMORY)},
    {Call::kMetadata, Entry::kReallocate, one(EML_NO_MEMORY)},
    {Call::kMetadata, Entry::kInputSeek, one(EML_OBJECT_FAILED)},
    // A read that gives less is no failure; one that gives nothing is.
    {Call::kMetadata, Entry::kInputRead, orElse(EML_OBJECT_FAILED)},
    {Call::kExtract, Entry::kAllocate, one(EML_NO_MEMORY)},
    {Call::kExtract, Entry::kReallocate, one(EML_NO_MEMORY)},
    {Call::kExtract, Entry::kInputSeek, one(EML_OBJECT_FAILED)},
    {Call::kExtract, Entry::kInputRead, orElse(EML_OBJECT_FAILED)},
    {Call::kExtract, Entry::kOutputOpen, one(EML_OUTPUT_UNUSABLE)},
    // The seek to the start is looked at, the one that measures the output is not.
    {Call::kExtract, Entry::kOutputSeek, orElse(EML_OBJECT_FAILED)},
    {Call::kExtract, Entry::kOutputClose, one(EML_OBJECT_FAILED)},
    {Call::kExtract, Entry::kProgress, one(EML_MIME_CANCELLED)},
};

template <size_t N>
const Row* findRow(const Row (&rows)[N], Call call, Entry entry) {
    const auto* const found = std::find_if(std::begin(rows), std::end(rows), [&](const Row& row) {
        return row.call == call && row.entry == entry;
    });
    return found != std::end(rows) ? found : nullptr;
}

const Row* rowOf(Reader reader, Call call, Entry entry) {
    if (reader == Reader::kMime) return findRow(kMimeRows, call, entry);
    return reader == Reader::kContainer ? findRow(kContainerRows, call, entry)
                                        : findRow(kFilterRows, call, entry);
}

template <size_t N>
bool isOneOf(const EmlResult (&codes)[N], EmlResult code) {
    return std::find(std::begin(codes), std::end(codes), code) != std::end(codes);
}

// The codes that eml_mime.h states for each call, and EML_NO_SUB_FILE for the numbers that are none.
bool isCodeOfMimeCall(Call call, EmlResult code) {
    static constexpr EmlResult kOpenCodes[] = {EML_OK, EML_NO_MEMORY, EML_INVALID_ARGUMENT,
                                               EML_INPUT_NOT_OPENED, EML_MIME_CANCELLED};
    static constexpr EmlResult kNumberCodes[] = {EML_OK, EML_NO_SUB_FILE};
    static constexpr EmlResult kNameCodes[] = {EML_OK, EML_NO_SUB_FILE, EML_NO_MEMORY};
    static constexpr EmlResult kFieldCodes[] = {EML_OK, EML_NO_SUB_FILE, EML_NO_MEMORY, EML_OBJECT_FAILED};
    static constexpr EmlResult kExtractCodes[] = {EML_OK,
                                                  EML_NO_SUB_FILE,
                                                  EML_INVALID_ARGUMENT,
                                                  EML_NO_MEMORY,
                                                  EML_OBJECT_FAILED,
                                                  EML_OUTPUT_UNUSABLE,
                                                  EML_MIME_CANCELLED};
    switch (call) {
        case Call::kOpen:
            return isOneOf(kOpenCodes, code);
        case Call::kDescribe:
        case Call::kRequests:
            return isOneOf(kNumberCodes, code);
        case Call::kNameDate:
            return isOneOf(kNameCodes, code);
        case Call::kMetadata:
            return isOneOf(kFieldCodes, code);
        case Call::kExtract:
            return isOneOf(kExtractCodes, code);
        default:
            return code == EML_OK;
    }
}

}  // namespace

bool isStatedCode(Reader reader, Call call, Entry entry, EmlResult undisturbed, EmlResult code) {
    const Row* const row = rowOf(reader, call, entry);
    if (call == Call::kLine) return isCodeOfCall(reader, call, code);
    if (row == nullptr) return code == undisturbed;
    return std::any_of(row->codes.begin(), row->codes.end(), [&](EmlResult stated) {
        return stated == kUndisturbed ? code == undisturbed : stated != kNone && code == stated;
    });
}

bool isCodeOfCall(Reader reader, Call call, EmlResult code) {
    if (reader == Reader::kMime) return isCodeOfMimeCall(call, code);
    const auto isOneOf = [code](std::initializer_list<EmlResult> codes) {
        return std::find(codes.begin(), codes.end(), code) != codes.end();
    };
    const bool container = reader == Reader::kContainer;
    switch (call) {
        case Call::kOpen:
            return container ? isOneOf({EML_OK, EML_NO_MEMORY, EML_INPUT_UNUSABLE, EML_OBJECT_FAILED,
                                        EML_INPUT_NOT_OPENED})
                             : isOneOf({EML_OK, EML_NO_MEMORY, EML_EMPTY_MESSAGE, EML_OPEN_FAILED,
                                        EML_INPUT_NOT_OPENED});
        case Call::kDescribe:
            return isOneOf({EML_OK, EML_NO_MEMORY, EML_INVALID_ARGUMENT}) ||
                   code == (container ? EML_NO_SUB_FILE : EML_OBJECT_FAILED);
        case Call::kMetadata:
        case Call::kRequests:
            return isOneOf({EML_OK, EML_NO_MEMORY}) || (!container && code == EML_OBJECT_FAILED);
        case Call::kRender:
        case Call::kExtract:
            if (!container) return isOneOf({EML_OK, EML_INVALID_ARGUMENT, EML_OBJECT_FAILED});
            return isOneOf({EML_OK, EML_NO_MEMORY, EML_INPUT_UNUSABLE, EML_ENCRYPTED, EML_OUTPUT_UNUSABLE,
                            EML_NO_SUB_FILE});
        case Call::kExtractToTarget:
            return isOneOf({EML_OK, EML_OBJECT_FAILED, EML_NO_OUTPUT});
        case Call::kConvert:
            return isOneOf({EML_OK, EML_NO_MEMORY, EML_OBJECT_FAILED, EML_ENCRYPTED});
        case Call::kNameDate:
            return isOneOf({EML_OK, EML_NO_MEMORY, EML_OBJECT_FAILED, EML_INVALID_ARGUMENT});
        case Call::kAttachmentInfo:
            return isOneOf({EML_OK, EML_OBJECT_FAILED});
        case Call::kLine:
            return isOneOf({0, 1, 2});
        default:
            return code == EML_OK;
    }
}

}  // namespace eml::test
