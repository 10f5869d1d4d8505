/*
 * emlreader: the entry points of the library.
 *
 * A message is one file in the format of RFC 5322 with MIME (RFC 2045 to 2049). The library answers in two
 * independent ways. The message filter converts it into a stream of tagged text records, which the host pulls
 * buffer by buffer. The container reader presents it as a small tree of sub-files: the message itself and its
 * attachments. Both read it through the host's EmlIOobj, in blocks of at most 4096 bytes, and allocate every
 * byte through the host's EmlAllocator (eml_host.h).
 *
 * Conventions
 *   1. Order of calls: open, then any number of queries and extractions in any order, then close.
 *   2. Contexts. A context belongs to one caller at a time. Contexts share nothing: the library has no
 *      global state, takes no lock and starts no thread, so different contexts may be used on different
 *      threads.
 *   3. Lifetime. The input object and the services record must outlive the context. The library closes the
 *      input when the context is closed; it never frees the object.
 *   4. Results. EML_OK (0) is success, every other EmlResult names a cause (eml_host.h). A call that fails
 *      leaves the context usable, and it must still be closed.
 *   5. NULL. Where a call says what NULL does, that holds; any other pointer argument must not be NULL.
 *   6. Ownership. Names, arrays and lists that a call hands over come from the allocator in the
 *      EmlHostRecord and are the host's to free, also those handed over by a call that then failed. What
 *      the library keeps for itself comes from the services' allocator and is freed at close.
 *   7. Names are given exactly as the message has them: not decoded, not cleaned, possibly with path
 *      separators, ".." or control characters ("../x", "C:\\x"). They come from strangers. Never use one as
 *      a path before making it safe.
 *   8. Content is untrusted too: an extracted attachment may be anything that a sender chose.
 *   9. Sizes and counts that do not fit in 32 bits make a call fail with EML_NO_MEMORY. The container
 *      reader takes messages larger than 4 GiB, and counts a single body with the low 32 bits of its length;
 *      for the message filter the bytes behind 2^31 - 1 are absent.
 */
#ifndef EMLREADER_EML_H
#define EMLREADER_EML_H

#include "eml_host.h"

#if defined(__GNUC__)
#define EML_API __attribute__((visibility("default")))
#else
#define EML_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Open flags. Every other bit is ignored. */
/* In a multipart message without boundary lines its "Attachment Converted:" lines are listed as attachments
 * that are not in the file. */
#define EML_OPEN_CONVERTED_ATTACHMENTS 0x20u
#define EML_OPEN_ROOT_FOLDER 0x40000u /* sub-file 0 is a folder "root/", every other number is one higher */
#define EML_OPEN_ATTACHMENTS_FOLDER 0x80000u /* attachment names begin with "Attachments/" */

/* Option bits of emlExtractSubFileToIOobj2. Every other bit is ignored. */
#define EML_EXTRACT_BODY_ONLY 2u   /* the message without its header block */
#define EML_EXTRACT_PREFER_RICH 4u /* the message as HTML or RTF when it has such a body, unconverted */

/* Flag bits of emlFillBufferEx. Every other bit is ignored. */
#define EML_FILL_RESTART 1u   /* begin the conversion anew */
#define EML_FILL_BODY_ONLY 2u /* no header fields, no attachment list, in this call and later ones */

/* ------------------------------------------------------------------------------------------------------
 * Entry tables. A slot holds the address of a function, cast to void *.
 */

/*
 * Stores the entry points of the message filter into `table`, in this order: emlInit, emlShutdown,
 * emlGetSubFileInfo, emlExtractSubFileToIOobj, emlGetFileNumber, emlFillBuffer, emlCharSet.
 */
EML_API void emlGetContainerReaderInterface(void* table[7]);

/*
 * Stores the entry points of the container reader into `table`, in this order: emlInit2, emlShutdown2,
 * emlGetContainerInfo2, emlGetSubFileInfo2, emlGetSubFileMetadata2, emlExtractSubFileToIOobj2.
 */
