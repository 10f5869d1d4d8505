// One reading of a part's content: its ranges of the file, block by block, through the decoder of its transfer
// encoding.
#pragma once

#include "mime/decode_problems.h"
#include "mime/decoded_bytes.h"
#include "mime/mime_context.h"

namespace eml {

struct ContentSource {
    uint64_t start;
    uint64_t end;
    uint32_t part;
    uint32_t encoding;      // EML_MIME_ENCODING_...
    bool withoutFiles;      // the files inside the text are left out
    bool promisesSevenBit;  // 8-bit bytes are a problem
};

// Decodes the content into `bytes` and counts what is wrong. EML_OK also when `bytes` wants no more.
[[nodiscard]] EmlResult readContent(EmlMimeContext& context, const ContentSource& source, DecodedBytes& bytes,
                                    DecodeProblems& problems);

// The bytes above 127.
[[nodiscard]] uint64_t count8Bit(const uint8_t* pos, const uint8_t* end);

}  // namespace eml
