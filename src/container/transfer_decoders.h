// The bodies of sections, decoded: streamed into an output object, or whole. The four decoders are below.
// (RFC 2045 section 6; the state machines are in bytes/.)
#pragma once

#include "container/container_context.h"
#include "container/section_body.h"

namespace eml {

// Writes the body of `section`, decoded by its transfer encoding; base64 text loses its CRs. A body that is
// not encoded is copied. EML_INPUT_UNUSABLE when the input cannot be positioned on an encoded body.
[[nodiscard]] EmlResult writeDecodedBody(EmlContainerContext& context, const EmlSection& section,
                                         EmlIOobj& output);

// A body that was read whole and decoded: `bytes` is either in the block of `body` or in context.decoded.
// Release it with releaseDecodedBody, also after a failure.
struct DecodedBody {
    WholeBody body;
    const uint8_t* bytes;
    uint32_t length;
};

[[nodiscard]] EmlResult readDecodedBody(EmlContainerContext& context, const EmlSection& section,
                                        DecodedBody& result);

void releaseDecodedBody(EmlContainerContext& context, DecodedBody& result);

}  // namespace eml

// Decodes the body of `section` into `output` with its write entry alone. With `textMode` non-zero every
// decoded CR is dropped. EML_INPUT_UNUSABLE when the input cannot be positioned on the body.
[[nodiscard]] EmlResult eml2DecodeBASE64(EmlContainerContext& context, const EmlSection& section,
                                         uint32_t textMode, EmlIOobj& output);

[[nodiscard]] EmlResult eml2DecodeQP(EmlContainerContext& context, const EmlSection& section,
                                     EmlIOobj& output);

// Decodes [begin, end) and appends to context.decoded; decoded CR bytes are always dropped. EML_NO_MEMORY
// when the buffer cannot grow.
[[nodiscard]] EmlResult eml2DecodeBASE64Buffer(EmlContainerContext& context, const uint8_t* begin,
                                               const uint8_t* end);

// The same for quoted-printable. With `underscoreIsSpace` non-zero "_" is a blank (RFC 2047 "Q").
[[nodiscard]] EmlResult eml2DecodeQPBuffer(EmlContainerContext& context, const uint8_t* begin,
                                           const uint8_t* end, uint32_t underscoreIsSpace);
