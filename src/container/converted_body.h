// The body as text in another charset.
#pragma once

#include "container/container_context.h"

namespace eml {

// Whether text of one charset can be converted into the other piece by piece, with the result of one conversion: both
// have no state, and no mark at the beginning. A piece may end after any byte below "0": such a byte is always a whole
// character.
[[nodiscard]] bool convertsInPieces(uint32_t charset, uint32_t target);

// Converts the body of `section` into context.extract.outputCharset with the host's conversion and writes it.
// Sets context.extract.converted if there is anything to write. The body is read twice, so that nothing is
// written unless all of it can be converted. The results are those of readWholeBody, and EML_NO_MEMORY
// when a piece cannot be decoded; without memory for its conversion nothing is written.
[[nodiscard]] EmlResult writeConvertedBody(EmlContainerContext& context, const EmlSection& section,
                                           EmlIOobj& output);

}  // namespace eml
