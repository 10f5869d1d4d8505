#include "tool/message/output_folder.h"

#include <unistd.h>

#include <array>
#include <filesystem>

#include "tool/terminal/problem.h"
#include "tool/text/ascii.h"
#include "tool/text/format.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace fs = std::filesystem;

namespace {

constexpr std::array<std::string_view, 6> kMessageExtensions = {".eml", ".mbox", ".mbx",
                                                                ".msg", ".mail", ".txt"};

std::string stemOf(const std::string& path) {
    if (path == "-") return "stdin";
    std::string name = fs::path(path).filename().string();
    for (const std::string_view extension : kMessageExtensions) {
        const bool hasStem = name.size() > extension.size();
        if (hasStem && lowerCase(name).ends_with(extension))
            return name.substr(0, name.size() - extension.size());
    }
    return name;
}

}  // namespace

std::string messageFolderName(const MessageSource& source, size_t number) {
    // Room for the place in the mbox.
    constexpr size_t kLongest = 200;
    const std::string text = formatted("{:04}", number);
    std::string name = formatted("{}-{}", text, safeName(stemOf(source.path), text));
    if (name.size() > kLongest) name.resize(kLongest);
    while (!isUtf8(name)) name.pop_back();
    return source.hasNumber && source.index ? formatted("{}-{}", name, *source.index + 1) : name;
}

OutputFolder::OutputFolder(std::string path) : path_(std::move(path)) {
    while (path_.size() > 1 && path_.ends_with('/')) path_.pop_back();
    if (path_ == ".") path_.clear();
}

std::string OutputFolder::pathOf(const std::string& name) const {
    if (path_.empty()) return name;
    return path_ + (path_ == "/" ? "" : "/") + name;
}

PendingFolder& OutputFolder::files() {
    if (files_ == nullptr) files_ = std::make_unique<PendingFolder>(path_);
    return *files_;
}

bool OutputFolder::has(const std::string& name) { return !isNew_ && files().has(name); }

void OutputFolder::prepare() {
    if (isReady_ || path_.empty()) return;
    fs::path whole;
    for (const fs::path& step : fs::path(path_)) {
        whole /= step;
        std::error_code error;
        const bool isNew = fs::create_directory(whole, error);
        // A folder that is there may be a link to one, or be in a folder that may not be written.
        if (error == std::errc::file_exists) error = std::make_error_code(std::errc::not_a_directory);
        std::error_code other;
        if (error && !fs::is_directory(whole, other)) {
            removeIfEmpty();
            throw Problem(ExitCode::kOutput, "cannot-create-folder", path_,
                          "the folder cannot be created: " + describe(error));
        }
        if (isNew) created_.push_back(whole.string());
        isNew_ = isNew;
    }
    isReady_ = true;
}

void OutputFolder::removeIfEmpty() {
    if (!created_.empty()) files_.reset();
    while (!created_.empty() && ::rmdir(created_.back().c_str()) == 0) {
        created_.pop_back();
        isReady_ = false;
    }
}

}  // namespace emltool
