// The values of parameters: pieces with the same name found, put in order, joined and decoded.
#include <algorithm>
#include <array>

#include "bytes/ascii.h"
#include "bytes/decode_tables.h"
#include "bytes/subtext.h"
#include "mime/parameters.h"
#include "mime/text_conversion.h"

namespace eml {

namespace {

constexpr size_t kNowhere = std::string_view::npos;

// One "name=value", remembered by its places in the field.
struct Piece {
    uint32_t name;
    uint32_t nameLength;
    uint32_t value;
    uint32_t valueLength;
    uint32_t ordinal;
    int32_t section;
    bool extended;
    bool quoted;
};

// The pieces of one field: a few in place, more in memory of the host.
class PieceList {
  public:
    explicit PieceList(EmlAllocator& allocator) : many_(allocator) {}

    void add(const Piece& piece) {
        if (count_ < few_.size()) {
            few_[count_] = piece;
        } else {
            if (count_ == few_.size()) append(few_.data(), few_.size());
            append(&piece, 1);
        }
        ++count_;
    }

    [[nodiscard]] bool failed() { return many_.text().failed(); }
    [[nodiscard]] Piece* begin() { return count_ <= few_.size() ? few_.data() : many_.records<Piece>(); }
    [[nodiscard]] Piece* end() { return begin() + count_; }
    [[nodiscard]] uint32_t count() const { return count_; }

  private:
    void append(const Piece* pieces, size_t count) {
        many_.text().append({reinterpret_cast<const char*>(pieces), count * sizeof(Piece)});
    }

