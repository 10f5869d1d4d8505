#include "reference/filter_scan.h"

#include <algorithm>

#include "reference/charset.h"

namespace reference {
namespace {

constexpr size_t kNone = std::string::npos;

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), lower);
    return result;
}

bool beginsWith(std::string_view text, std::string_view prefix) {
    return lowered(text.substr(0, prefix.size())) == prefix;
}

// A zero byte within the name ends it, and only a whole entry equals it then.
uint32_t idOfName(const std::string& name) {
    const size_t zero = name.find('\0');
    if (name.empty() || zero == 0) return 0;
    if (zero == kNone) return charsetId(name, false);
    for (const CharsetRow& row : charsetRows())
        if (!row.containerOnly && lowered(row.name) == lowered(name.substr(0, zero))) return row.id;
    return 0;
}

}  // namespace

void FilterScan::learnLineEnd() {
    for (size_t i = 0; i < size();) {
        const bool lfFollows = at(i + 1) == '\n';
        if (!lineEndAt(i)) {
            i += 1;
        } else if (lineEnd.empty()) {
            lineEnd = buffer_[i];
            if (lfFollows) lineEnd += '\n';
            i += lineEnd.size();
        } else if (lineEnd.size() == 1 && buffer_[i] == '\r' && lfFollows) {
            lineEnd = "\r\n";
            i += 2;
        } else {
            i += 1;
        }
    }
}

size_t FilterScan::boundaryCarry() const {
    if (boundary.empty()) return 0;
    const size_t zero = buffer_.find('\0');
    if (zero == kNone) {
        size_t carry = 0;
        for (size_t hit = buffer_.find(boundary); hit != kNone;
             hit = buffer_.find(boundary, hit + boundary.size())) {
            carry = size() - hit;
        }
        return carry;
    }
    const std::string start = buffer_.substr(0, zero);
    if (start.size() >= boundary.size() && start[0] == boundary[0] &&
        lowered(start.substr(0, boundary.size())) == lowered(boundary)) {
        return size() - (zero + 1);
    }
    for (size_t piece = 0; piece < size();) {
        const size_t end = std::min(buffer_.find('\0', piece), size());
        const size_t hit = buffer_.substr(piece, end - piece).find(boundary);
        if (hit != kNone) return size() - (piece + hit);
        piece = end + 1;
    }
    return 0;
}

size_t FilterScan::lineCarry() const {
    const size_t width = lineEnd.size();
    if (width == 0 || size() <= width) return 0;
    const size_t from = size() - width;
    int hits = 0;
    for (size_t i = from; i >= 1;) {
        if (buffer_[i] != lineEnd[0]) {
            hits = 0;
            i -= 1;
            continue;
        }
        if (++hits == 2) return size() - (i + 2 * width);
        if (i <= width) break;
        i -= width;
    }
    for (size_t i = from; i >= 1; --i) {
        if (buffer_[i] == lineEnd[0]) return size() - (i + width);
    }
    return 0;
}

size_t FilterScan::readBuffer() {
    const std::string read = message_.substr(std::min(position_, message_.size()), 4096 - carry_.size());
    position_ += read.size();
    buffer_ = carry_ + read;
    carry_.clear();
    if (read.empty()) return size();
    if (lineEnd.empty()) learnLineEnd();
    size_t carry = boundaryCarry();
    if (carry == 0 || carry == 4096) carry = lineCarry();
    carry_ = buffer_.substr(size() - carry);
    buffer_.resize(size() - carry);
    return size();
}

bool FilterScan::keywordAt(size_t place, std::string_view keyword) const {
    return place + keyword.size() < size() &&
           lowered(buffer_.substr(place, keyword.size())) == lowered(keyword);
}

size_t FilterScan::skipBlanks(size_t place) const {
    while (blankAt(place)) ++place;
    return place;
}

size_t FilterScan::skipOneLineEnd(size_t place) const {
    if (at(place) == '\r') return at(place + 1) == '\n' ? place + 2 : place + 1;
    return at(place) == '\n' ? place + 1 : place;
}

size_t FilterScan::nextLine(size_t place) const {
    while (place < size() && !lineEndAt(place)) ++place;
    return skipOneLineEnd(place);
}

// Semicolons and blanks, one line end, blanks.
size_t FilterScan::firstParameter(size_t place) const {
    while (at(place) == ';' || blankAt(place)) ++place;
    return skipBlanks(skipOneLineEnd(place));
}

