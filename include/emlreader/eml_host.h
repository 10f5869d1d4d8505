/*
 * emlreader: the records that cross the boundary between a host engine and the library.
 *
 * The library owns no file, no heap and no clock. It reaches the outside world only through the entries of
 * these records, which the host fills in before it opens a message. Include eml.h for the calls themselves.
 *
 * Layout
 *   L1. Plain C structs, natural alignment, no packing, no bit-fields. On a 32-bit build every field sits
 *       at (field number - 1) * 4; the offsets of a 64-bit build are asserted when the library is built.
 *   L2. Fields named hostOwned... and reserved... only hold positions. The library never reads or writes
 *       them, so a host may keep state of its own there.
 *   L3. A host entry is a C function pointer. Its first argument is the record that it belongs to; an
 *       allocator entry gets the address of the EmlAllocator record itself, even where that record is
 *       embedded in EmlHostServices. storeDate is the only exception: it gets no record.
 *   L4. An entry that is NULL counts as one that fails, unless its description says otherwise.
 *
 * Calls
 *   C1. Entries are called on the caller's thread, only from inside an entry point of the library.
 *   C2. Sizes and counts given to entries are bytes in 32 bits.
 *   C3. The library trusts no answer: it copes with short reads, failing entries and NULL from every
 *       allocation, and never uses more bytes than it asked for.
 */
#ifndef EMLREADER_EML_HOST_H
#define EMLREADER_EML_HOST_H

#include <stdint.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------------
 * Result codes. One numbering serves both readers.
 */
typedef uint32_t EmlResult;

#define EML_OK 0u                /* success */
#define EML_NO_MEMORY 2u         /* an allocation of the host gave NULL, or a size does not fit in 32 bits */
#define EML_INPUT_UNUSABLE 4u    /* the input has no close entry, or could not be positioned on a body */
#define EML_OBJECT_FAILED 6u     /* an input or output object failed, or a multipart/related part is empty */
#define EML_EMPTY_MESSAGE 7u     /* the message holds no bytes */
#define EML_ENCRYPTED 8u         /* the message is encrypted: there is no text to give */
#define EML_OPEN_FAILED 12u      /* the open failed without a code of its own */
#define EML_OUTPUT_UNUSABLE 16u  /* the output lacks open, close, seek or write, or its open failed */
#define EML_NO_SUB_FILE 20u      /* the numbered sub-file does not exist, or has no name to report */
#define EML_INPUT_NOT_OPENED 22u /* the input could not be opened or rewound */
#define EML_NO_OUTPUT 25u        /* openFile gave no object for the destination */
#define EML_INVALID_ARGUMENT 34u /* a NULL or incomplete argument, or a number out of range */

/* ------------------------------------------------------------------------------------------------------
 * EmlIOobj: one file as the host presents it. Messages are read through one, sub-files are written
 * through another.
 */
#define EML_SEEK_START 0u /* origin of seek: the offset counts from the first byte */
#define EML_SEEK_END 2u   /* origin of seek: the offset counts from the end */

typedef struct EmlIOobj EmlIOobj;

struct EmlIOobj {
    void* hostOwned1[2];
    /* Size in bytes, 64 bits as two words, the low word first. Written by the library on an output object
     * when a sub-file has been extracted into it: the position that tell gave at the end of the output. */
    uint32_t size[2];
    void* hostOwned2[6];
    /* Prepares the object for use. Non-zero is success. Called once, before any other entry. */
    int32_t (*open)(EmlIOobj* self);
    /* Reads at most `count` bytes at the current position into `buffer` and moves the position past them.
     * Returns the number of bytes delivered; less than 1 is the end of the data. `count` is at most 4096,
     * except for the message filter's one read of a whole header. The MIME reader (eml_mime.h) asks for 64 KiB,
     * and for a whole header. */
    int32_t (*read)(EmlIOobj* self, void* buffer, uint32_t count);
    /* Writes `count` bytes at the current position. Output objects only. The result is ignored: an object
     * that cannot write must remember that and report it when it is closed. */
    uint32_t (*write)(EmlIOobj* self, const void* buffer, uint32_t count);
    /* Moves the position to a 64-bit offset, given as two halves, from EML_SEEK_START or EML_SEEK_END.
     * Non-zero is success. */
    int32_t (*seek)(EmlIOobj* self, uint32_t offsetLow, int32_t offsetHigh, uint32_t origin);
    /* Returns the current position, in bytes from the start. */
    int64_t (*tell)(EmlIOobj* self);
    /* Ends the use of the object. Non-zero is success. */
    int32_t (*close)(EmlIOobj* self);
    void* reserved17;
    /* Destroys an object that the library itself obtained from openFile. */
    void (*release)(EmlIOobj* self);
};

/* ------------------------------------------------------------------------------------------------------
 * EmlAllocator: memory. Every byte that the library allocates comes from one of these.
 *
 * A block is aligned for any type, as malloc's is. Blocks of the services' allocator belong to the library
 * and are freed when the context is closed; blocks of the allocator in an EmlHostRecord belong to the host.
 */
typedef struct EmlAllocator EmlAllocator;

