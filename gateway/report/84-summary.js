// How the gateway got on, for who has chosen nothing yet.
const ledLane = data.lanes.find(lane => lane.path === "");

function overviewParts() {
    const parts = [element("h2", {}, "What happened here"), element("p", {class: "dim"}, "Choose a bar or a sign in the timeline, or one of these: its chain shows what it came from, and what the daemon did about it.")];
    if (data.marks.length) { parts.push(element("h3", {}, "Steps"), stepList()); }
    if (ledLane) { parts.push(element("h3", {}, "The Internet light"), spanList(ledLane)); }
    return parts;
}

function stepList() {
    return element("ol", {class: "steps"}, ...data.marks.map(([when, text, ok], number) => {
        const next = data.marks.slice(number + 1).find(mark => mark[2] === null), end = ok === null ? next ? next[0] : length : when;
        const room = ok === null ? (end - when) * 0.06 + 1000 : length / 20, look = ok === null ? "step" : ok ? "ok" : "failed";
        return element("li", {class: look}, element("button", {type: "button", class: "item", onclick: () => show(when - room, end + room)},
            element("span", {class: "when"}, moment(when)), element("span", {class: "what"}, {step: "", ok: "✓ ", failed: "✗ "}[look] + text)));
    }));
}

// The states that lasted; a light that went through others for a moment has not shown them to anybody.
function spanList(lane) {
    const lasting = lane.spans.map((span, number) => ({span, number, end: number + 1 < lane.spans.length ? lane.starts[number + 1] : length}))
        .filter(({span, end}) => end - span[0] > 100000).slice(0, 100);
    return element("ol", {class: "steps"}, ...lasting.map(({span, number, end}) => element("li", {},
        element("button", {type: "button", class: "item", onclick: () => choose({lane, span: number})}, element("i", {class: `dot ${span[2]}`}),
            element("span", {class: "when"}, moment(span[0])), element("span", {class: "what"}, `${span[1]} for ${duration(end - span[0])}`)))));
}

function tellSpan({lane, span}) {
    select(-1);
    const [at, text] = lane.spans[span];
    const told = `${lane.name || lane.path} was ${text || "nothing"} at ${moment(at)} already, or nobody saw how it became so.`;
    $("panel").prepend(element("p", {class: "told"}, told));
    say(told);
}

function share(tone) {
    return ledLane.spans.reduce((sum, [at, , has], number) => sum + (has === tone ? (number + 1 < ledLane.spans.length ? ledLane.starts[number + 1] : length) - at : 0), 0) / length;
}

function card(name, value, ...more) {
    $("cards").append(element("div", {class: "card"}, element("span", {class: "dim"}, name), element("b", {}, value), ...more));
}

function ledCard() {
    const now = ledLane.spans[ledLane.spans.length - 1], bar = element("span", {class: "meter", "aria-hidden": "true"});
    for (const tone of ["good", "bad", "warn", "off"]) {
        const part = element("i", {class: tone});
        part.style.width = `${share(tone) * 100}%`;
        bar.append(part);
    }
    card("Internet light", element("span", {}, element("i", {class: `lamp ${now[2]}`}), now[1]), bar, element("small", {}, `green for ${Math.round(share("good") * 100)} % of the time`));
}

function count(name) { return events.reduce((sum, event) => sum + (kinds[event[KIND]] === name), 0); }

function makeCards() {
    if (ledLane) { ledCard(); }
    const failed = outcomes.filter(([, , ok]) => !ok).length;
    if (data.marks.length) { card("Outcomes", failed ? `${failed} not as expected` : outcomes.length ? "as expected" : "none checked", element("small", {}, `${outcomes.length} checked in ${steps.length} steps`)); }
    const links = data.lanes.filter(lane => lane.group === "Links" && lane.path.split(".").length === 3), up = links.filter(lane => lane.spans[lane.spans.length - 1][2] === "good");
    if (links.length) { card("Links up at the end", `${up.length} of ${links.length}`, element("small", {}, up.map(lane => lane.name || lane.path).join(", ") || "none")); }
    card("It was told", (count("kernel") + count("message")).toLocaleString("en"), element("small", {}, `${count("kernel")} kernel events, ${count("message")} messages`));
    card("It did", (count("write") + count("command") + count("sent")).toLocaleString("en"), element("small", {}, `${count("write")} writes, ${count("command")} commands, ${count("sent")} messages`));
    card("It said", count("log").toLocaleString("en"), element("small", {}, "log lines"));
}
