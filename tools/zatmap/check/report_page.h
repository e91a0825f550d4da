// The fixed parts of the page of `zatmap check --html`.
#pragma once

namespace zatmap::check {

// Nothing may be fetched, and scripts are those of the page alone.
inline constexpr char kPageHead[] = R"(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta http-equiv="Content-Security-Policy"
 content="default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'">
<style>
:root { color-scheme: light dark; --line: #8884; --error: #b3261e; --warning: #8a6100; --mark: #ffd54f; }
@media (prefers-color-scheme: dark) { :root { --error: #ff8a80; --warning: #ffca6b; --mark: #7a5c00; } }
body { font: 15px/1.45 system-ui, sans-serif; margin: 1.5rem auto; max-width: 75rem; padding: 0 1rem; }
h1 { font-size: 1.5rem; margin: 0 0 .25rem; overflow-wrap: anywhere; }
h2 { font-size: 1.15rem; margin: 1.5rem 0 .5rem; }
table { border-collapse: collapse; width: 100%; }
th, td { text-align: left; vertical-align: top; padding: .3rem .6rem; border-bottom: 1px solid var(--line); }
td.n, th.n { text-align: right; font-variant-numeric: tabular-nums; }
.error { color: var(--error); font-weight: 600; }
.warning { color: var(--warning); font-weight: 600; }
article { border: 1px solid var(--line); border-left-width: 5px; border-radius: 4px; margin: .6rem 0;
 padding: .5rem .8rem; }
article.e { border-left-color: var(--error); }
article.w { border-left-color: var(--warning); }
article p { margin: .15rem 0; overflow-wrap: anywhere; }
.place { font-size: .9rem; opacity: .8; }
.advice::before { content: "\2192\00a0"; }
pre { margin: .4rem 0 .1rem; padding: .4rem .6rem; background: #8881; border-radius: 4px;
 white-space: pre-wrap; overflow-wrap: anywhere; font-size: .85rem; }
mark { background: var(--mark); color: inherit; border-radius: 2px; padding: 0 1px; }
form { display: flex; flex-wrap: wrap; gap: .6rem 1rem; align-items: end; position: sticky; top: 0;
 background: Canvas; padding: .5rem 0; border-bottom: 1px solid var(--line); }
label { display: grid; font-size: .8rem; }
select, input, button { font: inherit; max-width: 22rem; padding: .15rem .3rem; }
td button { white-space: nowrap; }
@media print { form { display: none; } }
</style>
)";

// Without scripts everything is shown.
inline constexpr char kPageTail[] = R"(<script>
"use strict";
const form = document.querySelector("form");
const items = [...document.querySelectorAll("article")];
const shown = document.querySelector("#shown");
function show() {
  const { severity, kind, file, text } = form.elements;
  const words = text.value.toLowerCase();
  let count = 0;
  for (const item of items) {
    const fits = (!severity.value || item.dataset.s === severity.value) &&
      (!kind.value || item.dataset.k === kind.value) &&
      (!file.value || item.dataset.f === file.value) &&
      (!words || item.textContent.toLowerCase().includes(words));
    item.hidden = !fits;
    if (fits) ++count;
  }
  shown.textContent = count + " of " + items.length;
}
form.addEventListener("input", show);
form.addEventListener("reset", () => setTimeout(show));
form.addEventListener("submit", event => event.preventDefault());
for (const button of document.querySelectorAll("button[data-k]")) {
  button.addEventListener("click", () => {
    form.reset();
    form.elements.kind.value = button.dataset.k;
    show();
    form.scrollIntoView();
  });
}
form.hidden = false;
show();
</script>
</body>
</html>
)";

}  // namespace zatmap::check
