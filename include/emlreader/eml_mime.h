/*
 * emlreader: the MIME reader.
 *
 * Answers what the sender's program meant, by today's standards (RFC 5322, 2045 to 2049, 2231, 6532, 8621), and
 * accounts for every byte of the file: each belongs to exactly one span. Where a message breaks a rule, the
 * reader takes the reading that loses nothing and lists a defect. It is independent of the two readers of
 * eml.h, and a library of its own: libemlmime.so.1.
 *
 * Conventions
 *   1. Order of calls: open, then any number of queries and extractions in any order, then close.
 *   2. Contexts. A context belongs to one caller at a time. Contexts share nothing: the library has no global
 *      state, takes no lock and starts no thread.
 *   3. Lifetime. The input, the allocator and what the options point to must outlive the context. The library
 *      closes the input when the context is closed; it never frees the object.
 *   4. Results. EML_OK (0) is success; every other EmlResult names a cause (eml_host.h, and EML_MIME_CANCELLED).
 *      A call that fails leaves the context usable, and it must still be closed.
 *   5. NULL. Where a call says what NULL does, that holds; any other pointer argument must not be NULL. A NULL
 *      context gives EML_INVALID_ARGUMENT, and 0 from the calls that count.
 *   6. Ownership. Texts and arrays that a call hands over stay the library's. Those of EmlMimePart are valid
 *      until the context is closed, all others until the next call with the same context that hands over a text
 *      or an array. The host copies what it keeps, and frees nothing.
 *   7. Texts (EmlMimeText) are zero-terminated; the length does not count the terminator. A text may hold zero bytes
 *      of its own: the length counts. Decoded texts are UTF-8; where it says "as written" they are the bytes of the
 *      message, whatever those are. A text that is absent is NULL with length 0.
 *   8. Names and texts come from strangers. A file name may hold path separators, ".." and control characters:
 *      never use one as a path before making it safe. Content may be anything that a sender chose.
 *   9. Offsets and lengths are bytes in 64 bits. Part numbers count from 0 in the order of the file; part 0 is
 *      the message itself.
 *  10. Memory: the context, one block of 64 KiB for reading, at most 200 bytes for each part and its short
 *      texts. The size of the message does not count. Time is linear in the size of the message.
 */
#ifndef EMLREADER_EML_MIME_H
#define EMLREADER_EML_MIME_H

#include "eml_host.h"

#if defined(__GNUC__)
#define EML_MIME_API __attribute__((visibility("default")))
#else
#define EML_MIME_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The callback `progress` has ended the call. */
#define EML_MIME_CANCELLED 100u

/* No such part: the parent of part 0, the next sibling of a last one. */
#define EML_MIME_NONE 0xFFFFFFFFu

typedef struct EmlMimeContext EmlMimeContext;

typedef struct EmlMimeText {
    const char* text;
    uint32_t length; /* bytes */
} EmlMimeText;

typedef struct EmlMimeSpan {
    uint64_t offset; /* of the first byte, from the start of the file */
    uint64_t length; /* bytes */
} EmlMimeSpan;

/* ------------------------------------------------------------------------------------------------------
 * Options
 */

/*
 * Turns text of a named charset into UTF-8. The library itself knows UTF-8, US-ASCII, ISO-8859-1 and
 * windows-1252, and calls these entries for every other label.
 *
 *   open      begins one conversion. `label` is the charset's name as the message has it, zero-terminated.
 *             Returns the conversion, or NULL: the label is unknown.
 *   convert   converts the beginning of `source`: writes at most *destinationLength bytes of valid UTF-8, U+FFFD
 *             for each byte sequence that is no character. On return *sourceLength is the number of bytes used,
 *             *destinationLength the number of bytes written. Bytes at the end that begin a character may be left
 *             unused; with `last` not 0 they become U+FFFD. Returns the number of sequences replaced.
 *             A call that neither uses nor writes a byte ends the conversion.
 *   close     ends the conversion.
 *
 * A NULL record, or one without these entries: text of other charsets is left as bytes, and
 * EML_MIME_TEXT_NOT_CONVERTED says so.
 */
