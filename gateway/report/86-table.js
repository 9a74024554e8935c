// The same as a table, a page at a time, for who reads without a mouse or without eyes.
const PAGE = 100;
let first = 0;

function tableRows() {
    if (!$("only").checked) { return listed; }
    return listed.filter(place => times[place] >= target.from && times[place] <= target.to);
}

function pageTable(to) {
    const all = tableRows();
    first = Math.max(0, Math.min(to, Math.floor(Math.max(0, all.length - 1) / PAGE) * PAGE));
    const page = all.slice(first, first + PAGE);
    document.querySelector("#table tbody").replaceChildren(...page.map(tableRow));
    $("rows").textContent = all.length ? `${(first + 1).toLocaleString("en")}–${(first + page.length).toLocaleString("en")} of ${all.length.toLocaleString("en")}` : "none";
    $("before").disabled = first === 0;
    $("after").disabled = first + PAGE >= all.length;
    markRow();
}

function tableRow(place) {
    const event = events[place], kind = kinds[event[KIND]];
    return element("tr", {"data-place": place}, element("td", {class: "when"}, moment(event[AT])), element("td", {}, element("span", {class: `badge ${kind}`}, kind)),
        element("td", {class: "who"}, data.who[event[WHO]]), element("td", {}, element("button", {type: "button", class: "item", onclick: () => { select(place); $("panel").focus(); }}, event[TEXT].slice(0, 400))));
}

function markRow() {
    for (const row of document.querySelectorAll("#table tbody tr")) { row.classList.toggle("chosen", Number(row.dataset.place) === selected); }
}
