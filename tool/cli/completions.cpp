#include "tool/cli/completions.h"

#include <CLI/CLI.hpp>
#include <span>
#include <string_view>
#include <vector>

#include "tool/cli/command.h"
#include "tool/cli/global_options.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

struct OptionRow {
    std::vector<std::string> shortNames;
    std::vector<std::string> longNames;
    std::string description;
    bool takesValue;
    bool takesPath;
    std::string choices;  // the words that it takes, with blanks between them
};

struct CommandRow {
    std::string name;
    std::string summary;
    bool takesFiles;
    std::string choices;  // the words that the argument takes
    std::vector<OptionRow> options;
};

std::string wordsOf(std::span<const Choices> choices, std::string_view name) {
    for (const Choices& one : choices) {
        if (one.option == name) return joined(one.words, " ");
    }
    return "";
}

std::vector<OptionRow> optionsOf(const CLI::App& app, std::span<const Choices> choices) {
    std::vector<OptionRow> rows;
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional()) continue;
        std::string type = option->get_type_name();
        rows.push_back({option->get_snames(), option->get_lnames(), option->get_description(),
                        option->get_expected_max() > 0, type == "DIR" || type == "OUT" || type == "FILE",
                        wordsOf(choices, option->get_lnames().empty() ? "" : option->get_lnames().front())});
    }
    return rows;
}

std::vector<CommandRow> commandRows() {
    std::vector<CommandRow> rows;
    for (const Command* command : commands()) {
        CLI::App app;
        app.set_help_flag();
        std::unique_ptr<CommandRun> run = command->declare(app);
        std::string_view arguments = command->arguments;
        bool takesFiles = arguments.find("FILE") != std::string_view::npos ||
                          arguments.find("PATH") != std::string_view::npos;
        rows.push_back({command->name, command->summary, takesFiles,
                        wordsOf(command->choices, command->arguments), optionsOf(app, command->choices)});
    }
    return rows;
}

std::vector<OptionRow> globalRows() {
    CLI::App app;
    GlobalArguments arguments;
    declareGlobalOptions(app, arguments);
    return optionsOf(app, globalChoices());
}

std::vector<std::string> dashed(const OptionRow& row) {
    std::vector<std::string> names;
    for (const std::string& name : row.shortNames) names.push_back("-" + name);
    for (const std::string& name : row.longNames) names.push_back("--" + name);
    return names;
}

std::string words(const std::vector<OptionRow>& rows) {
    std::vector<std::string> all;
    for (const OptionRow& row : rows) {
        for (const std::string& name : dashed(row)) all.push_back(name);
    }
    return joined(all, " ");
}

// `text` for a place between single quotes of a shell.
std::string inSingleQuotes(std::string_view text) {
    std::string result;
    for (char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result;
}

// The names of all commands, with `separator` between them.
std::string commandNames(const std::vector<CommandRow>& rows, std::string_view separator = " ") {
    std::string names;
    for (const CommandRow& row : rows) (names += names.empty() ? "" : separator) += row.name;
    return names;
}

// The words that an option takes, for the case statement of bash.
std::string bashValues(const std::vector<OptionRow>& rows) {
    std::string text;
    for (const OptionRow& row : rows) {
        if (!row.takesValue) continue;
        std::string names = joined(dashed(row), "|");
        if (!row.choices.empty()) {
            text += formatted("        {}) COMPREPLY=($(compgen -W '{}' -- \"$word\")); return ;;\n", names,
                              row.choices);
        } else if (!row.takesPath) {
            text += formatted("        {}) return ;;\n", names);
        }
    }
    return text;
}

// _arguments of zsh: '(-o --output)'{-o,--output}'[text]:DIR:_files'
std::string zshOption(const OptionRow& row) {
    std::string text;
    std::string description;
    for (char c : row.description) {
        if (c == '[' || c == ']' || c == '\\' || c == ':') description += '\\';
        description += c;
    }
    for (const std::string& name : dashed(row)) {
        bool isLong = name.starts_with("--");
        std::string value;
        if (row.takesValue) {
            std::string action = !row.choices.empty() ? formatted("({})", row.choices)
                                 : row.takesPath      ? "_files"
                                                      : " ";
            value = formatted(":value:{}", action);
        }
        text += formatted(" \\\n        '*{}{}[{}]{}'", name, row.takesValue && isLong ? "=" : "",
                          inSingleQuotes(description), value);
    }
    return text;
}

std::string fishOption(const OptionRow& row, std::string_view condition) {
    std::string text = formatted("complete -c eml{}", condition);
    for (const std::string& name : row.shortNames) text += " -s " + name;
    for (const std::string& name : row.longNames) text += " -l " + name;
    if (!row.choices.empty()) {
        text += formatted(" -x -a '{}'", row.choices);
    } else if (row.takesValue) {
        text += row.takesPath ? " -r -F" : " -x";
    }
    std::string description;
    for (char c : row.description) {
        if (c == '\'' || c == '\\') description += '\\';
        description += c;
    }
    return text + formatted(" -d '{}'\n", description);
}

}  // namespace