EML_API void emlGetContainerReaderInterfaceEx(void* table[6]);

/* ------------------------------------------------------------------------------------------------------
 * Message filter
 *
 * The stream is a sequence of records. Each begins with a tag of one byte and, save for tag 11, goes on with
 * its whole length in 32 bits, tag and length field included. Integers are stored low byte first, at any
 * address; "s32" is signed. Measures are twips, 1440 to the inch.
 *
 *     tag  length    payload                            written
 *     0    9 + n     u32 n, n bytes of text             every piece of text
 *     1    18        s32 1440, s32 0, s32 -1440, u8 0   prologue: paragraph indents
 *     2    9 + 5n    u32 n, n times u8 0, u32 position  prologue: tab stops
 *     3    6         u8 0                               a tab: twice behind a field name, and in the body
 *     4    9         u32: 0x8001 bold on, 1 bold off    around every field name
 *     11   1         (no length field)                  never; walkers step over it
 *     13   5                                            a line break
 *     15   13        u32 0, u32 12                      the first record of a stream
 *     16   38        u8 2, u32 width and height,        prologue: the page
 *                    u32 four margins, s32 -1, s32 -1
 *     27   9         u32 charset id                     prologue, body start, around encoded words
 *
 * Text is in the charset of the last record 27. The prologue (15, 16, 2, 1, 27) is followed by the header
 * fields, the list of attachment names, record 27, and the body.
 */
typedef struct EmlFilterContext EmlFilterContext;

/*
 * Opens a message through the services' openFile, whose object the context then owns. Gives the context, or
 * NULL: `fileSpec` gave no object, or the open failed as emlInitEx says; then the object is closed but not
 * released, and the code is in the services' lastError.
 */
EML_API EmlFilterContext* emlInit(void* fileSpec, EmlHostServices* services, uint32_t flags);

/*
 * Opens a message and scans it once, from its first byte to its last; bytes behind 2^31 - 1 count as absent.
 *
 *   io         the message; its open must succeed. close may be missing.
 *   flags      EML_OPEN_... bits
 *   reserved1, reserved2   ignored
 *   result     receives the code of a failure, and is left alone on success; may be NULL
 *
 * Gives the context, or NULL with one of these, which is also in the services' lastError:
 *
 *   EML_NO_MEMORY, EML_INPUT_NOT_OPENED
 *   EML_EMPTY_MESSAGE      no byte, or two or more attachments but no part boundary
 *   EML_OPEN_FAILED        the scan failed without a code (not in lastError)
 */
EML_API EmlFilterContext* emlInitEx(EmlIOobj* io, EmlHostServices* services, uint32_t flags,
                                    uint32_t reserved1, uint32_t reserved2, EmlResult* result);

/* Closes the input and frees all that the context owns, and the context. NULL is ignored. An object that
 * emlInit opened is closed twice and then released. */
EML_API void emlShutdown(EmlFilterContext* context);

/* The number of attachments that the scan recorded, the message not counted; -1 for NULL. */
EML_API int32_t emlGetFileNumber(EmlFilterContext* context);

/* The charset id of the message; an unknown one becomes the default, 7, for good. `extra` receives 0. */
EML_API uint32_t emlCharSet(EmlFilterContext* context, uint32_t* extra);

/* As emlGetContainerInfo2; charsetExtra is written too. */
EML_API EmlResult emlGetContainerInfo(EmlFilterContext* context, EmlContainerInfo* info,
                                      EmlHostRecord* hostRecord);

/*
 * Gives the next records of the stream, whole ones.
 *
 *   buffer, capacity   the host's buffer. 256 bytes or more; smaller ones may never receive a long text.
 *   size               receives the bytes written, on every return
 *   progress           in and out: the host passes 0 before the first call of a conversion and then what it
 *                      got. 0 to 100, the share of the body that has been converted; 100 is the end.
 *
 * The host calls until `progress` is 100 or the result is not EML_OK. Buffers are filled to nine tenths. Text
 * is cut anywhere in the body; in the header at even lengths. A call between two fills that extracts a
 * sub-file or gives metadata disturbs the conversion: restart it afterwards (EML_FILL_RESTART).
 *
 *   EML_NO_MEMORY, EML_OBJECT_FAILED   the header or the body cannot be read again
 *   EML_INVALID_ARGUMENT               context or buffer is NULL
 */
