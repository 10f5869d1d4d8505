// What each reading finds by itself, before it is compared.
#pragma once

#include <string>
#include <vector>

#include "tool/message/comparison.h"

namespace emltool {

// A part without parts of its own, of the message itself (not of the messages inside it).
struct FoundPart {
    Sighting sighting;  // the name is empty when the message gives none
    PartPlace place;
    std::string shownName;     // the name, made up if need be
    bool isFile = false;       // otherwise it is text to be shown
    std::string text;          // the significant text, of a text part
    uint32_t alternative = 0;  // the innermost multipart/alternative around it
    bool hasAlternative = false;
};

struct MimeFindings {
    std::vector<FoundPart> parts;
    std::string subject;
    std::string text;  // the plain text; empty if there is only HTML
    std::string html;  // the text of the HTML
    std::vector<BetweenParts> betweenParts;
};

struct EngineFindings {
    std::vector<Sighting> files;
    std::string subject;
    std::string text;      // as lines; without HTML
    std::string richText;  // the text of its other form, if it has one
    std::string problem;
};

// Each throws Problem when the file cannot be read, or memory runs out.
MimeFindings findByMime(MessageFile& file);
EngineFindings findByContainer(MessageFile& file);
EngineFindings findByFilter(MessageFile& file);

}  // namespace emltool
