#include "tool/message/defect_warnings.h"

#include <algorithm>

#include "tool/message/defect_words.h"
#include "tool/message/mime_fields.h"
#include "tool/message/part_words.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

// What to call a part: its name, or its place in the file.
std::string whereOf(const emlreader::mime::Message& message, uint32_t number) {
    const emlreader::mime::Part part = message.part(number);
    return part.isNamed() ? part.name() + ": " : "";
}

// Where there is no header, none can end in the wrong place.
bool isOfNoHeader(const emlreader::mime::Defect& defect,
                  const std::vector<emlreader::mime::Defect>& defects) {
    return defect.code == EML_MIME_DEFECT_NO_BLANK_LINE &&
           std::any_of(defects.begin(), defects.end(), [&](const emlreader::mime::Defect& other) {
               return other.code == EML_MIME_DEFECT_NO_HEADER && other.part == defect.part;
           });
}

}  // namespace

std::vector<Warning> defectWarnings(const emlreader::mime::Message& message) {
    std::vector<Warning> warnings;
    std::vector<uint32_t> codes;  // of `warnings`
    std::vector<uint32_t> more;   // parts with the same
    const std::vector<emlreader::mime::Defect> defects = message.defects();
    for (const emlreader::mime::Defect& defect : defects) {
        const std::string_view meaning = defectMeaning(defect.code);
        if (meaning.empty() || isOfNoHeader(defect, defects)) continue;
        const auto known = std::find(codes.begin(), codes.end(), defect.code);
        if (known != codes.end()) {
            ++more[static_cast<size_t>(known - codes.begin())];
            continue;
        }
        codes.push_back(defect.code);
        more.push_back(0);
        warnings.push_back(
            {std::string(defect.name()), whereOf(message, defect.part) + std::string(meaning)});
    }
    for (size_t i = 0; i < warnings.size(); ++i) {
        if (more[i] > 0)
            warnings[i].text += formatted(" (and in {} more {})", more[i], more[i] == 1 ? "part" : "parts");
    }
    return warnings;
}

std::vector<Warning> hiddenPartWarnings(const emlreader::mime::Message& message, uint32_t root,
                                        const std::vector<uint32_t>& opened) {
    std::vector<Warning> warnings;
    for (const emlreader::mime::Part& part : message.partsOf(root)) {
        const uint32_t protection = part.protection();
        if (part.number() == root || std::binary_search(opened.begin(), opened.end(), part.number()))
            continue;
        if (protection == EML_MIME_SMIME_OPAQUE) {
            warnings.push_back({"signed-part", whereOf(message, part.number()) +
                                                   "a part is inside an S/MIME signature and not opened; eml "
                                                   "list -r and eml extract -r do"});
        } else if (isEncryption(protection)) {
            warnings.push_back({"encrypted-part", whereOf(message, part.number()) + "a part is " +
                                                      std::string(protectionNotice(protection)) +
                                                      "; what it holds cannot be read"});
        }
    }
    return warnings;
}

}  // namespace emltool
