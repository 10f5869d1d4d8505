// The tables in which a host finds the entry points.
#include <emlreader/eml.h>

#include "host/entry_tables.h"

namespace eml {

namespace {

// A function pointer crosses as a data pointer, which every platform with shared libraries allows.
template <class Function>
void* slot(Function* function) {
    return reinterpret_cast<void*>(function);
}

}  // namespace

void fillFilterTable(void* table[7]) {
    table[0] = slot(&emlInit);
    table[1] = slot(&emlShutdown);
    table[2] = slot(&emlGetSubFileInfo);
    table[3] = slot(&emlExtractSubFileToIOobj);
    table[4] = slot(&emlGetFileNumber);
    table[5] = slot(&emlFillBuffer);
    table[6] = slot(&emlCharSet);
}

void fillContainerTable(void* table[6]) {
    table[0] = slot(&emlInit2);
    table[1] = slot(&emlShutdown2);
    table[2] = slot(&emlGetContainerInfo2);
    table[3] = slot(&emlGetSubFileInfo2);
    table[4] = slot(&emlGetSubFileMetadata2);
    table[5] = slot(&emlExtractSubFileToIOobj2);
}

}  // namespace eml
