// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the HTML page is made of besides its content.

namespace corvexal::report {

inline constexpr char kStyle[] = R"css(
:root {
  color-scheme: light dark;
  --page: #fbfbfa; --card: #fff; --ink: #1c1f23; --soft: #5a626b; --line: #d9dde1; --bar: #2f6f9f; --track: #e8ecef;
  --good: #1a7f4b; --bad: #b3371f; --code: #f1f3f5;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #15181b; --card: #1d2125; --ink: #e7eaed; --soft: #a3adb7; --line: #353b42; --bar: #5aa3d8; --track: #2a3036;
    --good: #5cc98f; --bad: #ff8f73; --code: #272c32;
  }
}
* { box-sizing: border-box; }
body { margin: 0; background: var(--page); color: var(--ink); font: 16px/1.5 system-ui, sans-serif; }
main { max-width: 70rem; margin: 0 auto; padding: 1rem; }
h1 { font-size: 1.5rem; margin: .5rem 0; overflow-wrap: anywhere; }
h2 { font-size: 1.1rem; margin: 0 0 .5rem; }
section { background: var(--card); border: 1px solid var(--line); border-radius: .5rem; padding: 1rem; margin: 0 0 1rem; min-width: 0; }
.lists { columns: 20rem; column-gap: 1rem; }
.lists section { break-inside: avoid; }
p { margin: 0 0 .5rem; }
a { color: inherit; }
.soft, .bars .amount { color: var(--soft); font-size: .875rem; }
.good { color: var(--good); } .bad { color: var(--bad); }
.bars { list-style: none; margin: 0; padding: 0; }
.bars li { margin: 0 0 .5rem; display: flex; flex-wrap: wrap; justify-content: space-between; gap: 0 1rem; }
.bars bdi { overflow-wrap: anywhere; min-width: 0; }
.bars svg { flex: 0 0 100%; width: 100%; height: .5rem; display: block; }
rect.track { fill: var(--track); } rect.bar { fill: var(--bar); }
table { width: 100%; border-collapse: collapse; }
caption { text-align: start; color: var(--soft); font-size: .875rem; padding-bottom: .5rem; }
th, td { text-align: start; padding: .3rem .4rem; border-bottom: 1px solid var(--line); vertical-align: top; overflow-wrap: anywhere; font-weight: normal; }
th.number, td.number { text-align: end; white-space: nowrap; overflow-wrap: normal; }
thead th { font-weight: 600; }
th button { font: inherit; color: inherit; background: none; border: 0; padding: .2rem; cursor: pointer; }
th button::after { content: "\2195"; color: var(--soft); padding-inline-start: .3em; }
th[aria-sort=ascending] button::after { content: "\2191"; color: inherit; }
th[aria-sort=descending] button::after { content: "\2193"; color: inherit; }
:focus-visible { outline: 3px solid var(--bar); outline-offset: 2px; }
details { border-top: 1px solid var(--line); padding: .5rem 0; }
summary { cursor: pointer; }
dl { margin: .5rem 0; } dt { overflow-wrap: anywhere; } dd { margin: 0 0 .6rem; }
code { background: var(--code); border-radius: .25rem; padding: .1rem .3rem; font-size: .875rem; overflow-wrap: anywhere; user-select: all; }
.hidden { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); white-space: nowrap; }
)css";

inline constexpr char kScript[] = R"js(
for (const button of document.querySelectorAll("th button")) {
  button.addEventListener("click", () => {
    const head = button.closest("th"), body = head.closest("table").tBodies[0];
    const up = head.getAttribute("aria-sort") === "descending" ||
      (head.getAttribute("aria-sort") !== "ascending" && !head.classList.contains("number"));
    for (const other of head.parentNode.cells) other.removeAttribute("aria-sort");
    head.setAttribute("aria-sort", up ? "ascending" : "descending");
    const key = row => row.cells[head.cellIndex].dataset.value ?? row.cells[head.cellIndex].textContent;
    const compare = head.classList.contains("number") ? (a, b) => key(a) - key(b) : (a, b) => key(a).localeCompare(key(b));
    const rows = [...body.rows].sort((a, b) => up ? compare(a, b) : compare(b, a));
    body.append(...rows);
    document.getElementById("sorted").textContent =
      "Sorted by " + button.textContent + (up ? ", ascending" : ", descending");
  });
}
)js";

}  // namespace corvexal::report
