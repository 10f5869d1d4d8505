// The exported names, each one forward. What is exported from the shared library is listed in emlreader.map.
#include <emlreader/eml.h>

#include "container/container_calls.h"
#include "filter/fill.h"
#include "filter/filter_calls.h"
#include "host/entry_tables.h"

void emlGetContainerReaderInterface(void* table[7]) { eml::fillFilterTable(table); }

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

EmlFilterContext* emlInit(void* fileSpec, EmlHostServices* services, uint32_t flags) {
    return eml::openFilterFile(fileSpec, services, flags);
}

EmlFilterContext* emlInitEx(EmlIOobj* io, EmlHostServices* services, uint32_t flags, uint32_t /*reserved1*/,
                            uint32_t /*reserved2*/, EmlResult* result) {
    return eml::openFilter(io, services, flags, result);
}

void emlShutdown(EmlFilterContext* context) { eml::closeFilter(context); }

int32_t emlGetFileNumber(EmlFilterContext* context) { return eml::attachmentCount(context); }

uint32_t emlCharSet(EmlFilterContext* context, uint32_t* extra) {
    return eml::settledCharset(*context, *extra);
}

EmlResult emlGetContainerInfo(EmlFilterContext* context, EmlContainerInfo* info, EmlHostRecord* hostRecord) {
    return eml::filterInfo(context, info, hostRecord);
}

EmlResult emlFillBuffer(EmlFilterContext* context, void* buffer, uint32_t* size, uint32_t* progress,
                        uint32_t capacity) {
    return eml::fillBuffer(context, {static_cast<uint8_t*>(buffer), size, progress, capacity});
}

EmlResult emlFillBufferEx(EmlFilterContext* context, uint32_t subFile, void* buffer, uint32_t* size,
                          uint32_t* progress, uint32_t capacity, uint32_t fillFlags) {
    return eml::fillBufferEx(context, subFile, {static_cast<uint8_t*>(buffer), size, progress, capacity},
                             fillFlags);
}

EmlResult emlGetMainNameDate(EmlFilterContext* context, char* name, void* date) {
    return eml::mainNameDate(context, name, date);
}

EmlResult emlGetSubFileInfo(EmlFilterContext* context, uint32_t attachmentIndex, EmlAttachmentInfo* info) {
    return eml::attachmentInfo(context, attachmentIndex, info);
}

EmlResult emlGetSubFileInfoEx(EmlFilterContext* context, int32_t index, EmlSubFileInfo* info,
                              EmlHostRecord* hostRecord) {
    return eml::describeFilterSubFile(context, index, info, hostRecord);
}

EmlResult emlGetSubFileMetadata(EmlFilterContext* context, int32_t index, int32_t requestCount,
                                EmlMetaDataRequest** requests, EmlMetaData* metaData,
                                EmlHostRecord* hostRecord) {
    return eml::filterMetadata(context, index, requestCount, requests, metaData, hostRecord);
}

EmlResult emlExtractSubFileToIOobj(EmlFilterContext* context, uint32_t attachmentIndex, void* target) {
    return eml::extractToTarget(context, attachmentIndex, target);
}

EmlResult emlExtractSubFileToIOobjEx(EmlFilterContext* context, int32_t index, EmlIOobj* output,
                                     uint32_t /*reserved1*/, uint32_t /*reserved2*/, uint32_t options) {
    return eml::extractFilterSubFile(context, index, output, options);
}

int32_t eml2GetLine(EmlContainerContext* context) { return eml::getLine(*context); }

void emlDebugSections(EmlContainerContext* context) { eml::debugSections(*context); }

void emlLog(...) {}

void emlDeleteLogfile(...) {}