typedef struct EmlMimeConvert {
    void* host; /* passed to `open`; never read */
    void* (*open)(void* host, const char* label);
    uint32_t (*convert)(void* conversion, const void* source, uint32_t* sourceLength, void* destination,
                        uint32_t* destinationLength, int32_t last);
    void (*close)(void* conversion);
} EmlMimeConvert;

/* Bits of EmlMimeOptions.flags */
#define EML_MIME_NO_INLINE_FILES 1u /* uuencoded and yEnc files inside text are left as text */

/* All zero but recordSize is what most hosts want. */
typedef struct EmlMimeOptions {
    uint32_t recordSize; /* sizeof(EmlMimeOptions) */
    uint32_t flags;      /* EML_MIME_NO_... bits */
    uint32_t maxDepth; /* of nested parts; 0: 100. Deeper ones are not opened: one part each. At most 1000 */
    uint32_t maxParts; /* 0: 100,000. What follows stays in the last part */
    uint32_t maxHeaderBytes; /* kept of one header block; 0: 1 MiB. The rest is counted and left out */
    uint32_t maxDefects;     /* in the list; 0: 10,000. The others are counted */
    const EmlMimeConvert* convert;
    /* Called about every 1 MiB with the offset in the file, during the open and during extractions. Not 0: the
     * call ends with EML_MIME_CANCELLED. May be NULL. */
    int32_t (*progress)(void* host, uint64_t offset);
    void* progressHost; /* passed to `progress`; never read */
} EmlMimeOptions;

/* ------------------------------------------------------------------------------------------------------
 * Open and close
 */

/*
 * Opens a message and reads it once, from its first byte to its last, in blocks of at most 64 KiB.
 *
 *   input      the message; must have open, read, seek and close. Its size is not asked for: a read below 1 is
 *              the end.
 *   allocator  gives every byte that the library uses; must have allocate, reallocate and free
 *   options    may be NULL
 *   result     receives the result, on every return; may be NULL
 *
 * Returns the context, or NULL with one of these. The input is closed then if it was opened.
 *
 *   EML_INVALID_ARGUMENT   input or allocator is NULL or lacks an entry, or options->recordSize is too small
 *   EML_INPUT_NOT_OPENED   `open` failed, or the seek to the start did
 *   EML_NO_MEMORY          memory ran out
 *   EML_MIME_CANCELLED     `progress` said so
 *
 * Any bytes are a message: an empty file, and text without a header, give part 0 without fields.
 */
EML_MIME_API EmlMimeContext* emlMimeOpen(EmlIOobj* input, EmlAllocator* allocator,
                                         const EmlMimeOptions* options, EmlResult* result);

/* Closes the input and frees all that the context owns, and the context. NULL is ignored. */
EML_MIME_API void emlMimeClose(EmlMimeContext* context);

/* ------------------------------------------------------------------------------------------------------
 * Parts
 */

/* Values of EmlMimePart.encoding: Content-Transfer-Encoding (RFC 2045 section 6) */
#define EML_MIME_ENCODING_NONE 0u /* no such field: 7bit */
#define EML_MIME_ENCODING_7BIT 1u
#define EML_MIME_ENCODING_8BIT 2u
#define EML_MIME_ENCODING_BINARY 3u
#define EML_MIME_ENCODING_BASE64 4u
#define EML_MIME_ENCODING_QUOTED_PRINTABLE 5u
#define EML_MIME_ENCODING_UUENCODE 6u /* x-uuencode, and a uuencoded file inside text */
#define EML_MIME_ENCODING_YENC 7u     /* x-yenc, and a yEnc file inside text */
#define EML_MIME_ENCODING_UNKNOWN 8u  /* read as binary */

/* Values of EmlMimePart.dispositionKind: Content-Disposition (RFC 2183) */
#define EML_MIME_DISPOSITION_NONE 0u
#define EML_MIME_DISPOSITION_INLINE 1u
#define EML_MIME_DISPOSITION_ATTACHMENT 2u
#define EML_MIME_DISPOSITION_OTHER 3u /* to be treated as attachment */

