#include "tool/message/header_facts.h"

#include <algorithm>
#include <emlreader/mime.hpp>
#include <utility>

#include "tool/message/field_list.h"
#include "tool/text/ascii.h"

namespace emltool {

namespace {

using emlreader::mime::Field;
using emlreader::mime::Message;

void addAddresses(const Field& field, const std::string& name, std::vector<MailAddress>& addresses) {
    for (emlreader::mime::Address& each : field.addresses()) {
        addresses.push_back({name, std::move(each.name), std::move(each.address), std::move(each.group)});
    }
}

// "The list <talk.example.org>"; some lists write the id alone.
std::string listIdOf(const std::string& text) {
    const size_t end = text.rfind('>');
    const size_t begin = end == std::string::npos ? end : text.rfind('<', end);
    return begin == std::string::npos ? text : text.substr(begin + 1, end - begin - 1);
}

// Dates are read in fields alone, so these become some, all in one header.
void readDates(std::vector<TraceField>& received) {
    std::string header;
    for (TraceField& step : received) {
        std::string date = std::exchange(step.date, std::string());
        std::ranges::replace_if(
            date, [](char c) { return c >= 0 && c < ' '; }, ' ');
        header += "Date:" + date + '\n';
    }
    const Message message = Message::fromBytes(header + '\n');
    auto step = received.begin();
    for (const Field& field : message.root().fields()) {
        if (step == received.end()) break;
        const auto date = field.date();
        if (date) step->date = dateText(*date);
        ++step;
    }
}

}  // namespace

void addHeaderFact(const Field& field, HeaderFacts& facts) {
    addThreadField(field, facts.thread);
    const std::string name = lowerCase(field.name());
    if (isAddressField(name)) {
        addAddresses(field, name, facts.addresses);
    } else if (name == "received") {
        facts.received.push_back(parseTraceField(field.text()));
    } else if (name == "list-id" && facts.listId.empty()) {
        facts.listId = listIdOf(field.text());
    }
}

void finishHeaderFacts(HeaderFacts& facts) {
    dropRepeatedIds(facts.thread.references);
    if (!facts.received.empty()) readDates(facts.received);
}

}  // namespace emltool
