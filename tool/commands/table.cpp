#include <array>

#include "tool/cli/command.h"

namespace emltool {

std::span<const Command* const> commands() {
    static constexpr std::array kCommands = {
        &kShowCommand,    &kListCommand,   &kTreeCommand,        &kInfoCommand,   &kExtractCommand,
        &kCompareCommand, &kRenderCommand, &kRecordsCommand,     &kViewCommand,   &kBatchCommand,
        &kSearchCommand,  &kSchemaCommand, &kCompletionsCommand, &kVersionCommand};
    return kCommands;
}

}  // namespace emltool
