// All fields of a header, in order.
#pragma once

#include <cstdint>
#include <emlreader/mime.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "tool/message/listed_field.h"

namespace emltool {

// The fields of a part, duplicates included; part 0 is the message.
std::vector<ListedField> fieldList(const emlreader::mime::Message& message, uint32_t part = 0);

// Mailboxes as a person reads them: "Zoë <zoe@example.net>, Friends: a@example.org, b@example.org;".
std::string addressesText(const std::vector<emlreader::mime::Address>& addresses);

// "2025-03-04T09:15:22+01:00", in the zone of the sender; "-00:00" if none can be read (RFC 3339). Empty for a year
// that has not four digits.
std::string dateText(const emlreader::mime::Date& date);

// The same moment as "2025-03-04T08:15:22Z"; a time without a zone counts as UTC.
std::string utcDateText(const emlreader::mime::Date& date);

// Whether a field of this name, in lower case, has addresses.
bool isAddressField(std::string_view name);

}  // namespace emltool