/* Values of EmlMimePart.ending: what ended the part */
#define EML_MIME_ENDING_FILE 0u      /* the end of the file */
#define EML_MIME_ENDING_DELIMITER 1u /* a delimiter of the multipart that holds it */
#define EML_MIME_ENDING_CLOSING 2u   /* the closing delimiter of the multipart that holds it */
#define EML_MIME_ENDING_OUTER 3u     /* a delimiter of a multipart further out */
#define EML_MIME_ENDING_INLINE 4u    /* the last line of a uuencoded or yEnc file inside text */

/* Values of EmlMimePart.protection: recognised, not opened */
#define EML_MIME_PROTECTION_NONE 0u
#define EML_MIME_SMIME_SIGNED 1u     /* multipart/signed, RFC 8551: signedSpan is what the signature covers */
#define EML_MIME_SMIME_OPAQUE 2u     /* application/pkcs7-mime, signed-data: the content is inside */
#define EML_MIME_SMIME_ENVELOPED 3u  /* application/pkcs7-mime, (auth-)enveloped-data: encrypted */
#define EML_MIME_SMIME_COMPRESSED 4u /* application/pkcs7-mime, compressed-data */
#define EML_MIME_SMIME_CERTS 5u      /* application/pkcs7-mime, certs-only */
#define EML_MIME_SMIME_OTHER 6u      /* application/pkcs7-mime that does not tell */
#define EML_MIME_PGP_SIGNED 7u       /* multipart/signed, RFC 3156: signedSpan is what the signature covers */
#define EML_MIME_PGP_ENCRYPTED 8u    /* multipart/encrypted, RFC 3156 */
#define EML_MIME_PGP_INLINE_SIGNED 9u
#define EML_MIME_PGP_INLINE_ENCRYPTED 10u
#define EML_MIME_SIGNED_OTHER 11u    /* multipart/signed with another protocol: signedSpan is set */
#define EML_MIME_ENCRYPTED_OTHER 12u /* multipart/encrypted with another protocol */

/* Bits of EmlMimePart.roles (RFC 8621 section 4.1.4), within the message that the part belongs to. A part may have
 * several, and multiparts have none. A picture, sound or film that stands between texts is a body, not an attachment:
 * look at the type, too, before you show a body as text or list what can be saved. */
#define EML_MIME_ROLE_TEXT_BODY 1u
#define EML_MIME_ROLE_HTML_BODY 2u
#define EML_MIME_ROLE_ATTACHMENT 4u

/* Bits of EmlMimePart.flags */
#define EML_MIME_PART_MULTIPART 1u /* the body is a multipart that was opened; its parts are its children */
#define EML_MIME_PART_MESSAGE 2u   /* message/rfc822 or message/global; its one child is that message */
#define EML_MIME_PART_ENCODED_MESSAGE \
    4u                                 /* the same in base64 or quoted-printable: open the extracted bytes */
#define EML_MIME_PART_ROOT 8u          /* the header of a message: part 0, and the child of a message part */
#define EML_MIME_PART_INLINE_FILE 16u  /* a uuencoded or yEnc file inside its parent's text; has no header */
#define EML_MIME_PART_DEFAULT_TYPE 32u /* no Content-Type that can be read: the type is the default one */
#define EML_MIME_PART_NAMED 64u   /* the message names the file; otherwise emlMimeGetName makes a name up */
#define EML_MIME_PART_FLOWED 128u /* format=flowed (RFC 3676) */
#define EML_MIME_PART_DELSP 256u  /* delsp=yes */

typedef struct EmlMimePart {
    uint32_t parent; /* part numbers, or EML_MIME_NONE */
    uint32_t firstChild;
    uint32_t nextSibling;
    uint32_t childCount;
    uint32_t ordinal; /* among its siblings, from 1; 0 for part 0 */
    uint32_t depth;   /* 0 for part 0 */
    uint32_t message; /* the part with EML_MIME_PART_ROOT whose message it belongs to; a root: itself */
    uint32_t encoding;
    uint32_t dispositionKind;
    uint32_t ending;
    uint32_t protection;
    uint32_t roles;
    uint32_t flags;
    uint32_t defectCount;     /* of this part so far */
    EmlMimeText type;         /* lower case: "text", "multipart"; the default when none can be read */
    EmlMimeText subtype;      /* lower case: "plain" */
    EmlMimeText charset;      /* the parameter as written, absent without one */
    EmlMimeText encodingText; /* Content-Transfer-Encoding as written, without comments */
    EmlMimeText disposition;  /* lower case: "attachment" */
    EmlMimeText name;         /* of the file, decoded; absent when the message gives none */
    EmlMimeText contentId;    /* without angle brackets */
    EmlMimeText location;     /* Content-Location as written, without blanks */
    EmlMimeText description;  /* Content-Description, decoded */
    EmlMimeSpan header;       /* the field lines, without the empty line after them */
    EmlMimeSpan body;         /* as it stands in the file; of a multipart all that it holds */
    EmlMimeSpan signedSpan;   /* see protection; otherwise empty */
} EmlMimePart;

