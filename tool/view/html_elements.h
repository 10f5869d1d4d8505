// The elements and attributes that an inert copy of HTML may have: an allow-list. All others are left out.
#pragma once

#include <string_view>

namespace emltool {

enum class ElementUse {
    kKept,     // under a name of our own
    kInside,   // only what is inside it
    kDropped,  // with all that is inside it
};

struct HtmlElement {
    std::string_view name;     // in the sender's HTML
    std::string_view emitted;  // in the copy
    bool isVoid = false;       // has no content and no end tag
};

// What becomes of an element of HTML; for kKept, `element` is set.
ElementUse useOf(std::string_view name, const HtmlElement*& element);

// Whether an element ends a paragraph that is open around it, when HTML is read.
bool endsParagraph(std::string_view emitted);

// Whether an item of a list (<li>, <dt>, <dd>) inside such an element ends one of its kind that is open around it.
bool showsItems(std::string_view emitted);

// Attributes that are passed on as they are. None of them loads, runs or sends anything.
bool isKeptAttribute(std::string_view name);

// Attributes with a URL that a browser loads by itself.
bool isLoadingAttribute(std::string_view name);

}  // namespace emltool
