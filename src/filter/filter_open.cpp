// Opening and closing a message as a filter, and what is asked of it as a whole.
#include "bytes/unreachable.h"
#include "filter/filter_calls.h"
#include "filter/message_scan.h"
#include "filter/record_stream.h"
#include "host/container_queries.h"
#include "host/host_checks.h"
#include "host/host_file.h"
#include "host/host_memory.h"

namespace eml {

namespace {

EmlFilterContext* failOpen(EmlFilterContext* context, EmlResult code, EmlResult* result) {
    if (result != nullptr) *result = code;
    closeFilter(context);
    return nullptr;
}

bool openInput(EmlIOobj* io) {
    return io != nullptr && io->open != nullptr && io->open(io) != 0 && seekFile(*io, 0);
}

void closeInput(EmlIOobj& io) {
    if (io.close != nullptr) (void)io.close(&io);
}

}  // namespace

EmlFilterContext* openFilter(EmlIOobj* io, EmlHostServices* services, uint32_t flags, EmlResult* result) {
    auto* context = services != nullptr ? allocateRecords<EmlFilterContext>(services->allocator) : nullptr;
    if (context == nullptr) {
        if (services != nullptr) services->lastError = EML_NO_MEMORY;
        return failOpen(nullptr, EML_NO_MEMORY, result);
    }
    context->io = io;
    context->services = services;
    context->flags = flags;
    context->kernels = &chooseKernels();
    context->input.carryPos = context->input.carry;
    forgetInput(*context);
    if (!openInput(io)) {
        services->lastError = EML_INPUT_NOT_OPENED;
        return failOpen(context, EML_INPUT_NOT_OPENED, result);
    }
    context->charset = EML_CHARSET_WESTERN;
    if (const EmlResult code = parseEML(*context); code != EML_OK) {
        services->lastError = code;
        return failOpen(context, code, result);
    }
    forgetInput(*context);
    context->prologuePending = true;
    context->prologueCharset = context->charset;
    return context;
}

EmlFilterContext* openFilterFile(void* fileSpec, EmlHostServices* services, uint32_t flags) {
    if (services == nullptr || services->openFile == nullptr) return nullptr;
    EmlIOobj* const io = services->openFile(services, fileSpec);
    if (io == nullptr) return nullptr;
    EmlResult dropped = EML_OK;
    EmlFilterContext* const context = openFilter(io, services, flags, &dropped);
    if (context != nullptr) context->ownsIo = true;
    return context;
}

void closeFilter(EmlFilterContext* context) {
    if (context == nullptr || context->services == nullptr) return;
    EmlAllocator& allocator = allocatorOf(*context);
    context->parts.attachments.release(allocator);
    context->parts.names.release(allocator);
    context->parts.bodies.release(allocator);
    context->body.decoded.release(allocator);
    context->request.value.release(allocator);
    releaseStaging(*context);
    EmlIOobj* const io = context->io;
    if (io != nullptr) closeInput(*io);
    freeBlock(allocator, context->extractBuffer);
    if (io != nullptr && context->ownsIo) {
        closeInput(*io);  // KEPT: an object that the library opened itself is closed twice
        if (io->release != nullptr) io->release(io);
    }
    freeBlock(allocator, context->boundary.text);
    freeBlock(allocator, context);
}

int32_t attachmentCount(const EmlFilterContext* context) {
    return context != nullptr ? context->parts.attachments.count : -1;
}

// A charset that is not known becomes the default one, for good.
uint32_t settledCharset(EmlFilterContext& context, uint32_t& extra) {
    extra = context.charsetExtra;
    if (context.charset == EML_CHARSET_UNKNOWN) context.charset = EML_CHARSET_WESTERN;
    return context.charset;
}

EmlResult filterInfo(EmlFilterContext* context, EmlContainerInfo* info, const EmlHostRecord* hostRecord) {
    if (context == nullptr || info == nullptr || !isComplete(hostRecord)) return EML_INVALID_ARGUMENT;
    const auto attachments = context->encrypted ? 0 : static_cast<uint32_t>(context->parts.attachments.count);
    info->subFileCount = subFileCount(attachments, context->flags);
    info->charset = settledCharset(*context, info->charsetExtra);
    return EML_OK;
}

}  // namespace eml
