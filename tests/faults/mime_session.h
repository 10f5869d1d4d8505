// A message in the MIME reader.
#pragma once

#include <emlreader/eml_mime.h>

#include "faults/session.h"

namespace eml::test {

class MimeSession : public Session {
  public:
    MimeSession(const Scene& scene, HostOptions options);
    ~MimeSession() override { closeContext(); }

    [[nodiscard]] EmlResult open() override;
    [[nodiscard]] bool isOpen() const override { return context_ != nullptr; }
    void close() override { closeContext(); }
    // Takes over a context that was opened in another way, over the host of this session.
    void adopt(EmlMimeContext* context) { context_ = context; }
    [[nodiscard]] const EmlMimeOptions& options() const { return *options_; }
    void remove(Entry entry) override;
    [[nodiscard]] std::vector<Step> steps() override;
    [[nodiscard]] Answer run(const Step& step) override;

  private:
    // Which call of a field `Step::detail` asks for.
    enum class FieldCall : uint32_t { kFind, kRaw, kText, kAddresses, kDate, kIds, kParameters, kCount };

    // Step::options of an extraction that only measures.
    static constexpr uint32_t kNoOutput = 1;

    void closeContext();
    [[nodiscard]] Answer query();
    [[nodiscard]] Answer contentIds(uint32_t part);
    [[nodiscard]] Answer describe(uint32_t part);
    [[nodiscard]] Answer name(uint32_t part);
    [[nodiscard]] Answer fields(uint32_t part, FieldCall call);
    [[nodiscard]] EmlResult field(uint32_t part, uint32_t index, FieldCall call, std::string& text);
    [[nodiscard]] EmlResult list(uint32_t part, uint32_t index, FieldCall call, std::string& text);
    [[nodiscard]] Answer extract(const Step& step);
    [[nodiscard]] Answer defects();
    void append(std::string& out, const EmlMimeText& text);

    HostValue<EmlMimeConvert> convert_;
    HostValue<EmlMimeOptions> options_;
    EmlMimeContext* context_ = nullptr;
};

}  // namespace eml::test
