// GMime, reading from a descriptor as its documentation's examples do, or from a mapped file when the program
// is called by a name that ends in "mapped".
#include <fcntl.h>
#include <gmime/gmime.h>
#include <sys/mman.h>

#include <cstring>

#include "bench/peers/driver.h"

namespace {

using emlbench::Found;
using emlbench::Sink;

bool isAttachment(GMimeObject* part) {
    return GMIME_IS_PART(part) && g_mime_part_is_attachment(reinterpret_cast<GMimePart*>(part)) != 0;
}

uint64_t length(const char* text) { return text == nullptr ? 0 : std::strlen(text); }

// 1 when the list says something.
uint64_t shown(InternetAddressList* list) {
    char* const text = list == nullptr ? nullptr : internet_address_list_to_string(list, nullptr, FALSE);
    const uint64_t result = length(text) != 0 ? 1 : 0;
    g_free(text);
    return result;
}

class GMime final : public emlbench::Contender {
  public:
    explicit GMime(bool mapped) : mapped_(mapped) {}

    bool open(const std::string& path, Found& found) override {
        if (!parse(path)) return false;
        found.senders += shown(g_mime_message_get_from(message_));
        found.recipients += shown(g_mime_message_get_to(message_));
        found.subjectBytes += length(g_mime_message_get_subject(message_));
        found.dates += g_mime_message_get_date(message_) != nullptr;
        GMimePartIter* const walk = g_mime_part_iter_new(reinterpret_cast<GMimeObject*>(message_));
        do {
            GMimeObject* const part = g_mime_part_iter_get_current(walk);
            if (part == nullptr || !isAttachment(part)) continue;
            ++found.attachments;
            found.nameBytes += length(g_mime_part_get_filename(reinterpret_cast<GMimePart*>(part)));
        } while (g_mime_part_iter_next(walk) != 0);
        g_mime_part_iter_free(walk);
        return true;
    }

    bool attachments(Sink& sink) override {
        bool done = true;
        GMimePartIter* const walk = g_mime_part_iter_new(reinterpret_cast<GMimeObject*>(message_));
        do {
            GMimeObject* const part = g_mime_part_iter_get_current(walk);
            if (part != nullptr && isAttachment(part)) done = decode(part, sink) && done;
        } while (g_mime_part_iter_next(walk) != 0);
        g_mime_part_iter_free(walk);
        return done;
    }

    bool openText(const std::string& path) override { return parse(path); }

    bool body(Sink& sink) override { return decode(g_mime_message_get_mime_part(message_), sink); }

    void close() override {
        if (message_ != nullptr) g_object_unref(message_);
        if (stream_ != nullptr) g_object_unref(stream_);
        message_ = nullptr;
        stream_ = nullptr;
    }

  private:
    bool parse(const std::string& path) {
        const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (descriptor < 0) return false;
        stream_ = mapped_ ? g_mime_stream_mmap_new(descriptor, PROT_READ, MAP_PRIVATE)
                          : g_mime_stream_fs_new(descriptor);
        if (stream_ == nullptr) return false;
        GMimeParser* const parser = g_mime_parser_new_with_stream(stream_);
        message_ = g_mime_parser_construct_message(parser, nullptr);
        g_object_unref(parser);
        return message_ != nullptr;
    }

    static bool decode(GMimeObject* part, Sink& sink) {
        GMimeDataWrapper* const content = g_mime_part_get_content(reinterpret_cast<GMimePart*>(part));
        if (content == nullptr) return false;
        // The null stream counts what it is given and drops it.
        GMimeStream* const out = sink.hashing() ? g_mime_stream_mem_new() : g_mime_stream_null_new();
        const bool done = g_mime_data_wrapper_write_to_stream(content, out) >= 0;
        if (sink.hashing()) {
            const GByteArray* const bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(out));
            sink.take(bytes->data, bytes->len);
        } else {
            sink.count(reinterpret_cast<GMimeStreamNull*>(out)->written);
        }
        sink.endContent();
        g_object_unref(out);
        return done;
    }

    bool mapped_;
    GMimeStream* stream_ = nullptr;
    GMimeMessage* message_ = nullptr;
};

}  // namespace

int main(int count, char** arguments) {
    g_mime_init();
    const size_t size = std::strlen(arguments[0]);
    GMime contender(size >= 6 && std::strcmp(arguments[0] + size - 6, "mapped") == 0);
    return emlbench::runDriver(contender, count, arguments);
}
