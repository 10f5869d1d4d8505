// Which kernels the readers take. tests/CMakeLists.txt runs this again with
// GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2 and the like, which make the C library hide what the processor has.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string_view>

#include "bytes/decode_kernels.h"

namespace eml::test {
namespace {

[[maybe_unused]] bool isHidden(std::string_view feature) {
    const char* const tunables = std::getenv("GLIBC_TUNABLES");
    if (tunables == nullptr) return false;
    const std::string_view text = tunables;
    const size_t at = text.find(feature);
    return at != std::string_view::npos && at != 0 && text[at - 1] == '-';
}

TEST(KernelChoice, FollowsWhatTheProcessorHas) {
    const DecodeKernels* const chosen = &chooseKernels();
    if (chosen == &kPlainKernels) return;  // a C library that does not tell what there is has no other
#ifdef EML_HAS_WIDE_KERNELS
    EXPECT_TRUE(__builtin_cpu_supports("avx2") != 0 && !isHidden("AVX2"));
    if (chosen == &kAvx2Kernels) return;
    EXPECT_EQ(chosen, &kAvx512Kernels);
    EXPECT_TRUE(__builtin_cpu_supports("avx512bw") != 0 && !isHidden("AVX512BW"));
#else
    FAIL() << "there are no others";
#endif
}

}  // namespace
}  // namespace eml::test