size_t FilterScan::boundaryAt(size_t place) const {
    if (boundary.empty() || place > size()) return kNone;
    const size_t zero = std::min(buffer_.find('\0', place), size());
    const size_t hit = buffer_.find(boundary, place);
    return hit != kNone && hit + boundary.size() <= zero ? hit : kNone;
}

std::string FilterScan::tokenAt(size_t place) const {
    size_t end = place;
    while (end < size() && at(end) != ';' && !blankAt(end) && !lineEndAt(end)) ++end;
    return buffer_.substr(std::min(place, size()), end - place);
}

void FilterScan::decodeHeader(size_t& place, bool scanMode) {
    Block block;
    block.scanMode = scanMode;
    encoding = 0;
    for (;;) {
        readLine(block, place);
        place = nextLine(place);
        if (block.typeSeen && block.encodingSeen && block.dispositionSeen && headerLength != 0) {
            while (place < size() && buffer_[place] != lineEnd[0]) place = nextLine(place);
        }
        if (place >= size()) break;
        if (!lineEndAt(place)) continue;
        if (headerLength == 0) headerLength = offset_ + static_cast<int64_t>(place);
        place = skipOneLineEnd(place);
        break;
    }
    if (!scanMode || !block.attachment || block.suppressed) return;
    attachments.push_back({offset_ + static_cast<int64_t>(place), encoding, type, block.name,
                           static_cast<uint32_t>(parts.size())});
}

void FilterScan::readLine(Block& block, size_t place) {
    if (keywordAt(place, "Mime-Version:")) {
        mimeIndicator = 1;
    } else if (!block.typeSeen && keywordAt(place, "Content-Type:")) {
        mimeIndicator += 2;
        block.typeSeen = true;
        classify(block, skipBlanks(place + 13));
    } else if (!block.encodingSeen && keywordAt(place, "Content-Transfer-Encoding:")) {
        block.encodingSeen = true;
        readEncoding(skipBlanks(place + 26));
    } else if (!block.dispositionSeen && keywordAt(place, "Content-Disposition:")) {
        block.dispositionSeen = true;
        readDisposition(block, skipBlanks(place + 20));
    }
}

void FilterScan::readEncoding(size_t place) {
    encoding = 0;
    if (keywordAt(place, "7bit")) encoding = 1;
    if (keywordAt(place, "8bit")) encoding = 2;
    if (keywordAt(place, "quoted-printable")) encoding = 5;
    if (keywordAt(place, "base64")) encoding = 4;
}

void FilterScan::readDisposition(Block& block, size_t place) {
    if (keywordAt(place, "attachment")) {
        place += 10;
    } else if (keywordAt(place, "inline")) {
        place += 6;
    } else {
        return;
    }
    place = firstParameter(place);
    if (!keywordAt(place, "filename=")) return;
    place += 9;
    const bool quoted = at(place) == '"';
    while (at(place) == '"') ++place;
    block.name = copyName(place, quoted);
    block.attachment = true;
}

std::string FilterScan::copyName(size_t place, bool quoted) const {
    std::string name;
    while (place < size() && name.size() < 1023 && !lineEndAt(place) && at(place) != (quoted ? '"' : ';')) {
        name += at(place++);
    }
    return name.c_str();  // a zero byte ends a name
}

void FilterScan::classify(Block& block, size_t place) {
    for (const std::string_view literal : {"multipart/mixed", "multipart/alternative", "multipart/related",
                                           "multipart/report", "multipart/signed", "multipart/appledouble"}) {
        if (literal == "multipart/related" && block.scanMode) continue;
        if (!keywordAt(place, literal)) continue;
        type = literal;
        if (literal == "multipart/signed") isSigned = true;
        readBoundary(block, place + literal.size());
        return;
    }
    if (keywordAt(place, "message/delivery-status")) {
        block.name = "zt" + std::to_string(attachments.size()) + ".tmp";
        block.attachment = true;
    } else if (keywordAt(place, "message/rfc822")) {
        type = "message/rfc822";
        readName(block, place + 14);
        if (block.name.empty()) nameBySubject(block, place + 14);
        block.attachment = true;
    } else {
        classifyOther(block, place);
    }
}

