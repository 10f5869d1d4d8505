// A message that the MIME reader has opened over a recording host, and short texts that say what it found.
#pragma once

#include <emlreader/eml_mime.h>

#include <string>
#include <string_view>

#include "support/memory_output.h"
#include "support/recording_host.h"

namespace eml::test {

[[nodiscard]] inline HostOptions mimeHost() {
    HostOptions options;
    options.largestRead = 64 << 10;
    return options;
}

class OpenedMime {
  public:
    explicit OpenedMime(std::string_view message, EmlMimeOptions options = {}, HostOptions host = mimeHost())
        : host_(message, host) {
        options.recordSize = sizeof options;
        context_ = emlMimeOpen(&host_.input(), &host_.services().allocator, &options, &result_);
    }
    ~OpenedMime() { emlMimeClose(context_); }
    OpenedMime(const OpenedMime&) = delete;
    OpenedMime& operator=(const OpenedMime&) = delete;

    [[nodiscard]] EmlMimeContext* context() const { return context_; }
    [[nodiscard]] EmlResult result() const { return result_; }
    [[nodiscard]] RecordingHost& host() { return host_; }

    [[nodiscard]] EmlMimePart part(uint32_t number) const;
    [[nodiscard]] std::string name(uint32_t number) const;
    // The decoded text of the first field with this name; "(none)" without one.
    [[nodiscard]] std::string field(uint32_t part, const char* name) const;
    // What emlMimeExtract writes; "(code N)" when it fails.
    [[nodiscard]] std::string content(uint32_t part, uint32_t form = EML_MIME_DECODED);

    // The tree: "multipart/mixed{text/plain"body"; image/png=name.png"..."}", a message in "()". Bodies as they
    // stand, control characters escaped.
    [[nodiscard]] std::string tree(std::string_view message) const;
    // The names of the defects, each with its part: "no-closing-delimiter@0 ...".
    [[nodiscard]] std::string defects() const;
    // "T" text, "H" HTML, "A" attachment for each part in order, "-" for none: "- TH A".
    [[nodiscard]] std::string roles() const;
    // What is wrong with the spans: they must follow each other and end with the file. Empty when all is well.
    [[nodiscard]] std::string spanProblems(std::string_view message) const;
    // The spans: kind letters and lengths, "h12 n2 b5 ..." (p padding, h header, n blank, b body, d delimiter,
    // c closing, r preamble, e epilogue).
    [[nodiscard]] std::string spans() const;

  private:
    RecordingHost host_;
    EmlResult result_ = EML_OK;
    EmlMimeContext* context_ = nullptr;
};

[[nodiscard]] std::string_view viewOf(const EmlMimeText& text);
// What stands at a span of the message.
[[nodiscard]] std::string_view at(const EmlMimeSpan& span, std::string_view message);
[[nodiscard]] std::string visible(std::string_view bytes);

}  // namespace eml::test
