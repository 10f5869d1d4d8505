#include "faults/filter_session.h"

#include <cstring>

namespace eml::test {
namespace {

// Conversions at this capacity go on by emlFillBuffer.
constexpr uint32_t kPlainFillCapacity = 4096;

}  // namespace

EmlResult FilterSession::open() {
    EmlHostServices& services = host().services();
    if (reader() == Reader::kFilterFile) {
        context_ = emlInit(&host().input(), &services, flags());
        return context_ != nullptr ? EML_OK : services.lastError;
    }
    const HostValue<EmlResult> result(host().ownHeap(), EML_OK);
    context_ = emlInitEx(&host().input(), &services, flags(), 0, 0, &*result);
    if (context_ == nullptr && *result != services.lastError && *result != EML_OPEN_FAILED)
        host().journal().violation("the code of the open is not the one in the services");
    if (context_ != nullptr && *result != EML_OK)
        host().journal().violation("an open that worked has a code");
    return *result;
}

void FilterSession::closeContext() {
    emlShutdown(context_);
    context_ = nullptr;
}

std::vector<Step> FilterSession::steps() {
    const int32_t attachments = emlGetFileNumber(context_);
    const int32_t message = messageNumber();
    // A conversion that was left in the middle changes what other calls give, so conversions come first.
    std::vector<Step> steps = {{Call::kConvert, message, 0, 300},
                               {Call::kConvert, message, 0, kPlainFillCapacity},
                               {Call::kConvert, message, EML_FILL_BODY_ONLY, 700},
                               {Call::kQuery},
                               {Call::kNameDate},
                               {Call::kMetadata, message},
                               {Call::kRequests, message}};
    for (int32_t i = -1; i <= attachments + message + 1; ++i) {
        steps.push_back({Call::kDescribe, i});
        steps.push_back({Call::kExtract, i});
    }
    for (int32_t i = 0; i <= attachments; ++i) {
        steps.push_back({Call::kAttachmentInfo, i});
        steps.push_back({Call::kExtractToTarget, i});
    }
    return steps;
}

Answer FilterSession::run(const Step& step) {
    switch (step.call) {
        case Call::kQuery:
            return query();
        case Call::kNameDate:
            return nameDate();
        case Call::kDescribe:
            return describe(step.number);
        case Call::kAttachmentInfo:
            return attachmentInfo(step.number);
        case Call::kMetadata:
            return metadata(false);
        case Call::kRequests:
            return metadata(true);
        case Call::kExtract:
            return extract(step);
        case Call::kExtractToTarget:
            return extractToTarget(step);
        default:
            return convert(step);
    }
}

Answer FilterSession::query() {
    const HostValue<EmlContainerInfo> info(host().ownHeap());
    const HostValue<uint32_t> extra(host().ownHeap());
    const EmlResult code = emlGetContainerInfo(context_, &*info, &host().record());
    return {code, std::to_string(emlGetFileNumber(context_)) + " attachments, " +
                      std::to_string(info->subFileCount) + " in charset " + std::to_string(info->charset) +
                      " and " + std::to_string(emlCharSet(context_, &*extra)) + " " + std::to_string(*extra)};
}

Answer FilterSession::nameDate() {
    const HostBlock name(host().ownHeap(), 14);
    const HostBlock date(host().ownHeap(), 2 * sizeof(uint32_t));
    std::memset(name.data(), 0, name.size());
    std::memset(date.data(), 0, date.size());
    const EmlResult code = emlGetMainNameDate(context_, name.chars(), date.data());
    const std::string text(name.chars());
    if (code == EML_NO_MEMORY || code == EML_OBJECT_FAILED) {
        if (text != "zteml.mail") host().journal().violation("no default name after a failure: " + text);
    }
    uint32_t words[2];
    std::memcpy(words, date.data(), sizeof words);
    return {code, text + " " + std::to_string(words[0]) + " " + std::to_string(words[1])};
}

Answer FilterSession::describe(int32_t number) {
    const HostValue<EmlSubFileInfo> info(host().ownHeap());
    return takeSubFile(emlGetSubFileInfoEx(context_, number, &*info, &host().record()), *info);
}

Answer FilterSession::attachmentInfo(int32_t number) {
    const HostValue<EmlAttachmentInfo> info(host().ownHeap());
    const EmlResult code = emlGetSubFileInfo(context_, static_cast<uint32_t>(number), &*info);
    return {code, info->name + std::string(" ") + std::to_string(info->size)};
}

Answer FilterSession::metadata(bool byName) {
    const HostValue<EmlMetaData> list(host().ownHeap());
    const Requests requests(host());
    const EmlResult code =
        emlGetSubFileMetadata(context_, messageNumber(), byName ? requests.count() : 0,
                              byName ? requests.data() : nullptr, &*list, &host().record());
    return takeMetadata(code, *list);
}

Answer FilterSession::extract(const Step& step) {
    MemoryOutput output(host());
    const EmlResult code =
        emlExtractSubFileToIOobjEx(context_, step.number, &output.object(), 0, 0, step.options);
    return takeOutput(code, output, 0);
}

Answer FilterSession::extractToTarget(const Step& step) {
    MemoryOutput output(host());
    output.give();
    const EmlResult code =
        emlExtractSubFileToIOobj(context_, static_cast<uint32_t>(step.number), &output.object());
    const uint32_t expected = code == EML_NO_OUTPUT ? 0 : 1;
    if (output.releases() != expected) host().journal().violation("a target was not released once");
    return takeOutput(code, output, 0);
}

// Whole records, whose lengths add up to what the call says that it gave.
void FilterSession::checkRecords(std::string_view bytes) {
    while (!bytes.empty()) {
        uint32_t length = 0;
        if (bytes.size() >= 5) std::memcpy(&length, bytes.data() + 1, sizeof length);
        if (length < 5 || length > bytes.size()) {
            host().journal().violation("a fill gave a record that is not whole");
            return;
        }
        bytes.remove_prefix(length);
    }
}

// All fills to the end. Ends too when three of them in a row change nothing.
Answer FilterSession::convert(const Step& step) {
    const uint32_t capacity = step.detail;
    const HostBlock buffer(host().ownHeap(), capacity);
    const HostValue<uint32_t> size(host().ownHeap());
    const HostValue<uint32_t> progress(host().ownHeap());
    Answer answer;
    uint32_t flags = step.options | EML_FILL_RESTART;
    for (int idle = 0; idle < 3 && *progress < 100;) {
        const uint32_t before = *progress;
        *size = UINT32_MAX;
        const bool plain = capacity == kPlainFillCapacity && (flags & EML_FILL_RESTART) == 0;
        answer.code = plain ? emlFillBuffer(context_, buffer.data(), &*size, &*progress, capacity)
                            : emlFillBufferEx(context_, static_cast<uint32_t>(step.number), buffer.data(),
                                              &*size, &*progress, capacity, flags);
        flags = step.options;
        if (*size > capacity) {
            host().journal().violation("a fill says that it wrote " + std::to_string(*size));
            return answer;
        }
        if (*progress < before || *progress > 100) host().journal().violation("progress runs backwards");
        const std::string_view bytes(buffer.chars(), *size);
        checkRecords(bytes);
        answer.text += bytes;
        answer.text += "<" + std::to_string(*progress) + ">";
        if (answer.code != EML_OK) return answer;
        idle = *size == 0 && *progress == before ? idle + 1 : 0;
    }
    return answer;
}

}  // namespace eml::test
