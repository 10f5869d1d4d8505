// The container reader's four transfer decoders: two that stream a section's body into an output object, two
// that append a run of bytes to the context's decoded-text buffer. (RFC 2045 section 6; the state machines
// are in bytes/.)
#pragma once

#include "container/container_context.h"

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
