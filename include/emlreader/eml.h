/*
 * emlreader: the entry points of the library.
 *
 * A message is one file in the format of RFC 5322 with MIME (RFC 2045 to 2049). The library has two
 * independent readers. The message filter converts a message into a stream of tagged text records, which the
 * host pulls buffer by buffer. The container reader presents it as a small tree of sub-files: the message
 * itself and its attachments. Both read through the host's EmlIOobj, in blocks of at most 4096 bytes, and
 * allocate every byte through the host's EmlAllocator (eml_host.h).
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
 *   5. NULL. A pointer argument must not be NULL unless the call says what NULL does.
 *   6. Ownership. Names, arrays and lists that a call hands over come from the allocator in the
 *      EmlHostRecord. The host must free them, even when the call then failed. What the library keeps for
 *      itself comes from the services' allocator and is freed at close.
 *   7. Names are returned exactly as the message has them: neither decoded nor cleaned, possibly with path
 *      separators, ".." or control characters ("../x", "C:\\x"). They come from strangers. Never use one as
 *      a path before making it safe.
 *   8. Content is untrusted too: an extracted attachment may be anything that a sender chose.
 *   9. Sizes and counts that do not fit in 32 bits make a call fail with EML_NO_MEMORY. The container
 *      reader accepts messages larger than 4 GiB, and counts a single body with the low 32 bits of its
 *      length; for the message filter the bytes after 2^31 - 1 are absent.
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
/* Lists the "Attachment Converted:" lines of a multipart message without boundary lines as attachments that
 * are not in the file. */
#define EML_OPEN_CONVERTED_ATTACHMENTS 0x20u
#define EML_OPEN_ROOT_FOLDER 0x40000u /* sub-file 0 is a folder "root/", every other number is one higher */
#define EML_OPEN_ATTACHMENTS_FOLDER 0x80000u /* attachment names begin with "Attachments/" */

/* Option bits of emlExtractSubFileToIOobj2. Every other bit is ignored. */
#define EML_EXTRACT_BODY_ONLY 2u   /* the message without its header block */
#define EML_EXTRACT_PREFER_RICH 4u /* the message as HTML or RTF if it has such a body, unconverted */

/* Flag bits of emlFillBufferEx. Every other bit is ignored. */
#define EML_FILL_RESTART 1u   /* restart the conversion */
#define EML_FILL_BODY_ONLY 2u /* no header fields, no attachment list, in this call and later ones */

/* ------------------------------------------------------------------------------------------------------
 * Entry tables. Each slot holds the address of a function, cast to void *.
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
 * The stream is a sequence of records. Each begins with a tag of one byte. All but tag 11 continue with the
 * length of the whole record in 32 bits, tag and length field included. Integers are little-endian and
 * unaligned; "s32" is signed. Measurements are in twips, 1440 to the inch.
 *
 *     tag  length    payload                            written
 *     0    9 + n     u32 n, n bytes of text             every piece of text
 *     1    18        s32 1440, s32 0, s32 -1440, u8 0   prologue: paragraph indents
 *     2    9 + 5n    u32 n, n times u8 0, u32 position  prologue: tab stops
 *     3    6         u8 0                               a tab: twice after a field name, and in the body
 *     4    9         u32: 0x8001 bold on, 1 bold off    around every field name
 *     11   1         (no length field)                  never; readers of the stream skip it
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
 * Opens a message through the services' openFile; the context then owns that object. Returns the context, or
 * NULL when openFile gave no object for `fileSpec`, or when the open failed as emlInitEx says; the object is
 * then closed but not released, and the code is in the services' lastError.
 */
EML_API EmlFilterContext* emlInit(void* fileSpec, EmlHostServices* services, uint32_t flags);

/*
 * Opens a message and scans it once, from its first byte to its last; bytes after 2^31 - 1 count as absent.
 *
 *   io         the message; its open must succeed. close may be missing.
 *   flags      EML_OPEN_... bits
 *   reserved1, reserved2   ignored
 *   result     receives the code of a failure; unchanged on success; may be NULL
 *
 * Returns the context, or NULL with one of these codes, which is also in the services' lastError:
 *
 *   EML_NO_MEMORY, EML_INPUT_NOT_OPENED
 *   EML_EMPTY_MESSAGE      no byte, or two or more attachments but no part boundary
 *   EML_OPEN_FAILED        the scan failed without a code (not in lastError)
 */
EML_API EmlFilterContext* emlInitEx(EmlIOobj* io, EmlHostServices* services, uint32_t flags,
                                    uint32_t reserved1, uint32_t reserved2, EmlResult* result);

/* Closes the input, then frees the context and all that it owns. Ignores NULL. An object that emlInit opened
 * is closed twice, then released. */
EML_API void emlShutdown(EmlFilterContext* context);

/* Returns the number of attachments that the scan recorded, without the message; -1 for NULL. */
EML_API int32_t emlGetFileNumber(EmlFilterContext* context);

