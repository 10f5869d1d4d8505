#include "tool/message/part_tree.h"

#include "tool/text/format.h"
#include "tool/text/sha256.h"

namespace emltool {

namespace {

using emlreader::mime::Defect;
using emlreader::mime::Form;
using emlreader::mime::Message;
using emlreader::mime::Part;

std::string joined(const std::string& prefix, uint32_t ordinal) {
    return prefix.empty() ? std::to_string(ordinal) : formatted("{}.{}", prefix, ordinal);
}

// A message is the size that it has in the file, and a multipart is what it holds.
void readContent(bool digests, PartEntry& entry) {
    const Part& part = entry.part;
    if (entry.isContainer()) {
        entry.size = part.info().body.length;
        return;
    }
    if (part.type() == "text") part.measure(Form::Text);
    if (!digests) {
        entry.size = part.measure().size;
        return;
    }
    Sha256 hash;
    const auto take = [&hash](std::string_view bytes) {
        hash.update({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    };
    entry.size = part.extract(take).size;
    entry.sha256 = hexText(hash.finish());
}

}  // namespace

std::vector<std::string> sectionNumbers(const Message& message) {
    const size_t count = message.partCount();
    std::vector<std::string> numbers;
    numbers.reserve(count);
    std::vector<std::string> prefixes(count);  // of the parts inside each part
    for (const Part& part : message.parts()) {
        const EmlMimePart& info = part.info();
        const std::string around = info.parent == EML_MIME_NONE ? std::string() : prefixes[info.parent];
        const bool isNumbered = !part.isRoot() || !part.isMultipart();
        numbers.push_back(isNumbered ? joined(around, part.isRoot() ? 1 : info.ordinal) : std::string());
        prefixes[part.number()] = isNumbered ? numbers.back() : around;
    }
    return numbers;
}

std::vector<PartEntry> readParts(const Message& message, bool digests) {
    std::vector<std::string> sections = sectionNumbers(message);
    std::vector<PartEntry> entries;
    entries.reserve(message.partCount());
    for (const Part& part : message.parts()) {
        entries.push_back({part, std::move(sections[part.number()]), part.name(), 0, {}});
        readContent(digests, entries.back());
    }
    for (const Defect& defect : message.defects()) {
        if (defect.part < entries.size()) entries[defect.part].defects.push_back(defect);
    }
    return entries;
}

}  // namespace emltool
