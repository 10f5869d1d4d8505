// The records of the message filter. All are trivial and made zeroed: zero is the initial state.
#pragma once

#include <emlreader/eml.h>

#include <cstdint>

#include "bytes/decode_kernels.h"
#include "bytes/find.h"
#include "host/growing_buffer.h"

namespace eml {

inline constexpr int32_t kInputSize = 4096;    // the most that one read asks for, but for the header's
inline constexpr size_t kTypeSize = 64;        // a content type or charset name: 63 characters and a zero
inline constexpr size_t kFileNameSize = 1024;  // a file name: 1023 bytes and a zero

// Content-Transfer-Encoding (RFC 2045 section 6). 3 is not used.
enum FilterEncoding : uint32_t {
    kEncodingNone = 0,
    kEncoding7Bit = 1,
    kEncoding8Bit = 2,
    kEncodingBase64 = 4,
    kEncodingQuotedPrintable = 5,
};

// Kinds of value that fill mode writes: those that lose nothing of a long line, and those that may.
inline constexpr int32_t kWholeLines = -2;
inline constexpr int32_t kCutLines = -1;

}  // namespace eml

// One part of the message, as the open scan records it. Offsets are bytes from the start of the message.
struct EmlBodyPart {
    int32_t start;  // its boundary line
    int32_t end;    // -1 while unknown
    uint32_t encoding;
    char type[eml::kTypeSize];
};

// One sub-file that the open scan found.
struct EmlAttachment {
    uint32_t offset;  // the first byte of the body
    int32_t size;     // -1 until it is asked for
    uint32_t encoding;
    char contentType[eml::kTypeSize];
    char fileName[eml::kFileNameSize];
    uint32_t partIndex;  // the parts recorded when the attachment was found: the index of its own part
};

struct EmlFilterContext {
    EmlHostServices* services;
    EmlIOobj* io;
    uint32_t flags;
    const EmlHostRecord* hostRecord;  // of the metadata call that runs
    uint32_t bodyOnly;                // 1: neither header fields nor the attachment list are written
    EmlMetaData* requests;            // of the metadata call that runs
    int32_t readCount;                // bytes handed out by readBuf since it was last reset
    int32_t messageOffset;            // of the input buffer's start; in a body pass, bytes converted
    int32_t messageSize;
    int32_t bodyLength;  // bytes of body to convert
    int32_t firstPart;
    uint32_t prologuePending;  // 1 until a conversion has begun
    uint32_t inBody;           // 1 in a body pass or an extraction: no line-end detection, no cuts
    uint32_t bufferFull;
    uint32_t stagingPending;  // staged records, or text of the body, wait for the next fill
    uint8_t input[eml::kInputSize + 4];
    const uint8_t* inputEnd;
    const uint8_t* readPos;
    int32_t carryCount;
    uint8_t carry[eml::kInputSize + 4];
    const uint8_t* carryPos;
    eml::GrowingBuffer decodeBuffer;  // decoded text of a body or an encoded word
    eml::GrowingBuffer fieldBuffer;   // the value that a metadata call gathers
    uint8_t* out;                     // where the next record goes
    uint8_t* outStart;
    uint8_t* outEnd;  // no byte is written from here on
    int32_t outLimit;
    EmlAttachment* attachments;
    int32_t attachmentCount;  // 0 without the table
    int32_t attachmentCapacity;
    char* boundary;          // "--" and the value
    int32_t boundaryLength;  // the two dashes included
    eml::SubstringFinder boundaryFinder;
    const eml::DecodeKernels* kernels;
    EmlBodyPart* parts;
    int32_t partCount;
    int32_t partCapacity;
    uint32_t transferEncoding;
    char contentType[eml::kTypeSize];
    uint32_t charsetTaken;  // the message's first "charset=" has been met
    char charsetName[eml::kTypeSize];
    uint32_t charset;
    uint32_t prologueCharset;  // what the open scan found: a restarted stream begins like the first
    uint32_t charsetExtra;     // never set
    uint8_t lineEnd[2];
    uint32_t lineEndWidth;   // 0: not known yet
    uint32_t mimeIndicator;  // 1 behind "Mime-Version:", 2 more for each block's "Content-Type:"
    uint8_t* staging;
    uint32_t stagingCapacity;
    const uint8_t* stagingPos;
    uint32_t stagingLeft;
    uint8_t* extractBuffer;  // output block of the extraction decoders
    int32_t headerLength;    // offset of the empty line that ends the header; 0 while that is read
    uint32_t ownsIo;
    uint32_t encrypted;
    uint32_t signedMessage;
};

namespace eml {

[[nodiscard]] inline EmlAllocator& allocatorOf(EmlFilterContext& context) {
    return context.services->allocator;
}

// Nothing of the message is in the buffers.
inline void resetReader(EmlFilterContext& context) {
    context.carryCount = 0;
    context.readCount = 0;
    context.messageOffset = 0;
}

// The read position stands in an empty buffer: nothing is left to convert.
inline void forgetInput(EmlFilterContext& context) {
    context.readPos = context.input;
    context.inputEnd = context.input;
}

}  // namespace eml
