// What a process may take from the system.
#pragma once

#include <sys/resource.h>

#include <cstdint>

namespace emltool {

// The address space in use; 0 if the system does not tell.
uint64_t addressSpace();

// Sets the soft limit, as far as the hard one allows; it can be raised again.
void setSoftLimit(int resource, rlim_t value);

// Sets both limits, permanently. A stricter limit stays.
void lowerLimit(int resource, rlim_t value);

}  // namespace emltool
