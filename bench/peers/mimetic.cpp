// mimetic: copies a message out of a mapped file into a tree of strings, decodes through iterators. It does
// not decode encoded words.
#include <mimetic/mimetic.h>

#include <memory>
#include <vector>

#include "bench/peers/driver.h"
#include "bench/peers/mapped_file.h"

namespace {

using emlbench::Found;
using emlbench::Sink;

constexpr size_t kBufferSize = size_t{64} << 10;

// The output iterator that its decoders write through: gathers bytes, for the sink to take many at once.
class Gatherer {
  public:
    using iterator_category = std::output_iterator_tag;
    using value_type = void;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = void;

    struct Buffer {
        explicit Buffer(Sink& target) : sink(target) { bytes.reserve(kBufferSize); }
        void flush() {
            sink.take(bytes.data(), bytes.size());
            bytes.clear();
        }
        Sink& sink;
        std::vector<char> bytes;
    };

    explicit Gatherer(Buffer& buffer) : buffer_(&buffer) {}
    Gatherer& operator*() { return *this; }
    Gatherer& operator++() { return *this; }
    Gatherer& operator++(int) { return *this; }
    template <typename Byte>
    Gatherer& operator=(Byte byte) {
        buffer_->bytes.push_back(static_cast<char>(byte));
        if (buffer_->bytes.size() == kBufferSize) buffer_->flush();
        return *this;
    }

  private:
    Buffer* buffer_;
};

class Mimetic final : public emlbench::Contender {
  public:
    bool open(const std::string& path, Found& found) override {
        if (!parse(path)) return false;
        const mimetic::Header& header = message_->header();
        found.senders += header.from().str().empty() ? 0 : 1;
        found.recipients += header.to().str().empty() ? 0 : 1;
        found.dates += header.hasField("Date") && !header.field("Date").value().empty() ? 1 : 0;
        found.subjectBytes += header.subject().size();
        attachments_.clear();
        std::vector<mimetic::MimeEntity*> left{message_.get()};
        while (!left.empty()) {
            mimetic::MimeEntity* const part = left.back();
            left.pop_back();
            mimetic::MimeEntityList& parts = part->body().parts();
            left.insert(left.end(), parts.rbegin(), parts.rend());
            const mimetic::ContentDisposition& disposition = part->header().contentDisposition();
            if (disposition.type() != "attachment") continue;
            ++found.attachments;
            found.nameBytes += disposition.param("filename").size();
            attachments_.push_back(part);
        }
        return true;
    }

    bool attachments(Sink& sink) override {
        for (mimetic::MimeEntity* part : attachments_) decode(*part, sink);
        return true;
    }

    bool openText(const std::string& path) override { return parse(path); }

    bool body(Sink& sink) override {
        decode(*message_, sink);
        return true;
    }

    void close() override { message_.reset(); }

  private:
    bool parse(const std::string& path) {
        const emlbench::MappedFile file(path);
        if (!file.valid()) return false;
        message_ = std::make_unique<mimetic::MimeEntity>(file.begin(), file.end());
        return true;
    }

    static void decode(mimetic::MimeEntity& part, Sink& sink) {
        const std::string mechanism = part.header().contentTransferEncoding().mechanism();
        const mimetic::Body& body = part.body();
        Gatherer::Buffer buffer(sink);
        if (mechanism == "base64") {
            mimetic::Base64::Decoder decoder;
            mimetic::decode(body.begin(), body.end(), decoder, Gatherer(buffer));
        } else if (mechanism == "quoted-printable") {
            mimetic::QP::Decoder decoder;
            mimetic::decode(body.begin(), body.end(), decoder, Gatherer(buffer));
        } else {
            sink.take(body.data(), body.size());
        }
        buffer.flush();
        sink.endContent();
    }

    std::unique_ptr<mimetic::MimeEntity> message_;
    std::vector<mimetic::MimeEntity*> attachments_;
};

}  // namespace

int main(int count, char** arguments) {
    Mimetic contender;
    return emlbench::runDriver(contender, count, arguments);
}
