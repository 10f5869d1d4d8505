#include "filter/body_text.h"

#include <algorithm>

#include "bytes/unreachable.h"
#include "filter/record_stream.h"

namespace {

using eml::Written;

enum class Step : uint8_t { kOn, kFull, kNoMemory };

Step stepOf(Written written) {
    if (written == Written::kYes) return Step::kOn;
    return written == Written::kFull ? Step::kFull : Step::kNoMemory;
}

Step appendToField(EmlFilterContext& context, const uint8_t* bytes, uint32_t count) {
    return context.request.value.append(eml::allocatorOf(context), bytes, count) == EML_OK ? Step::kOn
                                                                                           : Step::kNoMemory;
}

// Writes the run from readPos up to `end`, in stream mode only as much as there is room for, and moves
// readPos on.
Step flushRun(EmlFilterContext& context, bool fieldMode, const uint8_t* end) {
    auto length = static_cast<uint32_t>(end - context.input.readPos);
    if (length == 0) return Step::kOn;
    if (fieldMode) {
        if (appendToField(context, context.input.readPos, length) != Step::kOn) return Step::kNoMemory;
        context.input.readPos = end;
        return Step::kOn;
    }
    const uint32_t room = eml::textRoom(context);
    const bool cut = length > room;
    length = std::min(length, room);
    if (EML_NEVER(length == 0)) return Step::kFull;  // runs are looked for while there is room
    const Step step = stepOf(eml::writeText(context, context.input.readPos, length));
    if (step != Step::kOn) return step;
    context.input.readPos += length;
    return cut ? Step::kFull : Step::kOn;
}

// Treats the byte that ends a run. KEPT: a zero byte is dropped, and so is a tab in field mode; CR LF is one
// line break only when both are in the buffer.
Step treatRunEnd(EmlFilterContext& context, bool fieldMode) {
    const uint8_t byte = *context.input.readPos;
    uint32_t length = 1;
    Step step = Step::kOn;
    if (eml::isLineEnd(byte)) {
        constexpr uint8_t kBlank = ' ';
        if (byte == eml::kCr && context.input.end - context.input.readPos > 1 &&
            context.input.readPos[1] == eml::kLf)
            length = 2;
        step = fieldMode ? appendToField(context, &kBlank, 1) : stepOf(eml::writeLineBreak(context));
    } else if (byte == '\t' && !fieldMode) {
        step = stepOf(eml::writeTab(context));
    }
    if (step == Step::kOn) context.input.readPos += length;
    return step;
}

// The end of the run at readPos, in stream mode at most one byte more than there is room for: a decoded body
// can be one run, and the rest of it is looked at by the fill that writes it, not by each one.
const uint8_t* findRunEnd(const EmlFilterContext& context, bool fieldMode) {
    auto length = static_cast<size_t>(context.input.end - context.input.readPos);
    if (!fieldMode) length = std::min(length, size_t{eml::textRoom(context)} + 1);
    return context.kernels->findTextRunEnd(context.input.readPos, context.input.readPos + length);
}

// Whether the output is full is looked at before each byte: the byte that ends a run is treated in the
// step that writes the run, unless that was cut.
Step convertRuns(EmlFilterContext& context, bool fieldMode) {
    while (context.input.readPos < context.input.end) {
        if (!fieldMode && eml::isFull(context)) return Step::kFull;
        const uint8_t* const end = findRunEnd(context, fieldMode);
        // KEPT: a single last byte before a zero byte, which stands after every buffer, is dropped.
        if (end == context.input.end && end - context.input.readPos == 1 && *end == 0) {
            context.input.readPos = end;
            return Step::kOn;
        }
        if (Step step = flushRun(context, fieldMode, end); step != Step::kOn) return step;
        if (end == context.input.end) return Step::kOn;
        if (Step step = treatRunEnd(context, fieldMode); step != Step::kOn) return step;
    }
    return Step::kOn;
}

}  // namespace

bool processEMLplainbody(EmlFilterContext& context, bool fieldMode) {
    const uint8_t* const begin = context.input.readPos;
    const Step step = convertRuns(context, fieldMode);
    context.body.converted += static_cast<int32_t>(context.input.readPos - begin);
    if (step == Step::kFull) {
        context.output.full = true;
        context.body.textWaits = true;
    }
    return step != Step::kNoMemory;
}
