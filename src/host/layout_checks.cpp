// The positions of all fields that cross the boundary, held at compile time. A 32-bit build has field n at (n
// - 1) * 4.
#include <emlreader/eml.h>

#include <cstddef>

#define EML_AT(Record, field, number, offset64) \
    static_assert(offsetof(Record, field) == (sizeof(void*) == 4 ? ((number)-1) * 4 : (offset64)))
#define EML_SIZE(Record, fields, size64) \
    static_assert(sizeof(Record) == (sizeof(void*) == 4 ? (fields)*4 : (size64)))

EML_AT(EmlIOobj, size, 3, 16);
EML_AT(EmlIOobj, open, 11, 72);
EML_AT(EmlIOobj, read, 12, 80);
EML_AT(EmlIOobj, write, 13, 88);
EML_AT(EmlIOobj, seek, 14, 96);
EML_AT(EmlIOobj, tell, 15, 104);
EML_AT(EmlIOobj, close, 16, 112);
EML_AT(EmlIOobj, release, 18, 128);
EML_SIZE(EmlIOobj, 18, 136);

EML_AT(EmlAllocator, context, 1, 0);
EML_AT(EmlAllocator, allocate, 2, 8);
EML_AT(EmlAllocator, free, 3, 16);
EML_AT(EmlAllocator, reallocate, 4, 24);
EML_AT(EmlAllocator, allocateZeroed, 5, 32);
EML_SIZE(EmlAllocator, 5, 40);

EML_AT(EmlHostServices, openFile, 28, 216);
EML_AT(EmlHostServices, allocator, 38, 296);
EML_AT(EmlHostServices, duplicateString, 79, 624);
EML_AT(EmlHostServices, convertText, 94, 744);
EML_AT(EmlHostServices, convertTextFrom, 96, 760);
EML_AT(EmlHostServices, isLeadByte, 97, 768);
EML_AT(EmlHostServices, resetCharset, 99, 784);
EML_AT(EmlHostServices, currentCharset, 109, 864);
EML_AT(EmlHostServices, storeDate, 410, 3272);
EML_AT(EmlHostServices, lastError, 412, 3288);
EML_SIZE(EmlHostServices, 412, 3296);

EML_AT(EmlTextSpan, text, 1, 0);
EML_AT(EmlTextSpan, length, 2, 8);
EML_SIZE(EmlTextSpan, 2, 16);

EML_AT(EmlHostRecord, hostOwned, 1, 0);
EML_AT(EmlHostRecord, allocator, 2, 8);
EML_SIZE(EmlHostRecord, 2, 16);

EML_AT(EmlContainerInfo, subFileCount, 4, 12);
EML_AT(EmlContainerInfo, charset, 9, 32);
EML_AT(EmlContainerInfo, charsetExtra, 10, 36);
EML_SIZE(EmlContainerInfo, 10, 40);

EML_AT(EmlSubFileInfo, name, 4, 16);
EML_AT(EmlSubFileInfo, kind, 5, 24);
EML_AT(EmlSubFileInfo, size, 6, 28);
EML_AT(EmlSubFileInfo, flags, 7, 32);
EML_AT(EmlSubFileInfo, charset, 8, 36);
EML_AT(EmlSubFileInfo, charsetExtra, 9, 40);
EML_AT(EmlSubFileInfo, date, 10, 44);
EML_AT(EmlSubFileInfo, parent, 12, 52);
EML_AT(EmlSubFileInfo, childCount, 13, 56);
EML_AT(EmlSubFileInfo, children, 14, 64);
EML_SIZE(EmlSubFileInfo, 14, 72);

EML_AT(EmlExtractInfo, resultFlags, 1, 0);
EML_AT(EmlExtractInfo, outputCharset, 2, 4);
EML_SIZE(EmlExtractInfo, 2, 8);

EML_AT(EmlMetaData, count, 4, 12);
EML_AT(EmlMetaData, entries, 5, 16);
EML_SIZE(EmlMetaData, 5, 24);

EML_AT(EmlMetaDataEntry, hasValue, 1, 0);
EML_AT(EmlMetaDataEntry, reserved, 2, 4);
EML_AT(EmlMetaDataEntry, type, 3, 8);
EML_AT(EmlMetaDataEntry, name, 4, 16);
EML_AT(EmlMetaDataEntry, value, 5, 24);
EML_AT(EmlMetaDataEntry, valueLength, 6, 32);
EML_SIZE(EmlMetaDataEntry, 6, 40);

EML_AT(EmlMetaDataRequest, kind, 1, 0);
EML_AT(EmlMetaDataRequest, name, 2, 8);
EML_SIZE(EmlMetaDataRequest, 2, 16);

// The one record whose positions do not follow from a field number: the same in both builds.
static_assert(offsetof(EmlAttachmentInfo, name) == 0);
static_assert(offsetof(EmlAttachmentInfo, zero1) == 1024);
static_assert(offsetof(EmlAttachmentInfo, size) == 1044);
static_assert(offsetof(EmlAttachmentInfo, zero2) == 1048);
static_assert(sizeof(EmlAttachmentInfo) == 1060);