    std::array<Piece, 8> few_{};
    uint32_t count_ = 0;
    ScratchText many_;
};

// In place and without recursion, n log n at worst.
template <class Less>
void sortPieces(Piece* begin, Piece* end, Less less) {
    if (std::is_sorted(begin, end, less)) return;
    std::make_heap(begin, end, less);
    std::sort_heap(begin, end, less);
}

bool inOrderOfSections(const Piece& left, const Piece& right) {
    if (left.section != right.section) return left.section < right.section;
    return left.ordinal < right.ordinal;
}

uint8_t lowerAt(std::string_view text, size_t index) { return toLower(static_cast<uint8_t>(text[index])); }

// Less than, equal to or greater than 0, whatever the case.
int compareNames(std::string_view left, std::string_view right) {
    const size_t common = std::min(left.size(), right.size());
    for (size_t i = 0; i < common; ++i) {
        const int difference = int{lowerAt(left, i)} - int{lowerAt(right, i)};
        if (difference != 0) return difference;
    }
    return left.size() == right.size() ? 0 : left.size() < right.size() ? -1 : 1;
}

bool isPathStart(std::string_view text) {
    const uint8_t first = text.empty() ? uint8_t{0} : lowerAt(text, 0);
    return first >= 'a' && first <= 'z' && subtext(text, 1).starts_with(":\\");
}

// Whether a quoted value is a path of a share ("\\server\share\file") whose backslashes nobody has escaped.
bool isRawShare(std::string_view text) {
    return text.size() > 2 && text.starts_with("\\\\") && text[2] != '\\' && text[2] != '"' &&
           text.find('\\', 2) != kNowhere;
}

// Where the next quoted string begins when the quote at `index` ends one and only blanks stand between; else kNowhere.
size_t nextString(std::string_view raw, size_t index) {
    if (raw[index] != '"') return kNowhere;
    const size_t next = raw.find_first_not_of(" \t\r\n", index + 1);
    return next != kNowhere && next > index + 1 && raw[next] == '"' ? next : kNowhere;
}

// The inside of a quoted string, as bytes. A backslash escapes the character after it, but programs write paths
// (C:\dir\file) without escaping: there it stays before whatever needs no escape. Folding goes: the line end, and a
// TAB after it becomes a blank. Quotes inside stay, but those between two quoted strings side by side go, and so do
// doubled ones around the whole.
void appendUnquoted(std::string_view raw, TextBuilder& out) {
    if (raw.size() >= 2 && raw.front() == '"' && raw.back() == '"' && raw[raw.size() - 2] != '\\') {
        raw = subtext(raw, 1, raw.size() - 2);
    }
    const bool share = isRawShare(raw);
    const bool path = share || isPathStart(raw);
    bool afterLineEnd = false;
    for (size_t i = 0; i < raw.size(); ++i) {
        auto byte = static_cast<uint8_t>(raw[i]);
        if (byte == '\\' && i + 1 < raw.size()) {
            const char next = raw[i + 1];
            const bool escapes = next == '"' || (share ? false : next == '\\' || !path);
            if (escapes) byte = static_cast<uint8_t>(raw[++i]);
        } else if (const size_t next = nextString(raw, i); next != kNowhere) {
            out.append(subtext(raw, i + 1, next - i - 1));
            i = next;
            continue;
        } else if (byte == '\t' && afterLineEnd) {
            byte = ' ';
        }
        afterLineEnd = isLineEnd(byte);
        if (!afterLineEnd) out.append(byte);
    }
}

bool needsUnquoting(std::string_view raw) { return raw.find_first_of("\\\"\r\n") != kNowhere; }

// A token that was folded, or has quotes in the middle, loses line ends only.
void appendUnfolded(std::string_view raw, TextBuilder& out) {
    bool afterLineEnd = false;
    for (const char character : raw) {
        const auto byte = static_cast<uint8_t>(character);
        if (!isLineEnd(byte)) out.append(byte == '\t' && afterLineEnd ? uint8_t{' '} : byte);
        afterLineEnd = isLineEnd(byte);
    }
}

void appendLiteral(std::string_view raw, bool quoted, TextBuilder& out) {
    if (!needsUnquoting(raw)) {
        out.append(raw);
    } else if (quoted) {
        appendUnquoted(raw, out);
    } else {
        appendUnfolded(raw, out);
    }
}

uint8_t hexAt(std::string_view text, size_t index) {
    return index < text.size() ? kHexTable[static_cast<uint8_t>(text[index])] : kInvalidDigit;
}

// Percent escapes undone; one that is none stays as it stands.
void appendPercentDecoded(std::string_view text, TextBuilder& out, uint32_t& problems) {
    for (size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<uint8_t>(text[i]);
        if (isLineEnd(byte)) continue;
        const uint8_t high = hexAt(text, i + 1);
        const uint8_t low = hexAt(text, i + 2);
        if (byte != '%') {
            out.append(byte);
        } else if (high != kInvalidDigit && low != kInvalidDigit) {
            out.append(static_cast<uint8_t>(high << 4 | low));
            i += 2;
        } else {
            problems |= kWrongPercentEscape;
            out.append(byte);
        }
    }
}

// charset'language'text.
struct ExtendedValue {
    std::string_view charset;
    std::string_view text;
    bool hasCharset;  // the two quotes are there, and what stands around them can be what it should be
};

bool isLabel(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char character) {
        return character > ' ' && character < 0x7F && character != '%' && character != '"';
    });
}

ExtendedValue splitExtended(std::string_view value) {
    constexpr size_t kMaxLanguage = 35;
    const ExtendedValue none{{}, value, false};
    const size_t first = subtext(value, 0, TextConversion::kMaxLabel + 1).find('\'');
    if (first == kNowhere) return none;
    const std::string_view charset = subtext(value, 0, first);
    if (!isLabel(charset)) return none;
    const std::string_view rest = subtext(value, first + 1);
    const size_t second = subtext(rest, 0, kMaxLanguage + 1).find('\'');
    if (second != kNowhere && isLabel(subtext(rest, 0, second)))
        return {charset, subtext(rest, second + 1), true};
    // One quote alone, after a name that can only be a charset's.
    if (knownCharset(charset) != KnownCharset::kOther) return {charset, rest, true};
    return none;
}