/* The number of parts, at least 1. */
EML_MIME_API uint32_t emlMimePartCount(const EmlMimeContext* context);

/*
 * Describes one part in `part`. `recordSize` is sizeof(EmlMimePart): no more is written, and of a longer record only
 * what this library knows. EML_NO_SUB_FILE: there is no such part; the record is left alone.
 */
EML_MIME_API EmlResult emlMimeGetPart(EmlMimeContext* context, uint32_t number, EmlMimePart* part,
                                      uint32_t recordSize);

/*
 * Gives a name for the part: the one in the message, or one made up from its place and type: "part-1.2.ics",
 * "message-2.eml". Never empty, but two parts may have the same. EML_NO_SUB_FILE, EML_NO_MEMORY.
 */
EML_MIME_API EmlResult emlMimeGetName(EmlMimeContext* context, uint32_t number, EmlMimeText* name);

/*
 * Finds the part with this Content-ID (without angle brackets; percent escapes of a "cid:" URL undone, RFC 2392) for
 * a reference in part `from`: in the innermost multipart/related around it first, then in all of the message that
 * `from` belongs to. *number receives the part, or EML_MIME_NONE. Costs two looks at each part at most.
 * EML_NO_SUB_FILE: no part `from`.
 */
EML_MIME_API EmlResult emlMimeFindContentId(EmlMimeContext* context, uint32_t from, const char* contentId,
                                            uint32_t* number);

/* ------------------------------------------------------------------------------------------------------
 * Spans. Every byte of the file belongs to exactly one; in order they make up the file.
 */
#define EML_MIME_SPAN_PADDING 0u /* a byte order mark, empty lines or an mbox "From " line before a header */
#define EML_MIME_SPAN_HEADER 1u  /* the field lines of a part */
#define EML_MIME_SPAN_BLANK 2u   /* the empty line after them */
#define EML_MIME_SPAN_BODY 3u    /* of a part without children, or a piece of text around an inline file */
#define EML_MIME_SPAN_DELIMITER 4u /* the line end before it, the delimiter, and its own line end */
#define EML_MIME_SPAN_CLOSING 5u   /* the same of a closing delimiter */
#define EML_MIME_SPAN_PREAMBLE 6u  /* of a multipart, before its first delimiter */
#define EML_MIME_SPAN_EPILOGUE 7u  /* of a multipart, after its closing delimiter */

typedef struct EmlMimeSpanInfo {
    EmlMimeSpan span;
    uint32_t kind; /* EML_MIME_SPAN_... */
    uint32_t part; /* whose header or body; for delimiter, preamble and epilogue the multipart */
} EmlMimeSpanInfo;

EML_MIME_API uint32_t emlMimeSpanCount(const EmlMimeContext* context);

/* EML_NO_SUB_FILE: there is no such span. */
EML_MIME_API EmlResult emlMimeGetSpan(const EmlMimeContext* context, uint32_t index, EmlMimeSpanInfo* span);

/* ------------------------------------------------------------------------------------------------------
 * Fields. `part` is a part number; `index` counts the fields of its header, in order, duplicates included.
 * The header is read again from the input, in one read as far as the input delivers it, when another part's was used
 * last. The fields of one part in order cost one look at its header.
 *
 * Every call here: EML_NO_SUB_FILE when there is no such part or field, EML_OBJECT_FAILED when the input cannot be
 * read again, EML_NO_MEMORY. What a call that fails would have handed over is left alone, or NULL.
 */
