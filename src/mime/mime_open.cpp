#include "mime/mime_open.h"

#include <algorithm>
#include <cstring>

#include "host/host_file.h"
#include "host/host_memory.h"
#include "mime/part_tree.h"
#include "mime/roles.h"

namespace eml {

namespace {

constexpr uint32_t kDefaultMaxDepth = 100;
constexpr uint32_t kMaxMaxDepth = 1000;
constexpr uint32_t kDefaultMaxParts = 100000;
constexpr uint32_t kDefaultMaxHeaderBytes = 1 << 20;
constexpr uint32_t kDefaultMaxDefects = 10000;

bool isUsableInput(const EmlIOobj* input) {
    return input != nullptr && input->open != nullptr && input->read != nullptr && input->seek != nullptr &&
           input->close != nullptr;
}

bool isUsableAllocator(const EmlAllocator* allocator) {
    return allocator != nullptr && allocator->allocate != nullptr && allocator->free != nullptr &&
           allocator->reallocate != nullptr;
}

uint32_t orDefault(uint32_t value, uint32_t standard) { return value == 0 ? standard : value; }

EmlMimeOptions completeOptions(const EmlMimeOptions* given) {
    EmlMimeOptions options{};
    if (given != nullptr) options = *given;
    options.maxDepth = std::min(orDefault(options.maxDepth, kDefaultMaxDepth), kMaxMaxDepth);
    options.maxParts = orDefault(options.maxParts, kDefaultMaxParts);
    options.maxHeaderBytes = orDefault(options.maxHeaderBytes, kDefaultMaxHeaderBytes);
    options.maxDefects = orDefault(options.maxDefects, kDefaultMaxDefects);
    return options;
}

// A list that grows no more gives back the room that it has left, when that is much and memory has room for a copy.
void trim(EmlMimeContext& context, GrowingBuffer& list) {
    constexpr uint32_t kMuch = 64 << 10;
    if (list.capacity - list.length < kMuch) return;
    auto* const copy = static_cast<uint8_t*>(allocateBlock(*context.allocator, list.length));
    if (copy == nullptr) return;
    if (list.length != 0) std::memcpy(copy, list.data, list.length);
    const GrowingBuffer trimmed{copy, list.length, list.length};
    list.release(*context.allocator);
    list = trimmed;
}

EmlResult readMessage(EmlMimeContext& context) {
    if (EmlResult result = PartTree(context).build(); result != EML_OK) return result;
    if (EmlResult result = assignRoles(context); result != EML_OK) return result;
    for (GrowingBuffer* list : {&context.parts, &context.spans, &context.defects, &context.texts})
        trim(context, *list);
    return context.defectsLost ? EML_NO_MEMORY : EML_OK;
}

}  // namespace

EmlMimeContext* openMime(EmlIOobj* input, EmlAllocator* allocator, const EmlMimeOptions* options,
                         EmlResult& result) {
    result = EML_INVALID_ARGUMENT;
    if (!isUsableInput(input) || !isUsableAllocator(allocator)) return nullptr;
    if (options != nullptr && options->recordSize < sizeof(EmlMimeOptions)) return nullptr;
    result = EML_INPUT_NOT_OPENED;
    if (input->open(input) == 0) return nullptr;
    if (!seekFile(*input, 0)) {
        (void)input->close(input);
        return nullptr;
    }
    auto* const context = allocateRecords<EmlMimeContext>(*allocator);
    if (context == nullptr) {
        (void)input->close(input);
        result = EML_NO_MEMORY;
        return nullptr;
    }
    context->allocator = allocator;
    context->input = input;
    context->options = completeOptions(options);
    context->kernels = &chooseKernels();
    context->block = static_cast<uint8_t*>(allocateBlock(*allocator, kMimeBlockSize));
    result = context->block == nullptr ? EML_NO_MEMORY : readMessage(*context);
    if (result == EML_OK) return context;
    closeMime(context);
    return nullptr;
}

void closeMime(EmlMimeContext* context) {
    if (context == nullptr) return;
    // The host may have taken the entry away since the open.
    if (context->input->close != nullptr) (void)context->input->close(context->input);
    EmlAllocator& allocator = *context->allocator;
    for (GrowingBuffer* buffer : {&context->parts, &context->spans, &context->defects, &context->texts,
                                  &context->header, &context->scratch, &context->places, &context->list}) {
        buffer->release(allocator);
    }
    freeBlock(allocator, context->block);
    freeBlock(allocator, context);
}

}  // namespace eml
