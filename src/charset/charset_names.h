// Charset names of messages (RFC 2045 "charset=", RFC 2047) to the host's charset ids.
#pragma once

#include <cstdint>

#include "bytes/cursor.h"

// The id of the name of `length` characters at `name`, 0 when it is none. The message filter's form. The byte
// at `name` must be readable also when `length` is 0. KEPT: an empty name still has a group by that byte, and
// is then a leading part of the group's first entry.
[[nodiscard]] uint32_t mapEMLcharset(const uint8_t* name, uint32_t length);

// The id of the name after "charset=", with which `parameter` must begin. The container reader's form: it
// cuts the name out itself and knows "unicode-1-1-utf-7" as well.
[[nodiscard]] uint32_t eml2MapCharset(eml::Cursor parameter);