typedef struct EmlMimeField {
    EmlMimeText name; /* as written, without blanks before the colon */
    EmlMimeText raw;  /* bytes as written after the colon, folding included, without the last line end */
    EmlMimeSpan span; /* of the whole field in the file, line ends included */
} EmlMimeField;

EML_MIME_API EmlResult emlMimeFieldCount(EmlMimeContext* context, uint32_t part, uint32_t* count);

EML_MIME_API EmlResult emlMimeGetField(EmlMimeContext* context, uint32_t part, uint32_t index,
                                       EmlMimeField* field);

/* The first field from `index` on with this name, whatever the case. *found receives its index, or EML_MIME_NONE:
 * that there is none is no error, whatever `index` is. */
EML_MIME_API EmlResult emlMimeFindField(EmlMimeContext* context, uint32_t part, const char* name,
                                        uint32_t index, uint32_t* found);

/* The value as unstructured text (RFC 5322 section 2.2.1): unfolded, encoded words (RFC 2047) decoded, blanks
 * at both ends removed. */
EML_MIME_API EmlResult emlMimeFieldText(EmlMimeContext* context, uint32_t part, uint32_t index,
                                        EmlMimeText* text);

/* One mailbox of an address list (RFC 5322 section 3.4). An empty group has one entry without address. */
typedef struct EmlMimeAddress {
    EmlMimeText name;    /* display name, or the comment after the address; absent without one */
    EmlMimeText address; /* addr-spec: local part, "@", domain; a local part that needs quotes keeps them.
                            What has no "@" is given as it stands */
    EmlMimeText group;   /* name of the group it stands in; absent outside groups */
} EmlMimeAddress;

EML_MIME_API EmlResult emlMimeFieldAddresses(EmlMimeContext* context, uint32_t part, uint32_t index,
                                             const EmlMimeAddress** addresses, uint32_t* count);

/* Bits of EmlMimeDate.flags */
#define EML_MIME_DATE_VALID 1u     /* a date was found */
#define EML_MIME_DATE_NO_ZONE 2u   /* no zone that can be read: taken as UTC ("-0000" as well, RFC 5322) */
#define EML_MIME_DATE_NO_TIME 4u   /* no time of day: taken as 00:00:00 */
#define EML_MIME_DATE_IRREGULAR 8u /* not a form of RFC 5322 section 3.3 or 4.3 */

typedef struct EmlMimeDate {
    int64_t seconds; /* since 1970-01-01 00:00:00 UTC; a leap second counts as the last second before it */
    int32_t zoneMinutes; /* east of UTC */
    uint32_t flags;
} EmlMimeDate;

EML_MIME_API EmlResult emlMimeFieldDate(EmlMimeContext* context, uint32_t part, uint32_t index,
                                        EmlMimeDate* date);

/* Message ids (RFC 5322 section 3.6.4), without angle brackets, in order. */
EML_MIME_API EmlResult emlMimeFieldIds(EmlMimeContext* context, uint32_t part, uint32_t index,
                                       const EmlMimeText** ids, uint32_t* count);

typedef struct EmlMimeParameter {
    EmlMimeText name;  /* lower case, without "*" and section numbers (RFC 2231) */
    EmlMimeText value; /* decoded */
} EmlMimeParameter;

/* The value before the first ";", lower case, without comments, and the parameters after it, sections joined. Of
 * parameters with the same name the first counts; all are listed. */
EML_MIME_API EmlResult emlMimeFieldParameters(EmlMimeContext* context, uint32_t part, uint32_t index,
                                              EmlMimeText* value, const EmlMimeParameter** parameters,
                                              uint32_t* count);

/* ------------------------------------------------------------------------------------------------------
 * Content
 */
#define EML_MIME_RAW 0u     /* the body as it stands in the file; of a message part the whole message */
#define EML_MIME_DECODED 1u /* with the transfer encoding undone; of multiparts and messages as RAW */
/* Any part can be asked for as text; of one that is none it means little.
 * As UTF-8 text: decoded, converted from its charset, line ends LF, lines of format=flowed joined (RFC 3676; each
 * line of a quote begins with ">" for each level, and a blank), without the files inside it. Always valid UTF-8
 * unless EML_MIME_TEXT_NOT_CONVERTED. */
