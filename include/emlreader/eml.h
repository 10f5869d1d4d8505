/*
 * emlreader: the entry points of the library.
 *
 * A message is one file in the format of RFC 5322 with MIME (RFC 2045 to 2049). The container reader
 * presents it as a small tree of sub-files: the message itself and its attachments. The library never holds
 * the message in memory: it reads it through the host's EmlIOobj, in blocks of at most 4096 bytes, and
 * allocates every byte through the host's EmlAllocator (eml_host.h).
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
 *   9. Sizes and counts that do not fit in 32 bits make a call fail with EML_NO_MEMORY. Messages may be
 *      larger than 4 GiB; a single body counts with the low 32 bits of its length.
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
#define EML_OPEN_CONVERTED_ATTACHMENTS                                                                  \
    0x20u                             /* multipart message without boundary lines: list its "Attachment \
                                         Converted:" lines as attachments that are not in the file */
#define EML_OPEN_ROOT_FOLDER 0x40000u /* sub-file 0 is a folder "root/", every other number is one higher */
#define EML_OPEN_ATTACHMENTS_FOLDER 0x80000u /* attachment names begin with "Attachments/" */

/* Option bits of emlExtractSubFileToIOobj2. Every other bit is ignored. */
#define EML_EXTRACT_BODY_ONLY 2u /* the message without its header block */
#define EML_EXTRACT_PREFER_RICH \
    4u /* the message as HTML or RTF when it has such a body; no text conversion */

/* ------------------------------------------------------------------------------------------------------
 * Entry table
 */

/*
 * Stores the entry points of the container reader into `table`, in this order: emlInit2, emlShutdown2,
 * emlGetContainerInfo2, emlGetSubFileInfo2, emlGetSubFileMetadata2, emlExtractSubFileToIOobj2. Each slot is
 * the address of the function, cast to void *.
 */
EML_API void emlGetContainerReaderInterfaceEx(void* table[6]);

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
 *   EML_NO_MEMORY          memory ran out; no context when that happened before the scan, and an incomplete
 * one afterwards: what was found so far can be listed and extracted EML_OBJECT_FAILED      with context: a
 * multipart/related part holds no part
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
 *   index          the number of the message: 0, or 1 with EML_OPEN_ROOT_FOLDER. Any other: EML_OK, nothing
 * filled. requests, requestCount   NULL and 0 for the default list, which is From, Sent (the Date field), To,
 * Cc, Bcc, Subject and Priority, in this order. Otherwise the fields that the requests name, looked up
 *                  afresh, one entry each in the order of the requests; a request of another kind than
 *                  EML_REQUEST_BY_NAME gives an entry without name or value.
 *   metaData       `count` and `entries` are written. The host frees every value, name and entry, and the
 * array, also after a failure; slots may be NULL then. hostRecord     its allocator allocates all of that;
 * its first field is not looked at
 *
 * A value is 8-bit text in the charset of the message (emlGetContainerInfo2), with encoded words (RFC 2047)
 * decoded but not converted, and continuation lines joined by one blank. The values of a field that occurs
 * more than once are joined by "#####". At least one zero byte stands behind a value; zero bytes inside it
 * are possible.
 *
 *   EML_INVALID_ARGUMENT   context, record, its allocator or `metaData` is NULL, the count is negative, or it
 * is positive without requests EML_NO_MEMORY          the list is filled as far as memory went
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
 * stand in it unescaped. Never show it in a browser without a sandbox that forbids scripts and network
 * access.
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
