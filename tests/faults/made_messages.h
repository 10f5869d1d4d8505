// Messages that between them make the library allocate and grow whatever it can, and read and write in every
// way that it has.
#pragma once

#include <string>
#include <vector>

namespace eml::test {

struct MadeMessage {
    std::string name;
    std::string bytes;
};

[[nodiscard]] const std::vector<MadeMessage>& madeMessages();

// Messages for the MIME reader alone.
[[nodiscard]] const std::vector<MadeMessage>& mimeMessages();

// Of these, the ones that are about attachments and metadata in the filter.
[[nodiscard]] std::vector<std::string> subFileMessages();

}  // namespace eml::test
