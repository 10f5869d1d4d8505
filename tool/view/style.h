// How the page of `eml view` looks: beside the tree on a wide screen, below it on a narrow one; light or dark
// as the reader's system is. The sender's HTML stays on white, for which it was made.
#pragma once

#include <string_view>

namespace emltool {

inline constexpr std::string_view kViewStyle = R"css(
:root { --ink: #1c2024; --soft: #5b6570; --line: #d8dde3; --page: #f4f6f8; --sheet: #fff; --link: #0b57a4;
        --note: #fff4d6; --noteink: #5c4300; color-scheme: light dark; }
@media (prefers-color-scheme: dark) {
  :root { --ink: #e6e9ec; --soft: #9aa5b1; --line: #363d45; --page: #15181b; --sheet: #1e2226;
          --link: #7fb8f5;          --note: #3a3016; --noteink: #f3dfa8; }
}
* { box-sizing: border-box; }
body { margin: 0; background: var(--page); color: var(--ink); font: 16px/1.5 system-ui, sans-serif;
       display: grid; grid-template-columns: 16rem minmax(0, 1fr); gap: 1.5rem; padding: 1.5rem;
       max-width: 76rem; margin-inline: auto; }
nav { font-size: .875rem; overflow-wrap: anywhere; }
nav ul { list-style: none; margin: 0; padding: 0 0 0 .9rem; }
nav > ul { padding: 0; position: sticky; top: 1.5rem; }
nav li { margin: .25rem 0; }
a { color: var(--link); }
nav a { text-decoration: none; }
nav a:hover { text-decoration: underline; }
article { background: var(--sheet); border: 1px solid var(--line); border-radius: 8px; 
          padding: 1.25rem 1.5rem; margin-bottom: 1.25rem; }
h1, h2, h3 { line-height: 1.25; margin: 0 0 .75rem; overflow-wrap: anywhere; }
h1 { font-size: 1.5rem; } h2 { font-size: 1.2rem; } h3 { font-size: 1rem; margin-top: 1.25rem; }
dl { display: grid; grid-template-columns: max-content minmax(0, 1fr); gap: .15rem 1rem; margin: 0 0 1rem;
     padding-bottom: 1rem; border-bottom: 1px solid var(--line); font-size: .9375rem; }
dt { color: var(--soft); } dd { margin: 0; overflow-wrap: anywhere; }
pre { white-space: pre-wrap; overflow-wrap: anywhere; font: inherit; margin: 0 0 1rem; tab-size: 8; }
iframe { width: 100%; min-height: 7rem; border: 1px solid var(--line); border-radius: 6px;
         background: #fff; color-scheme: light; resize: vertical; }
details { margin-top: .75rem; } summary { cursor: pointer; color: var(--soft); }
details pre { margin-top: .75rem; }
.note { background: var(--note); color: var(--noteink); border-radius: 6px; padding: .5rem .75rem;
        margin: 0 0 1rem; font-size: .875rem; }
.files { list-style: none; margin: 0; padding: 0; }
.files li { padding: .3rem 0; border-top: 1px solid var(--line); overflow-wrap: anywhere; }
small { color: var(--soft); white-space: nowrap; }
footer { color: var(--soft); font-size: .8125rem; }
@media (max-width: 48rem) {
  body { display: block; padding: .75rem; }
  nav { margin: 0 .25rem 1rem; } nav > ul { position: static; }
  article { padding: 1rem; }
  dl { grid-template-columns: minmax(0, 1fr); gap: 0; } dd { margin-bottom: .4rem; }
}
)css";

}  // namespace emltool
