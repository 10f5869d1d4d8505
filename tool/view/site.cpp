#include "tool/view/site.h"

#include <algorithm>

#include "tool/text/format.h"
#include "tool/view/inert_html.h"
#include "tool/view/page_parts.h"
#include "tool/view/site_style.h"
#include "tool/view/style.h"

namespace emltool {

namespace {

std::string rowText(const SiteRow& row) {
    const ViewSummary& summary = row.summary;
    if (row.page.empty()) {
        return formatted("<tr class=\"bad\"><td></td><td></td><td>{}: {}</td><td></td></tr>\n",
                         shown(row.path), shown(row.problem));
    }
    const std::string subject = summary.subject.empty() ? "(no subject)" : shown(summary.subject);
    const std::string files =
        summary.attachments == 0
            ? ""
            : formatted("<span aria-label=\"{0} attachments\">{0}</span>", summary.attachments);
    return formatted(
        "<tr><td data-key=\"{}\">{}</td><td>{}</td><td><a href=\"{}\">{}</a></td><td "
        "data-key=\"{}\">{}</td></tr>\n",
        summary.seconds ? std::to_string(*summary.seconds) : "", shown(summary.date), shown(summary.from),
        escapeHtml(row.page), subject, summary.attachments, files);
}

bool isNewer(const SiteRow& a, const SiteRow& b) {
    // What has no date comes last.
    return a.summary.seconds.value_or(INT64_MIN) > b.summary.seconds.value_or(INT64_MIN);
}

std::string countText(size_t messages, size_t problems) {
    std::string text = formatted("{} message{}", messages, messages == 1 ? "" : "s");
    if (problems != 0) text += formatted(", {} more could not be read", problems);
    return text;
}

}  // namespace

std::string pageName(size_t number) { return formatted("{:04}.html", number); }

std::string buildIndex(const std::string& title, std::vector<SiteRow> rows) {
    std::stable_sort(rows.begin(), rows.end(), isNewer);
    std::string body;
    size_t problems = 0;
    for (const SiteRow& row : rows) {
        body += rowText(row);
        if (row.page.empty()) ++problems;
    }
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n" +
           policyTags(kSiteScriptSource) +
           "\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
           shown(title) + "</title>\n<style>\n" + std::string(kCommonStyle) + std::string(kSiteStyle) +
           "</style>\n</head>\n<body>\n<header>\n<h1>" + shown(title) + "</h1>\n<p id=\"count\">" +
           countText(rows.size() - problems, problems) +
           "</p>\n<input id=\"filter\" type=\"search\" placeholder=\"Filter by sender, subject or date\" "
           "aria-label=\"Filter\" autocomplete=\"off\" hidden>\n</header>\n<table>\n<thead><tr>"
           "<th "
           "aria-sort=\"descending\">Date</th><th>From</th><th>Subject</th><th>Files</th></tr></"
           "thead>\n<tbody>\n" +
           body +
           "</tbody>\n</table>\n<p id=\"none\" hidden>No message has these words.</p>\n"
           "<footer>Made by eml view. The list runs one script, for sorting and filtering; the messages run "
           "none. "
           "Nothing reaches the network.</footer>\n<script>" +
           std::string(kSiteScript) + "</script>\n</body>\n</html>\n";
}

}  // namespace emltool
