// A slow, plain model of the container reader's open, over a message that is held in memory. It knows nothing
// of the library's code and is there to be compared with it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct EmlContainerContext;

namespace eml::test {

struct ReferenceSection {
    int64_t start = 0;
    int64_t end = 0;
    int64_t bodyStart = 0;
    int64_t bodyEnd = 0;
    uint32_t encoding = 0;
    uint32_t charset = 0;
    uint32_t contentClass = 0;
    std::optional<std::string> boundary;
    uint32_t boundaryLength = 0;
    bool isAttachment = false;
    uint32_t flags = 0;
    std::optional<std::string> fileName;
};

using SectionPointer = std::shared_ptr<ReferenceSection>;

struct ReferenceMessage {
    uint32_t result = 0;
    int64_t bodyOffset = 0;
    uint32_t contentClass = 0;
    uint32_t encoding = 0;
    uint32_t charset = 0;
    std::optional<std::string> boundary;
    uint32_t boundaryLength = 0;
    std::vector<SectionPointer> sections;
    int32_t attachmentCount = 0;
    SectionPointer plainBody;
    SectionPointer htmlBody;
    SectionPointer rtfBody;
};

[[nodiscard]] ReferenceMessage referenceOpen(const std::string& message, uint32_t flags);

// Both as text, line by line the same when they agree.
[[nodiscard]] std::string dumpSections(const ReferenceMessage& message);
[[nodiscard]] std::string dumpSections(const EmlContainerContext& context, uint32_t result);

}  // namespace eml::test