std::string bashCompletions() {
    std::vector<CommandRow> rows = commandRows();
    std::string text =
        "# Completion of eml for bash. Made by: eml completions bash\n_eml() {\n"
        "    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command= i\n"
        "    COMPREPLY=()\n"
        "    # \"--color=auto\" is three words here.\n"
        "    if [ \"$previous\" = '=' ]; then previous=${COMP_WORDS[COMP_CWORD - 2]}; fi\n"
        "    if [ \"$word\" = '=' ]; then word=; fi\n"
        "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
        "        case \" " +
        commandNames(rows) +
        " \" in *\" ${COMP_WORDS[i]} \"*) command=${COMP_WORDS[i]}; break ;; esac\n"
        "    done\n    case $previous in\n";
    text += bashValues(globalRows());
    text += "    esac\n    local options='" + words(globalRows()) + "'\n    case $command in\n";
    for (const CommandRow& row : rows) {
        text += formatted("    {})\n        options+=' {}'\n", row.name, words(row.options));
        std::string values = bashValues(row.options);
        if (!values.empty()) text += "        case $previous in\n" + values + "        esac\n";
        if (!row.choices.empty()) {
            text += formatted("        COMPREPLY=($(compgen -W '{}' -- \"$word\")); return\n", row.choices);
        }
        text += "        ;;\n";
    }
    text += formatted(
        "    '')\n        if [[ $word != -* ]]; then COMPREPLY=($(compgen -W '{}' -- \"$word\")); fi\n"
        "        ;;\n    esac\n",
        commandNames(rows));
    return text +
           "    if [[ $word == -* ]]; then\n"
           "        COMPREPLY=($(compgen -W \"$options\" -- \"$word\"))\n        return\n    fi\n"
           "    local IFS=$'\\n'\n    COMPREPLY+=($(compgen -f -- \"$word\"))\n}\n"
           "complete -o filenames -F _eml eml\n";
}

std::string zshCompletions() {
    std::vector<CommandRow> rows = commandRows();
    std::string text =
        "#compdef eml\n# Completion of eml for zsh. Made by: eml completions zsh\n_eml() {\n"
        "    local -a commands options\n    commands=(\n";
    for (const CommandRow& row : rows)
        text += formatted("        '{}:{}'\n", row.name, inSingleQuotes(row.summary));
    text += "    )\n    local command=${words[(r)(" + commandNames(rows, "|") + ")]}\n    options=(";
    for (const OptionRow& row : globalRows()) text += zshOption(row);
    text += ")\n    case $command in\n";
    for (const CommandRow& row : rows) {
        std::string options;
        for (const OptionRow& option : row.options) options += zshOption(option);
        std::string rest = !row.choices.empty() ? formatted("'*:shell:({})'", row.choices)
                           : row.takesFiles     ? "'*:file, or box.mbox#17 for a message of an mbox:_files'"
                                                : "";
        text += formatted(
            "    {})\n        options+=({})\n        _arguments -S $options '1:command:(({}))' {}\n"
            "        ;;\n",
            row.name, options, row.name, rest);
    }
    return text +
           "    *)\n        _arguments -S $options '*: :{_describe command commands; _files}'\n        ;;\n"
           "    esac\n}\n_eml \"$@\"\n";
}

std::string fishCompletions() {
    std::vector<CommandRow> rows = commandRows();
    std::string text = "# Completion of eml for fish. Made by: eml completions fish\n";
    for (const OptionRow& row : globalRows()) text += fishOption(row, "");
    std::string none = formatted(" -n 'not __fish_seen_subcommand_from {}'", commandNames(rows));
    for (const CommandRow& row : rows) {
        text += formatted("complete -c eml{} -a {} -d '{}'\n", none, row.name, inSingleQuotes(row.summary));
        std::string here = formatted(" -n '__fish_seen_subcommand_from {}'", row.name);
        for (const OptionRow& option : row.options) text += fishOption(option, here);
        if (!row.choices.empty()) text += formatted("complete -c eml{} -x -a '{}'\n", here, row.choices);
    }
    return text;
}

}  // namespace emltool
