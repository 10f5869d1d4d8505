#include "tool/batch/forecast.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "tool/text/format.h"
#include "tool/text/sha256.h"

namespace emltool {

namespace {

// What a file costs besides its bytes, in bytes.
constexpr uint64_t kEachFile = 4096;

uint64_t weightOf(const struct stat& file) {
    return kEachFile + (S_ISREG(file.st_mode) ? static_cast<uint64_t>(file.st_size) : 0);
}

uint64_t weightOf(const BatchItem& item) {
    if (item.index) return item.weight;
    struct stat file {};
    return ::stat(item.path.c_str(), &file) == 0 ? weightOf(file) : kEachFile;
}

std::string timeLeft(double seconds) {
    constexpr double kMinute = 60;
    constexpr double kHour = 3600;
    constexpr double kMost = 1000 * kHour;
    if (!(seconds < kMost)) return "";
    if (seconds < 1.5 * kMinute) return formatted(", {:.0f} s left", std::ceil(seconds));
    if (seconds < 1.5 * kHour) return formatted(", {:.0f} min left", seconds / kMinute);
    return formatted(", {:.0f} h left", seconds / kHour);
}

}  // namespace

unsigned shardOf(std::string_view path, unsigned shards) {
    Sha256::Digest digest = Sha256::of(path);
    uint64_t number = 0;
    for (size_t i = 0; i < 8; ++i) number = number << 8 | digest[i];
    return static_cast<unsigned>(number % shards) + 1;
}

Forecast::Forecast(Range range, std::function<bool(const struct stat& file)> isLeftOut)
    : range_(std::move(range)), isLeftOut_(std::move(isLeftOut)) {
    isUnknown_ = std::find(range_.paths.begin(), range_.paths.end(), "-") != range_.paths.end();
    if (!isUnknown_) sources_.push_back(std::make_unique<ArgumentSource>(range_.paths, '\n'));
}

void Forecast::look() {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(1);
    while (!sources_.empty() && Clock::now() < end) {
        FoundItem found;
        if (sources_.back()->next(found) == ItemSource::Next::kFound) {
            add(found);
        } else {
            sources_.pop_back();
        }
    }
}

void Forecast::add(FoundItem& found) {
    if (found.leftOut != nullptr) return;
    const std::string& path = found.item.path;
    struct stat file {};
    const bool exists = ::stat(path.c_str(), &file) == 0;
    if (exists && found.named && S_ISDIR(file.st_mode)) {
        sources_.push_back(std::make_unique<FolderSource>(path, range_.pattern));
        return;
    }
    if (range_.shards > 1 && shardOf(path, range_.shards) != range_.shard) return;
    if (exists && isLeftOut_(file)) return;
    ++files_;
    all_ += exists ? weightOf(file) : kEachFile;
}

void Forecast::addFinished(const BatchItem& item) {
    ++read_;
    finished_ += weightOf(item);
}

void Forecast::addDone(const BatchItem& item) {
    ++read_;
    done_ += weightOf(item);
}

std::string Forecast::text(double seconds) const {
    if (isUnknown_) return "";
    if (isLooking()) return files_ > read_ ? formatted(", {} files found so far", files_) : "";
    if (all_ == 0) return "";
    // Files may grow meanwhile, and some may come.
    const uint64_t ready = std::min(finished_ + done_, all_);
    const auto percent = static_cast<uint64_t>(static_cast<double>(ready) / static_cast<double>(all_) * 100);
    std::string text = formatted(", {} %", percent);
    if (done_ == 0) return text;
    return text + timeLeft(seconds * static_cast<double>(all_ - ready) / static_cast<double>(done_));
}

}  // namespace emltool
