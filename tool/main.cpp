#include <csignal>
#include <string>
#include <vector>

#include "tool/cli/command_line.h"
#include "tool/system/ending_signals.h"

int main(int argc, char** argv) {
    std::signal(SIGXFSZ, SIG_IGN);  // exceeding a limit on file sizes is then an error, like a full disk
    emltool::installSignalHandlers();
    return emltool::runTool(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
