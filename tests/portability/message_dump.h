/* Everything that both readers answer about a message, as text that is the same wherever the library means
 * the same: no address, no record as it lies in memory, no time but as the message's own date. */
#ifndef EMLREADER_TESTS_MESSAGE_DUMP_H
#define EMLREADER_TESTS_MESSAGE_DUMP_H

#include <emlreader/eml.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The host that a message is read with. */
typedef struct DumpHost DumpHost;
struct DumpHost {
    EmlHostServices* services;
    EmlHostRecord* record;
    bool opensObjects; /* openFile gives the object that it is given as a file specification */
    EmlIOobj* (*makeInput)(DumpHost* self, const uint8_t* bytes, size_t size);
    void (*dropInput)(DumpHost* self, EmlIOobj* input);
    EmlIOobj* (*makeOutput)(DumpHost* self);
    const uint8_t* (*outputBytes)(DumpHost* self, EmlIOobj* output, size_t* size);
    void (*dropOutput)(DumpHost* self, EmlIOobj* output);
    time_t (*seconds)(const uint32_t date[2]); /* what storeDate was given; 0 for no date */
};

/* Bytes that have come from the library. Where uninitialised bytes can be told, those among them are
 * counted. */
void checkInitialised(const void* bytes, size_t size, const char* what);
size_t uninitialisedOutputs(void);

void dumpMessage(DumpHost* host, const uint8_t* bytes, size_t size, FILE* out);

/* Dumps the files, and messages of its own that are long enough for every kernel. Gives an exit code. */
int dumpFiles(DumpHost* host, int count, char** paths);

#ifdef __cplusplus
}
#endif

#endif