/* Returns the charset id of the message; an unknown one becomes the default, 7, permanently. `extra` receives
 * 0. */
EML_API uint32_t emlCharSet(EmlFilterContext* context, uint32_t* extra);

/* Like emlGetContainerInfo2, but also writes charsetExtra. */
EML_API EmlResult emlGetContainerInfo(EmlFilterContext* context, EmlContainerInfo* info,
                                      EmlHostRecord* hostRecord);

/*
 * Writes the next whole records of the stream into `buffer`.
 *
 *   buffer, capacity   the host's buffer. 256 bytes or more; smaller ones may never receive a long text.
 *   size               receives the bytes written, on every return
 *   progress           in and out: the host passes 0 in the first call of a conversion, and in each later
 *                      call what it got. 0 to 100, the share of the body that has been converted; 100 is the
 *                      end.
 *
 * Call it until `progress` is 100 or the result is not EML_OK. Buffers are filled to nine tenths. Text is cut
 * anywhere in the body; in the header at even lengths. A call between two fills that extracts a sub-file or
 * reads metadata disturbs the conversion: restart it afterwards (EML_FILL_RESTART).
 *
 *   EML_NO_MEMORY, EML_OBJECT_FAILED   the header or the body cannot be read again
 *   EML_INVALID_ARGUMENT               context or buffer is NULL
 */
EML_API EmlResult emlFillBuffer(EmlFilterContext* context, void* buffer, uint32_t* size, uint32_t* progress,
                                uint32_t capacity);

/*
 * Like emlFillBuffer, with EML_FILL_... bits. With EML_OPEN_ROOT_FOLDER the message is sub-file 1, and
 * sub-file 0 gives EML_OK and nothing else. Any other sub-file: EML_INVALID_ARGUMENT. EML_ENCRYPTED when the
 * message is encrypted.
 */
EML_API EmlResult emlFillBufferEx(EmlFilterContext* context, uint32_t subFile, void* buffer, uint32_t* size,
                                  uint32_t* progress, uint32_t capacity, uint32_t fillFlags);

/*
 * Writes a file name for the message, made from its subject, into `name` (14 bytes: up to eight characters,
 * ".mail", zero). Passes the message's date to the services' storeDate together with `date`; does not call
 * storeDate without a readable date. EML_NO_MEMORY and EML_OBJECT_FAILED also leave the default name,
 * "zteml.mail", in `name`.
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
 *   EML_NO_MEMORY          the record holds what was handed over before
 */
EML_API EmlResult emlGetSubFileInfoEx(EmlFilterContext* context, int32_t index, EmlSubFileInfo* info,
                                      EmlHostRecord* hostRecord);

/*
 * Returns header values of the message, as emlGetSubFileMetadata2 does, with these differences: the default
 * list is Bcc, Cc, From, Priority, Sent, Subject, To; a request of another kind than EML_REQUEST_BY_NAME ends
 * the call with EML_OBJECT_FAILED; a request for "Sent" gives the Date field, one for "Priority" also
 * X-MSMail-Priority; folded lines are joined without a blank; a field without text has an empty value.
 */
EML_API EmlResult emlGetSubFileMetadata(EmlFilterContext* context, int32_t index, int32_t requestCount,
                                        EmlMetaDataRequest** requests, EmlMetaData* metaData,
                                        EmlHostRecord* hostRecord);

/*
 * Extracts an attachment by its index into the object that the services' openFile gives for `target`, then
 * closes that object twice and releases it. EML_NO_OUTPUT when openFile gives none; otherwise as below.
 */
EML_API EmlResult emlExtractSubFileToIOobj(EmlFilterContext* context, uint32_t attachmentIndex, void* target);

/*
 * Extracts an attachment, numbered as in emlGetSubFileInfo2, decoded from base64 or quoted-printable. Drops
 * every carriage return in a base64 attachment of a text type. Opens, rewinds, writes and closes `output`,
 * and stores the number of bytes written in its size. An attachment without content leaves `output`
 * untouched. Ignores two arguments; keeps the bit EML_FILL_BODY_ONLY of `options` for later fills.
 *
 *   EML_OK                 done; also for the folder "root/", which writes nothing
 *   EML_INVALID_ARGUMENT   the number is that of the message, or lower
 *   EML_OBJECT_FAILED      there is no such attachment, or `output` could not be opened, rewound, written or
 *                          closed
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
 * Returns the context, or NULL. A context can come with an error: check both, and close every context that
 * you got.
 *
 *   EML_OK                 the message is open
 *   EML_INPUT_NOT_OPENED   no context: `input` has no open entry or it failed
 *   EML_INPUT_UNUSABLE     no context: `input` has no close entry (it was opened, and stays so)
 *   EML_NO_MEMORY          memory ran out. Before the scan: no context, and the input stays open when not
 *                          even the context could be allocated. Afterwards: an incomplete context; what was
 *                          found so far can be listed and extracted
 *   EML_OBJECT_FAILED      with context: a multipart/related part holds no part
 *
 * An empty input is a message without attachments. Text that is not a message opens too: everything before
 * the first empty line is its header.
 */
