// Stands in for the choice of kernels in a program that is to run without those for wide registers.
#include "bytes/decode_kernels.h"

extern "C" const eml::DecodeKernels& CHOOSE_KERNELS(eml::KernelLevel);

extern "C" const eml::DecodeKernels& CHOOSE_KERNELS(eml::KernelLevel) { return eml::kPlainKernels; }
