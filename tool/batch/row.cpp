#include "tool/batch/row.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <emlreader/mime.hpp>
#include <new>
#include <span>

#include "tool/archive/archive_kind.h"
#include "tool/archive/emlx.h"
#include "tool/archive/mail_lines.h"
#include "tool/message/field_list.h"
#include "tool/message/json_text.h"
#include "tool/message/message_markdown.h"
#include "tool/message/part_tree_json.h"
#include "tool/message/text.h"
#include "tool/message/tree.h"
#include "tool/text/ascii.h"
#include "tool/text/format.h"
#include "tool/text/safe_name.h"
#include "tool/text/sha256.h"

namespace emltool {

namespace {

// An output that keeps only the digest.
class DigestOutput final : public emlhost::Output {
  public:
    DigestOutput() : Output(Seeking::kNotAtAll) {}

    std::string digest() { return hexText(hash_.finish()); }

  private:
    int put(uint64_t, std::span<const uint8_t> bytes) noexcept override {
        hash_.update(bytes);
        return 0;
    }
    int restart() noexcept override {
        hash_.restart();
        return 0;
    }

    Sha256 hash_;
};

// Determines the sizes, and the digests if they are wanted.
class RowVisitor final : public AttachmentVisitor {
  public:
    explicit RowVisitor(const RowOptions& options) : options_(options) {}

    void visit(SubFileContent& content, SubFileEntry& entry) override {
        if (options_.digest) {
            DigestOutput output;
            emlhost::Extraction extraction = content.extract(output);
            if (extraction.status == EML_OK && (extraction.flags & EML_EXTRACT_NOT_IN_FILE) == 0) {
                entry.size = output.size();
                entry.sha256 = output.digest();
            }
        } else {
            entry.size = decodedSize(content);
        }
        entry.safeName = names_.take(safeName(entry.name, dotted(entry.path)));
    }
    bool opens(const SubFileEntry&) const override { return options_.recursive; }

