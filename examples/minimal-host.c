/*
 * A whole host in plain C: shows a message's text, lists what is attached, and writes each attachment to
 * part-1, part-2, ... in the current folder.
 *
 *     minimal-host MESSAGE.eml
 *
 * The host guide walks through this file. What it leaves out, and what a host of your own may want: character
 * conversion (convertText, convertTextFrom), dates (storeDate), opening files by name (openFile).
 */
#define _FILE_OFFSET_BITS 64
#define _POSIX_C_SOURCE 200809L
#include <emlreader/eml.h>
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* ---- Files: one kind of object for reading and for writing. ----------------------------------------- */

/* The library sees the first member; each entry finds its file after it. */
typedef struct {
    EmlIOobj object;
    FILE* stream;
    int failed; /* the library ignores the result of write: the host remembers it */
} File;

static File* fileOf(EmlIOobj* self) { return (File*)self; }

static int32_t openFile(EmlIOobj* self) { return fileOf(self)->stream != NULL; }

static int32_t readFile(EmlIOobj* self, void* buffer, uint32_t count) {
    return (int32_t)fread(buffer, 1, count, fileOf(self)->stream);
}

static uint32_t writeFile(EmlIOobj* self, const void* buffer, uint32_t count) {
    size_t written = fwrite(buffer, 1, count, fileOf(self)->stream);
    if (written != count) fileOf(self)->failed = 1;
    return (uint32_t)written;
}

/* An offset comes in two halves. It is signed, since it may count back from the end. */
static int32_t seekFile(EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin) {
    int64_t offset = (int64_t)((uint64_t)(uint32_t)high << 32 | low);
    return fseeko(fileOf(self)->stream, offset, origin == EML_SEEK_END ? SEEK_END : SEEK_SET) == 0;
}

static int64_t tellFile(EmlIOobj* self) { return ftello(fileOf(self)->stream); }

/* Ends one use. Whoever opened the file closes it. */
static int32_t closeFile(EmlIOobj* self) {
    if (fflush(fileOf(self)->stream) != 0) fileOf(self)->failed = 1;
    return !fileOf(self)->failed;
}

static File fileFor(FILE* stream) {
    File file = {.stream = stream};
    file.object.open = openFile, file.object.close = closeFile;
    file.object.read = readFile, file.object.write = writeFile;
    file.object.seek = seekFile, file.object.tell = tellFile;
    return file;
}

/* ---- Memory: four functions around malloc. ------------------------------------------------------------ */

static void* allocate(EmlAllocator* self, uint32_t size) { return (void)self, malloc(size); }
static void* allocateZeroed(EmlAllocator* self, uint32_t count, uint32_t size) {
    return (void)self, calloc(count, size);
}
/* The library forgets a block that cannot grow. A host that must not lose it must keep a list of blocks. */
static void* reallocate(EmlAllocator* self, void* block, uint32_t size) {
    return (void)self, realloc(block, size);
}
static void release(EmlAllocator* self, void* block) { (void)self, free(block); }

static char* duplicateString(EmlHostServices* self, const char* text) {
    char* copy = allocate(&self->allocator, (uint32_t)strlen(text) + 1);
    return copy != NULL ? strcpy(copy, text) : NULL;
}

/* ---- The message filter: text in buffers. ------------------------------------------------------------ */

static uint32_t wordAt(const uint8_t* bytes) {
    return bytes[0] | (uint32_t)bytes[1] << 8 | (uint32_t)bytes[2] << 16 | (uint32_t)bytes[3] << 24;
}

/* Walks the records of one buffer: tag, whole length, payload. Only text, tabs and line breaks matter. */
static void printRecords(const uint8_t* at, const uint8_t* end) {
    while (end - at >= 5) {
        uint32_t length = wordAt(at + 1);
        if (length < 5 || length > (size_t)(end - at)) break;
        if (at[0] == 0) fwrite(at + 9, 1, wordAt(at + 5), stdout);
        if (at[0] == 3) putchar('\t');
        if (at[0] == 13) putchar('\n');
        at += length;
    }
}

static int printText(File* input, EmlHostServices* services) {
    EmlResult result = EML_OK;
    EmlFilterContext* filter = emlInitEx(&input->object, services, 0, 0, 0, &result);
    if (filter == NULL) return fprintf(stderr, "no text: code %" PRIu32 "\n", result), 0;

    static uint8_t buffer[65536];
    uint32_t progress = 0;
    uint32_t flags = EML_FILL_RESTART;
    while (result == EML_OK && progress < 100) {
        uint32_t size = 0;
        result = emlFillBufferEx(filter, 0, buffer, &size, &progress, sizeof buffer, flags);
        printRecords(buffer, buffer + size);
        flags = 0;
    }
    putchar('\n');
    emlShutdown(filter);
    return result == EML_OK;
}

/* ---- The container reader: sub-files. ---------------------------------------------------------------- */

static int extractTo(EmlContainerContext* message, uint32_t number, const char* path) {
    FILE* stream = fopen(path, "wbx"); /* never overwrites an existing file */
    if (stream == NULL) return perror(path), 0;
    File output = fileFor(stream);
    EmlResult result = emlExtractSubFileToIOobj2(message, (int32_t)number, &output.object, NULL, 0, 0);
    int good = result == EML_OK && !output.failed;
    if (fclose(stream) != 0) good = 0;
    if (!good) remove(path);
    return good;
}

static int extractAttachments(EmlContainerContext* message, EmlHostRecord* host) {
    EmlContainerInfo container = {0};
    if (emlGetContainerInfo2(message, &container, host) != EML_OK) return 0;
    int good = 1;
    for (uint32_t number = 1; number < container.subFileCount; ++number) {
        EmlSubFileInfo file = {0};
        EmlResult result = emlGetSubFileInfo2(message, (int32_t)number, &file, host);
        /* A name comes from a stranger: show it, never use it as a path. */
        char path[32];
        snprintf(path, sizeof path, "part-%" PRIu32, number);
        if (result == EML_OK && extractTo(message, number, path)) {
            printf("%s: %s\n", path, file.name);
        } else {
            good = 0;
        }
        release(host->allocator, file.name);
        release(host->allocator, file.children);
    }
    return good;
}

int main(int argc, char** argv) {
    if (argc != 2) return fprintf(stderr, "usage: %s MESSAGE.eml\n", argv[0]), 2;
    FILE* stream = fopen(argv[1], "rb");
    if (stream == NULL) return perror(argv[1]), 3;

    File input = fileFor(stream);
    EmlHostServices services = {.allocator = {0, allocate, release, reallocate, allocateZeroed},
                                .duplicateString = duplicateString};
    EmlHostRecord host = {1, &services.allocator}; /* the first field must not be zero */

    int good = printText(&input, &services);
    EmlResult status = EML_OK;
    EmlContainerContext* message = emlInit2(&input.object, &services, 0, 0, 0, &status);
    if (message == NULL) {
        fprintf(stderr, "cannot be opened: code %" PRIu32 "\n", status);
        good = 0;
    } else {
        good &= extractAttachments(message, &host);
        emlShutdown2(message);
    }
    fclose(stream);
    return good ? 0 : 1;
}
