// Runs a target over files and over the files of folders: ./replay PATH... . A missing path is an error, a
// folder without files is not.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& path) {
    if (!std::filesystem::is_directory(path)) return {path};
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

// The input stands in a block of exactly its size.
bool replay(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        std::fprintf(stderr, "%s: cannot be read\n", path.c_str());
        return false;
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    const std::unique_ptr<uint8_t[]> exact(new uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), exact.get());
    // Before the run, so that the last line of an aborted run names the input.
    std::puts(path.c_str());
    std::fflush(stdout);
    (void)LLVMFuzzerTestOneInput(exact.get(), bytes.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    bool good = argc > 1;
    size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const std::filesystem::path& path : filesIn(argv[i])) {
            good = replay(path) && good;
            ++count;
        }
    }
    std::printf("%zu inputs\n", count);
    return good && count != 0 ? 0 : 1;
}