// Whether a value without "*" has the form of one with it: a charset of our own, and both quotes. (The charset must be
// known for certain: a name may hold quotes.)
bool lacksStar(std::string_view value) {
    const ExtendedValue split = splitExtended(value);
    return split.hasCharset && !split.charset.empty() &&
           knownCharset(split.charset) != KnownCharset::kOther &&
           subtext(value, split.charset.size()).starts_with("''");
}

std::string_view withoutOuterQuotes(std::string_view text) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') return text;
    return subtext(text, 1, text.size() - 2);
}

// One value on its way: the bytes of its pieces, and what the first extended one says of them.
class JoinedValue {
  public:
    JoinedValue(std::string_view field, const HeaderText& how, TextBuilder& out, uint32_t& problems)
        : field_(field), how_(how), out_(out), problems_(problems), bytes_(out.allocator()) {}

    // Appends the value of [begin, end): pieces in order.
    void append(const Piece* begin, const Piece* end);

  private:
    [[nodiscard]] std::string_view rawOf(const Piece& piece) const {
        return subtext(field_, piece.value, piece.valueLength);
    }
    void addExtended(std::string_view raw, bool isFirst);
    void appendPlain(std::string_view bytes);
    void appendExtended();

    std::string_view field_;
    const HeaderText& how_;
    TextBuilder& out_;
    uint32_t& problems_;
    std::string_view charset_;
    ScratchText bytes_;
};

void JoinedValue::append(const Piece* begin, const Piece* end) {
    bool extended = false;
    for (const Piece* piece = begin; piece != end; ++piece) {
        const std::string_view raw = rawOf(*piece);
        const bool isFirst = piece == begin;
        const bool starMissing = begin + 1 == end && !piece->extended && lacksStar(raw);
        if (starMissing) problems_ |= kParameterSyntax;
        if (piece->extended || starMissing) {
            extended = true;
            addExtended(raw, isFirst);
        } else if (begin + 1 == end && !needsUnquoting(raw)) {
            return appendPlain(raw);
        } else {
            appendLiteral(raw, piece->quoted, bytes_.text());
        }
    }
    if (extended) {
        appendExtended();
    } else {
        appendPlain(bytes_.view());
    }
    if (bytes_.text().failed()) out_.fail();
}

// Only the first section should name the charset. Some programs name it in every one.
void JoinedValue::addExtended(std::string_view raw, bool isFirst) {
    const ExtendedValue split = splitExtended(raw);
    const bool known = !split.charset.empty() && (isFirst || compareNames(split.charset, charset_) == 0 ||
                                                  knownCharset(split.charset) != KnownCharset::kOther);
    const bool takes = split.hasCharset && (isFirst || known);
    if (takes && charset_.empty()) charset_ = split.charset;
    if (isFirst ? !split.hasCharset : takes) problems_ |= kParameterSyntax;
    appendPercentDecoded(takes ? withoutOuterQuotes(split.text) : raw, bytes_.text(), problems_);
}

void JoinedValue::appendPlain(std::string_view bytes) {
    if (hasEncodedWord(bytes)) problems_ |= kEncodedWordInParameter;
    appendDecoded(bytes, how_, out_);
}

void JoinedValue::appendExtended() {
    const uint32_t start = out_.length();
    const TextConversion known(how_.convert, charset_);
    if (known.outcome().unknownCharset) {
        appendGuessed(bytes_.view(), how_.fallbackCharset, how_.convert, out_);
    } else {
        (void)appendConverted(bytes_.view(), charset_, how_.convert, out_);
    }
    if (!hasEncodedWord(out_.since(start))) return;
    problems_ |= kEncodedWordInParameter;
    ScratchText converted(out_.allocator());
    converted.text().append(out_.since(start));
    out_.truncate(start);
    appendDecoded(converted.view(), how_, out_);
    if (converted.text().failed()) out_.fail();
}

// Leaves out all but the first of pieces with the same section. Gives the new end.
Piece* dropRepeatedSections(Piece* begin, Piece* end, uint32_t& problems) {
    Piece* const kept = std::unique(
        begin, end, [](const Piece& left, const Piece& right) { return left.section == right.section; });
    if (kept != end) problems |= kDuplicateParameter;
    return kept;
}