EML_API EmlResult emlFillBuffer(EmlFilterContext* context, void* buffer, uint32_t* size, uint32_t* progress,
                                uint32_t capacity);

/*
 * The same with EML_FILL_... bits. With EML_OPEN_ROOT_FOLDER the message is sub-file 1, and sub-file 0 gives
 * EML_OK and nothing. Any other sub-file: EML_INVALID_ARGUMENT. EML_ENCRYPTED when the message is encrypted.
 */
EML_API EmlResult emlFillBufferEx(EmlFilterContext* context, uint32_t subFile, void* buffer, uint32_t* size,
                                  uint32_t* progress, uint32_t capacity, uint32_t fillFlags);

/*
 * A file name for the message, made from its subject, into `name` (14 bytes: up to eight characters, ".mail",
 * zero), and its date to the services' storeDate with `date`, which is not called without a date that can be
 * read. The default name, "zteml.mail", is written also with EML_NO_MEMORY and EML_OBJECT_FAILED.
 *
 *   EML_INVALID_ARGUMENT   context or `name` is NULL, or a conversion is in progress; nothing is written
 */
EML_API EmlResult emlGetMainNameDate(EmlFilterContext* context, char* name, void* date);

/*
 * Describes an attachment by its index, 0 to emlGetFileNumber - 1, whatever the open flags. EML_OBJECT_FAILED
 * when there is none. The name is as the message has it: see convention 7.
 */
EML_API EmlResult emlGetSubFileInfo(EmlFilterContext* context, uint32_t attachmentIndex,
                                    EmlAttachmentInfo* info);

/*
 * Describes a sub-file, numbered as in emlGetSubFileInfo2. The size of the message is that of its file. In
 * the middle of a conversion the message has its default name and no date.
 *
 *   EML_INVALID_ARGUMENT   context, info, host record or its allocator is NULL, or the number is out of range
 *   EML_OBJECT_FAILED      the attachment or part table is missing
 *   EML_NO_MEMORY          what was handed over before is in the record
 */
EML_API EmlResult emlGetSubFileInfoEx(EmlFilterContext* context, int32_t index, EmlSubFileInfo* info,
                                      EmlHostRecord* hostRecord);

/*
 * Gives header values of the message, as emlGetSubFileMetadata2 does, with these differences: the default
 * list is Bcc, Cc, From, Priority, Sent, Subject, To; a request of another kind than EML_REQUEST_BY_NAME ends
 * the call with EML_OBJECT_FAILED; a request for "Sent" gives the Date field, one for "Priority" also
 * X-MSMail-Priority; folded lines are joined without a blank; a field without text has an empty value.
 */
EML_API EmlResult emlGetSubFileMetadata(EmlFilterContext* context, int32_t index, int32_t requestCount,
                                        EmlMetaDataRequest** requests, EmlMetaData* metaData,
                                        EmlHostRecord* hostRecord);

/*
 * Extracts an attachment by its index into the object that the services' openFile gives for `target`, which
 * is closed twice and released. EML_NO_OUTPUT when it gives none; otherwise as below.
 */
EML_API EmlResult emlExtractSubFileToIOobj(EmlFilterContext* context, uint32_t attachmentIndex, void* target);

