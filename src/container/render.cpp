#include "container/render.h"

EmlResult eml2ExtractMsgToIOobj(EmlContainerContext& context, EmlIOobj& output) {
    const bool rich = context.extract.preferRichBody != 0 || context.plainBody == nullptr;
    if (rich && context.htmlBody != nullptr) return eml::renderHtml(context, *context.htmlBody, output);
    if (rich && context.rtfBody != nullptr) return eml::renderRtf(context, *context.rtfBody, output);
    return eml::renderText(context, context.plainBody, output);
}