  private:
    const RowOptions& options_;
    NameSet names_;
};

// Calls take(piece) for the bytes of `input` until it returns false.
template <typename Take>
void readPieces(emlhost::Input& input, Take take) {
    EmlIOobj* object = input.object();
    if (object->open(object) == 0) return;
    uint8_t piece[size_t{16} << 10];
    for (;;) {
        int32_t got = object->read(object, piece, sizeof piece);
        if (got < 1 || !take(std::span<const uint8_t>(piece, static_cast<size_t>(got)))) break;
    }
    object->close(object);
}

std::string digestOf(emlhost::Input& input) {
    Sha256 hash;
    readPieces(input, [&](std::span<const uint8_t> piece) {
        hash.update(piece);
        return true;
    });
    return hexText(hash.finish());
}

// The file at that place.
size_t readPlace(emlhost::Input& input, uint64_t position, std::span<char> room) {
    EmlIOobj* const object = input.object();
    if (object->open(object) == 0) return 0;
    size_t count = 0;
    const auto low = static_cast<uint32_t>(position);
    const auto high = static_cast<int32_t>(position >> 32);
    if (object->seek(object, low, high, EML_SEEK_START) != 0) {
        while (count < room.size()) {
            const int32_t got =
                object->read(object, room.data() + count, static_cast<uint32_t>(room.size() - count));
            if (got < 1) break;
            count += static_cast<size_t>(got);
        }
    }
    object->close(object);
    return count;
}

bool isRegularFile(const std::string& path) {
    struct stat found {};
    return ::stat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode);
}

// What a whole file holds besides a message, or where the message is in it. What comes from a pipe cannot be read twice,
// and counts as one message.
std::optional<RowKind> kindOf(BatchItem& item, emlhost::Input& input) {
    static_assert(kEmlxBeginning <= kArchiveBeginning);
    std::array<char, kArchiveBeginning> room{};
    const std::string_view beginning(room.data(), readPlace(input, 0, room));
    if (beginsMbox(beginning)) return isRegularFile(item.path) ? std::optional(RowKind::kMbox) : std::nullopt;
    if (beginsArchive(beginning) && isRegularFile(item.path)) return RowKind::kArchive;
    const auto bytesAt = [&](uint64_t position, std::span<char> bytes) {
        return readPlace(input, position, bytes);
    };
    if (const auto emlx = findEmlx(beginning, input.size(), item.path, bytesAt)) {
        item.hasPlace = true;
        item.offset = emlx->offset;
        item.length = emlx->length;
        item.stored = StoredRange{emlx->offset, emlx->length, false};
    }
    return std::nullopt;
}

void addText(MessageFile& file, const AnswerForm& form, MessageTree& tree) {
    std::optional<BodyText> body = bodyText(file, form.reading);
    if (!body) return;
    if (form.reading == Reading::kMime && form.schema != 1) tree.textSpans = spansOf(*body);
    tree.text = std::move(body->text);
    tree.hiddenText = std::move(body->hidden);
    std::move(body->warnings.begin(), body->warnings.end(), std::back_inserter(tree.warnings));
}

void addMarkdown(MessageFile& file, MessageTree& tree) {
    std::optional<MarkdownText> made = messageMarkdown(file, {});
    if (!made) return;
    tree.markdown = std::move(made->text);
    tree.hiddenText = std::move(made->hidden);
    if (tree.text) return;  // which has the same warnings
    std::move(made->warnings.begin(), made->warnings.end(), std::back_inserter(tree.warnings));
}

void addParts(MessageFile& file, bool digests, MessageTree& tree) {
    withMime(file, [&](const emlreader::mime::Message& message) {
        tree.parts = partsJson(readParts(message, digests));
    });
    file.checkReads();
}

void addHeaders(MessageFile& file, const std::vector<std::string>& names, MessageTree& tree) {
    withMime(file, [&](const emlreader::mime::Message& message) { tree.headers = fieldList(message); });
    file.checkReads();
    if (names.empty()) return;
    std::erase_if(*tree.headers, [&](const ListedField& field) {
        return std::ranges::find(names, lowerCase(field.name)) == names.end();
    });
}

// What only rows have.
void addWanted(MessageFile& file, const RowOptions& options, MessageTree& tree) {
    if (options.digest) tree.sha256 = digestOf(file.input());
    if (options.headers) addHeaders(file, *options.headers, tree);
    if (options.parts) addParts(file, options.digest, tree);
    if (options.text) addText(file, options.form, tree);
    if (options.markdown) addMarkdown(file, tree);
    if (options.html) tree.html = bodyHtml(file);
}

BatchRow readMessage(std::unique_ptr<emlhost::Input> input, const BatchItem& item,
                     const RowOptions& options) {
    std::optional<MessageTree> tree;
    std::optional<Problem> problem;
    try {
        MessageFile file(std::move(input), item.path, options.force);
        RowVisitor visitor(options);
        tree = readTree(file, visitor, options.form.reading);
        addWanted(file, options, *tree);
        file.checkReads();
    } catch (const Problem& caught) {
        problem = caught;
    }
    BatchRow row;
    row.kind = problem ? RowKind::kError : RowKind::kGood;
    row.outOfMemory = problem && problem->code == "out-of-memory";
    row.line =
        jsonLine(options.form, answerSource(item), tree ? &*tree : nullptr, problem ? &*problem : nullptr);
    return row;
}

BatchRow errorRow(const AnswerForm& form, const BatchItem& item, const Problem& problem) {
    return {RowKind::kError, problemRow(form, item, problem), problem.code == "out-of-memory"};
}

}  // namespace

std::string problemRow(const AnswerForm& form, const BatchItem& item, const Problem& problem) {
    return jsonLine(form, answerSource(item), nullptr, &problem);
}

BatchRow readItem(BatchItem item, const RowOptions& options) {
    try {
        std::unique_ptr<emlhost::Input> input = item.stored ? openSource(item) : openMessageInput(item.path);
        if (!item.stored) {
            if (const auto kind = kindOf(item, *input)) return {*kind, "", false};
            if (item.stored) input = openSource(item);
        }
        return readMessage(std::move(input), item, options);
    } catch (const Problem& problem) {
        if (!item.stored && problem.code == "is-a-directory") return {RowKind::kFolder, "", false};
        return errorRow(options.form, item, problem);
    } catch (const std::bad_alloc&) {
        return errorRow(options.form, item, outOfMemory(item.path));
    } catch (const std::exception& error) {
        return errorRow(
            options.form, item,
            {ExitCode::kInternal, "internal", item.path, formatted("internal error: {}", error.what())});
    }
}

}  // namespace emltool