/*
 * Extracts an attachment, numbered as in emlGetSubFileInfo2, decoded from base64 or quoted-printable. In a
 * base64 attachment of a text type every carriage return is dropped. `output` is opened, rewound, written and
 * closed; its size receives the bytes written. An attachment without content leaves it untouched. Two
 * arguments are ignored; the bit EML_FILL_BODY_ONLY of `options` is kept for later fills.
 *
 *   EML_OK                 done; also for the folder "root/", which writes nothing
 *   EML_INVALID_ARGUMENT   the number is that of the message, or below it
 *   EML_OBJECT_FAILED      there is no such attachment, or `output` could not be opened, rewound, written or
 * closed
 */
EML_API EmlResult emlExtractSubFileToIOobjEx(EmlFilterContext* context, int32_t index, EmlIOobj* output,
                                             uint32_t reserved1, uint32_t reserved2, uint32_t options);

/* ------------------------------------------------------------------------------------------------------
 * Container reader
 */
typedef struct EmlContainerContext EmlContainerContext;

/*
 * Opens a message and scans it once.
 *
 *   input      the message; must have open, which must succeed, and close
 *   services   the host's services; must not be NULL
 *   flags      EML_OPEN_... bits
 *   reserved1, reserved2   ignored
 *   status     receives the result, on every return; must not be NULL
 *
 * Gives the context, or NULL. A context can come with an error: the host looks at both, and closes every
 * context that it got.
 *
 *   EML_OK                 the message is open
 *   EML_INPUT_NOT_OPENED   no context: `input` has no open entry or it failed
 *   EML_INPUT_UNUSABLE     no context: `input` has no close entry (it was opened, and stays so)
 *   EML_NO_MEMORY          memory ran out. Before the scan there is no context then, and the input stays open
 *                          when not even that could be allocated; afterwards there is an incomplete one:
 *                          what was found so far can be listed and extracted
 *   EML_OBJECT_FAILED      with context: a multipart/related part holds no part
 *
 * An empty input is a message without attachments. Text that is no message at all opens as well: whatever
 * stands before the first empty line is its header.
 */
EML_API EmlContainerContext* emlInit2(EmlIOobj* input, EmlHostServices* services, uint32_t flags,
                                      uint32_t reserved1, uint32_t reserved2, EmlResult* status);

/* Closes the input and frees all that the context owns, and the context. NULL is ignored. */
EML_API void emlShutdown2(EmlContainerContext* context);

/*
 * Reports the number of sub-files and the charset of the message in `info`; charsetExtra is not written.
 * EML_INVALID_ARGUMENT when an argument is NULL or a field of `hostRecord` is zero; `info` is left alone
 * then.
 */
EML_API EmlResult emlGetContainerInfo2(EmlContainerContext* context, EmlContainerInfo* info,
                                       EmlHostRecord* hostRecord);

/*
 * Describes one sub-file.
 *
 * Without EML_OPEN_ROOT_FOLDER: 0 is the message, 1 to n are its attachments in the order of the file.
 * With it: 0 is the folder "root/", 1 the message, 2 to n + 1 the attachments.
 * An encrypted message has no attachments.
 *
 * Fields that EmlSubFileInfo says are for other kinds are left alone; `flags` is added to. The size of the
 * message is that of its plain-text body, and left alone when it has none.
 *
 *   EML_INVALID_ARGUMENT   an argument is NULL, a field of `hostRecord` is zero, or `number` is out of range
 *   EML_NO_SUB_FILE        the attachment does not exist or has no name
 *   EML_NO_MEMORY          the name or the array of children could not be allocated; what was handed over
 *                          before is in the record
 */
EML_API EmlResult emlGetSubFileInfo2(EmlContainerContext* context, int32_t number, EmlSubFileInfo* info,
                                     EmlHostRecord* hostRecord);