bool isComplete(const Piece* begin, const Piece* end) {
    int32_t expected = 0;
    return std::all_of(begin, end, [&expected](const Piece& piece) { return piece.section == expected++; });
}

// The pieces of one name in three kinds, each in order.
struct PieceKinds {
    Piece* plain;     // "name"
    Piece* extended;  // "name*"
    Piece* sections;  // "name*0", "name*1*", ...
    Piece* end;
};

PieceKinds sortIntoKinds(Piece* begin, Piece* end) {
    const auto kindOf = [](const Piece& piece) { return piece.section >= 0 ? 2 : piece.extended ? 1 : 0; };
    sortPieces(begin, end, [kindOf](const Piece& left, const Piece& right) {
        const int leftKind = kindOf(left);
        const int rightKind = kindOf(right);
        return leftKind != rightKind ? leftKind < rightKind : inOrderOfSections(left, right);
    });
    const auto firstOf = [begin, end, kindOf](int kind) {
        return std::find_if(begin, end, [=](const Piece& piece) { return kindOf(piece) >= kind; });
    };
    return {begin, firstOf(1), firstOf(2), end};
}

// Appends the first value of these pieces that is not empty. Gives the plain piece that was used, or NULL.
const Piece* appendBest(std::string_view field, const PieceKinds& kinds, const HeaderText& how,
                        TextBuilder& out, uint32_t& problems) {
    const uint32_t start = out.length();
    if (kinds.extended - kinds.plain > 1 || kinds.sections - kinds.extended > 1)
        problems |= kDuplicateParameter;
    for (const Piece* piece = kinds.extended; piece != kinds.sections; ++piece) {
        JoinedValue(field, how, out, problems).append(piece, piece + 1);
        if (out.length() != start) return nullptr;
    }
    if (kinds.sections != kinds.end) {
        Piece* const end = dropRepeatedSections(kinds.sections, kinds.end, problems);
        if (!isComplete(kinds.sections, end)) problems |= kParameterSyntax;
        JoinedValue(field, how, out, problems).append(kinds.sections, end);
        if (out.length() != start) return nullptr;
    }
    for (const Piece* piece = kinds.plain; piece != kinds.extended; ++piece) {
        JoinedValue(field, how, out, problems).append(piece, piece + 1);
        if (out.length() != start) return piece;
    }
    return kinds.plain != kinds.extended ? kinds.plain : nullptr;
}

Piece pieceOf(std::string_view field, const RawParameter& raw, uint32_t ordinal) {
    const auto placeOf = [field](std::string_view text) {
        return text.empty() ? 0 : static_cast<uint32_t>(text.data() - field.data());
    };
    return {placeOf(raw.name),
            static_cast<uint32_t>(raw.name.size()),
            placeOf(raw.value),
            static_cast<uint32_t>(raw.value.size()),
            ordinal,
            raw.section,
            raw.extended,
            raw.quoted};
}

void appendLowerName(std::string_view name, TextBuilder& out) {
    for (size_t i = 0; i < name.size(); ++i) out.append(lowerAt(name, i));
}

// A whole list on its way out.
class ParameterWriter {
  public:
    ParameterWriter(std::string_view field, const HeaderText& how, TextBuilder& texts, TextBuilder& list,
                    uint32_t& problems)
        : field_(field), how_(how), texts_(texts), list_(list), problems_(problems) {}

    // The values of the pieces [begin, end), which have one name, each kept in the ordinal of its first piece.
    void writeGroup(Piece* begin, Piece* end, PieceList& values);

    // One parameter whose texts have been written.
    void list(const Piece& value) {
        const ParameterPlaces places{{value.name, value.nameLength}, {value.value, value.valueLength}};
        list_.append({reinterpret_cast<const char*>(&places), sizeof places});
    }

