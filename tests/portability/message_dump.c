#include "message_dump.h"

#include <inttypes.h>
#include <stdlib.h>
#include <string.h>

#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#include <sanitizer/msan_interface.h>
#define EML_MSAN 1
#endif
#endif

enum { kLongBody = 280 * 1024 };

static size_t uninitialisedCount;

size_t uninitialisedOutputs(void) { return uninitialisedCount; }

void checkInitialised(const void* bytes, size_t size, const char* what) {
#ifdef EML_MSAN
    const intptr_t at = size == 0 ? -1 : __msan_test_shadow(bytes, size);
    if (at < 0) return;
    fprintf(stderr, "uninitialised: %s, byte %" PRIdPTR " of %zu\n", what, at, size);
    __msan_print_shadow(bytes, size < 64 ? size : 64);
    __msan_unpoison(bytes, size);
    ++uninitialisedCount;
#else
    (void)bytes, (void)size, (void)what;
#endif
}

/* What the library has not written stays uninitialised from here on. */
static void forget(void* bytes, size_t size) {
#ifdef EML_MSAN
    __msan_poison(bytes, size);
#else
    memset(bytes, 0, size);
#endif
}

#define CHECK(field) checkInitialised(&(field), sizeof(field), #field)

static FILE* out;

static void putText(const char* label, const uint8_t* bytes, size_t size) {
    uint64_t hash = UINT64_C(14695981039346656037);
    checkInitialised(bytes, size, label);
    for (size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * UINT64_C(1099511628211);
    fprintf(out, "%s %zu %016" PRIx64 " ", label, size, hash);
    for (size_t i = 0; i < size && i < 60; ++i) {
        if (bytes[i] >= 32 && bytes[i] < 127 && bytes[i] != '\\') {
            fputc(bytes[i], out);
        } else {
            fprintf(out, "\\%02x", (unsigned)bytes[i]);
        }
    }
    fputc('\n', out);
}

static void putString(const char* label, const char* text) {
    if (text == NULL) {
        fprintf(out, "%s none\n", label);
    } else {
        const size_t length = strlen(text);
        checkInitialised(text, length + 1, label);
        putText(label, (const uint8_t*)text, length);
    }
}

/* As the local time that the message names, which is the same in every time zone. */
static void putDate(DumpHost* host, const uint32_t date[2]) {
    const time_t seconds = host->seconds(date);
    const struct tm* local = seconds != 0 ? localtime(&seconds) : NULL;
    if (local == NULL) {
        fprintf(out, "date none\n");
    } else {
        fprintf(out, "date %d-%d-%d %d:%d:%d\n", local->tm_year + 1900, local->tm_mon + 1, local->tm_mday,
                local->tm_hour, local->tm_min, local->tm_sec);
    }
}

static void giveBack(DumpHost* host, void* block) {
    if (block != NULL) host->record->allocator->free(host->record->allocator, block);
}

/* ---- what both readers describe in the same records */

static void putSubFile(DumpHost* host, int32_t number, EmlResult result, EmlSubFileInfo* info) {
    CHECK(result);
    fprintf(out, "sub-file %" PRId32 " result %" PRIu32 "\n", number, result);
    if (result != EML_OK) return;
    CHECK(info->kind), CHECK(info->flags), CHECK(info->parent), CHECK(info->name);
    fprintf(out, "kind %" PRIu32 " flags %" PRIu32 " parent %" PRId32 " size %" PRId32 "\n", info->kind,
            info->flags, info->parent, info->size);
    putString("name", info->name);
    if (info->kind == EML_KIND_ATTACHMENT) {
        CHECK(info->size);
    } else {
        CHECK(info->childCount), CHECK(info->children);
        checkInitialised(info->children, info->childCount * sizeof(uint32_t), "children");
        for (uint32_t i = 0; i < info->childCount; ++i)
            fprintf(out, "child %" PRIu32 "\n", info->children[i]);
        giveBack(host, info->children);
    }
    if (info->kind == EML_KIND_MESSAGE) {
        CHECK(info->charset), CHECK(info->date);
        fprintf(out, "charset %" PRIu32 "\n", info->charset);
        putDate(host, info->date);
    }
    giveBack(host, info->name);
}

/* A record in which only what the library adds to, or may leave alone, has a value: the size of a message
 * without a plain body, a date that there is none of, the children when there are none. */
static void clearSubFile(EmlSubFileInfo* info) {
    forget(info, sizeof *info);
    info->flags = 0;
    info->size = -7;
    info->date[0] = info->date[1] = 0;
    info->children = NULL;
}

static void putMetadata(DumpHost* host, EmlResult result, EmlMetaData* list) {
    CHECK(result), CHECK(list->count);
    fprintf(out, "metadata result %" PRIu32 " count %" PRId32 "\n", result, list->count);
    if (list->entries == NULL) return;
    checkInitialised(list->entries, (size_t)list->count * sizeof *list->entries, "metadata entries");
    for (int32_t i = 0; i < list->count; ++i) {
        EmlMetaDataEntry* entry = list->entries[i];
        if (entry == NULL) continue;
        checkInitialised(entry, sizeof *entry, "metadata entry");
        fprintf(out, "has %" PRIu32 " reserved %" PRIu32 " type %" PRIu32 " length %" PRIu32 "\n",
                entry->hasValue, entry->reserved, entry->type, entry->valueLength);
        putString("field", entry->name);
        if (entry->value != NULL) {
            putText("value", (const uint8_t*)entry->value, entry->valueLength);
            checkInitialised(entry->value + entry->valueLength, 1, "byte behind a value");
        }
        giveBack(host, entry->value), giveBack(host, entry->name), giveBack(host, entry);
    }
    giveBack(host, list->entries);
}

typedef EmlResult (*MetadataCall)(void* context, int32_t index, int32_t count, EmlMetaDataRequest** requests,
                                  EmlMetaData* list, EmlHostRecord* record);

static EmlResult containerMetadata(void* context, int32_t index, int32_t count, EmlMetaDataRequest** requests,
                                   EmlMetaData* list, EmlHostRecord* record) {
    return emlGetSubFileMetadata2(context, index, count, requests, list, record);
}

static EmlResult filterMetadata(void* context, int32_t index, int32_t count, EmlMetaDataRequest** requests,
                                EmlMetaData* list, EmlHostRecord* record) {
    return emlGetSubFileMetadata(context, index, count, requests, list, record);
}

/* The default list, and named fields; the name with "I" and "i" is one that a Turkish locale would take for
 * another. */
static void dumpMetadata(DumpHost* host, void* context, MetadataCall call, uint32_t flags) {
    static const char* const kNames[] = {"Message-ID",   "sUBJECT",      "Received", "Date",
                                         "MIME-VERSION", "in-reply-to",  "Sent",     "Priority",
                                         "Content-Type", "No-Such-Field"};
    enum { kCount = sizeof kNames / sizeof kNames[0] };
    EmlMetaDataRequest requests[kCount];
    EmlMetaDataRequest* pointers[kCount];
    for (int i = 0; i < kCount; ++i) {
        requests[i] = (EmlMetaDataRequest){EML_REQUEST_BY_NAME, kNames[i]};
        pointers[i] = &requests[i];
    }
    const int32_t message = (flags & EML_OPEN_ROOT_FOLDER) != 0;
    EmlMetaData list = {.count = 0, .entries = NULL};
    putMetadata(host, call(context, message, 0, NULL, &list, host->record), &list);
    list = (EmlMetaData){.count = 0, .entries = NULL};
    putMetadata(host, call(context, message, kCount, pointers, &list, host->record), &list);
    list = (EmlMetaData){.count = 0, .entries = NULL};
    putMetadata(host, call(context, message + 1, 0, NULL, &list, host->record), &list);
}

static void putOutput(DumpHost* host, EmlIOobj* output) {
    size_t size = 0;
    const uint8_t* bytes = host->outputBytes(host, output, &size);
    CHECK(output->size);
    fprintf(out, "size %" PRIu32 " %" PRIu32 "\n", output->size[0], output->size[1]);
    putText("content", bytes, size);
    host->dropOutput(host, output);
}

/* ---- the container reader */

static void extractFromContainer(DumpHost* host, EmlContainerContext* context, int32_t number,
                                 uint32_t options, uint32_t charset) {
    EmlExtractInfo info = {.resultFlags = 0, .outputCharset = charset};
    EmlIOobj* output = host->makeOutput(host);
    const EmlResult result = emlExtractSubFileToIOobj2(context, number, output, &info, 0, options);
    CHECK(result), CHECK(info);
    fprintf(out,
            "extract %" PRId32 " options %" PRIu32 " charset %" PRIu32 " result %" PRIu32 " flags %" PRIu32
            " charset %" PRIu32 "\n",
            number, options, charset, result, info.resultFlags, info.outputCharset);
    putOutput(host, output);
}

static void dumpRenderings(DumpHost* host, EmlContainerContext* context, int32_t number) {
    static const uint32_t kCharsets[] = {0, EML_CHARSET_TEXT_16, EML_CHARSET_UTF_8};
    for (uint32_t options = 0; options <= (EML_EXTRACT_BODY_ONLY | EML_EXTRACT_PREFER_RICH); options += 2) {
        for (size_t i = 0; i < sizeof kCharsets / sizeof kCharsets[0]; ++i)
            extractFromContainer(host, context, number, options, kCharsets[i]);
    }
}

static void dumpContainer(DumpHost* host, const uint8_t* bytes, size_t size, uint32_t flags) {
    EmlIOobj* input = host->makeInput(host, bytes, size);
    EmlResult status = 0;
    forget(&status, sizeof status);
    EmlContainerContext* context = emlInit2(input, host->services, flags, 0, 0, &status);
    CHECK(status);
    fprintf(out, "container flags %" PRIx32 " status %" PRIu32 " %s\n", flags, status,
            context != NULL ? "open" : "none");
    EmlContainerInfo info = {0};
    forget(&info.subFileCount, sizeof info.subFileCount), forget(&info.charset, sizeof info.charset);
    if (context != NULL && emlGetContainerInfo2(context, &info, host->record) == EML_OK) {
        CHECK(info.subFileCount), CHECK(info.charset);
        fprintf(out, "count %" PRIu32 " charset %" PRIu32 "\n", info.subFileCount, info.charset);
        const int32_t message = (flags & EML_OPEN_ROOT_FOLDER) != 0;
        for (int32_t number = -1; number <= (int32_t)info.subFileCount; ++number) {
            EmlSubFileInfo file;
            clearSubFile(&file);
            const EmlResult result = emlGetSubFileInfo2(context, number, &file, host->record);
            putSubFile(host, number, result, &file);
            if (number == message) {
                dumpRenderings(host, context, number);
            } else {
                extractFromContainer(host, context, number, 0, 0);
            }
        }
        dumpMetadata(host, context, containerMetadata, flags);
        emlDebugSections(context);
        for (int line = 0; line < 20; ++line) fprintf(out, "%" PRId32, eml2GetLine(context));
        fputc('\n', out);
    }
    emlShutdown2(context);
    host->dropInput(host, input);
}

/* ---- the message filter */

static void dumpStream(DumpHost* host, EmlFilterContext* context, uint32_t capacity, uint32_t flags,
                       uint32_t openFlags) {
    enum { kMostCalls = 200000 };
    const uint32_t message = (openFlags & EML_OPEN_ROOT_FOLDER) != 0;
    uint8_t* buffer = malloc(capacity);
    uint64_t hash = 0;
    uint64_t total = 0;
    uint32_t progress = 0;
    uint32_t calls = 0;
    uint32_t idle = 0;
    EmlResult result = EML_OK;
    (void)host;
    /* What does not get on with this buffer any more never will. */
    while (buffer != NULL && result == EML_OK && progress < 100 && idle < 3 && calls < kMostCalls) {
        uint32_t size = 0;
        forget(buffer, capacity);
        forget(&size, sizeof size);
        result = emlFillBufferEx(context, message, buffer, &size, &progress, capacity,
                                 (calls == 0 ? EML_FILL_RESTART : 0) | flags);
        CHECK(result), CHECK(size), CHECK(progress);
        checkInitialised(buffer, size, "records");
        hash = hash * 31 + progress;
        for (uint32_t i = 0; i < size; ++i) hash = hash * 1099511628211U + buffer[i];
        idle = size == 0 ? idle + 1 : 0;
        total += size;
        ++calls;
    }
    fprintf(out,
            "stream %" PRIu32 " flags %" PRIu32 " result %" PRIu32 " calls %" PRIu32 " progress %" PRIu32
            " bytes %" PRIu64 " %016" PRIx64 "\n",
            capacity, flags, result, calls, progress, total, hash);
    free(buffer);
}

static void dumpMainName(DumpHost* host, EmlFilterContext* context) {
    char name[14];
    uint32_t date[2] = {0, 0};
    forget(name, sizeof name);
    const EmlResult result = emlGetMainNameDate(context, name, date);
    CHECK(result), CHECK(date);
    fprintf(out, "main name result %" PRIu32 "\n", result);
    if (result == EML_INVALID_ARGUMENT) return;
    putString("main name", name);
    putDate(host, date);
}

/* The record of an attachment is 1060 bytes, of which 16 are the host's. */
static void dumpAttachment(DumpHost* host, EmlFilterContext* context, uint32_t index) {
    EmlAttachmentInfo info;
    forget(&info, sizeof info);
    const EmlResult result = emlGetSubFileInfo(context, index, &info);
    CHECK(result);
    fprintf(out, "attachment %" PRIu32 " result %" PRIu32 "\n", index, result);
    if (result == EML_OK) {
        CHECK(info.name), CHECK(info.zero1), CHECK(info.size), CHECK(info.zero2);
        putString("name", info.name);
        fprintf(out, "%" PRIu32 " size %" PRId32 " %" PRIu32 " %" PRIu32 " %" PRIu32 "\n", info.zero1,
                info.size, info.zero2[0], info.zero2[1], info.zero2[2]);
    }
    if (!host->opensObjects) return;
    EmlIOobj* output = host->makeOutput(host);
    fprintf(out, "extract by index result %" PRIu32 "\n", emlExtractSubFileToIOobj(context, index, output));
    putOutput(host, output);
}

static void dumpFilterSubFiles(DumpHost* host, EmlFilterContext* context, int32_t count) {
    for (int32_t number = -1; number <= count; ++number) {
        EmlSubFileInfo file;
        clearSubFile(&file);
        const EmlResult result = emlGetSubFileInfoEx(context, number, &file, host->record);
        putSubFile(host, number, result, &file);
        EmlIOobj* output = host->makeOutput(host);
        const EmlResult extracted = emlExtractSubFileToIOobjEx(context, number, output, 0, 0, 0);
        CHECK(extracted);
        fprintf(out, "extract %" PRId32 " result %" PRIu32 "\n", number, extracted);
        putOutput(host, output);
    }
}

static void dumpOpenFilter(DumpHost* host, EmlFilterContext* context, uint32_t flags) {
    static const uint32_t kCapacities[] = {150, 256, 1000, 4096, 65536};
    EmlContainerInfo info = {0};
    uint32_t extra = 0;
    const int32_t attachments = emlGetFileNumber(context);
    forget(&info, sizeof info), forget(&extra, sizeof extra);
    const uint32_t charset = emlCharSet(context, &extra);
    CHECK(attachments), CHECK(charset), CHECK(extra);
    fprintf(out, "attachments %" PRId32 " charset %" PRIu32 " %" PRIu32 "\n", attachments, charset, extra);
    if (emlGetContainerInfo(context, &info, host->record) == EML_OK) {
        CHECK(info.subFileCount), CHECK(info.charset), CHECK(info.charsetExtra);
        fprintf(out, "count %" PRIu32 " charset %" PRIu32 "\n", info.subFileCount, info.charset);
    }
    dumpMainName(host, context);
    for (size_t i = 0; i < sizeof kCapacities / sizeof kCapacities[0]; ++i)
        dumpStream(host, context, kCapacities[i], 0, flags);
    dumpStream(host, context, 512, EML_FILL_BODY_ONLY, flags);
    dumpMetadata(host, context, filterMetadata, flags);
    for (int32_t i = 0; i <= attachments; ++i) dumpAttachment(host, context, (uint32_t)i);
    dumpFilterSubFiles(host, context, attachments + 2);
    dumpStream(host, context, 300, 0, flags);
}

static void dumpFilter(DumpHost* host, const uint8_t* bytes, size_t size, uint32_t flags) {
    EmlIOobj* input = host->makeInput(host, bytes, size);
    EmlResult result = EML_OK;
    host->services->lastError = EML_OK;
    EmlFilterContext* context = emlInitEx(input, host->services, flags, 0, 0, &result);
    CHECK(result), CHECK(host->services->lastError);
    fprintf(out, "filter flags %" PRIx32 " result %" PRIu32 " last %" PRIu32 " %s\n", flags, result,
            host->services->lastError, context != NULL ? "open" : "none");
    if (context != NULL) dumpOpenFilter(host, context, flags);
    emlShutdown(context);
    host->dropInput(host, input);
    if (!host->opensObjects) return;
    /* An object that openFile gave is released by the library. */
    input = host->makeInput(host, bytes, size);
    context = emlInit(input, host->services, flags);
    fprintf(out, "opened by name: %s\n", context != NULL ? "open" : "none");
    if (context == NULL) host->dropInput(host, input);
    emlShutdown(context);
}

/* ---- the whole */

void dumpMessage(DumpHost* host, const uint8_t* bytes, size_t size, FILE* file) {
    static const uint32_t kFlags[] = {
        0, EML_OPEN_CONVERTED_ATTACHMENTS | EML_OPEN_ROOT_FOLDER | EML_OPEN_ATTACHMENTS_FOLDER};
    out = file;
    for (size_t i = 0; i < sizeof kFlags / sizeof kFlags[0]; ++i) {
        dumpContainer(host, bytes, size, kFlags[i]);
        dumpFilter(host, bytes, size, kFlags[i]);
    }
}

/* 280 KiB of lines: more than where the kernels for long texts begin. Each line is another turn of the
 * pattern, so that nothing repeats at the width of a register. */
static size_t makeBody(uint8_t* bytes, const char* pattern) {
    const size_t length = strlen(pattern);
    size_t size = 0;
    for (size_t line = 0; size < kLongBody; ++line) {
        for (size_t i = 0; i < 40 + line % 37 / 4 * 4; ++i)
            bytes[size++] = (uint8_t)pattern[(line + i) % length];
        bytes[size++] = '\r', bytes[size++] = '\n';
    }
    return size;
}

static void dumpLong(DumpHost* host, const char* encoding, const char* pattern) {
    uint8_t* const bytes = malloc(2 * kLongBody + 2048);
    if (bytes == NULL) exit(2);
    size_t size =
        (size_t)sprintf((char*)bytes,
                        "Subject: long\r\nContent-Type: multipart/mixed; boundary=cut\r\n\r\n"
                        "--cut\r\nContent-Type: text/plain\r\nContent-Transfer-Encoding: %s\r\n\r\n",
                        encoding);
    size += makeBody(bytes + size, pattern);
    size += (size_t)sprintf((char*)bytes + size,
                            "\r\n--cut\r\nContent-Type: application/x; name=a\r\n"
                            "Content-Transfer-Encoding: %s\r\n\r\n",
                            encoding);
    size += makeBody(bytes + size, pattern);
    size += (size_t)sprintf((char*)bytes + size, "\r\n--cut--\r\n");
    printf("== long %s\n", encoding);
    dumpMessage(host, bytes, size, stdout);
    free(bytes);
}

static void dumpFile(DumpHost* host, const char* path) {
    FILE* const file = fopen(path, "rb");
    long size = -1;
    if (file != NULL && fseek(file, 0, SEEK_END) == 0) size = ftell(file);
    uint8_t* const bytes = size >= 0 ? malloc((size_t)size + 1) : NULL;
    if (bytes == NULL || fseek(file, 0, SEEK_SET) != 0 ||
        fread(bytes, 1, (size_t)size, file) != (size_t)size) {
        perror(path);
        exit(2);
    }
    fclose(file);
    printf("== %s\n", path);
    dumpMessage(host, bytes, (size_t)size, stdout);
    free(bytes);
}

int dumpFiles(DumpHost* host, int count, char** paths) {
    dumpLong(host, "base64",
             "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVphYmNkZWZnaGlqa2xtbm9wcXJzdHV2d3h5ejAxMjM0NTY3ODkrLw==");
    dumpLong(host, "quoted-printable",
             "plain text, =41=0D=0A=20=E4 and_more text that goes on and on and on, =3D, "
             "until it ends somewhere else; \t");
    dumpLong(host, "8bit",
             "plain text with a tab\there, \xE4\xF6\xFC and a long run of letters without any stop in it");
    for (int i = 0; i < count; ++i) dumpFile(host, paths[i]);
    return uninitialisedCount == 0 ? 0 : 1;
}
