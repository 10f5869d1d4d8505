#include "filter/body_text.h"

#include <algorithm>

#include "bytes/unreachable.h"
#include "filter/decoded_text.h"
#include "filter/record_stream.h"

namespace {

using eml::Written;

enum class Step : uint8_t { kOn, kFull, kFailed };

Step stepOf(Written written) {
    if (written == Written::kYes) return Step::kOn;
    return written == Written::kFull ? Step::kFull : Step::kFailed;
}

Step appendToField(EmlFilterContext& context, const uint8_t* bytes, uint32_t count) {
    return context.request.value.append(eml::allocatorOf(context), bytes, count) == EML_OK ? Step::kOn
                                                                                           : Step::kFailed;
}

// The end of the run at readPos, but at most one byte more than there is room for: a decoded body can be one run,
// and the rest of it is looked at by the fill that writes it, not by each one.
const uint8_t* findRunEnd(const EmlFilterContext& context, uint32_t room) {
    const auto length = static_cast<size_t>(context.input.end - context.input.readPos);
    const uint8_t* const pos = context.input.readPos;
    return context.kernels->findTextRunEnd(pos, pos + std::min(length, size_t{room} + 1));
}

// KEPT: a single last byte before a zero byte, which stands after every buffer, is dropped. At the end of a window that
// is not the last more than one byte is left.
bool isDropped(const EmlFilterContext& context, const uint8_t* runEnd) {
    return runEnd == context.input.end && runEnd - context.input.readPos == 1 && *runEnd == 0;
}

// Goes on with a run at the end of a window, in the same record, for which `room` bytes are left. Where there are
// enough to come here the record fits in any case.
Step extendRun(EmlFilterContext& context, uint8_t* record, uint32_t room) {
    while (context.input.readPos == context.input.end && context.body.rest.left != 0) {
        if (!eml::decodeNextWindow(context)) return Step::kFailed;
        const auto found = static_cast<uint32_t>(findRunEnd(context, room) - context.input.readPos);
        const uint32_t length = std::min(found, room);
        eml::extendText(context, record, context.input.readPos, length);
        context.input.readPos += length;
        room -= length;
        if (found > length) return Step::kFull;
    }
    return Step::kOn;
}

// Writes the run from readPos up to `end`, as much of it as there is room for, and moves readPos on.
Step writeRun(EmlFilterContext& context, const uint8_t* end) {
    auto length = static_cast<uint32_t>(end - context.input.readPos);
    if (length == 0) return Step::kOn;
    const uint32_t room = eml::textRoom(context);
    const bool cut = length > room;
    length = std::min(length, room);
    if (EML_NEVER(length == 0)) return Step::kFull;  // runs are looked for while there is room
    uint8_t* const record = context.output.next;
    const Step step = stepOf(eml::writeText(context, context.input.readPos, length));
    if (step != Step::kOn) return step;
    context.input.readPos += length;
    return cut ? Step::kFull : extendRun(context, record, room - length);
}

// KEPT: a zero byte is dropped, and so is a tab in field mode; CR LF is one line break only when both are in the
// buffer.
ptrdiff_t lengthOfRunEnd(const EmlFilterContext& context) {
    const uint8_t* const pos = context.input.readPos;
    return *pos == eml::kCr && context.input.end - pos > 1 && pos[1] == eml::kLf ? 2 : 1;
}

Step gatherRuns(EmlFilterContext& context) {
    constexpr uint8_t kBlank = ' ';
    while (context.input.readPos < context.input.end) {
        const uint8_t* const pos = context.input.readPos;
        const uint8_t* const end = context.kernels->findTextRunEnd(pos, context.input.end);
        const auto length = isDropped(context, end) ? 0U : static_cast<uint32_t>(end - pos);
        if (appendToField(context, pos, length) != Step::kOn) return Step::kFailed;
        context.input.readPos = end;
        if (end == context.input.end) return Step::kOn;
        if (eml::isLineEnd(*end) && appendToField(context, &kBlank, 1) != Step::kOn) return Step::kFailed;
        context.input.readPos += lengthOfRunEnd(context);
    }
    return Step::kOn;
}

Step writeRunEnd(EmlFilterContext& context) {
    const uint8_t byte = *context.input.readPos;
    Step step = Step::kOn;
    if (eml::isLineEnd(byte)) {
        step = stepOf(eml::writeLineBreak(context));
    } else if (byte == '\t') {
        step = stepOf(eml::writeTab(context));
    }
    if (step == Step::kOn) context.input.readPos += lengthOfRunEnd(context);
    return step;
}

// One run and the byte that ends it.
Step writeNextRun(EmlFilterContext& context, bool& isShort) {
    const uint8_t* const end = findRunEnd(context, eml::textRoom(context));
    isShort = end - context.input.readPos < eml::kShortRun;
    if (isDropped(context, end)) {
        context.input.readPos = end;
        return Step::kOn;
    }
    if (Step step = writeRun(context, end); step != Step::kOn) return step;
    if (eml::isWindowUsedUp(context) && !eml::decodeNextWindow(context)) return Step::kFailed;
    return context.input.readPos < context.input.end ? writeRunEnd(context) : Step::kOn;
}

// Whether the output is full is looked at before each byte: the byte that ends a run is treated in the step that
// writes the run, unless that was cut. Short runs come one after the other, and leave some room.
Step writeRuns(EmlFilterContext& context) {
    bool isShort = false;
    while (eml::textLeft(context) != 0) {
        if (eml::isFull(context)) return Step::kFull;
        if (isShort) eml::writeShortRuns(context);
        if (eml::isWindowUsedUp(context) && !eml::decodeNextWindow(context)) return Step::kFailed;
        if (context.input.readPos == context.input.end) continue;
        if (Step step = writeNextRun(context, isShort); step != Step::kOn) return step;
    }
    return Step::kOn;
}

}  // namespace

bool processEMLplainbody(EmlFilterContext& context, bool fieldMode) {
    const int64_t before = eml::textLeft(context);
    const Step step = fieldMode ? gatherRuns(context) : writeRuns(context);
    if (step == Step::kFailed) return false;
    context.body.converted += static_cast<int32_t>(before - eml::textLeft(context));
    if (step == Step::kFull) {
        context.output.full = true;
        context.body.textWaits = true;
    }
    return true;
}