void FilterScan::classifyOther(Block& block, size_t place) {
    const std::string token = tokenAt(place);
    type = std::string(token.substr(0, 63).c_str());
    const size_t after = place + token.size();
    if (lowered(type) == "application/pkcs7-mime" && headerLength == 0) {
        encrypted = true;
    } else if (lowered(type) == "application/pkcs7-signature" ||
               lowered(type) == "application/x-pkcs7-signature") {
        block.suppressed = true;
    } else if (beginsWith(type, "application") || beginsWith(type, "audio") || beginsWith(type, "image") ||
               beginsWith(type, "video")) {
        readName(block, after);
        if (!block.name.empty() || beginsWith(type, "application/applefile")) block.attachment = true;
    } else {
        readCharset(place);
    }
}

void FilterScan::readName(Block& block, size_t place) const {
    place = firstParameter(place);
    if (!block.name.empty() || !keywordAt(place, "name=")) return;
    place += 5;
    const bool quoted = at(place) == '"';
    block.name = copyName(quoted ? place + 1 : place, quoted);
}

void FilterScan::nameBySubject(Block& block, size_t place) const {
    size_t hit = buffer_.find("Subject:", std::min(place, size()));
    if (hit == kNone || hit + 8 >= size()) {
        block.name = "zt" + std::to_string(attachments.size()) + ".eml";
        return;
    }
    hit = skipBlanks(hit + 8);
    const std::string prefix = buffer_.substr(std::min(hit, size()), 3);
    if (prefix == "Fw:" || prefix == "Re:") hit = skipBlanks(hit + 3);
    std::string line;
    while (hit < size() && !lineEndAt(hit) && line.size() < 1023) line += at(hit++);
    std::string kept;
    for (const char letter : line) {
        if (std::string_view("?:\\/*<>|\"").find(letter) != kNone) continue;
        if (static_cast<signed char>(letter) < 32) continue;
        kept += letter;
    }
    kept.erase(0, std::min(kept.find_first_not_of(' '), kept.size()));
    block.name = kept.substr(0, 8) + ".eml";
}

void FilterScan::readBoundary(const Block& block, size_t place) {
    if (at(place) == ';') ++place;
    std::string value;
    for (;;) {
        place = skipBlanks(place);
        if (size() - place < 10) break;
        if (keywordAt(place, "boundary=")) {
            place += 9;
            const bool quoted = at(place) == '"';
            if (quoted) ++place;
            size_t end = place;
            const std::string_view stops = quoted ? "\"" : " ;\r\n";
            while (end < size() && stops.find(at(end)) == kNone && at(end) != '\0') ++end;
            value = buffer_.substr(place, end - place);
            break;
        }
        if (lineEndAt(place)) {
            place = skipOneLineEnd(place);
            if (!blankAt(place)) return;
            continue;
        }
        while (place < size() && !blankAt(place) && !lineEndAt(place)) ++place;
    }
    if (boundaryStored) {
        const bool replaces = block.scanMode
                                  ? (isSigned && type == "multipart/mixed") || type == "multipart/appledouble"
                                  : type == "multipart/related" || type == "multipart/alternative";
        if (!replaces) return;
    }
    boundaryStored = true;
    boundary = "--" + value;
}

void FilterScan::readCharset(size_t place) {
    while (at(place) == ';' || blankAt(place)) ++place;
    const auto findOnLine = [&] {
        for (; place < size() && !lineEndAt(place); ++place) {
            if (at(place) == 'c' && at(place + 1) == 'h') return true;
        }
        return false;
    };
    bool found = findOnLine();
    if (!found) {
        while (place < size() && lineEndAt(place)) ++place;
        found = findOnLine();
    }
    if (!found || charsetTaken || !keywordAt(place, "charset=")) return;
    charsetTaken = true;
    place += 8;
    while (at(place) == '"') ++place;
    charsetName.clear();
    while (place < size() && charsetName.size() < 63 && at(place) != '"' && at(place) != ';' &&
           !blankAt(place) && !lineEndAt(place)) {
        charsetName += at(place++);
    }
    charset = idOfName(charsetName);
    charsetName = charsetName.c_str();
}

