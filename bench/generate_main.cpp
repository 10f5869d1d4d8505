// Writes one generated message into a file, or a mailbox into a folder:
//     emlreader_generate KIND SIZE FILE [SEED]
//     emlreader_generate mailbox|notes COUNT FOLDER [SEED]
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
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
        "       emlreader_generate mailbox|notes COUNT FOLDER [SEED]\n"
        "  KIND  typical, base64, qp, qp-heavy, 8bit, mixture, text-base64, text-qp, text-8bit, mail:\n"
        "        SIZE in bytes, with K, M or G\n"
        "        parts: SIZE is the number of attachments; headers: of header lines\n",
        stderr);
    return 2;
}

bool writeMessage(emlbench::Kind kind, uint64_t size, const std::string& path, uint64_t seed) {
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    bool written = file != nullptr;
    if (written) {
        emlbench::generate(kind, size, seed, [&](std::string_view text) {
            written = written && std::fwrite(text.data(), 1, text.size(), file) == text.size();
        });
        written = std::fclose(file) == 0 && written;
    }
    if (!written) std::fprintf(stderr, "%s: %s\n", path.c_str(), std::strerror(errno));
    return written;
}

// COUNT files, named by their number; the folder is made. Mails of all sizes, or notes of 2 KB.
bool writeMailbox(uint64_t count, const std::string& folder, uint64_t seed, bool notes) {
    std::filesystem::create_directories(folder);
    for (uint64_t i = 0; i < count; ++i) {
        const uint64_t number = seed + i;
        const std::string path = folder + "/" + std::to_string(1'000'000 + i).substr(1) + ".eml";
        const uint64_t size = notes ? 2000 : emlbench::mailSize(number);
        if (!writeMessage(emlbench::Kind::kMail, size, path, number)) return false;
    }
    return true;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 4 && count != 5) return usage();
    const std::optional<emlbench::Kind> kind = emlbench::kindNamed(arguments[1]);
    const std::optional<uint64_t> size = numberFrom(arguments[2]);
    const std::optional<uint64_t> seed = count == 5 ? numberFrom(arguments[4]) : 1;
    const std::string_view name = arguments[1];
    const bool mailbox = name == "mailbox" || name == "notes";
    if ((!kind && !mailbox) || !size || !seed) return usage();
    if (mailbox) return writeMailbox(*size, arguments[3], *seed, name == "notes") ? 0 : 1;
    return writeMessage(*kind, *size, arguments[3], *seed) ? 0 : 1;
}