#define EML_MIME_TEXT 2u

/* Bits of EmlMimeContent.flags */
#define EML_MIME_TEXT_NOT_CONVERTED 1u /* charset unknown: bytes as they are */
#define EML_MIME_TEXT_GUESSED \
    2u                              /* no charset named, or US-ASCII with 8-bit bytes: UTF-8 if valid, else
                                          windows-1252 */
#define EML_MIME_TEXT_REPLACED 4u   /* U+FFFD stands where bytes did not fit the charset */
#define EML_MIME_CONTENT_DAMAGED 8u /* the transfer encoding is broken or cut off: see the defects */

typedef struct EmlMimeContent {
    uint64_t size;  /* bytes written */
    uint32_t flags; /* EML_MIME_TEXT_..., EML_MIME_CONTENT_... */
} EmlMimeContent;

/*
 * Writes the content of a part to `output`, in order, in blocks of at most 64 KiB. The output is opened, rewound,
 * written and closed, and its size set, as emlExtractSubFileToIOobj2 does. `output` may be NULL: nothing is
 * written, the content is measured and its defects found. `content` may be NULL.
 *
 *   EML_NO_SUB_FILE        there is no such part
 *   EML_INVALID_ARGUMENT   no such form
 *   EML_OUTPUT_UNUSABLE    `output` lacks open, close, seek or write, or its open failed
 *   EML_OBJECT_FAILED      the input cannot be read again, or the output could not be rewound or closed
 *   EML_NO_MEMORY, EML_MIME_CANCELLED
 */
EML_MIME_API EmlResult emlMimeExtract(EmlMimeContext* context, uint32_t part, uint32_t form, EmlIOobj* output,
                                      EmlMimeContent* content);

/* ------------------------------------------------------------------------------------------------------
 * Defects: what is wrong with a message, or was guessed. docs/mime-defects.md explains each.
 *
 * Structure and headers are checked during the open, content when it is extracted for the first time, which may add
 * to the list. A part has each defect once, at the first place; `count` says how often it occurred.
 */
/* Structure */
#define EML_MIME_DEFECT_NO_CLOSING_DELIMITER 1u /* a multipart ends without its closing delimiter */
#define EML_MIME_DEFECT_OUTER_DELIMITER 2u      /* a delimiter of a multipart further out ends it */
#define EML_MIME_DEFECT_NO_BOUNDARY 3u          /* a multipart names no boundary, or an empty one */
#define EML_MIME_DEFECT_BOUNDARY_GUESSED 4u     /* the first line like a delimiter was taken as one */
#define EML_MIME_DEFECT_NO_PARTS 5u             /* the boundary of a multipart never occurs */
#define EML_MIME_DEFECT_DELIMITER_TEXT 6u       /* text after a delimiter in the same line */
#define EML_MIME_DEFECT_PART_AFTER_CLOSING 7u   /* a delimiter after the closing one: one more part */
#define EML_MIME_DEFECT_DELIMITER_IN_HEADER 8u  /* a delimiter before the header has ended */
#define EML_MIME_DEFECT_NO_BLANK_LINE 9u        /* the body begins without an empty line before it */
#define EML_MIME_DEFECT_FIELD_WITHOUT_COLON 10u /* a line in a header that is no field */
#define EML_MIME_DEFECT_NO_HEADER 11u           /* the message has no header field */
#define EML_MIME_DEFECT_TOO_DEEP 12u            /* not opened: nested deeper than maxDepth */
#define EML_MIME_DEFECT_TOO_MANY_PARTS 13u      /* what follows stays in the last part */
#define EML_MIME_DEFECT_HEADER_TOO_LONG 14u     /* the header is longer than maxHeaderBytes */
#define EML_MIME_DEFECT_ENCODED_MULTIPART 15u   /* a multipart or message with a transfer encoding */
#define EML_MIME_DEFECT_INLINE_FILE_CUT_OFF 16u /* a uuencoded or yEnc file without its last line */
#define EML_MIME_DEFECT_TOO_MANY_DEFECTS 17u    /* the list is full */
#define EML_MIME_DEFECT_BOUNDARY_TOO_LONG \
    18u /* over 70 characters (RFC 2046 section 5.1.1); used all the same */
