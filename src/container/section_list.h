// Lists of sections.
#pragma once

#include "container/container_context.h"

namespace eml {

// Appends a zeroed section to `sections` and makes it the current one. EML_NO_MEMORY leaves the list as it
// was.
[[nodiscard]] EmlResult appendSection(EmlContainerContext& context);

// A list that has been taken out of the context.
struct DetachedSections {
    EmlSectionNode* head;
    EmlSectionNode* tail;
};

// Takes `sections` out; the context has no list, no tail and no current section then.
[[nodiscard]] DetachedSections detachSections(EmlContainerContext& context);

// Puts a list back as `sections`, which must be empty.
void attachSections(EmlContainerContext& context, DetachedSections list);

// Moves what is in `list` to the list that lives until close: a body may point into it.
void retireSections(EmlContainerContext& context, EmlSectionNode*& list);

// Moves the attachments of `sections`, in order, to the end of `target`.
void moveAttachments(EmlContainerContext& context, DetachedSections& target);

// Frees the sections of all lists, with their strings.
void releaseSections(EmlContainerContext& context);

}  // namespace eml
