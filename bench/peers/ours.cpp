// emlreader through its stand-alone host: with the input that openInput chooses, or mapped when the program
// is called by a name that ends in "mapped". A text is a stream of the filter's records, or what the container reader
// renders when the name ends in "rendered".
#include <memory>
#include <string_view>
#include <vector>

#include "bench/peers/driver.h"
#include "bench/peers/sink_output.h"
#include "standalone/filter.h"
#include "standalone/message.h"
#include "standalone/text_records.h"

namespace {

using emlbench::Found;
using emlbench::Sink;
using emlbench::SinkOutput;

class Ours final : public emlbench::Contender {
  public:
    Ours(bool mapped, bool rendered) : mapped_(mapped), rendered_(rendered) {}

    bool open(const std::string& path, Found& found) override {
        if (!openInput(path)) return false;
        message_.emplace(*input_, services_);
        if (message_->status() != EML_OK) return false;
        found.dates += message_->describe(0).date.has_value() ? 1 : 0;
        for (uint32_t number = 1; number < message_->subFileCount(); ++number) {
            const emlhost::SubFile subFile = message_->describe(static_cast<int32_t>(number));
            if (subFile.status != EML_OK) return false;
            found.nameBytes += subFile.name.size();
            ++found.attachments;
        }
        for (const emlhost::HeaderValue& field : message_->metadata()) {
            const size_t size = field.value ? textSize(*field.value) : 0;
            if (field.name == "From") found.senders += size != 0;
            if (field.name == "To") found.recipients += size != 0;
            if (field.name == "Subject") found.subjectBytes += size;
        }
        return true;
    }

    bool attachments(Sink& sink) override {
        SinkOutput output(sink);
        for (uint32_t number = 1; number < message_->subFileCount(); ++number) {
            const emlhost::Extraction result = message_->extract(static_cast<int32_t>(number), output);
            if (result.status != EML_OK || output.error()) return false;
            sink.endContent();
        }
        return true;
    }

    bool openText(const std::string& path) override {
        if (!openInput(path)) return false;
        if (rendered_) {
            message_.emplace(*input_, services_);
            return message_->status() == EML_OK;
        }
        filter_.emplace(*input_, services_);
        return filter_->usable();
    }

    // The stream of text records, as it is handed to the host. To compare the content with that of the others
    // only the body is asked for, and turned back into text.
    bool body(Sink& sink) override {
        if (rendered_) return render(sink);
        buffer_.resize(size_t{64} << 10);
        if (sink.hashing()) filter_->restart(false);
        while (!filter_->finished()) {
            const std::span<const uint8_t> records = filter_->fill(buffer_);
            if (sink.hashing()) {
                takeText(records, sink);
            } else {
                sink.take(records.data(), records.size());
            }
        }
        return filter_->status() == EML_OK && filter_->progress() == 100;
    }

    void close() override {
        filter_.reset();
        message_.reset();
        input_.reset();
    }

  private:
    bool openInput(const std::string& path) {
        std::error_code error;
        if (mapped_) {
            input_ = emlhost::MappedFileInput::open(path, error);
        } else {
            input_ = emlhost::openInput(path, error);
        }
        return input_ != nullptr;
    }

    bool render(Sink& sink) {
        SinkOutput output(sink);
        const emlhost::Extraction result = message_->extract(0, output, EML_EXTRACT_BODY_ONLY);
        return result.status == EML_OK && !output.error();
    }

    static void takeText(std::span<const uint8_t> records, Sink& sink) {
        emlhost::RecordWalker walker(records);
        for (emlhost::TextRecord record; walker.next(record);) {
            const std::string_view text = record.tag == emlhost::RecordTag::kLineBreak ? "\n"
                                          : record.tag == emlhost::RecordTag::kTab     ? "\t"
                                                                                       : record.text();
            sink.take(text.data(), text.size());
        }
    }

    // Up to the zero bytes that may stand at the end of a value.
    static size_t textSize(const std::string& value) { return std::string_view(value.c_str()).size(); }

    bool mapped_;
    bool rendered_;
    emlhost::Services services_;
    std::unique_ptr<emlhost::Input> input_;
    std::optional<emlhost::OpenMessage> message_;
    std::optional<emlhost::MessageFilter> filter_;
    std::vector<uint8_t> buffer_;
};

}  // namespace

int main(int count, char** arguments) {
    const std::string_view name = arguments[0];
    Ours contender(name.ends_with("mapped"), name.ends_with("rendered"));
    return emlbench::runDriver(contender, count, arguments);
}
