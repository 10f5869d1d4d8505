#include "mime/spans.h"

namespace eml {

EmlResult beginSpan(EmlMimeContext& context, uint64_t offset, uint32_t kind, uint32_t part) {
    const uint32_t count = recordCount<MimeSpan>(context.spans);
    auto* const spans = recordsOf<MimeSpan>(context.spans);
    const MimeSpan added{offset, part, kind};
    if (count > 0 && spans[count - 1].offset == offset) {
        spans[count - 1] = added;
        return EML_OK;
    }
    if (count > 0 && spans[count - 1].kind == kind && spans[count - 1].part == part) return EML_OK;
    return context.spans.append(*context.allocator, reinterpret_cast<const uint8_t*>(&added), sizeof added);
}

void preambleIsBody(EmlMimeContext& context, uint32_t part) {
    const uint32_t count = recordCount<MimeSpan>(context.spans);
    if (count == 0) return;
    MimeSpan& last = recordsOf<MimeSpan>(context.spans)[count - 1];
    if (last.part == part && last.kind == EML_MIME_SPAN_PREAMBLE) last.kind = EML_MIME_SPAN_BODY;
}

void endSpans(EmlMimeContext& context) {
    const uint32_t count = recordCount<MimeSpan>(context.spans);
    if (count == 0 || recordsOf<MimeSpan>(context.spans)[count - 1].offset < context.size) return;
    context.spans.length -= uint32_t{sizeof(MimeSpan)};
}

}  // namespace eml