/* Fields */
#define EML_MIME_DEFECT_DUPLICATE_FIELD 30u   /* a second Content-... or other single field, the same value */
#define EML_MIME_DEFECT_CONFLICTING_FIELD 31u /* the same with another value: the first counts */
#define EML_MIME_DEFECT_DUPLICATE_PARAMETER 32u /* the same parameter twice: the first counts */
#define EML_MIME_DEFECT_CONTENT_TYPE_SYNTAX 33u /* Content-Type cannot be read: the default type */
#define EML_MIME_DEFECT_PARAMETER_SYNTAX 34u    /* parameters broken: read as far as they make sense */
#define EML_MIME_DEFECT_UNKNOWN_ENCODING 35u    /* Content-Transfer-Encoding unknown: read as binary */
#define EML_MIME_DEFECT_ENCODING_SYNTAX 36u /* Content-Transfer-Encoding known, with other text around it */
#define EML_MIME_DEFECT_UNTERMINATED_QUOTE 37u /* a quoted string that does not end */
#define EML_MIME_DEFECT_8BIT_IN_HEADER 38u     /* raw 8-bit bytes that are not UTF-8 */
#define EML_MIME_DEFECT_NUL_IN_HEADER 39u
#define EML_MIME_DEFECT_NAME_ENCODED_WORD 40u /* an encoded word inside a parameter (RFC 2047 section 5) */
#define EML_MIME_DEFECT_NAME_PERCENT 41u      /* a percent escape in a parameter that is none */
/* Lines */
#define EML_MIME_DEFECT_LONG_LINE 50u /* over 998 bytes (RFC 5322 section 2.1.1) */
#define EML_MIME_DEFECT_BARE_CR 51u
#define EML_MIME_DEFECT_MIXED_LINE_ENDS 52u /* LF alone in a message whose first line ends in CR LF */
#define EML_MIME_DEFECT_NUL 53u             /* in the body of a part that is not binary */
/* Content; found when it is extracted */
#define EML_MIME_DEFECT_BASE64_CHARACTER 60u /* a byte outside the alphabet: left out */
#define EML_MIME_DEFECT_BASE64_PADDING 61u   /* padding missing, too early, or pieces joined */
#define EML_MIME_DEFECT_BASE64_CUT_OFF 62u   /* a single character is left at the end */
#define EML_MIME_DEFECT_QUOTED_PRINTABLE_ESCAPE \
    63u                                      /* "=" without two hexadecimal digits: left as it stands */
#define EML_MIME_DEFECT_UUENCODE_LINE 64u    /* a line that is not uuencode: left out or filled up */
#define EML_MIME_DEFECT_YENC_DAMAGED 65u     /* wrong size or checksum */
#define EML_MIME_DEFECT_UNKNOWN_CHARSET 66u  /* text left as bytes */
#define EML_MIME_DEFECT_CHARSET_MISMATCH 67u /* bytes that do not fit the charset: U+FFFD */
#define EML_MIME_DEFECT_CHARSET_GUESSED 68u  /* 8-bit text without a charset */
#define EML_MIME_DEFECT_8BIT_IN_7BIT 69u     /* 8-bit bytes where the transfer encoding promises none */

typedef struct EmlMimeDefect {
    uint32_t code; /* EML_MIME_DEFECT_... */
    uint32_t part;
    uint64_t offset; /* in the file, of the first place */
    uint64_t count;  /* how often */
} EmlMimeDefect;

EML_MIME_API uint32_t emlMimeDefectCount(const EmlMimeContext* context);

/* EML_NO_SUB_FILE: there is no such defect. */
EML_MIME_API EmlResult emlMimeGetDefect(const EmlMimeContext* context, uint32_t index, EmlMimeDefect* defect);

/* The name of a code, "no-closing-delimiter"; NULL for a number that is none. Static, never freed. */
EML_MIME_API const char* emlMimeDefectName(uint32_t code);

#ifdef __cplusplus
}
#endif

#endif
