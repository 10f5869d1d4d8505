// Names made from subjects and dates of messages: every short text in every place of a date, every short
// subject, in both readers, against the plain references.
#include <algorithm>

#include "container/embedded_name.h"
#include "container/main_name_date.h"
#include "exhaustive/every_input.h"
#include "filter/embedded_name.h"
#include "filter/scan_dump.h"
#include "host/scripted_services.h"
#include "reference/bytes.h"
#include "reference/dates.h"
#include "reference/filter_values.h"
#include "reference/names.h"
#include "reference/parameters.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

using reference::shown;

std::optional<time_t> storedDate;

void storeDate(time_t seconds, void* /*destination*/) { storedDate = seconds; }

std::string shownDate(const std::optional<time_t>& date) {
    return date ? std::to_string(*date) : std::string("none");
}

// The container reader's name and date, from a default list that holds a subject and a date alone.
class ContainerList {
  public:
    ContainerList() {
        services_.record().storeDate = &storeDate;
        context_.services = &services_.record();
        context_.metaData.count = 7;
        context_.metaData.entries = entries_;
        for (EmlMetaDataEntry* const entry : {&subject_, &date_}) {
            entry->hasValue = 1;
            entry->type = EML_TYPE_TEXT;
        }
        subject_.name = subjectName_;
        date_.name = dateName_;
    }

    void take(const std::string& subject, const std::string& date) {
        put(subject_, subjectBlocks_, subject);
        put(date_, dateBlocks_, date);
        storedDate.reset();
        std::memset(context_.mainName, 0, sizeof context_.mainName);
        EXPECT_EQ(eml2GetMainNameDate(context_), EML_OK);
    }

    [[nodiscard]] std::string name() const { return context_.mainName; }

  private:
    // A value is zero-terminated.
    static void put(EmlMetaDataEntry& entry, ExactBlocks& blocks, const std::string& value) {
        uint8_t* const block = blocks.room(value.size() + 1);
        std::memcpy(block, value.c_str(), value.size() + 1);
        entry.value = reinterpret_cast<char*>(block);
        entry.valueLength = static_cast<uint32_t>(value.size());
    }

    ScriptedServices services_;
    ExactBlocks subjectBlocks_, dateBlocks_;
    char subjectName_[8] = "Subject", dateName_[5] = "Date";
    EmlMetaDataEntry subject_{}, date_{};
    EmlMetaDataEntry* entries_[7] = {nullptr, &date_, nullptr, nullptr, nullptr, &subject_, nullptr};
    EmlContainerContext context_{};
};

// The filter's, from a header that changes under an open context.
class FilterHeader {
  public:
    FilterHeader() : message_("Subject: x\r\n\r\n") {
        input_.record.open = [](EmlIOobj*) { return 1; };
        input_.record.close = [](EmlIOobj*) { return 1; };
        input_.record.seek = [](EmlIOobj* self, uint32_t low, int32_t, uint32_t) {
            of(self).position_ = low;
            return 1;
        };
        input_.record.read = &FilterHeader::read;
        input_.owner = this;
        services_.record().storeDate = &storeDate;
        EmlResult result = EML_OK;
        context_ = emlInitEx(&input_.record, &services_.record(), 0, 0, 0, &result);
        EXPECT_EQ(result, EML_OK);
    }
    ~FilterHeader() { emlShutdown(context_); }
    FilterHeader(const FilterHeader&) = delete;
    FilterHeader& operator=(const FilterHeader&) = delete;

    // The name of a message with this header.
    std::string take(const std::string& header) {
        message_ = header + "\r\n\r\n";
        storedDate.reset();
        char name[14] = {};
        EXPECT_EQ(emlGetMainNameDate(context_, name, nullptr), EML_OK);
        return name;
    }

  private:
    struct Bound {
        EmlIOobj record;  // first: the library hands its address back
        FilterHeader* owner;
    };
    static FilterHeader& of(EmlIOobj* self) { return *reinterpret_cast<Bound*>(self)->owner; }
    static int32_t read(EmlIOobj* self, void* buffer, uint32_t count) {
        FilterHeader& header = of(self);
        const size_t from = std::min(header.position_, header.message_.size());
        const size_t delivered = std::min<size_t>(count, header.message_.size() - from);
        std::memcpy(buffer, header.message_.data() + from, delivered);
        header.position_ += delivered;
        return static_cast<int32_t>(delivered);
    }

    std::string message_;
    size_t position_ = 0;
    Bound input_{};
    ScriptedServices services_;
    EmlFilterContext* context_ = nullptr;
};

class Dates {
  public:
    bool agree(const std::string& date) {
        compared_.input();
        list_.take("x", date);
        const bool held = same("container", date, reference::dateOfValue(date));
        (void)header_.take("Date:" + date);
        return same("filter", date, reference::dateBehindField(date + "\r\n\r\n")) && held;
    }

    [[nodiscard]] uint64_t withDate() const { return withDate_; }

  private:
    bool same(const char* reader, const std::string& date, const std::optional<time_t>& expected) {
        compared_.comparison();
        withDate_ += storedDate ? 1 : 0;
        EXPECT_EQ(shownDate(storedDate), shownDate(expected)) << reader << ": \"" << shown(date) << "\"";
        return storedDate == expected;
    }

    Compared compared_;
    ContainerList list_;
    FilterHeader header_;
    uint64_t withDate_ = 0;
};

// The pieces of a date. In each place every short text stands instead.
const PieceList kDate = {"Tue,", " ", "5", " ", "Mar", " ", "2024", " ", "14", ":", "07", ":", "09"};

