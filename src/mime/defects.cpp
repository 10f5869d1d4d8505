#include "mime/defects.h"

namespace eml {

namespace {

// Whether the defect at `index` is `code` of `part`.
bool isDefect(const EmlMimeDefect& defect, uint32_t code, uint32_t part) {
    return defect.code == code && defect.part == part;
}

}  // namespace

void noteDefect(EmlMimeContext& context, uint32_t code, uint32_t part, uint64_t offset, uint64_t count) {
    const uint32_t have = recordCount<EmlMimeDefect>(context.defects);
    auto* const defects = recordsOf<EmlMimeDefect>(context.defects);
    // A part has at most as many defects as there are codes, and mostly the last ones: the walk back is short.
    MimePart& owner = partAt(context, part);
    uint32_t left = owner.defectCount;
    for (uint32_t i = have; i > 0 && left > 0; --i) {
        EmlMimeDefect& defect = defects[i - 1];
        if (isDefect(defect, code, part)) {
            defect.count += count;
            return;
        }
        if (defect.part == part) --left;
    }
    const EmlMimeDefect added{code, part, offset, count};
    const auto* bytes = reinterpret_cast<const uint8_t*>(&added);
    if (have >= context.options.maxDefects ||
        context.defects.append(*context.allocator, bytes, sizeof added) != EML_OK) {
        ++context.defectsLeftOut;
        return;
    }
    ++owner.defectCount;
}

}  // namespace eml
