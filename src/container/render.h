// The message itself as one document: a header block and the body, as HTML, RTF or text.
#pragma once

#include "container/container_context.h"

// Writes the document with the output's write entry. Which form follows from the bodies that the message has
// and from context.extract. EML_INPUT_UNUSABLE when the body cannot be read, EML_NO_MEMORY when there is no
// room for it.
[[nodiscard]] EmlResult eml2ExtractMsgToIOobj(EmlContainerContext& context, EmlIOobj& output);

namespace eml {

// The three forms. Only the text form accepts NULL as `body`.
[[nodiscard]] EmlResult renderHtml(EmlContainerContext& context, const EmlSection& body, EmlIOobj& output);
[[nodiscard]] EmlResult renderRtf(EmlContainerContext& context, const EmlSection& body, EmlIOobj& output);
[[nodiscard]] EmlResult renderText(EmlContainerContext& context, const EmlSection* body, EmlIOobj& output);

}  // namespace eml
