// The records of the message filter. All are trivial and made zeroed: zero is the initial state.
#pragma once

#include <emlreader/eml.h>

#include <cstdint>

#include "bytes/decode_kernels.h"
#include "bytes/decoder_marks.h"
#include "bytes/find.h"
#include "bytes/transfer_encoding.h"
#include "host/growing_array.h"
#include "host/growing_buffer.h"

namespace eml {

inline constexpr int32_t kInputSize = 4096;    // the most that one read asks for, but for the header's
inline constexpr size_t kTypeSize = 64;        // a content type or charset name: 63 characters and a zero
inline constexpr size_t kFileNameSize = 1024;  // a file name: 1023 bytes and a zero

// Kinds of value that fill mode writes: those that lose nothing of a long line, and those that may.
inline constexpr int32_t kWholeLines = -2;
inline constexpr int32_t kCutLines = -1;

}  // namespace eml

// One part of the message, as the open scan records it. Offsets are bytes from the start of the message.
struct EmlBodyPart {
    int32_t start;  // its boundary line
    int32_t end;    // -1 while unknown
    eml::TransferEncoding encoding;
    char type[eml::kTypeSize];
};

// One sub-file that the open scan found.
struct EmlAttachment {
    uint32_t offset;  // the first byte of the body
    int32_t size;     // -1 until it is asked for
    eml::TransferEncoding encoding;
    char contentType[eml::kTypeSize];
    uint32_t name;        // its place in the texts of the names
    uint32_t nameLength;  // without the zero byte that follows; there may be others in it
    uint32_t partIndex;   // the parts recorded when the attachment was found: the index of its own part
};

namespace eml {

// The message as it is read: one buffer, what was read beyond its cut, and the form of the line ends.
struct FilterInput {
    uint8_t buffer[kInputSize + 4];
    const uint8_t* end;      // of what the read position moves towards: the buffer, or a text in place of it
    const uint8_t* readPos;  // the next byte
    int32_t offset;          // of the buffer's start in the message
    int32_t readCount;       // bytes handed out by readBuf since it was last reset
    uint8_t carry[kInputSize + 4];
    const uint8_t* carryPos;
    int32_t carryCount;
    uint8_t lineEnd[2];
    uint32_t lineEndWidth;  // 0: not known yet
};

// Where records go: the host's buffer, the staging buffer, or a block for the time of a call.
struct RecordOutput {
    uint8_t* start;  // NULL while no conversion is in progress
    uint8_t* next;   // where the next record goes
    uint8_t* end;    // no byte is written from here on
    int32_t limit;
    bool full;  // the step that wrote last stopped for want of room
};

// Records of the prologue and the header on their way to the host. `left` bytes wait from `pos` on.
struct StagingBuffer {
    uint8_t* data;
    uint32_t capacity;
    const uint8_t* pos;
    uint32_t left;
};

// What the open scan recorded. Without a table its count is 0.
struct PartTables {
    GrowingArray<EmlBodyPart> bodies;
    GrowingArray<EmlAttachment> attachments;
    GrowingBuffer names;  // of the attachments, one after the other
    int32_t first;        // the index of the part that holds the text
};

// Decoded text that does not fit in the buffer: what comes after it is only counted at first, and decoded again, a
// window at a time, as the text before it is used up.
struct DecodedRest {
    uint32_t windowSize;  // the most that is held, 256 or more; 0: kDecodedHeld, then kDecodedWindow
    int32_t left;         // decoded bytes after those in the buffer
    int32_t position;     // bytes of the encoded body that have become text so far
    int32_t end;          // bytes of it that were there when the text was counted
    TransferEncoding encoding;
    Base64Mark base64;  // the decoder's, at `position`
    QuotedPrintableMark quotedPrintable;
};

// The body that is converted, or the encoded word.
struct BodyConversion {
    int32_t start;      // of the body, in the message
    int32_t length;     // bytes to convert
    int32_t converted;  // bytes that have become text, of `length`
    bool running;       // a body pass or an extraction: no line-end detection, no cuts
    bool textWaits;     // text from readPos on waits for the next fill
    GrowingBuffer decoded;
    DecodedRest rest;
};

// The current multipart boundary: "--" and the value.
struct CurrentBoundary {
    char* text;
    int32_t length;  // the two dashes included
    SubstringFinder finder;
};

// The metadata call that runs.
struct MetadataCall {
    const EmlHostRecord* hostRecord;
    EmlMetaData* list;
    GrowingBuffer value;  // the text that is gathered for one entry
};

}  // namespace eml

struct EmlFilterContext {
    EmlHostServices* services;
    EmlIOobj* io;
    bool ownsIo;
    uint32_t flags;
    const eml::DecodeKernels* kernels;
    eml::FilterInput input;
    eml::RecordOutput output;
    eml::StagingBuffer staging;
    eml::PartTables parts;
    eml::BodyConversion body;
    eml::CurrentBoundary boundary;
    eml::MetadataCall request;
    uint8_t* extractBuffer;  // output block of the extraction decoders
    bool bodyOnly;           // neither header fields nor the attachment list are written
    bool prologuePending;    // until a conversion has begun
    int32_t messageSize;
    int32_t headerLength;  // offset of the empty line that ends the header; 0 while that is read
    eml::TransferEncoding transferEncoding;
    char contentType[eml::kTypeSize];
    bool charsetTaken;  // the message's first "charset=" has been met
    char charsetName[eml::kTypeSize];
    uint32_t charset;
    uint32_t prologueCharset;  // what the open scan found: a restarted stream begins like the first
    uint32_t charsetExtra;     // never set
    uint32_t mimeIndicator;    // 1 after "Mime-Version:", 2 more for each block's "Content-Type:"
    bool encrypted;
    bool signedMessage;
};

namespace eml {

[[nodiscard]] inline EmlAllocator& allocatorOf(EmlFilterContext& context) {
    return context.services->allocator;
}

// Nothing of the message is in the buffers, and nothing of it has been converted.
inline void resetReader(EmlFilterContext& context) {
    context.input.carryCount = 0;
    context.input.readCount = 0;
    context.input.offset = 0;
    context.body.converted = 0;
    context.body.rest.left = 0;
}

// The read position stands in an empty buffer: nothing is left to convert.
inline void forgetInput(EmlFilterContext& context) {
    context.input.readPos = context.input.buffer;
    context.input.end = context.input.buffer;
}

}  // namespace eml