struct EmlAllocator {
    uintptr_t context; /* the host's own; never read */
    void* (*allocate)(EmlAllocator* self, uint32_t size);
    void (*free)(EmlAllocator* self, void* block);
    /* Resizes a block and keeps its content. If it returns NULL the library forgets the old block without
     * freeing it: a host that cannot accept this leak must keep a list of its blocks. */
    void* (*reallocate)(EmlAllocator* self, void* block, uint32_t newSize);
    void* (*allocateZeroed)(EmlAllocator* self, uint32_t count, uint32_t size);
};

/* ------------------------------------------------------------------------------------------------------
 * EmlHostServices: what the host does for one open message. The record must outlive the context.
 */

/* A text for the two conversion entries. */
typedef struct EmlTextSpan {
    void* text;
    uint32_t length; /* bytes */
} EmlTextSpan;

#define EML_CONVERT_FORM 32u       /* the form that convertText is asked for: the host's 16-bit text */
#define EML_CONVERT_SUBSTITUTE 63u /* the substitute that convertTextFrom is given: '?' */

typedef struct EmlHostServices EmlHostServices;

struct EmlHostServices {
    void* hostOwned1[27];
    /* Returns an object for a file specification, which is the host's own and passed through unchanged; NULL
     * when it cannot. */
    EmlIOobj* (*openFile)(EmlHostServices* self, void* fileSpec);
    void* hostOwned2[9];
    EmlAllocator allocator;
    void* hostOwned3[36];
    /* Returns a copy of a zero-terminated text, in a block that `allocator.free` releases; NULL when memory
     * is exhausted. */
    char* (*duplicateString)(EmlHostServices* self, const char* text);
    void* hostOwned4[14];
    /* Converts 8-bit text in the charset `currentCharset` into the host's 16-bit text (`form` is
     * EML_CONVERT_FORM). Called twice: first with a NULL destination text, to learn the size from the
     * destination's length, then with a buffer of that size. The result is ignored: the length left in the
     * destination counts. */
    uint32_t (*convertText)(EmlHostServices* self, EmlTextSpan* source, EmlTextSpan* destination,
                            uint32_t form, uint32_t reserved);
    void* reserved95;
    /* Converts text in the charset `charset` into the charset `currentCharset`, in two calls as above;
     * characters that the target lacks become `substitute`. */
    uint32_t (*convertTextFrom)(EmlHostServices* self, uint32_t charset, EmlTextSpan* source,
                                EmlTextSpan* destination, uint32_t substitute);
    /* Non-zero when `byte` (0 to 255) opens a two-byte character in the charset `charset`. */
    int32_t (*isLeadByte)(EmlHostServices* self, uint32_t byte, uint32_t charset);
    void* reserved98;
    /* Called with 0 when `currentCharset` has just been set to 0: the conversion has no known charset. */
    void (*resetCharset)(EmlHostServices* self, uint32_t reserved);
    void* hostOwned5[9];
    uint32_t currentCharset; /* the library sets it for one conversion, then restores the old value */
    void* hostOwned6[300];
    /* Receives a calendar time (seconds as mktime gives them, with the message's date read as local time);
     * the host writes it into `destination`, two words, in a date format of its own. */
    void (*storeDate)(time_t seconds, void* destination);
    void* reserved411;
    EmlResult lastError; /* written by the message filter when an open fails */
};

/* ------------------------------------------------------------------------------------------------------
 * Charset ids: the host's numbers for character sets. 0 is "not recognised".
 */
#define EML_CHARSET_UNKNOWN 0u
#define EML_CHARSET_SHIFT_JIS 1u      /* code page 932 */
#define EML_CHARSET_GB2312 2u         /* code page 936 */
#define EML_CHARSET_BIG5 3u           /* code page 950 */
#define EML_CHARSET_KSC_5601 4u       /* code page 949 */
#define EML_CHARSET_CENTRAL_EUROPE 5u /* code page 1250, also for ISO-8859-2 */
#define EML_CHARSET_CYRILLIC 6u       /* code page 1251, also for ISO-8859-5 and KOI8-R */
#define EML_CHARSET_WESTERN 7u        /* code page 1252, also for ISO-8859-1 and US-ASCII; the default */
#define EML_CHARSET_GREEK 8u          /* code page 1253, also for ISO-8859-7 */
#define EML_CHARSET_TURKISH 9u        /* code page 1254 */
#define EML_CHARSET_HEBREW 10u        /* code page 1255 */
#define EML_CHARSET_ARABIC 11u        /* code page 1256 */
#define EML_CHARSET_BALTIC 12u        /* code page 1257 */
#define EML_CHARSET_VIETNAMESE 13u    /* code page 1258 */
#define EML_CHARSET_ISO_8859_3 16u
#define EML_CHARSET_ISO_8859_4 17u
#define EML_CHARSET_ISO_8859_6 19u
#define EML_CHARSET_ISO_8859_8 21u
#define EML_CHARSET_ISO_8859_9 22u
#define EML_CHARSET_ISO_8859_14 23u
#define EML_CHARSET_ISO_8859_15 24u
#define EML_CHARSET_DOS_862 35u
#define EML_CHARSET_TEXT_16 51u /* the host's 16-bit text, as a target of a rendering; no message has it */
#define EML_CHARSET_UTF_16 52u
#define EML_CHARSET_UTF_8 53u
#define EML_CHARSET_UTF_7 54u
#define EML_CHARSET_ISO_2022_JP 55u
#define EML_CHARSET_EUC_JP 66u
#define EML_CHARSET_EUC_KR 69u
#define EML_CHARSET_ISO_8859_10 81u
#define EML_CHARSET_ISO_8859_13 82u
#define EML_CHARSET_GB18030 94u

