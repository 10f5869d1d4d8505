#include "tool/commands/message_arguments.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "tool/terminal/problem.h"

namespace emltool {

MessageArguments::MessageArguments(CLI::App& app, Count count) : command_(app.get_name()), count_(count) {
    const char* text =
        count == Count::kOne ? "the message; - is standard input" : "messages; - is standard input";
    app.add_option("FILE", files_, text)->type_name("");
}

void MessageArguments::declareForce(CLI::App& app) {
    app.add_flag("--force", force_, "read the file even if it does not look like a message");
}

void MessageArguments::check() const {
    if (files_.empty()) {
        throw usageProblem(fmt::format("{0}: no FILE given; see \"eml {0} --help\"", command_));
    }
    if (count_ == Count::kOne && files_.size() > 1) {
        throw usageProblem(fmt::format("{} takes one FILE; {} is one too many", command_, files_[1]));
    }
}

}  // namespace emltool
