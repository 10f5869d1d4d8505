// The exported names, each one forward. What is exported from the shared library is listed in emlreader.map.
#include <emlreader/eml.h>

#include "container/container_calls.h"
#include "host/entry_tables.h"

void emlGetContainerReaderInterfaceEx(void* table[6]) { eml::fillContainerTable(table); }

EmlContainerContext* emlInit2(EmlIOobj* input, EmlHostServices* services, uint32_t flags,
                              uint32_t /*reserved1*/, uint32_t /*reserved2*/, EmlResult* status) {
    return eml::openContainer(input, services, flags, *status);
}

void emlShutdown2(EmlContainerContext* context) { eml::closeContainer(context); }

EmlResult emlGetContainerInfo2(EmlContainerContext* context, EmlContainerInfo* info,
                               EmlHostRecord* hostRecord) {
    return eml::containerInfo(context, info, hostRecord);
}

EmlResult emlGetSubFileInfo2(EmlContainerContext* context, int32_t number, EmlSubFileInfo* info,
                             EmlHostRecord* hostRecord) {
    return eml::describeSubFile(context, number, info, hostRecord);
}

EmlResult emlGetSubFileMetadata2(EmlContainerContext* context, int32_t index, int32_t requestCount,
                                 EmlMetaDataRequest** requests, EmlMetaData* metaData,
                                 EmlHostRecord* hostRecord) {
    return eml::subFileMetadata(context, index, requestCount, requests, metaData, hostRecord);
}

EmlResult emlExtractSubFileToIOobj2(EmlContainerContext* context, int32_t number, EmlIOobj* output,
                                    EmlExtractInfo* extractInfo, uint32_t /*reserved*/, uint32_t options) {
    return eml::extractSubFile(context, number, output, extractInfo, options);
}

int32_t eml2GetLine(EmlContainerContext* context) { return eml::getLine(*context); }

void emlDebugSections(EmlContainerContext* context) { eml::debugSections(*context); }

void emlLog(...) {}

void emlDeleteLogfile(...) {}
