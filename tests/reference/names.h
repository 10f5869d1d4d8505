// Names made from subjects once more.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace reference {

// The container reader's name of the message, from the value of its subject.
[[nodiscard]] std::string mainNameOfSubject(std::string_view subject);

// The filter's name of the message, from the texts that its subject was decoded to.
[[nodiscard]] std::string mainNameOfTexts(const std::vector<std::string>& texts);

// The filter's name of an embedded message: `rest` is what follows its type in the input buffer.
[[nodiscard]] std::string nameOfEmbedded(std::string_view rest, int number);

}  // namespace reference
