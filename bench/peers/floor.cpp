// The floor of the design, not a mail library: the least that any reader must do who extracts an attachment
// in base64 or 8-bit through the same host. It finds the body in what counts as its opening, reads it in
// blocks of 4096 bytes through the input's entries, one seek and one read each, decodes full lines, sees
// whether all is base64 but has no rule for what is not, and writes through the output's entry.
#include <immintrin.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "bench/peers/driver.h"
#include "bench/peers/mapped_file.h"
#include "bench/peers/sink_output.h"
#include "standalone/input.h"

namespace {

using emlbench::Found;
using emlbench::Sink;
using emlbench::SinkOutput;

constexpr size_t kBlock = 4096;
constexpr size_t kSlack = 64;  // vector stores may reach past what counts

#define EMLBENCH_AVX2 __attribute__((target("avx2")))

// 32 base64 digits to 24 bytes (and 8 that do not count). Sets bits in `alien` for characters that are not
// digits.
EMLBENCH_AVX2 inline void decode32(const uint8_t* in, uint8_t* out, __m256i& alien) {
    const __m256i digits = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
    const __m256i mask = _mm256_set1_epi8(0x2f);
    const __m256i high = _mm256_and_si256(_mm256_srli_epi32(digits, 4), mask);
    // A character is a digit when the bit of its high half is not among those of its low half.
    const __m256i lowBits = _mm256_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13,
                                             0x1a, 0x1b, 0x1b, 0x1b, 0x1a, 0x15, 0x11, 0x11, 0x11, 0x11, 0x11,
                                             0x11, 0x11, 0x11, 0x11, 0x13, 0x1a, 0x1b, 0x1b, 0x1b, 0x1a);
    const __m256i highBits = _mm256_setr_epi8(
        0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10,
        0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
    alien =
        _mm256_or_si256(alien, _mm256_and_si256(_mm256_shuffle_epi8(lowBits, _mm256_and_si256(digits, mask)),
                                                _mm256_shuffle_epi8(highBits, high)));
    const __m256i slash = _mm256_cmpeq_epi8(digits, _mm256_set1_epi8('/'));
    const __m256i shifts = _mm256_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0, 0, 16,
                                            19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
    const __m256i shift = _mm256_shuffle_epi8(shifts, _mm256_add_epi8(slash, high));
    const __m256i values = _mm256_add_epi8(digits, shift);
    const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i order = _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1, 2, 1, 0, 6,
                                           5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(groups, order),
                                                       _mm256_setr_epi32(0, 1, 2, 4, 5, 6, -1, -1));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), packed);
}

// Decodes whole groups of digits; returns the bytes written. Reads up to 32 digits past the end, which do not
// count.
EMLBENCH_AVX2 size_t decodeDigits(const uint8_t* digits, size_t count, uint8_t* out) {
    __m256i alien = _mm256_setzero_si256();
    for (size_t at = 0; at < count; at += 32) decode32(digits + at, out + at / 4 * 3, alien);
    size_t bytes = count / 4 * 3;
    for (size_t at = count; at > 0 && digits[at - 1] == '='; --at) --bytes;
    return bytes;
}

// A line of 76 digits to 57 bytes. False when one is not a digit.
EMLBENCH_AVX2 inline bool decodeLine(const uint8_t* line, uint8_t* out) {
    __m256i alien = _mm256_setzero_si256();
    __m256i beyond = alien;
    decode32(line, out, alien);
    decode32(line + 32, out + 24, alien);
    decode32(line + 64, out + 48, beyond);  // the line end and what follows are among these
    const __m256i twelve = _mm256_setr_epi32(-1, -1, -1, 0, 0, 0, 0, 0);
    alien = _mm256_or_si256(alien, _mm256_and_si256(beyond, twelve));
    return _mm256_testz_si256(alien, alien) != 0;
}

class Floor final : public emlbench::Contender {
  public:
    bool open(const std::string& path, Found& found) override {
        std::error_code error;
        input_ = emlhost::openInput(path, error);
        if (input_ == nullptr || !findBody(path)) return false;
        found.attachments = 1;
        return true;
    }

    bool attachments(Sink& sink) override {
        SinkOutput output(sink);
        EmlIOobj& to = *output.object();
        EmlIOobj& from = *input_->object();
        if (to.open(&to) == 0 || from.open(&from) == 0) return false;
        size_t kept = 0;  // bytes at the front of the block that wait for what follows them
        for (uint64_t at = start_; at < end_;) {
            const auto wanted = static_cast<uint32_t>(std::min<uint64_t>(kBlock - kept, end_ - at));
            if (from.seek(&from, static_cast<uint32_t>(at), static_cast<int32_t>(at >> 32), EML_SEEK_START) ==
                0) {
                return false;
            }
            const int32_t got = from.read(&from, block_.data() + kept, wanted);
            if (got <= 0) return false;
            at += static_cast<uint32_t>(got);
            kept = decode(kept + static_cast<uint32_t>(got), at == end_, to);
        }
        sink.endContent();
        return to.close(&to) != 0;
    }

    bool openText(const std::string&) override { return false; }
    bool body(Sink&) override { return false; }
    void close() override { input_.reset(); }

  private:
    // The attachment is the last part.
    bool findBody(const std::string& path) {
        const emlbench::MappedFile file(path);
        if (!file.valid()) return false;
        const std::string_view text(file.begin(), file.size());
        const size_t name = text.find("\r\n\tfilename=");
        if (name == text.npos) return false;
        const std::string_view header = text.substr(name < 300 ? 0 : name - 300, 300);
        encoded_ = header.find("base64") != header.npos;
        if (!encoded_ && header.find("8bit") == header.npos) return false;
        start_ = text.find("\r\n\r\n", name) + 4;
        end_ = text.rfind("\r\n--", text.size() - 4);
        return end_ > start_;
    }

    // Decodes the block's first `size` bytes; moves what cannot be decoded yet to its front and gives how
    // many bytes those are.
    size_t decode(size_t size, bool last, EmlIOobj& to) {
        if (!encoded_) {
            to.write(&to, block_.data(), static_cast<uint32_t>(size));
            return 0;
        }
        size_t done = 0;
        const size_t bytes = base64(size, last, done);
        to.write(&to, out_.data(), static_cast<uint32_t>(bytes));
        std::memmove(block_.data(), block_.data() + done, size - done);
        return size - done;
    }

    // Full lines as every encoder writes them go straight through; what remains are the last lines.
    EMLBENCH_AVX2 size_t base64(size_t size, bool last, size_t& done) {
        const uint8_t* at = block_.data();
        const uint8_t* const end = at + size;
        uint8_t* out = out_.data();
        for (; end - at >= 78 && at[76] == '\r' && decodeLine(at, out); at += 78) out += 57;
        if (last && at != end) {
            const size_t digits =
                std::string_view(reinterpret_cast<const char*>(at), static_cast<size_t>(end - at))
                    .find_first_of("\r\n");
            out += decodeDigits(at, std::min(digits, static_cast<size_t>(end - at)), out);
            at = end;
        }
        done = static_cast<size_t>(at - block_.data());
        return static_cast<size_t>(out - out_.data());
    }

    std::unique_ptr<emlhost::Input> input_;
    uint64_t start_ = 0;
    uint64_t end_ = 0;
    bool encoded_ = false;
    std::array<uint8_t, kBlock + kSlack> block_{};
    std::array<uint8_t, kBlock + kSlack> out_{};
};

}  // namespace

int main(int count, char** arguments) {
    Floor contender;
    return emlbench::runDriver(contender, count, arguments);
}
