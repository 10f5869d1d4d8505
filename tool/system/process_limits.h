// What a process may take from the system.
#pragma once

#include <sys/resource.h>

#include <cstdint>

namespace emltool {

// The address space in use; 0 where the system does not say.
uint64_t addressSpace();

// Sets the soft limit, as far as the hard one allows; it can be raised again.
void setSoftLimit(int resource, rlim_t value);

// Sets both limits, for good. What is stricter already stays.
void lowerLimit(int resource, rlim_t value);

}  // namespace emltool
