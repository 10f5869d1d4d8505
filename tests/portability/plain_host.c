/* Dumps messages through a host in plain C: memory, malloc, and a conversion that is the same everywhere. No
 * code but the library's, this and the C library's runs, so that a build in which uninitialised bytes are
 * followed needs no instrumented C++ run time.
 *
 * EML_DUMP_READ in the environment is the most that a read gives, EML_DUMP_FAIL the number of the allocation
 * that fails, counted from where an input is made. */
#include <limits.h>
#include <locale.h>
#include <stdlib.h>
#include <string.h>

#include "message_dump.h"

/* The record comes first, so that its address is the address of the whole. */
typedef struct {
    EmlIOobj record;
    const uint8_t* bytes;
    size_t size;
    size_t position;
} MemoryInput;

typedef struct {
    EmlIOobj record;
    uint8_t* bytes;
    size_t size;
    size_t capacity;
    size_t position;
    bool released; /* by the library: what it held can still be asked for */
} MemoryOutput;

static unsigned long mostRead = ULONG_MAX;
static unsigned long failing;
static unsigned long allocations; /* since an input was made */

static unsigned long setting(const char* name, unsigned long otherwise) {
    const char* text = getenv(name);
    return text != NULL ? strtoul(text, NULL, 10) : otherwise;
}

static int32_t succeed(EmlIOobj* self) { return (void)self, 1; }

static int32_t readInput(EmlIOobj* self, void* buffer, uint32_t count) {
    MemoryInput* input = (MemoryInput*)self;
    checkInitialised(&count, sizeof count, "count of a read");
    const size_t left = input->position < input->size ? input->size - input->position : 0;
    size_t given = count < left ? count : left;
    if (given > mostRead) given = mostRead;
    memcpy(buffer, input->bytes + input->position, given);
    input->position += given;
    return (int32_t)given;
}

static int32_t moveTo(size_t* position, size_t size, uint32_t low, int32_t high, uint32_t origin) {
    const int64_t offset = (int64_t)(((uint64_t)(uint32_t)high << 32) | low);
    const int64_t target = origin == EML_SEEK_END ? (int64_t)size + offset : offset;
    if (target < 0) return 0;
    *position = (size_t)target;
    return 1;
}

static int32_t seekInput(EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin) {
    MemoryInput* input = (MemoryInput*)self;
    return moveTo(&input->position, input->size, low, high, origin);
}

static int64_t tellInput(EmlIOobj* self) { return (int64_t)((MemoryInput*)self)->position; }

static uint32_t writeOutput(EmlIOobj* self, const void* bytes, uint32_t count) {
    MemoryOutput* output = (MemoryOutput*)self;
    checkInitialised(&count, sizeof count, "count of a write");
    checkInitialised(bytes, count, "bytes of a write");
    const size_t end = output->position + count;
    if (end > output->capacity) {
        output->capacity = 2 * end;
        output->bytes = realloc(output->bytes, output->capacity);
        if (output->bytes == NULL) abort();
    }
    /* A hole that a seek left. */
    if (output->position > output->size)
        memset(output->bytes + output->size, 0, output->position - output->size);
    if (count != 0) memcpy(output->bytes + output->position, bytes, count);
    output->position = end;
    if (end > output->size) output->size = end;
    return count;
}

static int32_t seekOutput(EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin) {
    MemoryOutput* output = (MemoryOutput*)self;
    return moveTo(&output->position, output->size, low, high, origin);
}

static int64_t tellOutput(EmlIOobj* self) { return (int64_t)((MemoryOutput*)self)->position; }

static void releaseInput(EmlIOobj* self) { free(self); }
static void releaseOutput(EmlIOobj* self) { ((MemoryOutput*)self)->released = true; }

static EmlIOobj* makeInput(DumpHost* host, const uint8_t* bytes, size_t size) {
    MemoryInput* input = calloc(1, sizeof *input);
    (void)host;
    allocations = 0;
    if (input == NULL) abort();
    input->bytes = bytes;
    input->size = size;
    input->record.open = succeed;
    input->record.close = succeed;
    input->record.read = readInput;
    input->record.seek = seekInput;
    input->record.tell = tellInput;
    input->record.release = releaseInput;
    return &input->record;
}

static void dropInput(DumpHost* host, EmlIOobj* input) { (void)host, free(input); }

static EmlIOobj* makeOutput(DumpHost* host) {
    MemoryOutput* output = calloc(1, sizeof *output);
    (void)host;
    if (output == NULL) abort();
    output->record.open = succeed;
    output->record.close = succeed;
    output->record.write = writeOutput;
    output->record.seek = seekOutput;
    output->record.tell = tellOutput;
    output->record.release = releaseOutput;
    return &output->record;
}

