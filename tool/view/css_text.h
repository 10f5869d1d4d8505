// A sender's style sheets, written anew from the properties and values that lay out text and pictures. All others are
// left out.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace emltool {

// The URL that stands for a reference inside a message, "cid:logo@example.net": a "data:" URL; nothing when the message
// has nothing for it.
using ReferenceFinder = std::function<std::optional<std::string>(std::string_view reference)>;

// What a style sheet asks for.
struct CssFindings {
    size_t remote = 0;      // from the network
    size_t unresolved = 0;  // "cid:" references to nothing
    bool colours = false;   // it sets colours of text or background
    bool dark = false;      // it has rules for a dark screen
};

// The names of the elements that stand for <html> and <body> in an inert copy. Both are classes.
inline constexpr std::string_view kHtmlClass = "eml-html";
inline constexpr std::string_view kBodyClass = "eml-body";

// A style sheet, for <style>: rules whose selectors are understood (html/css_sheet.h), those of html and body for the
// classes above. It cannot end the element that it stands in.
std::string inertStyleSheet(std::string_view css, const ReferenceFinder& find, CssFindings& findings);

// The same for the value of an attribute `style`; it must be escaped.
std::string inertDeclarations(std::string_view css, const ReferenceFinder& find, CssFindings& findings);

// Whether a URL leads to the network.
bool isRemoteUrl(std::string_view url);

// `url` if it is a "data:" URL of an image, with nothing in it that could end a quoted string.
bool isImageData(std::string_view url);

}  // namespace emltool
