// The MIME reader of emlreader, through its C interface and the stand-alone host: with the input that openInput
// chooses, or mapped when the program is called by a name that ends in "mapped".
#include <emlreader/eml_mime.h>

#include <memory>
#include <string_view>

#include "bench/peers/driver.h"
#include "bench/peers/sink_output.h"
#include "standalone/heap.h"
#include "standalone/input.h"

namespace {

using emlbench::Found;
using emlbench::Sink;
using emlbench::SinkOutput;

class Mime final : public emlbench::Contender {
  public:
    explicit Mime(bool mapped) : mapped_(mapped) {}

    ~Mime() override { close(); }

    bool open(const std::string& path, Found& found) override {
        if (!openContext(path)) return false;
        uint32_t field = 0;
        EmlMimeText subject = {};
        EmlMimeDate date = {};
        found.senders += hasAddress("From") ? 1 : 0;
        found.recipients += hasAddress("To") ? 1 : 0;
        if (find("Subject", field) && emlMimeFieldText(context_, 0, field, &subject) == EML_OK) {
            found.subjectBytes += subject.length;
        }
        if (find("Date", field) && emlMimeFieldDate(context_, 0, field, &date) == EML_OK) {
            found.dates += date.flags & EML_MIME_DATE_VALID;
        }
        for (uint32_t number = 0; number < emlMimePartCount(context_); ++number) {
            EmlMimePart part = {};
            if (emlMimeGetPart(context_, number, &part, sizeof part) != EML_OK) return false;
            if ((part.roles & EML_MIME_ROLE_ATTACHMENT) == 0) continue;
            ++found.attachments;
            found.nameBytes += part.name.length;
        }
        return true;
    }

    bool attachments(Sink& sink) override {
        for (uint32_t number = 0; number < emlMimePartCount(context_); ++number) {
            EmlMimePart part = {};
            if (emlMimeGetPart(context_, number, &part, sizeof part) != EML_OK) return false;
            if ((part.roles & EML_MIME_ROLE_ATTACHMENT) != 0 && !decode(number, sink)) return false;
        }
        return true;
    }

    bool openText(const std::string& path) override { return openContext(path); }

    bool body(Sink& sink) override { return decode(0, sink); }

    void close() override {
        emlMimeClose(context_);
        context_ = nullptr;
        input_.reset();
    }

  private:
    bool openContext(const std::string& path) {
        std::error_code error;
        if (mapped_) {
            input_ = emlhost::MappedFileInput::open(path, error);
        } else {
            input_ = emlhost::openInput(path, error);
        }
        if (input_ == nullptr) return false;
        context_ = emlMimeOpen(input_->object(), heap_.allocator(), nullptr, nullptr);
        return context_ != nullptr;
    }

    bool find(const char* name, uint32_t& field) {
        return emlMimeFindField(context_, 0, name, 0, &field) == EML_OK && field != EML_MIME_NONE;
    }

    bool hasAddress(const char* name) {
        uint32_t field = 0;
        uint32_t count = 0;
        const EmlMimeAddress* addresses = nullptr;
        return find(name, field) && emlMimeFieldAddresses(context_, 0, field, &addresses, &count) == EML_OK &&
               count != 0;
    }

    bool decode(uint32_t part, Sink& sink) {
        SinkOutput output(sink);
        const EmlResult result = emlMimeExtract(context_, part, EML_MIME_DECODED, output.object(), nullptr);
        sink.endContent();
        return result == EML_OK && !output.error();
    }

    bool mapped_;
    emlhost::CountingHeap heap_;
    std::unique_ptr<emlhost::Input> input_;
    EmlMimeContext* context_ = nullptr;
};

}  // namespace

int main(int count, char** arguments) {
    const std::string_view name = arguments[0];
    Mime contender(name.ends_with("mapped"));
    return emlbench::runDriver(contender, count, arguments);
}