EML_API EmlContainerContext* emlInit2(EmlIOobj* input, EmlHostServices* services, uint32_t flags,
                                      uint32_t reserved1, uint32_t reserved2, EmlResult* status);

/* Closes the input, then frees the context and all that it owns. Ignores NULL. */
EML_API void emlShutdown2(EmlContainerContext* context);

/*
 * Stores the number of sub-files and the charset of the message in `info`; does not write charsetExtra.
 * Returns EML_INVALID_ARGUMENT, and leaves `info` unchanged, when an argument is NULL or a field of
 * `hostRecord` is zero.
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
 * Fields that EmlSubFileInfo reserves for other kinds are left unchanged; bits are added to `flags`. The size
 * of the message is that of its plain-text body; without such a body the field is left unchanged.
 *
 *   EML_INVALID_ARGUMENT   an argument is NULL, a field of `hostRecord` is zero, or `number` is out of range
 *   EML_NO_SUB_FILE        the attachment does not exist or has no name
 *   EML_NO_MEMORY          the name or the array of children could not be allocated; the record holds what
 *                          was handed over before
 */
EML_API EmlResult emlGetSubFileInfo2(EmlContainerContext* context, int32_t number, EmlSubFileInfo* info,
                                     EmlHostRecord* hostRecord);

/*
 * Returns header values of the message.
 *
 *   index        the number of the message: 0, or 1 with EML_OPEN_ROOT_FOLDER. Any other: EML_OK, nothing
 *                filled.
 *   requests, requestCount
 *                NULL and 0 for the default list: From, Sent (the Date field), To, Cc, Bcc, Subject and
 *                Priority, in this order. Otherwise the fields that the requests name, looked up again, one
 *                entry each in the order of the requests; a request of another kind than EML_REQUEST_BY_NAME
 *                gives an entry without name or value.
 *   metaData     receives `count` and `entries`. The host must free every value, name and entry, and the
 *                array, even after a failure; slots may then be NULL.
 *   hostRecord   its allocator allocates all of that; its first field is ignored
 *
 * A value is 8-bit text in the charset of the message (emlGetContainerInfo2), with encoded words (RFC 2047)
 * decoded but not converted, and continuation lines joined by one blank. The values of a field that occurs
 * more than once are joined by "#####". At least one zero byte follows a value; zero bytes inside it are
 * possible.
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
 * plain-text body gives text; otherwise an HTML body gives HTML, an RTF body RTF. EML_EXTRACT_PREFER_RICH
 * prefers HTML or RTF. Text is converted into `outputCharset` when that is set and differs from the charset
 * of the message.
 *
 *     THE HTML FORM IS UNTRUSTED. The sender's HTML is copied unchanged, scripts included, and header values
 *     appear in it unescaped. Never show it in a browser without a sandbox that forbids scripts and network
 *     access.
 *
 * An attachment is decoded from base64 or quoted-printable (RFC 2045); any other is copied unchanged. Every
 * carriage return in a base64 attachment of a text type is dropped. Decoding never fails: invalid code is
 * skipped (base64) or gives some byte (quoted-printable).
 *
 *   output        opened, rewound and written through its entries; then its position at the end is stored in
 *                 its `size` and it is closed
 *   extractInfo   may be NULL: no charset is requested, no flag reported
 *   reserved      ignored
 *   options       EML_EXTRACT_... option bits; they apply only to the message itself
 *
 *   EML_OK                done; also for the folder "root/", for which `output` is not touched
 *   EML_OUTPUT_UNUSABLE   `output` lacks open, close, seek or write, or its open failed; it is left unchanged
 *   EML_NO_SUB_FILE       there is no such sub-file; `output` is empty and closed
 *   EML_ENCRYPTED         the message itself of an encrypted message; `output` stays open
 *   EML_INPUT_UNUSABLE    the input could not be positioned on a body, or gave nothing of the message's body
 *   EML_NO_MEMORY         a text or RTF body, which is read whole, did not fit in memory
 */
EML_API EmlResult emlExtractSubFileToIOobj2(EmlContainerContext* context, int32_t number, EmlIOobj* output,
                                            EmlExtractInfo* extractInfo, uint32_t reserved, uint32_t options);

/*
 * Reads the line at the context's position into its line buffer. Returns 1 for a whole line, 2 for a piece of
 * a line that is longer than 4096 bytes (or for a last line without line end), 0 at the end of the message.
 * Hosts have no use for it; it is exported for engines that resolve it by name.
 */
EML_API int32_t eml2GetLine(EmlContainerContext* context);

/* Formats a description of every section into a buffer of its own and discards it. For debuggers. */
EML_API void emlDebugSections(EmlContainerContext* context);

/* ------------------------------------------------------------------------------------------------------
 * Kept for hosts that resolve them. They accept any arguments and do nothing.
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
