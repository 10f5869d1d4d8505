// A message in the container reader.
#pragma once

#include "faults/session.h"

namespace eml::test {

class ContainerSession : public Session {
  public:
    using Session::Session;
    ~ContainerSession() override { closeContext(); }

    [[nodiscard]] EmlResult open() override;
    [[nodiscard]] bool isOpen() const override { return context_ != nullptr; }
    void close() override { closeContext(); }
    [[nodiscard]] std::vector<Step> steps() override;
    [[nodiscard]] Answer run(const Step& step) override;

  private:
    void closeContext();
    [[nodiscard]] Answer query();
    [[nodiscard]] Answer describe(int32_t number);
    [[nodiscard]] Answer metadata(bool byName);
    [[nodiscard]] Answer extract(const Step& step);

    EmlContainerContext* context_ = nullptr;
};

}  // namespace eml::test
