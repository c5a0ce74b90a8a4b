"use strict";
// Makes the tables sortable and gives long ones a filter. Nothing on the page needs it to be read.
(() => {
  const fewRows = 6; // no more than these are seen at a glance
  const numbers = new Intl.NumberFormat("en-US");
  const texts = new Intl.Collator("en", { numeric: true });

  // Numbers and times carry their value; "?" has none.
  function valueOf(cell) {
    if (cell.dataset.v === undefined) return cell.textContent;
    return cell.dataset.v === "" ? null : Number(cell.dataset.v);
  }

  // What has no value comes last either way.
  function compare(a, b, sign) {
    if (a === null || b === null) return (a === null) - (b === null);
    return sign * (typeof a === "number" ? a - b : texts.compare(a, b));
  }

  function sort(table, header) {
    const column = header.cellIndex;
    const ascending = header.getAttribute("aria-sort") !== "ascending";
    for (const other of header.parentNode.cells) other.removeAttribute("aria-sort");
    header.setAttribute("aria-sort", ascending ? "ascending" : "descending");
    const body = table.tBodies[0];
    const keyed = Array.from(body.rows, (row) => ({ row, value: valueOf(row.cells[column]) }));
    keyed.sort((a, b) => compare(a.value, b.value, ascending ? 1 : -1));
    const sorted = document.createDocumentFragment();
    for (const { row } of keyed) sorted.append(row);
    body.append(sorted);
  }

  function addSortButtons(table) {
    table.classList.add("sortable");
    for (const header of table.tHead.rows[0].cells) {
      const button = document.createElement("button");
      button.type = "button";
      // Browsers that repeat a table's head on each sheet of paper leave the buttons out.
      header.dataset.label = header.textContent;
      button.append(...header.childNodes);
      button.addEventListener("click", () => sort(table, header));
      header.append(button);
    }
  }

  function sumsOf(table, rows) {
    return Array.from(table.tHead.rows[0].cells)
      .filter((header) => header.hasAttribute("data-sum"))
      .map((header) => {
        const sum = rows.reduce((all, row) => all + Number(row.cells[header.cellIndex].dataset.v), 0);
        return `, ${header.textContent}: ${numbers.format(sum)}`;
      });
  }

  function filter(table, rows, wanted, status) {
    const words = wanted.toLowerCase().split(/\s+/).filter(Boolean);
    const shown = [];
    for (const { row, text } of rows) {
      row.hidden = !words.every((word) => text.includes(word));
      if (!row.hidden) shown.push(row);
    }
    const count = `${numbers.format(shown.length)} of ${numbers.format(rows.length)} rows`;
    status.textContent =
      words.length === 0 ? `${numbers.format(rows.length)} rows` : count + sumsOf(table, shown).join("");
  }

  function addFilter(table) {
    const rows = Array.from(table.tBodies[0].rows, (row) => ({
      row,
      text: Array.from(row.cells)
        .filter((cell) => cell.dataset.v === undefined)
        .map((cell) => cell.textContent.toLowerCase())
        .join("\n"),
    }));
    const bar = document.createElement("div");
    bar.className = "filter";
    const input = document.createElement("input");
    input.type = "search";
    input.placeholder = "Filter";
    input.setAttribute("aria-label", `Filter: ${table.caption.textContent}`);
    const status = document.createElement("span");
    status.setAttribute("role", "status");
    bar.append(input, status);
    table.parentNode.before(bar);
    input.addEventListener("input", () => filter(table, rows, input.value, status));
    // A browser that goes back fills in what stood there.
    filter(table, rows, input.value, status);
  }

  // Paper cannot be unfolded.
  function foldForPrint() {
    let opened = [];
    addEventListener("beforeprint", () => {
      opened = Array.from(document.querySelectorAll("details:not([open])"));
      for (const details of opened) details.open = true;
    });
    addEventListener("afterprint", () => {
      for (const details of opened) details.open = false;
    });
  }

  for (const table of document.querySelectorAll("table")) {
    const count = table.tBodies[0].rows.length;
    if (count > 1) addSortButtons(table);
    if (count >= fewRows) addFilter(table);
  }
  foldForPrint();
})();
