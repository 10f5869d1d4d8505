#include "container/section_list.h"

#include "host/host_memory.h"

namespace eml {

namespace {

void appendNode(EmlSectionNode*& head, EmlSectionNode*& tail, EmlSectionNode* node) {
    node->next = nullptr;
    (tail != nullptr ? tail->next : head) = node;
    tail = node;
}

// Most messages have few parts; a slab of many is a block of 80 KB.
constexpr uint32_t kFirstSlab = 4;
constexpr uint32_t kLargestSlab = 1024;

EmlSectionNode* nodesOf(EmlSectionSlab& slab) {
    static_assert(sizeof(EmlSectionSlab) % alignof(EmlSectionNode) == 0);
    return reinterpret_cast<EmlSectionNode*>(&slab + 1);
}

// Puts a slab with room first, or leaves all as it is when memory runs out.
EmlResult addSlab(EmlContainerContext& context) {
    const EmlSectionSlab* const last = context.slabs;
    const uint32_t wanted = last == nullptr ? kFirstSlab : 2 * last->capacity;
    const uint32_t capacity = wanted < kLargestSlab ? wanted : kLargestSlab;
    const uint64_t size = sizeof(EmlSectionSlab) + uint64_t{capacity} * sizeof(EmlSectionNode);
    auto* slab = static_cast<EmlSectionSlab*>(allocateBlock(allocatorOf(context), size));
    if (slab == nullptr) return EML_NO_MEMORY;
    *slab = {context.slabs, 0, capacity};
    context.slabs = slab;
    return EML_OK;
}

}  // namespace

EmlResult appendSection(EmlContainerContext& context) {
    if (context.slabs == nullptr || context.slabs->used == context.slabs->capacity) {
        if (EmlResult result = addSlab(context); result != EML_OK) return result;
    }
    EmlSectionNode* const node = nodesOf(*context.slabs) + context.slabs->used++;
    node->section = {};
    appendNode(context.sections, context.sectionsTail, node);
    context.currentSection = &node->section;
    return EML_OK;
}

DetachedSections detachSections(EmlContainerContext& context) {
    const DetachedSections list{context.sections, context.sectionsTail};
    attachSections(context, {});
    return list;
}

void attachSections(EmlContainerContext& context, DetachedSections list) {
    context.sections = list.head;
    context.sectionsTail = list.tail;
    context.currentSection = nullptr;
}

void retireSections(EmlContainerContext& context, EmlSectionNode*& list) {
    while (EmlSectionNode* node = list) {
        list = node->next;
        node->next = context.retired;
        context.retired = node;
    }
}

void moveAttachments(EmlContainerContext& context, DetachedSections& target) {
    EmlSectionNode* node = context.sections;
    EmlSectionNode* rest = nullptr;
    EmlSectionNode* restTail = nullptr;
    while (node != nullptr) {
        EmlSectionNode* const next = node->next;
        if (node->section.isAttachment) {
            appendNode(target.head, target.tail, node);
        } else {
            appendNode(rest, restTail, node);
        }
        node = next;
    }
    attachSections(context, {rest, restTail});
}

void releaseSections(EmlContainerContext& context) {
    EmlAllocator& allocator = allocatorOf(context);
    while (EmlSectionSlab* slab = context.slabs) {
        const EmlSectionNode* const nodes = nodesOf(*slab);
        for (uint32_t i = 0; i < slab->used; ++i) {
            freeBlock(allocator, nodes[i].section.fileName);
            freeBlock(allocator, nodes[i].section.boundary);
        }
        context.slabs = slab->next;
        freeBlock(allocator, slab);
    }
}

}  // namespace eml
