// Names for embedded messages that have none.
#pragma once

#include "bytes/cursor.h"
#include "filter/filter_context.h"

namespace eml {

// The name made from the first "Subject:" in `rest`, or "zt%d.eml" with `number` when there is none.
void makeSubjectName(Cursor rest, int32_t number, char (&name)[kFileNameSize]);

// The name of a delivery report: "zt%d.tmp".
void makeReportName(int32_t number, char (&name)[kFileNameSize]);

}  // namespace eml
