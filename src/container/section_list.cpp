#include "container/section_list.h"

#include "host/host_memory.h"

namespace eml {

namespace {

void appendNode(EmlSectionNode*& head, EmlSectionNode*& tail, EmlSectionNode* node) {
    node->next = nullptr;
    node->previous = tail;
    (tail != nullptr ? tail->next : head) = node;
    tail = node;
}

}  // namespace

EmlResult appendSection(EmlContainerContext& context) {
    EmlAllocator& allocator = allocatorOf(context);
    auto* section = allocateRecords<EmlSection>(allocator);
    if (section == nullptr) return EML_NO_MEMORY;
    auto* node = allocateRecords<EmlSectionNode>(allocator);
    if (node == nullptr) {
        freeBlock(allocator, section);
        return EML_NO_MEMORY;
    }
    node->section = section;
    appendNode(context.sections, context.sectionsTail, node);
    context.currentSection = section;
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
        if (node->section->isAttachment != 0) {
            appendNode(target.head, target.tail, node);
        } else {
            appendNode(rest, restTail, node);
        }
        node = next;
    }
    attachSections(context, {rest, restTail});
}

void releaseSections(EmlAllocator& allocator, EmlSectionNode*& list) {
    while (EmlSectionNode* node = list) {
        list = node->next;
        freeBlock(allocator, node->section->fileName);
        freeBlock(allocator, node->section->boundary);
        freeBlock(allocator, node->section);
        freeBlock(allocator, node);
    }
}

}  // namespace eml