static const uint8_t* outputBytes(DumpHost* host, EmlIOobj* self, size_t* size) {
    const MemoryOutput* output = (const MemoryOutput*)self;
    (void)host;
    *size = output->size;
    return output->bytes;
}

static void dropOutput(DumpHost* host, EmlIOobj* self) {
    (void)host;
    free(((MemoryOutput*)self)->bytes);
    free(self);
}

static void* allocate(EmlAllocator* self, uint32_t size) {
    (void)self;
    checkInitialised(&size, sizeof size, "size of a block");
    return ++allocations != failing ? malloc(size != 0 ? size : 1) : NULL;
}

static void release(EmlAllocator* self, void* block) { (void)self, free(block); }

static void* reallocate(EmlAllocator* self, void* block, uint32_t size) {
    (void)self;
    checkInitialised(&size, sizeof size, "size of a block");
    if (++allocations != failing) return realloc(block, size);
    free(block); /* the library does not come back to it */
    return NULL;
}

static void* allocateZeroed(EmlAllocator* self, uint32_t count, uint32_t size) {
    return (void)self, ++allocations != failing ? calloc(count, size) : NULL;
}

static EmlIOobj* openFile(EmlHostServices* self, void* fileSpec) { return (void)self, (EmlIOobj*)fileSpec; }

static char* duplicateString(EmlHostServices* self, const char* text) {
    const size_t size = strlen(text) + 1;
    char* copy = allocate(&self->allocator, (uint32_t)size);
    checkInitialised(text, size, "a string to copy");
    return copy != NULL ? memcpy(copy, text, size) : NULL;
}

/* Each byte becomes a unit of 16 bits with the charset in its high byte, so that another charset is another
 * text. */
static uint32_t widen(uint32_t charset, const EmlTextSpan* source, EmlTextSpan* destination) {
    checkInitialised(&charset, sizeof charset, "charset of a conversion");
    checkInitialised(source->text, source->length, "text of a conversion");
    const uint32_t needed = 2 * source->length;
    if (destination->text != NULL) {
        const uint32_t room = destination->length < needed ? destination->length : needed;
        uint8_t* to = destination->text;
        for (uint32_t i = 0; i < room; ++i)
            to[i] = i % 2 == 0 ? ((const uint8_t*)source->text)[i / 2] : (uint8_t)charset;
    }
    return destination->length = needed;
}

static uint32_t convertText(EmlHostServices* self, EmlTextSpan* source, EmlTextSpan* destination,
                            uint32_t form, uint32_t reserved) {
    (void)form, (void)reserved;
    return widen(self->currentCharset, source, destination);
}

static uint32_t convertTextFrom(EmlHostServices* self, uint32_t charset, EmlTextSpan* source,
                                EmlTextSpan* destination, uint32_t substitute) {
    (void)substitute;
    return widen(charset + self->currentCharset, source, destination);
}

static int32_t isLeadByte(EmlHostServices* self, uint32_t byte, uint32_t charset) {
    (void)self;
    checkInitialised(&byte, sizeof byte, "a byte that may lead");
    return charset >= EML_CHARSET_SHIFT_JIS && charset <= EML_CHARSET_KSC_5601 && byte >= 0x81;
}

static void resetCharset(EmlHostServices* self, uint32_t reserved) { (void)self, (void)reserved; }

static void storeDate(time_t seconds, void* destination) {
    checkInitialised(&seconds, sizeof seconds, "a date");
    const uint64_t bits = (uint64_t)(int64_t)seconds;
    const uint32_t words[2] = {(uint32_t)bits, (uint32_t)(bits >> 32)};
    memcpy(destination, words, sizeof words);
}

static time_t secondsOf(const uint32_t date[2]) { return (time_t)(((uint64_t)date[1] << 32) | date[0]); }

int main(int argc, char** argv) {
    setlocale(LC_ALL, "");
    mostRead = setting("EML_DUMP_READ", mostRead);
    failing = setting("EML_DUMP_FAIL", 0);
    EmlHostServices services = {.openFile = openFile,
                                .allocator = {1, allocate, release, reallocate, allocateZeroed},
                                .duplicateString = duplicateString,
                                .convertText = convertText,
                                .convertTextFrom = convertTextFrom,
                                .isLeadByte = isLeadByte,
                                .resetCharset = resetCharset,
                                .storeDate = storeDate};
    EmlHostRecord record = {1, &services.allocator};
    DumpHost host = {&services,  &record,     true,       makeInput, dropInput,
                     makeOutput, outputBytes, dropOutput, secondsOf};
    return dumpFiles(&host, argc - 1, argv + 1);
}