  private:
    [[nodiscard]] std::string_view nameOf(const Piece& piece) const {
        return subtext(field_, piece.name, piece.nameLength);
    }
    Piece beginText(std::string_view name, uint32_t ordinal);
    void endText(Piece& text);

    std::string_view field_;
    const HeaderText& how_;
    TextBuilder& texts_;
    TextBuilder& list_;
    uint32_t& problems_;
};

Piece ParameterWriter::beginText(std::string_view name, uint32_t ordinal) {
    Piece text{};
    text.ordinal = ordinal;
    text.name = texts_.length();
    text.nameLength = static_cast<uint32_t>(name.size());
    appendLowerName(name, texts_);
    texts_.append(uint8_t{0});
    text.value = texts_.length();
    return text;
}

void ParameterWriter::endText(Piece& text) {
    text.valueLength = texts_.length() - text.value;
    texts_.append(uint8_t{0});
}

void ParameterWriter::writeGroup(Piece* begin, Piece* end, PieceList& values) {
    const uint32_t firstOrdinal = begin->ordinal;
    const std::string_view name = nameOf(*begin);
    const PieceKinds kinds = sortIntoKinds(begin, end);
    Piece best = beginText(name, firstOrdinal);
    const Piece* const used = appendBest(field_, kinds, how_, texts_, problems_);
    endText(best);
    values.add(best);
    for (const Piece* piece = kinds.plain; piece != kinds.extended; ++piece) {
        if (piece == used) continue;
        // What stood first in the field stays after the best one.
        Piece other = beginText(name, std::max(piece->ordinal, firstOrdinal));
        JoinedValue(field_, how_, texts_, problems_).append(piece, piece + 1);
        endText(other);
        values.add(other);
    }
}

}  // namespace

bool appendParameter(std::string_view parameters, std::string_view name, const HeaderText& how,
                     TextBuilder& out, uint32_t& problems) {
    PieceList pieces(out.allocator());
    ParameterWalk walk(parameters);
    RawParameter raw;
    while (walk.next(raw)) {
        if (compareNames(raw.name, name) == 0) pieces.add(pieceOf(parameters, raw, pieces.count()));
    }
    problems |= walk.problems();
    if (pieces.failed()) out.fail();
    if (out.failed() || pieces.count() == 0) return false;
    (void)appendBest(parameters, sortIntoKinds(pieces.begin(), pieces.end()), how, out, problems);
    return true;
}

void readParameters(std::string_view parameters, const HeaderText& how, TextBuilder& texts, TextBuilder& list,
                    uint32_t& problems) {
    PieceList pieces(texts.allocator());
    PieceList values(texts.allocator());
    ParameterWalk walk(parameters);
    RawParameter raw;
    while (walk.next(raw)) pieces.add(pieceOf(parameters, raw, pieces.count()));
    problems |= walk.problems();
    if (pieces.failed()) return texts.fail();
    const auto nameOf = [parameters](const Piece& piece) {
        return subtext(parameters, piece.name, piece.nameLength);
    };
    sortPieces(pieces.begin(), pieces.end(), [nameOf](const Piece& left, const Piece& right) {
        const int order = compareNames(nameOf(left), nameOf(right));
        return order != 0 ? order < 0 : left.ordinal < right.ordinal;
    });
    ParameterWriter writer(parameters, how, texts, list, problems);
    for (Piece* group = pieces.begin(); group != pieces.end();) {
        Piece* const end = std::find_if(group, pieces.end(), [nameOf, group](const Piece& piece) {
            return compareNames(nameOf(piece), nameOf(*group)) != 0;
        });
        writer.writeGroup(group, end, values);
        group = end;
    }
    if (values.failed()) return texts.fail();
    sortPieces(values.begin(), values.end(), [](const Piece& left, const Piece& right) {
        if (left.ordinal != right.ordinal) return left.ordinal < right.ordinal;
        return left.value < right.value;
    });
    std::for_each(values.begin(), values.end(), [&writer](const Piece& value) { writer.list(value); });
}

}  // namespace eml
