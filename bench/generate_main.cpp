// Writes one generated message into a file:
//     emlreader_generate KIND SIZE FILE [SEED]
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "bench/generate.h"

namespace {

// A number with an optional K, M or G (powers of 1000).
std::optional<uint64_t> numberFrom(std::string_view text) {
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const std::string_view unit(end, static_cast<size_t>(text.data() + text.size() - end));
    if (error != std::errc() || number > 1'000'000'000'000) return std::nullopt;
    if (unit.empty()) return number;
    if (unit == "K") return number * 1'000;
    if (unit == "M") return number * 1'000'000;
    if (unit == "G" && number <= 1000) return number * 1'000'000'000;
    return std::nullopt;
}

int usage() {
    std::fputs(
        "usage: emlreader_generate KIND SIZE FILE [SEED]\n"
        "  KIND  typical, base64, qp, qp-heavy, 8bit, mixture: SIZE in bytes, with K, M or G\n"
        "        parts: SIZE is the number of attachments\n",
        stderr);
    return 2;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 4 && count != 5) return usage();
    const std::optional<emlbench::Kind> kind = emlbench::kindNamed(arguments[1]);
    const std::optional<uint64_t> size = numberFrom(arguments[2]);
    const std::optional<uint64_t> seed = count == 5 ? numberFrom(arguments[4]) : 1;
    if (!kind || !size || !seed) return usage();

    std::FILE* const file = std::fopen(arguments[3], "wb");
    bool written = file != nullptr;
    if (written) {
        emlbench::generate(*kind, *size, *seed, [&](std::string_view text) {
            written = written && std::fwrite(text.data(), 1, text.size(), file) == text.size();
        });
        written = std::fclose(file) == 0 && written;
    }
    if (written) return 0;
    std::fprintf(stderr, "%s: %s\n", arguments[3], std::strerror(errno));
    return 1;
}
