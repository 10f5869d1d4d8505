#include "mime/roles.h"

#include "bytes/subtext.h"
#include "mime/header_fields.h"
#include "mime/part_texts.h"

namespace eml {

namespace {

// One multipart whose parts are being looked at.
struct Level {
    uint32_t part;
    uint32_t child;      // the next one; EML_MIME_NONE at the end
    uint32_t firstText;  // TEXT_BODY and HTML_BODY parts before it
    uint32_t firstHtml;
    uint32_t root;  // of a multipart/related that tells, else EML_MIME_NONE
    bool isAlternative;
    bool isRelated;
    bool inAlternative;  // somewhere inside one
    bool takesText;      // parts are still text or HTML bodies
    bool takesHtml;
};

class RoleWalk {
  public:
    RoleWalk(EmlMimeContext& context) : context_(context) {}
    ~RoleWalk() { levels_.release(*context_.allocator); }
    RoleWalk(const RoleWalk&) = delete;
    RoleWalk& operator=(const RoleWalk&) = delete;

    // Assigns the roles of the message that `root` is the header of.
    [[nodiscard]] EmlResult walk(uint32_t root) {
        texts_ = htmls_ = 0;
        Level outer{};
        outer.takesText = true;
        outer.takesHtml = true;
        if ((partAt(context_, root).flags & EML_MIME_PART_MULTIPART) == 0) {
            assignLeaf(root, true, outer);
            return EML_OK;
        }
        EmlResult result = open(root, outer);
        while (result == EML_OK && levelCount() != 0) result = step();
        return result;
    }

  private:
    [[nodiscard]] uint32_t levelCount() const { return recordCount<Level>(levels_); }
    [[nodiscard]] Level& top() const { return recordsOf<Level>(levels_)[levelCount() - 1]; }

    [[nodiscard]] EmlResult open(uint32_t number, const Level& outer) {
        const std::string_view subtype = viewAt(context_, partAt(context_, number).subtype);
        Level level{};
        level.part = number;
        level.child = partAt(context_, number).childCount == 0 ? EML_MIME_NONE : number + 1;
        level.firstText = texts_;
        level.firstHtml = htmls_;
        level.isAlternative = subtype == "alternative";
        level.isRelated = subtype == "related";
        level.root = level.isRelated ? relatedRoot(number) : EML_MIME_NONE;
        level.inAlternative = outer.inAlternative || level.isAlternative;
        level.takesText = outer.takesText;
        level.takesHtml = outer.takesHtml;
        return levels_.append(*context_.allocator, reinterpret_cast<const uint8_t*>(&level), sizeof level);
    }

    [[nodiscard]] EmlResult step() {
        Level& level = top();
        if (level.child == EML_MIME_NONE) {
            close();
            return EML_OK;
        }
        const uint32_t number = level.child;
        const MimePart& part = partAt(context_, number);
        level.child = part.nextSibling;
        if ((part.flags & EML_MIME_PART_MULTIPART) != 0) return open(number, level);
        const bool isFirst = level.root == EML_MIME_NONE ? part.ordinal == 1 : number == level.root;
        assignLeaf(number, isFirst, level);
        return EML_OK;
    }

    // The root of a multipart/related: the part that it names, else the first one of the type that it names, else the
    // first part (RFC 2387). EML_MIME_NONE: the first part.
    [[nodiscard]] uint32_t relatedRoot(uint32_t number) const {
        const MimePart& related = partAt(context_, number);
        if (related.childCount == 0) return EML_MIME_NONE;
        const std::string_view id = viewAt(context_, related.rootId);
        uint32_t typed = EML_MIME_NONE;
        for (uint32_t i = number + 1; i != EML_MIME_NONE; i = partAt(context_, i).nextSibling) {
            const MimePart& part = partAt(context_, i);
            if (related.rootId != 0 && part.contentId != 0 && viewAt(context_, part.contentId) == id)
                return i;
            if (typed == EML_MIME_NONE && isOfType(part, viewAt(context_, related.rootType))) typed = i;
        }
        return typed;
    }

