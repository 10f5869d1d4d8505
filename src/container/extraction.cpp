// Sub-files into output objects.
#include "container/container_calls.h"
#include "container/render.h"
#include "container/sub_files.h"
#include "container/transfer_decoders.h"
#include "host/container_queries.h"
#include "host/host_checks.h"
#include "host/host_file.h"

namespace eml {

namespace {

void takeOptions(EmlContainerContext& context, EmlExtractInfo* extractInfo, uint32_t options) {
    EmlExtractOptions& extract = context.extract;
    extract = EmlExtractOptions{};
    extract.bodyOnly = (options & EML_EXTRACT_BODY_ONLY) != 0 ? 1 : 0;
    if (extractInfo != nullptr && extractInfo->outputCharset != 0) {
        extract.outputCharset = extractInfo->outputCharset;
        extractInfo->outputCharset = 0;
    }
    if ((options & EML_EXTRACT_PREFER_RICH) != 0) {
        extract.preferRichBody = 1;
        extract.outputCharset = 0;
    }
}

void report(EmlExtractInfo* extractInfo, uint32_t flag) {
    if (extractInfo != nullptr) extractInfo->resultFlags |= flag;
}

EmlResult extractAttachment(EmlContainerContext& context, const EmlSection* section, EmlIOobj& output,
                            EmlExtractInfo* extractInfo) {
    if (section == nullptr) return EML_NO_SUB_FILE;
    if ((section->flags & EML_SECTION_CONVERTED) != 0) {
        report(extractInfo, EML_EXTRACT_NOT_IN_FILE);
        return EML_OK;
    }
    return writeDecodedBody(context, *section, output);
}

}  // namespace

EmlResult extractSubFile(EmlContainerContext* context, int32_t number, EmlIOobj* output,
                         EmlExtractInfo* extractInfo, uint32_t options) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    const uint32_t shift = rootShift(context->openFlags);
    if (shift != 0 && number == 0) return EML_OK;
    const int64_t k = int64_t{number} - shift;
    takeOptions(*context, extractInfo, options);
    if (!isUsableOutput(output) || output->open(output) == 0) return EML_OUTPUT_UNUSABLE;
    (void)seekFile(*output, 0);
    // KEPT: the output of an encrypted message stays open, and its size is not taken.
    if (k == 0 && context->contentClass == EML_CLASS_PKCS7_MIME) return EML_ENCRYPTED;
    const EmlResult result =
        k == 0 ? eml2ExtractMsgToIOobj(*context, *output)
               : extractAttachment(*context, findAttachment(*context, k), *output, extractInfo);
    if (context->extract.converted != 0) report(extractInfo, EML_EXTRACT_CONVERTED);
    storeFinalSize(*output);
    (void)output->close(output);
    return result;
}

}  // namespace eml
