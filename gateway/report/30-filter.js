// Which events and lanes are shown.
const filter = {words: "", kinds: new Set(kinds), quiet: false};
let haystack = null;  // what is searched, made when somebody searches first
let shown = kinds.map(() => []);  // of each kind the places of its events that are shown
let shownTimes = [];  // and their times
let listed = [];  // the places of all that are shown

function words() {
    const all = filter.words.toLowerCase().split(/\s+/).filter(word => word && word !== "-");
    return {wanted: all.filter(word => !word.startsWith("-")), unwanted: all.filter(word => word.startsWith("-")).map(word => word.slice(1))};
}

function fits(text, {wanted, unwanted}) {
    return wanted.every(word => text.includes(word)) && !unwanted.some(word => text.includes(word));
}

function applyFilter() {
    const asked = words(), any = asked.wanted.length + asked.unwanted.length > 0;
    if (any && !haystack) {
        haystack = events.map(event => `${kinds[event[KIND]]} ${data.who[event[WHO]]} ${event[TEXT]}`.toLowerCase());
    }
    shown = kinds.map(() => []);
    listed = [];
    events.forEach((event, place) => {
        if (filter.kinds.has(kinds[event[KIND]]) && (!any || fits(haystack[place], asked))) {
            shown[event[KIND]].push(place);
            listed.push(place);
        }
    });
    shownTimes = shown.map(places => Float64Array.from(places, place => times[place]));
    tellCounts();
    layOut();
    drawOverview();
    pageTable(0);
}

// Lanes that never change are quiet; the LED's is always there.
function isQuiet(lane) { return lane.path !== "" && lane.spans.length < 2; }

function shownLanes() {
    const asked = words();
    return data.lanes.filter(lane => lane.path === "" || ((filter.quiet || !isQuiet(lane)) && fits(lane.words, asked)));
}

function tellCounts() {
    for (const chip of $("kinds").children) {
        const number = kinds.indexOf(chip.dataset.kind);
        chip.lastChild.textContent = filter.kinds.has(chip.dataset.kind) ? shown[number].length : "off";
        chip.setAttribute("aria-pressed", filter.kinds.has(chip.dataset.kind));
    }
    const quiet = data.lanes.filter(isQuiet).length;
    $("quiet").hidden = quiet === 0;
    $("quiet").textContent = `${quiet} quiet ${quiet === 1 ? "lane" : "lanes"}`;
    $("quiet").setAttribute("aria-pressed", filter.quiet);
}

function turnKind(name) {
    if (!filter.kinds.delete(name)) { filter.kinds.add(name); }
    applyFilter();
}

function makeChips() {
    const totals = kinds.map(() => 0);
    events.forEach(event => totals[event[KIND]]++);
    data.kinds.forEach(([name, text], number) => {
        $("kinds").append(element("button", {type: "button", class: "chip", "data-kind": name, title: `${totals[number]} ${text}`,
            onclick: () => turnKind(name)}, element("i", {class: `dot ${name}`}), `${text} `, element("b")));
    });
}