    [[nodiscard]] bool isOfType(const MimePart& part, std::string_view name) const {
        const std::string_view type = viewAt(context_, part.type);
        return name.size() > type.size() && equalNoCase(subtext(name, 0, type.size()), type) &&
               name[type.size()] == '/' &&
               equalNoCase(subtext(name, type.size() + 1), viewAt(context_, part.subtype));
    }

    // A multipart has been looked at. When one of its alternatives is missing, the other stands for both.
    void close() {
        const Level level = top();
        levels_.length -= uint32_t{sizeof(Level)};
        if (!level.isAlternative || !level.takesText || !level.takesHtml) return;
        const bool noText = texts_ == level.firstText;
        const bool noHtml = htmls_ == level.firstHtml;
        if (noText == noHtml) return;
        const uint8_t has = noText ? EML_MIME_ROLE_HTML_BODY : EML_MIME_ROLE_TEXT_BODY;
        constexpr uint8_t kBoth = EML_MIME_ROLE_TEXT_BODY | EML_MIME_ROLE_HTML_BODY;
        const MimePart& owner = partAt(context_, level.part);
        for (uint32_t i = level.part + 1; i < partCount(context_); ++i) {
            MimePart& part = partAt(context_, i);
            if (part.headerStart >= owner.bodyEnd) break;
            if (part.message == owner.message && (part.roles & kBoth) == has) addRole(part, noText);
        }
    }

    void addRole(MimePart& part, bool text) {
        part.roles |= text ? EML_MIME_ROLE_TEXT_BODY : EML_MIME_ROLE_HTML_BODY;
        ++(text ? texts_ : htmls_);
    }

    struct Kind {
        bool plain;
        bool html;
        bool media;  // image, audio, video: shown in place
    };

    [[nodiscard]] Kind kindOf(const MimePart& part) const {
        const std::string_view type = viewAt(context_, part.type);
        const std::string_view subtype = viewAt(context_, part.subtype);
        // A multipart without parts is text, as far as it is anything.
        if (type == "multipart") return {true, false, false};
        return {type == "text" && subtype == "plain", type == "text" && subtype == "html",
                type == "image" || type == "audio" || type == "video"};
    }

    void assignLeaf(uint32_t number, bool isFirst, Level& level) {
        MimePart& part = partAt(context_, number);
        const Kind kind = kindOf(part);
        const bool isAttachment = part.dispositionKind >= EML_MIME_DISPOSITION_ATTACHMENT;
        const bool stands = isFirst || (!level.isRelated && (kind.media || part.name == 0));
        if (isAttachment || !stands || !(kind.plain || kind.html || kind.media)) {
            part.roles |= EML_MIME_ROLE_ATTACHMENT;
            return;
        }
        if (level.isAlternative) {
            if (kind.plain && level.takesText) addRole(part, true);
            if (kind.html && level.takesHtml) addRole(part, false);
            if (part.roles == 0) part.roles |= EML_MIME_ROLE_ATTACHMENT;
            return;
        }
        if (level.inAlternative && kind.plain) level.takesHtml = false;
        if (level.inAlternative && kind.html) level.takesText = false;
        if (level.takesText) addRole(part, true);
        if (level.takesHtml) addRole(part, false);
        const bool both = level.takesText && level.takesHtml;
        if (part.roles == 0 || (!both && kind.media)) part.roles |= EML_MIME_ROLE_ATTACHMENT;
    }

    EmlMimeContext& context_;
    GrowingBuffer levels_{};
    uint32_t texts_ = 0;  // parts with EML_MIME_ROLE_TEXT_BODY so far
    uint32_t htmls_ = 0;
};

}  // namespace

EmlResult assignRoles(EmlMimeContext& context) {
    RoleWalk walk(context);
    for (uint32_t i = 0; i < partCount(context); ++i) {
        MimePart& part = partAt(context, i);
        if ((part.flags & EML_MIME_PART_INLINE_FILE) != 0) part.roles = EML_MIME_ROLE_ATTACHMENT;
        if ((part.flags & EML_MIME_PART_ROOT) == 0) continue;
        if (EmlResult result = walk.walk(i); result != EML_OK) return result;
    }
    return EML_OK;
}

}  // namespace eml
