// How the list of messages looks, and its script.
#pragma once

#include <string_view>

namespace emltool {

inline constexpr std::string_view kSiteStyle = R"css(
body { max-width: 72rem; margin-inline: auto; padding: 1.75rem 1.5rem; }
header { display: flex; flex-wrap: wrap; align-items: baseline; gap: .25rem 1rem; margin-bottom: 1rem; }
h1 { font-size: 1.5rem; letter-spacing: -.012em; line-height: 1.25; margin: 0; overflow-wrap: anywhere; }
#count, #none { color: var(--soft); font-size: .9375rem; margin: 0; }
#none { padding: 1rem; }
[hidden] { display: none !important; }
#filter { margin-left: auto; font: inherit; font-size: .9375rem; padding: .4rem .75rem; width: min(21rem, 100%);
          border: 1px solid var(--line); border-radius: 8px; background: var(--sheet); color: inherit; }
#filter:focus-visible { outline: 2px solid var(--accent); outline-offset: 0; border-color: transparent; }
table { width: 100%; border-collapse: separate; border-spacing: 0; background: var(--sheet); border-radius: 12px;
        box-shadow: 0 1px 2px rgb(0 0 0 / .06), 0 0 0 1px var(--line); table-layout: fixed; font-size: .9375rem;
        margin-bottom: 1rem; }
th { text-align: left; font-size: .8125rem; font-weight: 600; color: var(--soft); position: sticky; top: 0;
     background: var(--sheet); box-shadow: inset 0 -1px var(--line); border-radius: 12px 12px 0 0; z-index: 1; }
th:not(:first-child):not(:last-child) { border-radius: 0; }
th, td { padding: .5rem .75rem; }
th:first-child, td:first-child { padding-left: 1.1rem; width: 11rem; }
th:nth-child(2) { width: 15rem; } th:last-child { width: 5rem; }
th button { all: unset; cursor: pointer; font: inherit; color: inherit; }
th button:hover { color: var(--ink); } th button:focus-visible { outline: 2px solid var(--accent); }
th[aria-sort] { color: var(--ink); }
th[aria-sort=ascending] button::after { content: " \2191"; } th[aria-sort=descending] button::after { content: " \2193"; }
td { border-top: 1px solid var(--line); overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
tbody tr:first-child td { border-top: 0; }
tbody tr { position: relative; }
tbody tr:hover { background: var(--tint); }
td:first-child { color: var(--soft); font-variant-numeric: tabular-nums; }
td:last-child, th:last-child { text-align: right; padding-right: 1.1rem; }
td:last-child { color: var(--soft); font-variant-numeric: tabular-nums; }
td a { color: var(--ink); text-decoration: none; font-weight: 500; }
td a::after { content: ""; position: absolute; inset: 0; }
td a:focus-visible { outline: 2px solid var(--accent); }
.bad td { color: var(--soft); }
@media screen and (max-width: 44rem) {
  body { padding: 1rem 0; } header { padding: 0 1rem; } footer { padding-inline: 1rem; } #filter { margin: .5rem 0 0; width: 100%; }
  table, tbody { display: block; } thead { display: none; } table { border-radius: 0; }
  tbody tr { display: grid; grid-template-columns: minmax(0, 1fr) auto; padding: .6rem 1rem;
             border-top: 1px solid var(--line); }
  tbody tr td, tbody tr td:first-child, tbody tr td:last-child { border: 0; padding: 0; width: auto; }
  td:nth-child(3) { grid-column: 1; } td:nth-child(2) { grid-area: 1 / 1; font-size: .8125rem; color: var(--soft); }
  td:first-child { grid-area: 1 / 2; font-size: .8125rem; padding-left: 1rem; } td:last-child { grid-area: 2 / 2; }
}
@page { margin: 16mm; }
@media print {
  :root { color-scheme: light; } body { background: none; padding: 0; max-width: none; font-size: 9pt; } #filter, footer { display: none; }
  table { box-shadow: none; } th { position: static; } td { white-space: normal; } tr { break-inside: avoid; }
}
)css";

// Sorts by the heading that is clicked and shows the rows that have all words of the filter. It reads nothing but the
// table, and writes nothing but which rows are shown, and where.
inline constexpr std::string_view kSiteScript = R"js(
"use strict";
(() => {
  const body = document.querySelector("tbody"), filter = document.getElementById("filter");
  const none = document.getElementById("none"), count = document.getElementById("count"), all = count.textContent;
  const rows = [...body.rows].map(row => ({row, text: row.textContent.toLowerCase()}));
  filter.hidden = false;
  filter.addEventListener("input", () => {
    const words = filter.value.toLowerCase().split(/\s+/).filter(Boolean);
    let shown = 0;
    for (const each of rows) {
      each.row.hidden = !words.every(word => each.text.includes(word));
      if (!each.row.hidden) ++shown;
    }
    none.hidden = shown !== 0;
    count.textContent = words.length ? shown + " of " + all : all;
  });
  const order = new Intl.Collator(undefined, {numeric: true, sensitivity: "base"});
  document.querySelectorAll("th").forEach((head, column) => {
    const button = document.createElement("button");
    button.append(...head.childNodes);
    head.append(button);
    button.addEventListener("click", () => {
      const up = head.getAttribute("aria-sort") !== "ascending";
      document.querySelectorAll("th").forEach(other => other.removeAttribute("aria-sort"));
      head.setAttribute("aria-sort", up ? "ascending" : "descending");
      const key = each => each.row.cells[column].dataset.key ?? each.row.cells[column].textContent;
      const sorted = [...rows].sort((a, b) => order.compare(key(a), key(b)) * (up ? 1 : -1));
      body.append(...sorted.map(each => each.row));
    });
  });
})();
)js";

// What a page's policy names the script by: SHA-256 in base64. It changes with each byte of the script.
inline constexpr std::string_view kSiteScriptSource = "'sha256-b1aQrxnY8D0QhWEpA98qNlQ1WYqxrCnIkEScYFwfEnQ='";

}  // namespace emltool
