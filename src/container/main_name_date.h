// The name and the date of the message itself.
#pragma once

#include "bytes/cursor.h"
#include "bytes/mail_date.h"
#include "container/container_context.h"

// Fills mainName from the default list's subject and mainDate from its date. Always EML_OK: without a
// usable subject there is a default name, and a date can be missing.
EmlResult eml2GetMainNameDate(EmlContainerContext& context);

namespace eml {

// Up to eight bytes of the subject that a file name may have, or "zteml"; then ".mail".
void makeMainName(Cursor subject, char (&name)[kMainNameSize]);

// The value of a "Date:" field. KEPT: its first four bytes are taken for a weekday and its comma, unread, so
// that a date without a weekday is none; the zone is ignored.
[[nodiscard]] std::optional<time_t> dateOfHeader(Cursor value);

}  // namespace eml
