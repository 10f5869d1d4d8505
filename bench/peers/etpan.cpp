// libetpan: parses a mapped file into a tree, decodes a part into memory.
#include <libetpan/libetpan.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

#include "bench/peers/driver.h"
#include "bench/peers/mapped_file.h"

namespace {

using emlbench::Found;
using emlbench::Sink;

uint64_t length(const char* text) { return text == nullptr ? 0 : std::strlen(text); }

// The length of a header value with its encoded words decoded.
uint64_t decodedLength(const char* text) {
    if (text == nullptr) return 0;
    size_t position = 0;
    char* decoded = nullptr;
    const int result =
        mailmime_encoded_phrase_parse("utf-8", text, std::strlen(text), &position, "utf-8", &decoded);
    if (result != MAILIMF_NO_ERROR) return length(text);
    const uint64_t size = length(decoded);
    std::free(decoded);
    return size;
}

class Etpan final : public emlbench::Contender {
  public:
    bool open(const std::string& path, Found& found) override {
        if (!parse(path)) return false;
        readFields(found);
        attachments_.clear();
        collect(found);
        return true;
    }

    bool attachments(Sink& sink) override {
        for (mailmime* part : attachments_) {
            if (!decode(*part->mm_data.mm_single, sink)) return false;
        }
        return true;
    }

    bool openText(const std::string& path) override { return parse(path); }

    bool body(Sink& sink) override {
        const mailmime* const part = message_->mm_data.mm_message.mm_msg_mime;
        return part != nullptr && part->mm_type == MAILMIME_SINGLE && decode(*part->mm_data.mm_single, sink);
    }

    void close() override {
        if (message_ != nullptr) mailmime_free(message_);
        message_ = nullptr;
        file_.reset();
    }

  private:
    bool parse(const std::string& path) {
        file_.emplace(path);
        if (!file_->valid()) return false;
        size_t position = 0;
        return mailmime_parse(file_->begin(), file_->size(), &position, &message_) == MAILIMF_NO_ERROR &&
               message_->mm_type == MAILMIME_MESSAGE;
    }

    void readFields(Found& found) const {
        mailimf_single_fields fields{};
        mailimf_single_fields_init(&fields, message_->mm_data.mm_message.mm_fields);
        if (fields.fld_from != nullptr) {
            const clistiter* const first = clist_begin(fields.fld_from->frm_mb_list->mb_list);
            const auto* const mailbox =
                first == nullptr ? nullptr : static_cast<mailimf_mailbox*>(first->data);
            found.senders += mailbox != nullptr && decodedLength(mailbox->mb_display_name) != 0;
        }
        if (fields.fld_to != nullptr)
            found.recipients += clist_count(fields.fld_to->to_addr_list->ad_list) > 0;
        if (fields.fld_subject != nullptr) found.subjectBytes += decodedLength(fields.fld_subject->sbj_value);
        found.dates += fields.fld_orig_date != nullptr && fields.fld_orig_date->dt_date_time != nullptr;
    }

    // Walks the tree: single parts are leaves.
    void collect(Found& found) {
        std::vector<mailmime*> left{message_};
        while (!left.empty()) {
            mailmime* const part = left.back();
            left.pop_back();
            if (part == nullptr) continue;
            if (part->mm_type == MAILMIME_SINGLE) {
                look(part, found);
            } else if (part->mm_type == MAILMIME_MESSAGE) {
                left.push_back(part->mm_data.mm_message.mm_msg_mime);
            } else {
                const clist* const children = part->mm_data.mm_multipart.mm_mp_list;
                for (clistiter* at = clist_end(children); at != nullptr; at = at->previous) {
                    left.push_back(static_cast<mailmime*>(at->data));
                }
            }
        }
    }

    void look(mailmime* part, Found& found) {
        mailmime_single_fields fields{};
        mailmime_single_fields_init(&fields, part->mm_mime_fields, part->mm_content_type);
        const mailmime_disposition* const disposition = fields.fld_disposition;
        if (disposition == nullptr ||
            disposition->dsp_type->dsp_type != MAILMIME_DISPOSITION_TYPE_ATTACHMENT) {
            return;
        }
        ++found.attachments;
        found.nameBytes += length(fields.fld_disposition_filename);
        attachments_.push_back(part);
    }

    static bool decode(const mailmime_data& data, Sink& sink) {
        size_t position = 0;
        char* result = nullptr;
        size_t size = 0;
        const int status = mailmime_part_parse(data.dt_data.dt_text.dt_data, data.dt_data.dt_text.dt_length,
                                               &position, data.dt_encoding, &result, &size);
        if (status != MAILIMF_NO_ERROR) return false;
        sink.take(result, size);
        sink.endContent();
        mailmime_decoded_part_free(result);
        return true;
    }

    std::optional<emlbench::MappedFile> file_;
    mailmime* message_ = nullptr;
    std::vector<mailmime*> attachments_;
};

}  // namespace

int main(int count, char** arguments) {
    Etpan contender;
    return emlbench::runDriver(contender, count, arguments);
}
