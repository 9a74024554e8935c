// The panel: the chosen event and its chain, or how the gateway got on.
function drawPanel() {
    const panel = $("panel");
    panel.scrollTop = 0;
    panel.replaceChildren(...(selected < 0 ? overviewParts() : eventParts(selected)).filter(part => part));
}

function eventParts(place) {
    const event = events[place], kind = kinds[event[KIND]];
    return [
        element("div", {class: "head"}, element("span", {class: `badge ${kind}`}, kind), element("span", {class: "dim"}, moment(event[AT], 1)),
            element("button", {type: "button", class: "close", "aria-label": "Close the details", onclick: () => { select(-1); $("chart").focus(); }}, "×")),
        element("h2", {}, event[TEXT].slice(0, 240) + (event[TEXT].length > 240 ? "…" : "")),
        factsOf(place), turnsOf(place), chain.length > 1 ? element("button", {type: "button", onclick: zoomToChain}, "show the whole chain") : null,
        ...whyParts(place), element("h3", {}, "Log lines around it"), eventList(logAround(place), place),
    ];
}

function factsOf(place) {
    const event = events[place], list = element("dl");
    const tell = (name, ...values) => list.append(element("dt", {}, name), element("dd", {}, ...values));
    tell("by", data.who[event[WHO]]);
    if (event[TOOK] > 0) { tell(kinds[event[KIND]] === "command" ? "took" : "waited", duration(event[TOOK])); }
    for (const row of event[MORE]) {
        if (row.length === 2) { tell(row[0], row[1]); } else { tell(row[0], valueOf(row[1]), " → ", valueOf(row[2])); }
    }
    return list;
}

function valueOf(text) {
    return element("span", {class: text ? "value" : "value nothing"}, text === null ? "not there" : text || "empty");
}

// The lanes that the event turned.
function turnsOf(place) {
    const turns = (turned.get(place) || []).map(([lane, number]) => {
        const [, text, tone] = lane.spans[number], before = number > 0 ? lane.spans[number - 1][1] : "";
        return element("li", {}, element("i", {class: `dot ${tone}`}), element("b", {}, lane.name || lane.path), ` ${before || "nothing"} → ${text || "nothing"}`);
    });
    return turns.length ? element("ul", {class: "turns"}, ...turns) : null;
}

// The way from the first cause to the event, and all else that came of that cause.
function whyParts(place) {
    const path = pathTo(place), others = chain.length - path.length;
    if (path.length + others < 2) { return [element("h3", {}, "Nothing is known that it came from or brought about")]; }
    const why = path.length > 1 ? [element("h3", {}, "Why"), nodeList(path, place)] : [];
    return others > 0 ? [...why, element("h3", {}, path.length > 1 ? "All that came of the first of these" : "What came of it"), nodeList(chain, place)] : why;
}

function nodeList(all, place) {
    const nodes = all.filter(node => kinds[events[node.event][KIND]] !== "log" || node.event === place);
    const here = nodes.findIndex(node => node.event === place), from = Math.max(0, Math.min(here - LISTED / 2, nodes.length - LISTED));
    const list = element("ol", {class: "chain"}), base = times[all[0].event];
    if (from > 0) { list.append(element("li", {class: "dim"}, `${from} before these`)); }
    for (const node of nodes.slice(from, from + LISTED)) { list.append(chainItem(node, base, node.event === place)); }
    const rest = nodes.length - from - LISTED;
    if (rest > 0) { list.append(element("li", {class: "dim"}, `${rest} more`)); }
    return list;
}

function chainItem({event: place, deep}, base, here) {
    const event = events[place], item = element("li", {}, itemButton(place, deep ? `${times[place] < base ? "−" : "+"}${duration(Math.abs(times[place] - base))}` : moment(base)));
    item.style.setProperty("--deep", Math.min(deep, 7));
    if (here) { item.firstChild.setAttribute("aria-current", "true"); }
    for (const [lane, number] of turned.get(place) || []) { item.append(element("span", {class: `turn ${lane.spans[number][2]}`}, `${lane.name || lane.path}: ${lane.spans[number][1] || "nothing"}`)); }
    item.classList.toggle("failed", Boolean(event[BAD]) && kinds[event[KIND]] !== "command");
    return item;
}

// A headline for a list; the whole text is where the event is chosen.
function brief(text) { return text.length > 96 ? `${text.slice(0, 95)}…` : text; }

function itemButton(place, when) {
    const event = events[place];
    return element("button", {type: "button", class: "item", onclick: () => select(place)}, element("i", {class: `dot ${kinds[event[KIND]]}`}),
        element("span", {class: "when"}, when), element("span", {class: "what"}, element("span", {class: "unseen"}, `${kinds[event[KIND]]}: `), brief(event[TEXT])));
}

function eventList(places, around) {
    return element("ol", {class: "chain"}, ...places.map(place => element("li", {}, itemButton(place, `${times[place] < times[around] ? "−" : "+"}${duration(Math.abs(times[place] - times[around]))}`))));
}

function zoomToChain() {
    const ends = chain.flatMap(({event}) => [times[event], times[event] + events[event][TOOK]]);
    const from = ends.reduce((one, other) => Math.min(one, other)), to = ends.reduce((one, other) => Math.max(one, other)), room = (to - from) * 0.08 + 200;
    show(from - room, to + room);
}
