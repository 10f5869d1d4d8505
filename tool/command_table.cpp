#include <array>

#include "tool/command.h"

namespace emltool {

std::span<const Command* const> commands() {
    static constexpr std::array<const Command*, 7> kCommands = {
        &kShowCommand,   &kListCommand,    &kInfoCommand,   &kExtractCommand,
        &kRenderCommand, &kRecordsCommand, &kVersionCommand};
    return kCommands;
}

}  // namespace emltool
