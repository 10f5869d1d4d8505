// Which parts are the body of a message and which its attachments: RFC 8621 section 4.1.4.
#include <gtest/gtest.h>

#include "mime/opened_mime.h"

namespace eml::test {
namespace {

// A part tree in brackets becomes a message: "mixed(plain html!)" is a multipart/mixed of text/plain and text/html;
// "!" after a part: Content-Disposition: attachment; "=": it has a name; "m(...)": an embedded message.
class MessageMaker {
  public:
    explicit MessageMaker(std::string_view tree) : rest_(tree) {}

    std::string part() {
        std::string word;
        while (!rest_.empty() && std::isalpha(static_cast<unsigned char>(rest_.front())) != 0) {
            word += rest_.front();
            rest_.remove_prefix(1);
        }
        std::string fields;
        for (; rest_.starts_with('!') || rest_.starts_with('='); rest_.remove_prefix(1)) {
            fields += rest_.front() == '!' ? "Content-Disposition: attachment\n" : "Content-Description: d\n";
            named_ = rest_.front() == '=';
        }
        const std::string name = named_ ? "; name=n" : "";
        named_ = false;
        if (!rest_.starts_with('(')) {
            const bool text = word == "plain" || word == "html" || word == "calendar";
            const std::string type = text              ? "text/" + word
                                     : word == "image" ? "image/png"
                                                       : "application/" + word;
            return fields + "Content-Type: " + type + name + "\n\nx\n";
        }
        rest_.remove_prefix(1);
        if (word == "m") return fields + "Content-Type: message/rfc822\n\n" + inside();
        const std::string boundary = "b" + std::to_string(++count_);
        std::string message = fields + "Content-Type: multipart/" + word + "; boundary=" + boundary + "\n\n";
        while (!rest_.starts_with(')')) message += "--" + boundary + "\n" + inside(false);
        rest_.remove_prefix(1);
        return message + "--" + boundary + "--\n";
    }

  private:
    // The next part; of an embedded message up to its bracket.
    std::string inside(bool closes = true) {
        while (rest_.starts_with(' ')) rest_.remove_prefix(1);
        const std::string made = part();
        if (closes) rest_.remove_prefix(1);
        while (rest_.starts_with(' ')) rest_.remove_prefix(1);
        return made + "\n";
    }

    std::string_view rest_;
    int count_ = 0;
    bool named_ = false;
};

struct RoleRow {
    const char* rule;
    const char* tree;
    const char* roles;  // for each part in file order
};

TEST(Roles, FollowTheShapeOfTheMessage) {
    const RoleRow rows[] = {
        {"text alone is both bodies", "plain", "TH"},
        {"HTML alone is both bodies", "html", "TH"},
        {"a file alone is an attachment", "pdf", "A"},
        {"an image alone is shown", "image", "TH"},
        {"text that is said to be an attachment", "plain!", "A"},
        {"alternative", "alternative(plain html)", "- T H"},
        {"alternative with HTML alone", "alternative(html)", "- TH"},
        {"alternative with text alone", "alternative(plain)", "- TH"},
        {"a calendar beside the alternatives", "alternative(plain html calendar)", "- T H A"},
        {"mixed: text, then a file", "mixed(plain pdf)", "- TH A"},
        {"mixed: text after a file is body as well", "mixed(plain pdf plain)", "- TH A TH"},
        {"mixed: named text after the first part is a file", "mixed(plain plain=)", "- TH A"},
        {"mixed: named text as the first part is body", "mixed(plain= pdf)", "- TH A"},
        {"mixed: an image is shown in its place", "mixed(plain image)", "- TH TH"},
        {"alternative in mixed, with a file", "mixed(alternative(plain html) pdf)", "- - T H A"},
        {"related: what comes after the first part is an attachment", "related(html image)", "- TH A"},
        {"alternative of text and related", "alternative(plain related(html image))", "- T - H A"},
        {"related around alternative", "related(alternative(plain html) image)", "- - T H A"},
        {"text before an alternative goes to both", "mixed(plain alternative(plain html))", "- TH - T H"},
        {"mixed inside alternative: text and HTML apart", "alternative(plain mixed(html image))",
         "- T - H HA"},
        {"a signature is an attachment", "signed(plain pdf)", "- TH A"},
        {"an embedded message is an attachment, and has bodies of its own",
         "mixed(plain m(alternative(plain html)))", "- TH A - T H"},
        {"RFC 8621's own example",
         "mixed(plain mixed(alternative(mixed(plain image plain) related(html image)) image x))",
         "- TH - - - T TA T - H A TH A"},
    };
    for (const RoleRow& row : rows) {
        SCOPED_TRACE(row.rule);
        const std::string message = MessageMaker(row.tree).part();
        OpenedMime opened(message);
        ASSERT_NE(opened.context(), nullptr);
        EXPECT_EQ(opened.roles(), row.roles) << message;
    }
}

TEST(Roles, MultipartWithoutPartsIsText) {
    OpenedMime opened("Content-Type: multipart/mixed; boundary=b\n\njust text\n");
    EXPECT_EQ(opened.roles(), "TH");
}

TEST(Roles, RootOfARelatedGroup) {
    const auto related = [](const std::string& parameters) {
        return "Content-Type: multipart/related; boundary=b" + parameters +
               "\n\n--b\nContent-Type: image/png\n\nx\n--b\nContent-Type: text/html\nContent-ID: "
               "<r@x>\n\nx\n--b--\n";
    };
    EXPECT_EQ(OpenedMime(related("")).roles(), "- TH A") << "the first part";
    EXPECT_EQ(OpenedMime(related("; type=\"Text/HTML\"")).roles(), "- A TH")
        << "the first of the type that is named";
    EXPECT_EQ(OpenedMime(related("; start=\"<r@x>\"")).roles(), "- A TH") << "the part that is named";
    EXPECT_EQ(OpenedMime(related("; start=\"<s@x>\"; type=x/y")).roles(), "- TH A")
        << "what is named is not there";
}

TEST(Roles, FileInsideTextIsAnAttachment) {
    OpenedMime opened("X: y\n\nbegin 644 a.txt\n#0V%T\n`\nend\n");
    EXPECT_EQ(opened.roles(), "TH A");
}

}  // namespace
}  // namespace eml::test
