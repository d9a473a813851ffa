"use strict";
// Sorts and searches the tables. Without it the page shows the same, in the order of its making.

// Drawings and lists of machines are parsed when they are looked at: see writeMachine in page.cpp.
function unfold(element) {
  const folded = element?.querySelector(":scope > noscript");
  if (folded) folded.outerHTML = folded.textContent;
}

function unfoldTarget() {
  const machine = document.getElementById(location.hash.slice(1));
  if (machine?.matches(".machine")) unfold(machine);
}

addEventListener("hashchange", unfoldTarget);
unfoldTarget();
for (const list of document.querySelectorAll("details")) list.addEventListener("toggle", () => unfold(list));

const collator = new Intl.Collator("en", { numeric: true, sensitivity: "base" });

// The sort key of a cell; null goes to the end, whatever the direction.
function keyOf(row, column) {
  const cell = row.cells[column];
  if (cell.dataset.v === undefined) return cell.textContent.trim() || null;
  return cell.dataset.v === "" ? null : Number(cell.dataset.v);
}

function compare(a, b) {
  return typeof a === "number" ? a - b : collator.compare(a, b);
}

function sortBy(table, heading) {
  const column = heading.cellIndex;
  const isUp = heading.getAttribute("aria-sort") !== "ascending";
  const rows = [...table.tBodies[0].rows].map((row) => ({ row, key: keyOf(row, column) }));
  rows.sort((a, b) => {
    if (a.key === null || b.key === null) return (a.key === null) - (b.key === null);
    return isUp ? compare(a.key, b.key) : compare(b.key, a.key);
  });
  for (const cell of table.tHead.rows[0].cells) cell.removeAttribute("aria-sort");
  heading.setAttribute("aria-sort", isUp ? "ascending" : "descending");
  table.tBodies[0].append(...rows.map(({ row }) => row));
}

for (const table of document.querySelectorAll("table")) {
  for (const heading of table.tHead.rows[0].cells) {
    const button = document.createElement("button");
    button.type = "button";
    button.append(...heading.childNodes);
    button.addEventListener("click", () => sortBy(table, heading));
    heading.append(button);
  }
}

// The text in a machine's markup, which has only these references.
function wordsOf(section) {
  const folded = section.querySelector(":scope > noscript");
  if (!folded) return section.textContent;
  const characters = { "&amp;": "&", "&lt;": "<", "&gt;": ">", "&quot;": '"' };
  return folded.textContent.replace(/<[^>]*>/g, "").replace(/&\w+;/g, (reference) => characters[reference]);
}

// A machine is found by all that is known of it, a part by itself.
const texts = new Map();
function textOf(row) {
  if (!texts.has(row)) {
    const link = row.querySelector("th a");
    const section = link && document.getElementById(link.hash.slice(1));
    const words = [...row.cells].slice(0, section ? undefined : 3).map((cell) => cell.textContent);
    texts.set(row, [...words, section ? wordsOf(section) : ""].join(" ").toLowerCase());
  }
  return texts.get(row);
}

function search(words) {
  const found = [];
  for (const table of document.querySelectorAll("table")) {
    const rows = table.tBodies[0].rows;
    let count = 0;
    for (const row of rows) {
      row.hidden = !words.every((word) => textOf(row).includes(word));
      count += row.hidden ? 0 : 1;
    }
    found.push(`${count} of ${rows.length} ${table.id}`);
  }
  document.getElementById("found").textContent = words.length > 0 ? found.join(", ") : "";
}

const field = document.getElementById("search");
if (field) {
  field.closest("[hidden]").hidden = false;
  field.addEventListener("input", () => search(field.value.toLowerCase().split(/\s+/).filter(Boolean)));
}
