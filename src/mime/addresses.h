// Address lists (RFC 5322 sections 3.4 and 4.4, RFC 6854, RFC 6532), as people write them.
#pragma once

#include <emlreader/eml_mime.h>

#include "mime/address_texts.h"

namespace eml {

// Places of texts in the buffer that a list is read into; kAbsentText for one that is absent. An address that is
// there and empty is the null path, "<>".
struct AddressPlaces {
    TextPlace name;
    TextPlace address;
    TextPlace group;
};

// Reads a whole list. Texts are appended to `texts`, each followed by a zero byte; an AddressPlaces record for each
// mailbox to `list`, as bytes. Linear, whatever `value` is; no recursion (comments nest by a counter).
void readAddresses(std::string_view value, const HeaderText& how, TextBuilder& texts, TextBuilder& list);

}  // namespace eml
