// A range of the input, read block by block into the context's one buffer.
#pragma once

#include <string_view>

#include "mime/mime_context.h"

namespace eml {

class BodyReader {
  public:
    // Reads [start, end) of the input. The buffer of the context must be free.
    BodyReader(EmlMimeContext& context, uint64_t start, uint64_t end)
        : context_(context), position_(start), end_(end) {}

    // Positions the input. False when it cannot be.
    [[nodiscard]] bool begin();

    // The next piece, 1 to kMimeBlockSize bytes, valid until the next call; empty at the end of the range or of the
    // data, and when `progress` has ended the call (`result` says which).
    [[nodiscard]] std::string_view next();

    // File offset of the first byte of the piece that was given last.
    [[nodiscard]] uint64_t offset() const { return pieceStart_; }

    // EML_OK, EML_MIME_CANCELLED, or EML_OBJECT_FAILED when the range ends beyond the data.
    [[nodiscard]] EmlResult result() const { return result_; }

  private:
    EmlMimeContext& context_;
    uint64_t position_;
    uint64_t end_;
    uint64_t pieceStart_ = 0;
    EmlResult result_ = EML_OK;
};

// Calls `progress` when another MiB has been read up to `offset`. False: it has ended the call.
[[nodiscard]] bool reportProgress(EmlMimeContext& context, uint64_t offset);

}  // namespace eml