std::string dateWith(size_t place, const std::string& text) {
    std::string date;
    for (size_t i = 0; i < kDate.size(); ++i) date += i == place ? text : kDate[i];
    return date;
}

TEST(EveryShortDate, ShortTextsInEveryPlace) {
    Dates dates;
    for (size_t place = 0; place < kDate.size(); ++place) {
        forEveryText(bytesAsPieces(" \t0-+:x"), longest(3, 5),
                     [&](const std::string& text) { return dates.agree(dateWith(place, text)); });
    }
    EXPECT_GT(dates.withDate(), 500U);
}

TEST(EveryShortDate, FoldedAndWithMonths) {
    Dates dates;
    const PieceList pieces = {" ", "Nov", "nOV", "No", "1", "\r\n ", "\v", "-1", ":", "2147483648"};
    for (const size_t place : {1U, 3U, 4U, 5U, 6U, 7U, 12U}) {
        forEveryText(pieces, longest(3, 4),
                     [&](const std::string& text) { return dates.agree(dateWith(place, text)); });
    }
    EXPECT_GT(dates.withDate(), 500U);
}

TEST(EveryShortDate, CutAtEveryByte) {
    Dates dates;
    const std::string whole = dateWith(0, "Tue,");
    for (size_t from = 0; from <= whole.size(); ++from) {
        for (size_t length = 0; length <= whole.size() - from; ++length) {
            if (!dates.agree(whole.substr(from, length))) return;
        }
    }
}

TEST(EveryShortDate, EveryThreeLettersAsTheMonth) {
    Dates dates;
    const std::string letters = fullLengths() ? "abcdefghijklmnopqrstuvwxyzJFMASOND@`[{" : "adejlnoprtuyJN";
    forEveryText(bytesAsPieces(letters), 3,
                 [&](const std::string& text) { return dates.agree(dateWith(4, text)); });
}

// Every byte that a name leaves out, some that it keeps, and what a subject may begin with.
const PieceList kSubjectPieces = {
    "?", "\"", "|", " ", "\t", "a", "Re:", "fw:", "~", "\x1F", "\x7F", "\x80", "\xFF", std::string(1, '\0')};

TEST(EveryShortSubject, ContainerMainName) {
    Compared compared;
    ContainerList list;
    for (const char* const start : {"", "abcdef"}) {
        forEveryText(kSubjectPieces, longest(3, 5), [&](const std::string& text) {
            compared.input();
            compared.comparison();
            const std::string subject = start + text;
            list.take(subject, "");
            EXPECT_EQ(shown(list.name()), shown(reference::mainNameOfSubject(subject))) << shown(subject);
            return list.name() == reference::mainNameOfSubject(subject);
        });
    }
}

TEST(EveryShortSubject, FilterMainName) {
    Compared compared;
    FilterHeader header;
    PieceList pieces = kSubjectPieces;
    pieces.pop_back();
    pieces.insert(pieces.end(), {"=?x?Q?abc?=", "=?x?B?JyA=?=", "\r\n ", "def"});
    forEveryText(pieces, longest(3, 5), [&](const std::string& text) {
        compared.input();
        compared.comparison();
        std::string value = text;
        value.erase(0, std::min(value.find_first_not_of(" \t"), value.size()));
        std::string records;
        for (const std::string& record : reference::filterValue(value + "\r\n\r\n").records)
            records += record;
        std::vector<std::string> texts;
        for (const Record& record : recordsOf(records))
            if (record.tag == 0) texts.push_back(record.text());
        const std::string name = header.take("Subject:" + text);
        EXPECT_EQ(shown(name), shown(reference::mainNameOfTexts(texts))) << shown(text);
        return name == reference::mainNameOfTexts(texts);
    });
}

TEST(EveryShortSubject, ContainerNameOfAnEmbeddedMessage) {
    Compared compared;
    ExactBlocks blocks;
    PieceList pieces = kSubjectPieces;
    pieces.insert(pieces.end(), {"Fw:", "\r", "\n", "bcdef"});
    forEveryText(pieces, longest(3, 5), [&](const std::string& text) {
        compared.input();
        compared.comparison();
        // A line ends at its first zero byte, and is zero-terminated.
        const std::string line = text.substr(0, text.find('\0'));
        char name[kEmbeddedNameSize];
        const uint8_t* const bytes = blocks.copy(line);
        makeEmbeddedName({bytes, bytes + line.size()}, 7, name);
        EXPECT_EQ(shown(name), shown(reference::embeddedName(line, 7))) << shown(line);
        return name == reference::embeddedName(line, 7);
    });
}

TEST(EveryShortSubject, FilterNameOfAnEmbeddedMessage) {
    Compared compared;
    ExactBlocks blocks;
    PieceList pieces = kSubjectPieces;
    pieces.insert(pieces.end(), {"Fw:", "\r", "\n", "bcdef", "Subject:", "subject:"});
    for (const char* const start : {"Subject:", ""}) {
        forEveryText(pieces, longest(3, 5), [&](const std::string& text) {
            compared.input();
            compared.comparison();
            const std::string rest = start + text;
            char name[kFileNameSize];
            const uint8_t* const bytes = blocks.copy(rest);
            makeSubjectName({bytes, bytes + rest.size()}, 7, name);
            EXPECT_EQ(shown(name), shown(reference::nameOfEmbedded(rest, 7))) << shown(rest);
            return name == reference::nameOfEmbedded(rest, 7);
        });
    }
}

}  // namespace
}  // namespace eml::test
