/* Lists the parts of a message with the MIME reader: a whole host in C, over a stdio file. */
#include <emlreader/eml_mime.h>
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

/* The input object comes first, so that its address is the address of the whole. */
typedef struct {
    EmlIOobj object;
    FILE* stream;
} FileInput;

static FILE* streamOf(EmlIOobj* self) { return ((FileInput*)self)->stream; }
static int32_t openInput(EmlIOobj* self) { return streamOf(self) != NULL; }
static int32_t closeInput(EmlIOobj* self) { return fclose(streamOf(self)) == 0; }
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

static void printSubject(EmlMimeContext* message) {
    uint32_t field = EML_MIME_NONE;
    EmlMimeText subject = {0};
    if (emlMimeFindField(message, 0, "Subject", 0, &field) == EML_OK && field != EML_MIME_NONE &&
        emlMimeFieldText(message, 0, field, &subject) == EML_OK) {
        printf("Subject: %s\n", subject.text);
    }
}

static EmlResult printPart(EmlMimeContext* message, uint32_t number) {
    EmlMimePart part = {0};
    EmlResult result = emlMimeGetPart(message, number, &part, sizeof part);
    if (result != EML_OK) return result;
    printf("%" PRIu32 " %*s%s/%s", number, (int)part.depth, "", part.type.text, part.subtype.text);
    if (part.childCount == 0) {
        EmlMimeContent content = {0};
        EmlMimeText name = {0};
        result = emlMimeExtract(message, number, EML_MIME_DECODED, NULL, &content);
        if (result == EML_OK) result = emlMimeGetName(message, number, &name);
        if (result == EML_OK) printf(" %" PRIu64 " bytes: %s", content.size, name.text);
    }
    putchar('\n');
    return result;
}

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    FileInput input = {.stream = fopen(argv[1], "rb")};
    input.object.open = openInput, input.object.close = closeInput;
    input.object.read = readInput, input.object.seek = seekInput;
    EmlAllocator memory = {0, allocate, release, resize, NULL};

    EmlResult status;
    EmlMimeContext* message = emlMimeOpen(&input.object, &memory, NULL, &status);
    if (message == NULL) return fprintf(stderr, "cannot be opened: %" PRIu32 "\n", status), 1;
    printSubject(message);
    const uint32_t count = emlMimePartCount(message);
    for (uint32_t number = 0; status == EML_OK && number < count; ++number) {
        status = printPart(message, number);
    }
    emlMimeClose(message);
    return status == EML_OK ? 0 : 1;
}
