// Options whose value is one of a few words. The parser, its error and the completions all read them here.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace emltool {

struct Choices {
    std::string_view option;  // its long name, "color"; or the name of an argument, "SHELL"
    std::string_view noun;    // what the error calls one: "choice"
    std::span<const std::string_view> words;

    // "auto, always or never"
    std::string list() const;

    // The place of `word` among the words; nothing if it is not there.
    std::optional<size_t> find(std::string_view word) const;

    // The same for the value of the option. Throws Problem if it is not there.
    size_t parse(std::string_view word) const;
};

}  // namespace emltool