// True when nothing of the buffer is left and the boundary ends the last part.
bool FilterScan::skipBehindBoundary(size_t& place) const {
    const auto dashes = [&] { return at(place) == '-' && at(place + 1) == '-'; };
    // Two bytes in any case: where a line end is one byte, that and a zero byte.
    const auto pair = [&] {
        return place < size() && at(place) == lineEnd[0] &&
               at(place + 1) == (lineEnd.size() == 2 ? lineEnd[1] : '\0');
    };
    const bool closing = dashes();
    while ((closing && dashes()) || (!lineEnd.empty() && pair())) place += 2;
    return closing ? place >= size() : place > size();
}

void FilterScan::recordPart(int64_t start) {
    size_t i = parts.size();
    slots_.resize(std::max(slots_.size(), i + 1));
    slots_[i] = {start, -1, encoding, type};
    if (i == 0) {
        firstPart = 0;
    } else if (attachments.empty()) {
        i -= 1;
    }
    slots_[i].end = -1;
    if (i >= 1) slots_[i - 1].end = slots_[i].start - static_cast<int64_t>(lineEnd.size());
    parts.assign(slots_.begin(), slots_.begin() + static_cast<std::ptrdiff_t>(i) + 1);
}

void FilterScan::scanBuffer() {
    size_t place = 0;
    if (headerLength == 0) decodeHeader(place, true);
    while (place < size() && at(place) != '\0') {
        const size_t hit = boundaryAt(place);
        if (hit == kNone) return;
        const int64_t start = offset_ + static_cast<int64_t>(hit);
        place = hit + boundary.size();
        if (skipBehindBoundary(place)) {
            if (!parts.empty()) {
                slots_[parts.size() - 1].end = start - static_cast<int64_t>(lineEnd.size());
                parts.back().end = slots_[parts.size() - 1].end;
            }
            return;
        }
        decodeHeader(place, true);
        if (!type.empty() && !beginsWith(type, "multipart/mixed")) recordPart(start);
    }
}

uint32_t FilterScan::finishScan() {
    messageSize = offset_;
    if (messageSize == 0) return 7;
    if (!parts.empty() && parts.back().end == -1) parts.back().end = messageSize;
    if (!parts.empty() || attachments.empty()) return 0;
    if (attachments.size() > 1) return 7;
    const int64_t body = static_cast<int64_t>(lineEnd.size()) + headerLength;
    parts = {{body, body, 0, ""}, {body, messageSize, encoding, type}};
    firstPart = 0;
    attachments[0].partIndex = 1;
    return 0;
}

uint32_t FilterScan::scan() {
    while (readBuffer() > 0) {
        scanBuffer();
        offset_ += static_cast<int64_t>(size());
    }
    return finishScan();
}

void FilterScan::searchBodyBuffer(bool& startKnown, bool& endKnown) {
    const int64_t base = parts[firstPart].start + offset_;
    size_t place = 0;
    for (size_t hit = boundaryAt(0); hit != kNone; hit = boundaryAt(place)) {
        if (startKnown) {
            bodyEnd = base + static_cast<int64_t>(hit) - static_cast<int64_t>(lineEnd.size());
            endKnown = true;
            return;
        }
        place = hit + boundary.size();
        if (at(place) == '-' && at(place + 1) == '-') {
            place += 2;
        } else {
            place = skipOneLineEnd(place);
        }
        if (place < size() && lineEndAt(place)) {
            place = skipOneLineEnd(place);
            startKnown = true;
        } else {
            decodeHeader(place, false);
            startKnown = !type.empty() && !beginsWith(type, "multipart");
        }
        if (startKnown) bodyStart = base + static_cast<int64_t>(place);
    }
}

void FilterScan::findBody() {
    encoding = 0;
    carry_.clear();
    offset_ = 0;
    bodyStart = parts[firstPart].start;
    bodyEnd = parts[firstPart].end;
    const int64_t length = bodyEnd - bodyStart;
    position_ = static_cast<size_t>(bodyStart);
    const std::string saved = type;
    type.clear();
    bool startKnown = false;
    bool endKnown = false;
    for (bool first = true; !endKnown && offset_ < length && readBuffer() > 0; first = false) {
        size_t place = 0;
        if (first) decodeHeader(place, false);
        searchBodyBuffer(startKnown, endKnown);
        offset_ += static_cast<int64_t>(size());
    }
    if (bodyStart > bodyEnd) bodyEnd = bodyStart;
    if (!startKnown) encoding = 0;
    type = saved;
}

}  // namespace reference
