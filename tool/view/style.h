// How the pages of `eml view` look: light or dark as the reader's system is, on paper always light.
#pragma once

#include <string_view>

namespace emltool {

// Colours and type, for every page.
inline constexpr std::string_view kCommonStyle = R"css(
:root { --ink: #1b1f24; --soft: #636c76; --line: #e3e7eb; --page: #f3f5f7; --sheet: #fff; --link: #0a58ad;
        --note: #fff6dd; --noteink: #5a4300; --accent: #0a58ad; --tint: #eef4fb; color-scheme: light dark; }
@media screen and (prefers-color-scheme: dark) {
  :root { --ink: #e7eaee; --soft: #98a2ad; --line: #2e343b; --page: #121518; --sheet: #1b1f24; --link: #82b8f4;
          --note: #322a14; --noteink: #f0dca6; --accent: #82b8f4; --tint: #20303f; }
}
* { box-sizing: border-box; }
html { -webkit-text-size-adjust: 100%; text-size-adjust: 100%; }
body { margin: 0; background: var(--page); color: var(--ink);
       font: 16px/1.55 system-ui, -apple-system, "Segoe UI", Roboto, "Noto Sans", "Helvetica Neue", sans-serif; }
a { color: var(--link); text-underline-offset: .15em; }
small { color: var(--soft); font-size: .8125rem; white-space: nowrap; }
footer { color: var(--soft); font-size: .8125rem; padding: .25rem .25rem 1rem; }
.note { background: var(--note); color: var(--noteink); border-radius: 8px; padding: .55rem .85rem;
        margin: 0 0 1rem; font-size: .875rem; overflow-wrap: anywhere; }
.note ul { margin: .5rem 0 0; padding-left: 1.2rem; }
.note summary { cursor: pointer; }
)css";

// The page of a message.
inline constexpr std::string_view kViewStyle = R"css(
body { max-width: 60rem; margin-inline: auto; padding: 1.5rem; }
nav { font-size: .875rem; }
nav a { text-decoration: none; } nav a:hover { text-decoration: underline; }
nav.pages { margin-bottom: 1rem; }
nav.tree { margin-bottom: 1rem; overflow-wrap: anywhere; }
nav.tree ul { list-style: none; margin: 0; padding: 0; }
nav.tree ul ul { padding-left: .9rem; }
nav.tree li { margin: .3rem 0; }
nav.tree .level-1 { padding-left: .9rem; } nav.tree .level-2 { padding-left: 1.8rem; }
nav.tree .level-3 { padding-left: 2.7rem; }
nav.tree > ul > li:first-child > a { font-weight: 600; color: var(--ink); }
article { background: var(--sheet); border-radius: 12px; padding: 1.5rem 1.75rem 1.75rem; margin-bottom: 1.25rem;
          box-shadow: 0 1px 2px rgb(0 0 0 / .06), 0 0 0 1px var(--line); }
h1, h2, h3 { line-height: 1.25; margin: 0 0 .9rem; overflow-wrap: anywhere; text-wrap: balance; }
h1 { font-size: 1.625rem; letter-spacing: -.012em; } h2 { font-size: 1.25rem; }
h3 { font-size: .8125rem; font-weight: 600; color: var(--soft); margin: 1.75rem 0 .5rem; }
dl { display: grid; grid-template-columns: max-content minmax(0, 1fr); gap: .2rem 1rem; margin: 0 0 1.25rem;
     padding-bottom: 1.1rem; border-bottom: 1px solid var(--line); font-size: .9375rem; }
dt { color: var(--soft); } dd { margin: 0; overflow-wrap: anywhere; }
.at { color: var(--soft); }
.inside { color: var(--soft); font-size: .8125rem; margin: 0 0 .35rem; }
.text { max-width: 46rem; }
pre { white-space: pre-wrap; overflow-wrap: anywhere; font: inherit; margin: 0; tab-size: 8; }
pre.quote { color: var(--soft); border-left: 3px solid var(--line); padding-left: .8rem; margin: .25rem 0; }
figure { margin: 1rem 0; } figure img { max-width: 100%; height: auto; border-radius: 6px; display: block; }
figcaption { color: var(--soft); font-size: .8125rem; margin-top: .3rem; overflow-wrap: anywhere; }

.mail { position: relative; margin: 0 -1.75rem; min-height: 6rem; max-height: 100000px; padding-bottom: 3px;
        overflow: hidden; isolation: isolate; }
.mail:last-child { margin-bottom: -1.75rem; border-radius: 0 0 12px 12px; }
.mail + * { margin-top: 1.5rem; }
.copy { contain: layout paint style; overflow: auto hidden; visibility: hidden; opacity: 0; pointer-events: none;
        user-select: none; z-index: 0; }
.host { all: initial; display: block; }
.mail iframe { position: absolute; inset: 0; width: 100%; height: 100%; border: 0; z-index: 1;
               color-scheme: inherit; background: transparent; }
.mail.light { background: #fff; color-scheme: light; }
@supports not (color: light-dark(#000, #fff)) { .mail { height: 65vh; } }

details { margin-top: 1rem; } summary { cursor: pointer; color: var(--soft); font-size: .875rem; }
details .text { margin-top: .75rem; }
details.note { margin-top: 0; } details.note summary { color: inherit; }
.files { list-style: none; margin: 0; padding: 0; display: grid; gap: .4rem;
         grid-template-columns: repeat(auto-fill, minmax(min(17rem, 100%), 1fr)); }
.files li { padding: .5rem .75rem; border: 1px solid var(--line); border-radius: 8px; font-size: .9375rem;
            display: flex; gap: .75rem; align-items: baseline; justify-content: space-between; }
.files li > :first-child { overflow-wrap: anywhere; min-width: 0; }
.files a { text-decoration: none; } .files a:hover { text-decoration: underline; }
.shown { color: var(--soft); font-size: .8125rem; margin: .75rem 0 0; overflow-wrap: anywhere; }

.event { border: 1px solid var(--line); border-left: 4px solid var(--accent); border-radius: 10px;
         padding: 1rem 1.25rem 1.1rem; margin: 0 0 1.25rem; break-inside: avoid; }
.event .kind { color: var(--accent); font-size: .8125rem; font-weight: 600; margin: 0 0 .15rem; }
.event h3 { font-size: 1.125rem; color: var(--ink); margin: 0 0 .75rem; }
.event dl { border: 0; margin: 0; padding: 0; gap: .35rem 1rem; }
.event.off h3 { text-decoration: line-through; text-decoration-thickness: 1px; }
.event ul { list-style: none; margin: 0; padding: 0; }
.event .more { white-space: pre-wrap; overflow-wrap: anywhere; margin: .9rem 0 0; font-size: .9375rem; }
.event strong { font-weight: 600; }

@media screen and (max-width: 75.99rem) { .one-message nav.tree { display: none; } }
@media screen and (min-width: 76rem) {
  body.with-tree { max-width: 78rem; display: grid; grid-template-columns: 14rem minmax(0, 1fr); gap: 0 1.75rem; }
  .with-tree nav.pages { grid-column: 2; }
  .with-tree nav.tree { grid-column: 1; grid-row: 1 / span 2; } .with-tree main { grid-column: 2; }
  nav.tree > ul { position: sticky; top: 1.5rem; }
}
@media screen and (max-width: 40rem) {
  body { padding: .75rem 0 0; }
  nav, footer, main > .note { margin-inline: 1rem; } footer { padding-inline: 0; }
  article { padding: 1.1rem 1rem 1.25rem; border-radius: 0; }
  .mail { margin-inline: -1rem; } .mail:last-child { margin-bottom: -1.25rem; border-radius: 0; }
  h1 { font-size: 1.375rem; }
  dl { grid-template-columns: minmax(0, 1fr); gap: 0; } dd { margin-bottom: .45rem; }
  dt { font-size: .8125rem; }
}
@page { margin: 16mm; }
@media print {
  :root { color-scheme: light; } body { background: none; padding: 0; max-width: none; font-size: 11pt; }
  nav, footer, .mail iframe, details:not([open]) { display: none; }
  article { box-shadow: none; border-radius: 0; padding: 0; background: none; }
  article + article { border-top: 1px solid var(--line); padding-top: 1rem; }
  .mail, .mail:last-child { margin: 0; min-height: 0; max-height: none; border-radius: 0; overflow: clip; }
  .copy { visibility: visible; opacity: 1; overflow: clip; }
  .text { max-width: none; }
}
)css";

// Around a body in HTML, in its frame.
inline constexpr std::string_view kFrameStyle =
    "html,body{margin:0;padding:0;background:transparent}html{overflow:auto}html.light{background:#fff}";

// For a body in HTML, in its frame and in the copy under it. What the sender says comes after it and wins.
inline constexpr std::string_view kMailStyle = R"css(
.eml-html{display:block;color:light-dark(#1b1f24,#e7eaee);font:16px/1.5 system-ui,-apple-system,"Segoe UI",Roboto,"Noto Sans",sans-serif}
.eml-body{display:flow-root;padding:.25rem clamp(1rem,20% - 112px,1.75rem) 1.5rem;overflow-wrap:break-word}
.eml-body>:first-child{margin-top:0}
.eml-body>:last-child{margin-bottom:0}
img{max-width:100%}
pre{white-space:pre-wrap}
blockquote{margin:.75rem 0;padding-left:.9rem;border-left:3px solid rgb(128 128 128 / .4)}
x-a{color:light-dark(#0a58ad,#82b8f4);text-decoration:underline}
)css";

// After it, for a body without colours of its own: on paper it begins where everything else does.
inline constexpr std::string_view kPlainMailStyle = "@media print{.eml-body{padding-inline:0}}";

}  // namespace emltool
