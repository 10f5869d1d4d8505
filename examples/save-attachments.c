/*
 * A host of the MIME reader in plain C: prints the text of a message, and writes each attachment, decoded, to
 * attachment-1, attachment-2, ... in the current folder.
 *
 *     save-attachments MESSAGE.eml
 *
 * What it leaves out, and what a host of your own may want: charsets other than UTF-8, US-ASCII, ISO-8859-1 and
 * windows-1252 (EmlMimeOptions.convert), a way to cancel (progress).
 */
#define _FILE_OFFSET_BITS 64
#define _POSIX_C_SOURCE 200809L
#include <emlreader/eml_mime.h>
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

/* An output is only rewound when nothing has been written. That it does for a terminal or a pipe, too. */
static int32_t seekFile(EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin) {
    int64_t offset = (int64_t)((uint64_t)(uint32_t)high << 32 | low);
    if (fileOf(self)->stream == stdout) return offset == 0;
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

/* ---- Memory: three functions around malloc. ----------------------------------------------------------- */

static void* allocate(EmlAllocator* self, uint32_t size) { return (void)self, malloc(size); }
static void* reallocate(EmlAllocator* self, void* block, uint32_t size) {
    return (void)self, realloc(block, size);
}
static void release(EmlAllocator* self, void* block) { (void)self, free(block); }

/* ---- The message. ------------------------------------------------------------------------------------ */

static int printText(EmlMimeContext* message, uint32_t number) {
    File output = fileFor(stdout);
    EmlResult result = emlMimeExtract(message, number, EML_MIME_TEXT, &output.object, NULL);
    putchar('\n');
    return result == EML_OK && !output.failed;
}

static int saveAttachment(EmlMimeContext* message, uint32_t number, uint32_t count) {
    /* A name comes from a stranger: show it, never use it as a path. */
    char path[32];
    snprintf(path, sizeof path, "attachment-%" PRIu32, count);
    FILE* stream = fopen(path, "wbx"); /* never overwrites an existing file */
    if (stream == NULL) return perror(path), 0;

    File output = fileFor(stream);
    EmlMimeText name = {0};
    EmlMimeContent content = {0};
    EmlResult result = emlMimeExtract(message, number, EML_MIME_DECODED, &output.object, &content);
    int good = result == EML_OK && !output.failed;
    if (fclose(stream) != 0) good = 0;
    if (good) good = emlMimeGetName(message, number, &name) == EML_OK;
    if (!good) return remove(path), 0;
    printf("%s: %" PRIu64 " bytes, %s%s\n", path, content.size, name.text,
           (content.flags & EML_MIME_CONTENT_DAMAGED) != 0 ? " (damaged)" : "");
    return 1;
}

/* The text of the message itself and its attachments; those of messages inside it stay in them. */
static int readMessage(EmlMimeContext* message) {
    int good = 1;
    uint32_t attachments = 0;
    for (uint32_t number = 0; number < emlMimePartCount(message); ++number) {
        EmlMimePart part = {0};
        if (emlMimeGetPart(message, number, &part, sizeof part) != EML_OK) return 0;
        if (part.message != 0) continue;
        const uint32_t body = part.roles & (EML_MIME_ROLE_TEXT_BODY | EML_MIME_ROLE_HTML_BODY);
        const int isText = strcmp(part.type.text, "text") == 0;
        if ((part.roles & EML_MIME_ROLE_TEXT_BODY) != 0 && isText) good &= printText(message, number);
        /* A picture between texts is a body by its role, and a file to save all the same. */
        if ((part.roles & EML_MIME_ROLE_ATTACHMENT) != 0 || (body != 0 && !isText)) {
            good &= saveAttachment(message, number, ++attachments);
        }
    }
    for (uint32_t index = 0; index < emlMimeDefectCount(message); ++index) {
        EmlMimeDefect defect = {0};
        if (emlMimeGetDefect(message, index, &defect) != EML_OK) return 0;
        printf("%s in part %" PRIu32 "\n", emlMimeDefectName(defect.code), defect.part);
    }
    return good;
}

int main(int argc, char** argv) {
    if (argc != 2) return fprintf(stderr, "usage: %s MESSAGE.eml\n", argv[0]), 2;
    FILE* stream = fopen(argv[1], "rb");
    if (stream == NULL) return perror(argv[1]), 3;

    File input = fileFor(stream);
    EmlAllocator memory = {0, allocate, release, reallocate, NULL};
    EmlMimeOptions options = {.recordSize = sizeof options}; /* all else zero */
    EmlResult result = EML_OK;
    EmlMimeContext* message = emlMimeOpen(&input.object, &memory, &options, &result);
    int good = 0;
    if (message == NULL) {
        fprintf(stderr, "cannot be opened: code %" PRIu32 "\n", result);
    } else {
        good = readMessage(message);
        emlMimeClose(message);
    }
    fclose(stream);
    return good ? 0 : 1;
}
