// A message in the message filter.
#pragma once

#include "faults/session.h"

namespace eml::test {

class FilterSession : public Session {
  public:
    using Session::Session;
    ~FilterSession() override { closeContext(); }

    [[nodiscard]] EmlResult open() override;
    [[nodiscard]] bool isOpen() const override { return context_ != nullptr; }
    void close() override { closeContext(); }
    [[nodiscard]] std::vector<Step> steps() override;
    [[nodiscard]] Answer run(const Step& step) override;

  private:
    void closeContext();
    [[nodiscard]] int32_t messageNumber() const { return (flags() & EML_OPEN_ROOT_FOLDER) != 0 ? 1 : 0; }
    [[nodiscard]] Answer query();
    [[nodiscard]] Answer nameDate();
    [[nodiscard]] Answer describe(int32_t number);
    [[nodiscard]] Answer attachmentInfo(int32_t number);
    [[nodiscard]] Answer metadata(bool byName);
    [[nodiscard]] Answer extract(const Step& step);
    [[nodiscard]] Answer extractToTarget(const Step& step);
    [[nodiscard]] Answer convert(const Step& step);
    void checkRecords(std::string_view bytes);

    EmlFilterContext* context_ = nullptr;
};

}  // namespace eml::test
