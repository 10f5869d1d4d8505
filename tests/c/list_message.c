/* Lists a message's sub-files: a whole host in C, over a stdio file. */
#include <emlreader/eml.h>
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* The input object comes first, so that its address is the address of the whole. */
typedef struct {
    EmlIOobj object;
    FILE* stream;
} FileInput;

static FILE* streamOf(EmlIOobj* self) { return ((FileInput*)self)->stream; }
static int32_t openInput(EmlIOobj* self) { return streamOf(self) != NULL; }
static int32_t closeInput(EmlIOobj* self) { return fclose(streamOf(self)) == 0; }
static int64_t tellInput(EmlIOobj* self) { return ftell(streamOf(self)); }
static int32_t readInput(EmlIOobj* self, void* buffer, uint32_t count) {
    return (int32_t)fread(buffer, 1, count, streamOf(self));
}
static int32_t seekInput(EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin) {
    const int64_t offset = (int64_t)high * INT64_C(0x100000000) + low;
    return fseek(streamOf(self), (long)offset, origin == EML_SEEK_END ? SEEK_END : SEEK_SET) == 0;
}

static void* allocate(EmlAllocator* self, uint32_t size) { return (void)self, malloc(size); }
static void* resize(EmlAllocator* self, void* block, uint32_t size) {
    return (void)self, realloc(block, size);
}
static void release(EmlAllocator* self, void* block) { (void)self, free(block); }
static char* duplicate(EmlHostServices* self, const char* text) {
    char* copy = self->allocator.allocate(&self->allocator, (uint32_t)strlen(text) + 1);
    return copy != NULL ? strcpy(copy, text) : NULL;
}

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    FileInput input = {.stream = fopen(argv[1], "rb")};
    input.object.open = openInput, input.object.close = closeInput;
    input.object.read = readInput, input.object.seek = seekInput, input.object.tell = tellInput;
    EmlHostServices services = {.allocator = {0, allocate, release, resize, NULL},
                                .duplicateString = duplicate};
    EmlHostRecord host = {1, &services.allocator};

    EmlResult status;
    EmlContainerContext* message = emlInit2(&input.object, &services, 0, 0, 0, &status);
    if (message == NULL) return fprintf(stderr, "cannot be opened: %" PRIu32 "\n", status), 1;
    EmlContainerInfo container = {0};
    status = emlGetContainerInfo2(message, &container, &host);
    for (uint32_t number = 0; status == EML_OK && number < container.subFileCount; ++number) {
        EmlSubFileInfo file = {0};
        if (emlGetSubFileInfo2(message, (int32_t)number, &file, &host) != EML_OK) continue;
        printf("%" PRIu32 " %" PRId32 " bytes as stored: %s\n", number, file.size, file.name);
        release(host.allocator, file.name);
        release(host.allocator, file.children);
    }
    emlShutdown2(message);
    return status == EML_OK ? 0 : 1;
}
