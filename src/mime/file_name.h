// The file name that a part's header gives: filename*, filename*0*..., filename of Content-Disposition, then name*,
// name*0*..., name of Content-Type, the first that is there and not empty; after these filename of Content-Type and
// name of Content-Disposition, where no standard has them.
#pragma once

#include "mime/parameters.h"

namespace eml {

// `disposition` and `contentType` are the parameters of the two fields, empty without one. Appends the name as
// UTF-8; false when there is none. Nothing is made safe.
[[nodiscard]] bool appendFileName(std::string_view disposition, std::string_view contentType,
                                  const HeaderText& how, TextBuilder& out, uint32_t& problems);

}  // namespace eml
