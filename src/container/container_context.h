// The records of the container reader. All are trivial and allocated zeroed: zero is the initial state.
#pragma once

#include <emlreader/eml.h>

#include <cstdint>

#include "bytes/decode_kernels.h"
#include "bytes/transfer_encoding.h"
#include "host/growing_buffer.h"

// The class of a section, from its Content-Type. Only the multipart classes take a boundary.
enum EmlContentClass : uint32_t {
    EML_CLASS_TEXT = 0,  // text/plain, and every type that is not listed below
    EML_CLASS_HTML = 1,
    EML_CLASS_RTF = 2,
    EML_CLASS_PKCS7_MIME = 3,       // S/MIME, opaque: encrypted
    EML_CLASS_PKCS7_SIGNATURE = 4,  // S/MIME, detached signature
    EML_CLASS_MESSAGE = 5,
    EML_CLASS_ALTERNATIVE = 6,
    EML_CLASS_RELATED = 7,
    EML_CLASS_SIGNED = 8,
    EML_CLASS_MULTIPART = 9,  // multipart/mixed and the rest
    EML_CLASS_BINARY = 10,    // application, audio, image, video
};

// EmlSection.flags; the values are those of EmlSubFileInfo.flags.
inline constexpr uint8_t EML_SECTION_CONVERTED = EML_SUB_FILE_NOT_IN_FILE;
inline constexpr uint8_t EML_SECTION_MESSAGE = EML_SUB_FILE_MESSAGE;

// One MIME part; small, since a message may have very many. Offsets are byte positions in the message.
struct EmlSection {
    int64_t start;      // the first header line, just after the boundary line
    int64_t end;        // one past the last byte; the line end before the next boundary is not counted
    int64_t bodyStart;  // both 0 when no empty line ends the header: an empty body
    int64_t bodyEnd;
    char* boundary;  // "--" and the part's own boundary, or NULL
    char* fileName;
    uint32_t boundaryLength;
    uint32_t charset;  // 0: none given
    uint32_t contentClass;
    eml::TransferEncoding encoding;
    bool isAttachment;
    uint8_t flags;
};

// A section in its list.
struct EmlSectionNode {
    EmlSection section;
    EmlSectionNode* next;
};

// Nodes that were allocated together; they stand behind this record.
struct alignas(int64_t) EmlSectionSlab {
    EmlSectionSlab* next;
    uint32_t used;
    uint32_t capacity;
};

// What emlExtractSubFileToIOobj2 passes to the renderer; `converted` is what the renderer reports back.
struct EmlExtractOptions {
    uint32_t outputCharset;  // 0: no conversion
    uint32_t converted;      // set when a conversion of the host produced output
    uint32_t bodyOnly;
    uint32_t preferRichBody;
};

inline constexpr uint32_t kBlockSize = 4096;          // the largest read of the input
inline constexpr uint32_t kShortRead = 512;           // what is read first for a line
inline constexpr uint32_t kLineBufferSize = 4101;     // a block and room for a terminator
inline constexpr uint32_t kMainNameSize = 8 + 5 + 1;  // stem, ".mail", terminator

struct EmlContainerContext {
    EmlHostServices* services;
    EmlIOobj* input;
    uint32_t openFlags;
    int64_t headerStart;  // never set: the header begins at offset 0
    int64_t bodyOffset;   // after the empty line that ends the header, or the end of the file
    uint32_t contentClass;
    eml::TransferEncoding encoding;
    uint32_t charset;         // 0 while unknown; settled when the open ends
    char* boundary;           // "--" and the value, or NULL
    uint32_t boundaryLength;  // the two dashes included
    int64_t lineStart;        // offset of what lineBuffer holds
    int64_t position;         // offset of the next read
    int64_t fileSize;
    uint8_t* lineBuffer;  // kLineBufferSize bytes: the one read buffer
    uint32_t lineLength;  // bytes of the line or chunk in lineBuffer, its line end included
    uint32_t textLength;  // of the line in lineBuffer, up to its first zero byte
    EmlSectionNode* sections;
    EmlSectionNode* alternatives;  // the parts of a nested multipart/alternative, for the bodies among them
    EmlSectionNode* retired;       // parts of lists that are no longer needed; a body may be among them
    EmlSectionNode* sectionsTail;  // of the list that is being built
    EmlSectionSlab* slabs;         // of all nodes, the newest first
    EmlSection* currentSection;    // whose end the next boundary sets
    int32_t attachmentCount;
    EmlSection** attachments;  // the attachments of `sections`, in order; NULL when the open made no table
    int32_t tabulatedCount;    // entries of that table, also when attachmentCount was reset to 0
    EmlSection* plainBody;
    EmlSection* htmlBody;
    EmlSection* rtfBody;
    EmlMetaData metaData;        // the default list
    eml::GrowingBuffer decoded;  // the work buffer of the header-text decoder
    char mainName[kMainNameSize];
    uint32_t mainDate[2];
    EmlExtractOptions extract;
    const eml::DecodeKernels* kernels;
    uint32_t debug;  // nothing sets it: emlDebugSections after each scan
};

namespace eml {

[[nodiscard]] inline EmlAllocator& allocatorOf(EmlContainerContext& context) {
    return context.services->allocator;
}

[[nodiscard]] inline bool isMultipart(uint32_t contentClass) {
    return contentClass >= EML_CLASS_ALTERNATIVE && contentClass <= EML_CLASS_MULTIPART;
}

}  // namespace eml