/*
 * Gives header values of the message.
 *
 *   index        the number of the message: 0, or 1 with EML_OPEN_ROOT_FOLDER. Any other: EML_OK, nothing
 *                filled.
 *   requests, requestCount
 *                NULL and 0 for the default list, which is From, Sent (the Date field), To, Cc, Bcc, Subject
 *                and Priority, in this order. Otherwise the fields that the requests name, looked up afresh,
 *                one entry each in the order of the requests; a request of another kind than
 *                EML_REQUEST_BY_NAME gives an entry without name or value.
 *   metaData     `count` and `entries` are written. The host frees every value, name and entry, and the
 *                array, also after a failure; slots may be NULL then.
 *   hostRecord   its allocator allocates all of that; its first field is not looked at
 *
 * A value is 8-bit text in the charset of the message (emlGetContainerInfo2), with encoded words (RFC 2047)
 * decoded but not converted, and continuation lines joined by one blank. The values of a field that occurs
 * more than once are joined by "#####". At least one zero byte stands behind a value; zero bytes inside it
 * are possible.
 *
 *   EML_INVALID_ARGUMENT   context, record, its allocator or `metaData` is NULL, the count is negative, or it
 *                          is positive without requests
 *   EML_NO_MEMORY          the list is filled as far as memory went
 */
EML_API EmlResult emlGetSubFileMetadata2(EmlContainerContext* context, int32_t index, int32_t requestCount,
                                         EmlMetaDataRequest** requests, EmlMetaData* metaData,
                                         EmlHostRecord* hostRecord);

/*
 * Writes one sub-file into `output`.
 *
 * The message itself is rendered as one document: a header block, then the best body that it has. A
 * plain-text body gives text, otherwise an HTML body gives HTML, an RTF body RTF; EML_EXTRACT_PREFER_RICH
 * asks for HTML or RTF first. Text is converted into `outputCharset` when that is set and differs from the
 * charset of the message.
 *
 *     THE HTML FORM IS UNTRUSTED. The sender's HTML is copied as it is, scripts included, and header values
 *     stand in it unescaped. Never show it in a browser without a sandbox that forbids scripts and network
 *     access.
 *
 * An attachment is decoded from base64 or quoted-printable (RFC 2045); any other is copied as it stands. In
 * a base64 attachment of a text type every carriage return is dropped. Decoding never fails: what is no
 * valid code is skipped (base64) or gives some byte (quoted-printable).
 *
 *   output        opened, rewound and written through its entries; afterwards its position at the end is
 *                 stored in its `size` and it is closed
 *   extractInfo   may be NULL: no charset is asked for, no flag reported
 *   reserved      ignored
 *   options       EML_EXTRACT_... option bits; they concern the message itself only
 *
 *   EML_OK                done; also for the folder "root/", for which `output` is not touched
 *   EML_OUTPUT_UNUSABLE   `output` lacks open, close, seek or write, or its open failed; it is left as it is
 *   EML_NO_SUB_FILE       there is no such sub-file; `output` is empty and closed
 *   EML_ENCRYPTED         the message itself of an encrypted message; `output` stays open
 *   EML_INPUT_UNUSABLE    the input could not be positioned on a body, or gave nothing of the message's body
 *   EML_NO_MEMORY         a text or RTF body, which is read whole, did not fit in memory
 */
EML_API EmlResult emlExtractSubFileToIOobj2(EmlContainerContext* context, int32_t number, EmlIOobj* output,
                                            EmlExtractInfo* extractInfo, uint32_t reserved, uint32_t options);

/*
 * Reads the line at the context's position into its line buffer: 1 for a whole line, 2 for a piece of a
 * line that is longer than 4096 bytes (or for a last line without line end), 0 at the end of the message.
 * Hosts have no use for it; it is exported for engines that resolve it by name.
 */
EML_API int32_t eml2GetLine(EmlContainerContext* context);

/* Formats a description of every section into a buffer of its own, which goes nowhere. For debuggers. */
EML_API void emlDebugSections(EmlContainerContext* context);

/* ------------------------------------------------------------------------------------------------------
 * Kept for hosts that resolve them: accept any arguments and do nothing.
 */
#ifdef __cplusplus
EML_API void emlLog(...);
EML_API void emlDeleteLogfile(...);
#else
EML_API void emlLog();
EML_API void emlDeleteLogfile();
#endif

#ifdef __cplusplus
}
#endif

#endif
