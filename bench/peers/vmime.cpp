// VMime: parses from a file that can seek, decodes into a stream.
#include <vmime/contentDispositionField.hpp>
#include <vmime/platforms/posix/posixHandler.hpp>
#include <vmime/vmime.hpp>

#include <vector>

#include "bench/peers/driver.h"

namespace {

using emlbench::Found;
using emlbench::Sink;

class SinkStream final : public vmime::utility::outputStream {
  public:
    explicit SinkStream(Sink& sink) : sink_(sink) {}
    void flush() override {}

  protected:
    void writeImpl(const vmime::byte_t* const data, const size_t count) override { sink_.take(data, count); }

  private:
    Sink& sink_;
};

const vmime::charset kUtf8("utf-8");

class VMime final : public emlbench::Contender {
  public:
    bool open(const std::string& path, Found& found) override {
        if (!parse(path)) return false;
        const vmime::shared_ptr<vmime::header> header = message_->getHeader();
        const auto from = header->From()->getValue<vmime::mailbox>();
        found.senders += !from->getName().getConvertedText(kUtf8).empty();
        found.recipients += !header->To()->getValue<vmime::addressList>()->isEmpty();
        found.subjectBytes += header->Subject()->getValue<vmime::text>()->getConvertedText(kUtf8).size();
        found.dates += header->Date()->getValue<vmime::datetime>()->getYear() > 1970;
        attachments_.clear();
        std::vector<vmime::shared_ptr<vmime::bodyPart>> left{message_};
        while (!left.empty()) {
            const vmime::shared_ptr<vmime::bodyPart> part = left.back();
            left.pop_back();
            for (size_t i = part->getBody()->getPartCount(); i != 0; --i) {
                left.push_back(part->getBody()->getPartAt(i - 1));
            }
            look(part, found);
        }
        return true;
    }

    bool attachments(Sink& sink) override {
        for (const auto& part : attachments_) decode(*part, sink);
        return true;
    }

    bool openText(const std::string& path) override { return parse(path); }

    bool body(Sink& sink) override {
        decode(*message_, sink);
        return true;
    }

    void close() override {
        attachments_.clear();
        message_.reset();
    }

  private:
    bool parse(const std::string& path) {
        const auto files = vmime::platform::getHandler()->getFileSystemFactory();
        const auto file = files->create(files->stringToPath(path));
        message_ = vmime::make_shared<vmime::message>();
        message_->parse(file->getFileReader()->getInputStream(), file->getLength());
        return true;
    }

    void look(const vmime::shared_ptr<vmime::bodyPart>& part, Found& found) {
        const vmime::shared_ptr<vmime::header> header = part->getHeader();
        if (!header->hasField(vmime::fields::CONTENT_DISPOSITION)) return;
        const auto field = vmime::dynamicCast<vmime::contentDispositionField>(header->ContentDisposition());
        if (field->getValue<vmime::contentDisposition>()->getName() != "attachment") return;
        ++found.attachments;
        found.nameBytes += field->getFilename().getBuffer().size();
        attachments_.push_back(part);
    }

    static void decode(vmime::bodyPart& part, Sink& sink) {
        SinkStream stream(sink);
        part.getBody()->getContents()->extract(stream);
        sink.endContent();
    }

    vmime::shared_ptr<vmime::message> message_;
    std::vector<vmime::shared_ptr<vmime::bodyPart>> attachments_;
};

}  // namespace

int main(int count, char** arguments) {
    vmime::platform::setHandler<vmime::platforms::posix::posixHandler>();
    VMime contender;
    return emlbench::runDriver(contender, count, arguments);
}
