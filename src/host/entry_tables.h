// The tables in which a host finds the entry points (eml.h gives the order of the slots).
#pragma once

namespace eml {

void fillFilterTable(void* table[7]);
void fillContainerTable(void* table[6]);

}  // namespace eml
