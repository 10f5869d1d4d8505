#include "tool/cli/help.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tool/text/format.h"

namespace emltool {

namespace {

// "-o, --output DIR"
std::string optionSyntax(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
    std::string syntax = joined(names, ", ");
    if (option.get_snames().empty()) syntax.insert(0, "    ");
    bool takesValue = option.get_expected_max() > 0;
    if (takesValue) syntax += (option.get_lnames().empty() ? " " : "=") + option.get_type_name();
    return syntax;
}

std::string row(const std::string& left, const std::string& right, const Style& style) {
    constexpr size_t kColumn = 24;
    size_t gap = left.size() < kColumn ? kColumn - left.size() : 1;
    return formatted("  {}{}{}\n", style.label(left), std::string(gap, ' '), right);
}

std::string optionRows(const CLI::App& app, const Style& style) {
    std::string text;
    for (const CLI::Option* option : app.get_options()) {
        if (!option->get_positional()) text += row(optionSyntax(*option), option->get_description(), style);
    }
    return text;
}

// "FILE...", or "FILE": the positional argument, with its row.
const CLI::Option* positional(const CLI::App& app) {
    std::vector<const CLI::Option*> options = app.get_options();
    auto found = std::find_if(options.begin(), options.end(),
                              [](const CLI::Option* option) { return option->get_positional(); });
    return found == options.end() ? nullptr : *found;
}

}  // namespace

std::string mainHelp(const CLI::App& app, const Style& style) {
    std::string text = "eml reads e-mail messages (.eml files).\n\n";
    text += style.label("Usage:") + " eml [OPTION]... COMMAND [OPTION]... FILE...\n\n";
    text += style.label("Commands:") + "\n";
    for (const Command* command : commands()) text += row(command->name, command->summary, style);
    text += "\n" + style.label("Options of all commands:") + "\n" + optionRows(app, style);
    text += "\n" + style.label("Exit codes:") + "\n";
    constexpr const char* kCodes[][2] = {
        {"0", "everything asked for was done"},
        {"1", "done in part: some files or messages failed"},
        {"2", "wrong usage"},
        {"3", "input cannot be read"},
        {"4", "not an e-mail message, or empty"},
        {"5", "encrypted: only the header can be shown"},
        {"6", "output cannot be written"},
        {"7", "no such sub-file, or no such message in an mbox or archive"},
        {"70", "internal error, out of memory"},
    };
    for (const auto& code : kCodes) text += row(code[0], code[1], style);
    text +=
        "\nA FILE of - is standard input, and so is none, unless that is a terminal. An mbox is all of its "
        "messages,\n"
        "box.mbox#17 the 17th of them. -- ends the options. See also \"eml COMMAND --help\".\n";
    return text;
}

std::string commandHelp(const Command& command, const CLI::App& app, const Style& style) {
    const CLI::Option* argument = positional(app);
    std::string arguments;
    if (argument != nullptr) arguments = std::string(" [OPTION]... ") + command.arguments;
    std::string text = formatted("eml {}: {}\n\n{} eml {}{}\n\n", command.name, command.summary,
                                 style.label("Usage:"), command.name, arguments);
    std::string rows = optionRows(app, style);
    if (argument != nullptr) rows = row(argument->get_name(), argument->get_description(), style) + rows;
    if (!rows.empty()) text += rows + "\n";
    if (*command.footer != '\0') text += std::string(command.footer) + "\n";
    return text + "\"eml --help\" shows the options of all commands.\n";
}

}  // namespace emltool
