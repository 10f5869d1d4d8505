// A folder for one test, removed with everything in it.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace emlhost_test {

class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "emlhost-test-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) ADD_FAILURE() << "cannot create " << name;
        path_ = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path() const { return path_.string(); }
    std::string pathOf(const std::string& name) const { return (path_ / name).string(); }

    std::string write(const std::string& name, std::string_view content) const {
        std::ofstream(pathOf(name), std::ios::binary)
            .write(content.data(), static_cast<std::streamsize>(content.size()));
        return pathOf(name);
    }

    std::string read(const std::string& name) const {
        std::ifstream file(pathOf(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    // Number of entries, hidden ones included.
    size_t entryCount() const {
        return static_cast<size_t>(
            std::distance(std::filesystem::directory_iterator(path_), std::filesystem::directory_iterator()));
    }

  private:
    std::filesystem::path path_;
};

}  // namespace emlhost_test
