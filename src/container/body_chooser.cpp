#include "container/body_chooser.h"

#include <array>

#include "container/boundary_scan.h"
#include "container/section_list.h"

namespace eml {

namespace {

// How many multipart/related parts may stand inside each other. Real mail has two; each level reads its part
// again.
constexpr size_t kMaxRelatedLevels = 100;

void takeBody(EmlSection*& slot, EmlSection& section, uint32_t contentClass) {
    if (slot == nullptr && section.contentClass == contentClass) slot = &section;
}

void takeBodies(EmlContainerContext& context, EmlSection& section) {
    takeBody(context.plainBody, section, EML_CLASS_TEXT);
    takeBody(context.htmlBody, section, EML_CLASS_HTML);
    takeBody(context.rtfBody, section, EML_CLASS_RTF);
}

EmlResult scanBody(EmlContainerContext& context, const EmlSection& section) {
    const BoundaryText boundary{section.boundary, section.boundaryLength};
    return scanSections(context, boundary, section.bodyStart, section.bodyEnd);
}

EmlResult chooseInAlternative(EmlContainerContext& context, const EmlSection& section) {
    const DetachedSections outer = detachSections(context);
    const EmlResult result = scanBody(context, section);
    if (result == EML_OK) {
        chooseAlternatives(context);
        retireSections(context, context.alternatives);
        context.alternatives = context.sections;
    } else {
        retireSections(context, context.sections);
    }
    attachSections(context, outer);
    return result;
}

// The lists around the related part that is being looked into, outermost first.
struct RelatedLevels {
    std::array<DetachedSections, kMaxRelatedLevels> outer;
    size_t depth;
};

// Makes the parts of `section` the section list. A part without parts is an error; the outer list is back
// then.
EmlResult enterRelated(EmlContainerContext& context, RelatedLevels& levels, const EmlSection& section) {
    const DetachedSections outer = detachSections(context);
    EmlResult result = scanBody(context, section);
    if (result == EML_OK && context.sections == nullptr) result = EML_OBJECT_FAILED;
    if (result == EML_OK) {
        levels.outer[levels.depth++] = outer;
    } else {
        retireSections(context, context.sections);
        attachSections(context, outer);
    }
    return result;
}

// The attachments of a related part become attachments of the list around it. The other parts stay until
// close, since the chosen body is one of them.
void leaveRelated(EmlContainerContext& context, RelatedLevels& levels) {
    DetachedSections outer = levels.outer[--levels.depth];
    moveAttachments(context, outer);
    retireSections(context, context.sections);
    attachSections(context, outer);
}

}  // namespace

void chooseAlternatives(EmlContainerContext& context) {
    for (EmlSectionNode* node = context.sections; node != nullptr; node = node->next) {
        if (node->section.isAttachment) return;
        takeBodies(context, node->section);
    }
}

EmlResult chooseBody(EmlContainerContext& context, EmlSection& section) {
    RelatedLevels levels{};
    EmlSection* candidate = &section;
    EmlResult result = EML_OK;
    while (result == EML_OK && candidate->contentClass == EML_CLASS_RELATED &&
           candidate->boundary != nullptr && levels.depth < kMaxRelatedLevels) {
        result = enterRelated(context, levels, *candidate);
        if (result == EML_OK) candidate = &context.sections->section;
    }
    if (result == EML_OK) {
        if (candidate->contentClass == EML_CLASS_ALTERNATIVE && candidate->boundary != nullptr) {
            result = chooseInAlternative(context, *candidate);
        } else {
            takeBodies(context, *candidate);
        }
    }
    while (levels.depth != 0) leaveRelated(context, levels);
    return result;
}

}  // namespace eml
