// The kernels that this processor can run.
#pragma once

#include <vector>

#include "bytes/decode_kernels.h"

namespace eml::test {

// Each set once, the plain one first.
inline std::vector<const DecodeKernels*> kernelSets() {
    std::vector<const DecodeKernels*> sets;
    for (const KernelLevel level : {KernelLevel::kPlain, KernelLevel::kAvx2, KernelLevel::kAvx512}) {
        const DecodeKernels* const set = &chooseKernels(level);
        if (sets.empty() || sets.back() != set) sets.push_back(set);
    }
    return sets;
}

}  // namespace eml::test
