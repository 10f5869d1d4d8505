#include "filter/extraction.h"

#include <string_view>

#include "bytes/ascii.h"
#include "filter/filter_calls.h"
#include "filter/part_tables.h"
#include "filter/transfer_decoders.h"
#include "host/container_queries.h"
#include "host/host_file.h"

namespace eml {

namespace {

bool isText(const EmlAttachment& attachment) {
    constexpr std::string_view kText = "text/";
    return equalNoCase(reinterpret_cast<const uint8_t*>(attachment.contentType), kText.data(), kText.size());
}

// The decoder's own result is not looked at: what could be decoded has been written.
void decodeAttachment(EmlFilterContext& context, const EmlAttachment& attachment, EmlIOobj& output) {
    context.body.running = true;
    (void)extractDecoded(context, output, attachment, isText(attachment));
    context.body.running = false;
    forgetInput(context);
}

bool openOutput(EmlIOobj& output) {
    return output.open(&output) != 0 && seekFile(output, 0) && output.write != nullptr;
}

}  // namespace

EmlResult extractFilterSubFile(EmlFilterContext* context, int32_t index, EmlIOobj* output, uint32_t options) {
    if (context == nullptr) return EML_OBJECT_FAILED;
    context->bodyOnly = (options & EML_FILL_BODY_ONLY) != 0;
    const auto message = static_cast<int32_t>(rootShift(context->flags));
    if (message != 0 && index == 0) return EML_OK;
    if (index <= message) return EML_INVALID_ARGUMENT;
    return emlExtractAttachment(context, static_cast<uint32_t>(index - message - 1), output);
}

EmlResult extractToTarget(EmlFilterContext* context, uint32_t index, void* target) {
    if (context == nullptr) return EML_OBJECT_FAILED;
    EmlHostServices& services = *context->services;
    EmlIOobj* const output = services.openFile != nullptr ? services.openFile(&services, target) : nullptr;
    if (output == nullptr) return EML_NO_OUTPUT;
    const EmlResult result = emlExtractAttachment(context, index, output);
    if (output->close != nullptr) (void)output->close(output);
    if (output->release != nullptr) output->release(output);
    return result;
}

}  // namespace eml

EmlResult emlExtractAttachment(EmlFilterContext* context, uint32_t attachmentIndex, EmlIOobj* output) {
    if (context == nullptr || output == nullptr || output->open == nullptr) return EML_OBJECT_FAILED;
    EmlAttachment* const attachment = eml::attachmentAt(*context, attachmentIndex);
    if (attachment == nullptr) return EML_OBJECT_FAILED;
    if (attachment->size == -1) eml::measureAttachment(*context, *attachment);
    if (attachment->size < 1) return EML_OK;
    if (!eml::openOutput(*output)) return EML_OBJECT_FAILED;
    eml::decodeAttachment(*context, *attachment, *output);
    return output->close != nullptr && output->close(output) != 0 ? EML_OK : EML_OBJECT_FAILED;
}