/* ------------------------------------------------------------------------------------------------------
 * Records that the library fills in for the host.
 */

/* The host's record that every call that describes something takes. Both fields must be non-zero. */
typedef struct EmlHostRecord {
    uintptr_t hostOwned;     /* the host's own word */
    EmlAllocator* allocator; /* allocates the strings and arrays that are handed to the host */
} EmlHostRecord;

typedef struct EmlContainerInfo {
    uint32_t hostOwned1[3];
    uint32_t subFileCount; /* the valid sub-file numbers are 0 to subFileCount - 1 */
    uint32_t hostOwned2[4];
    uint32_t charset;      /* charset id of the message */
    uint32_t charsetExtra; /* message filter: 0; container reader: not written */
} EmlContainerInfo;

/* Values of EmlSubFileInfo.kind */
#define EML_KIND_MESSAGE 0u
#define EML_KIND_ATTACHMENT 1u
#define EML_KIND_FOLDER 3u

/* Bits of EmlSubFileInfo.flags */
#define EML_SUB_FILE_CLEARED_FOR_MESSAGE 1u /* cleared on the message, never set */
#define EML_SUB_FILE_ENCRYPTED 2u           /* the message is encrypted (opaque S/MIME, RFC 8551) */
#define EML_SUB_FILE_NOT_IN_FILE 4u         /* only the attachment's name is in the message */
#define EML_SUB_FILE_MESSAGE 8u             /* the attachment is itself a message (message/... part) */

/* The container reader adds bits to the `flags` that the record already holds, so clear the record first. */
typedef struct EmlSubFileInfo {
    uint32_t hostOwned[3];
    char* name;       /* zero-terminated, from the EmlHostRecord's allocator; the host frees it */
    uint32_t kind;    /* EML_KIND_... */
    int32_t size;     /* bytes as stored in the message, before decoding, low 32 bits; -1: not in the file */
    uint32_t flags;   /* EML_SUB_FILE_... */
    uint32_t charset; /* message only: charset id */
    uint32_t charsetExtra; /* message only, message filter only: 0 */
    uint32_t date[2];      /* message only: as storeDate wrote it */
    int32_t parent;        /* number of the parent sub-file, -1 for the top */
    uint32_t childCount;   /* message and folder only */
    uint32_t* children;    /* childCount numbers, from the EmlHostRecord's allocator; the host frees them */
} EmlSubFileInfo;

/* The record of emlGetSubFileInfo (message filter). */
typedef struct EmlAttachmentInfo {
    char name[1024]; /* zero-terminated */
    uint32_t zero1;  /* set to 0 */
    uint32_t hostOwned[4];
    int32_t size;      /* bytes as stored in the message, before decoding */
    uint32_t zero2[3]; /* set to 0 */
} EmlAttachmentInfo;

/* Bits of EmlExtractInfo.resultFlags */
#define EML_EXTRACT_CONVERTED 4u   /* a text conversion of the host produced output */
#define EML_EXTRACT_NOT_IN_FILE 8u /* nothing was written: the content is not in the message */

typedef struct EmlExtractInfo {
    uint32_t resultFlags;   /* bits are added, none is cleared */
    uint32_t outputCharset; /* charset id to convert text into, 0 for none; reset to 0 once it is read */
} EmlExtractInfo;

/* Values of EmlMetaDataEntry.type */
#define EML_TYPE_TEXT 7u /* 8-bit text; the only type that the library creates */

typedef struct EmlMetaDataEntry {
    uint32_t hasValue; /* 1 when the message has a value; `value` is still NULL when it could not be copied */
    uint32_t reserved; /* 0 */
    uint32_t type;     /* EML_TYPE_TEXT */
    char* name;        /* zero-terminated field name; the host frees it */
    char* value; /* the text in the message's charset, encoded words (RFC 2047) decoded; the host frees it */
    uint32_t valueLength; /* bytes, without the terminator */
} EmlMetaDataEntry;

typedef struct EmlMetaData {
    uint32_t hostOwned[3];
    int32_t count;              /* entries in the list */
    EmlMetaDataEntry** entries; /* the host frees each entry, and the array */
} EmlMetaData;

#define EML_REQUEST_BY_NAME 1u /* the only kind of request that is served */

typedef struct EmlMetaDataRequest {
    uint32_t kind;
    const char* name; /* zero-terminated field name */
} EmlMetaDataRequest;

#ifdef __cplusplus
}
#endif

#endif
