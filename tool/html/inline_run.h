// The text of one paragraph while it is being read: white space is collapsed, and what is invisible left out.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tool/html/document.h"

namespace emltool {

class InlineRun {
  public:
    // Blanks count as one, and not at the beginning and end of a line; with `keepsLines` line ends stay, with
    // `keepsBlanks` all of it. Returns the number of characters that are seen, and adds to `smuggled` what is written
    // in characters that nobody sees (Unicode's tags).
    size_t addText(std::string_view text, bool keepsBlanks, bool keepsLines, std::string& smuggled);
    void addBreak();
    void addImage(std::string alternative);
    void begin(Inline::Kind kind, std::string url = "");
    void end(Inline::Kind kind);
    void addBlank() { blank_ = true; }

    // Whether anything is in it; breaks alone are not.
    bool hasContent() const { return hasContent_; }
    size_t breaks() const { return breaks_; }  // at its end

    // The paragraph so far, without what is empty in it. The elements that are open go on in the next one.
    std::vector<Inline> take();

  private:
    struct Open {
        Inline::Kind begin;
        std::string url;
    };

    static bool isFillingJoiner(char32_t before, std::string_view rest);
    void addCharacter(char32_t c, std::string_view bytes, bool keepsBlanks, bool keepsLines);
    void append(std::string_view text);
    void flushBlank();

    std::vector<Inline> inlines_;
    std::vector<Open> open_;
    bool blank_ = false;
    bool atLineStart_ = true;
    bool hasContent_ = false;
    size_t breaks_ = 0;
};

}  // namespace emltool
