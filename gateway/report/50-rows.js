// What stands below what: lanes in their groups, then a row for each kind of events.
const HEAD = 24, LANE = 25, ROW = 32;
let rows = [], height = 0;

function layOut() {
    width = $("chart").clientWidth;
    left = width < 620 ? 116 : width < 1000 ? 168 : 226;
    rows = [];
    height = 0;
    let group = null;
    for (const lane of shownLanes()) {
        if (lane.group !== group) { head(lane.group); }
        group = lane.group;
        add({type: "lane", lane, h: lane.path === "" ? LANE + 5 : LANE});
    }
    head("What happened");
    data.kinds.forEach(([name, text], number) => {
        if (filter.kinds.has(name)) { add({type: "events", kind: number, name, text, h: ROW}); }
    });
    height += 6;
    redraw();
}

function head(text) {
    if (text !== "Internet LED") { add({type: "head", text, h: HEAD}); }
}

function add(row) {
    rows.push({...row, y: height});
    height += row.h;
}

function rowAt(y) { return rows.find(row => y >= row.y && y < row.y + row.h); }
function rowOfKind(number) { return rows.find(row => row.type === "events" && row.kind === number); }

const NEAR = 8;  // pixels within which an event is meant

// What a point of the drawing shows: {event} or {lane, span}, or null.
function pointed(px, py) {
    const row = px >= left ? rowAt(py) : null;
    if (!row || row.type === "head") { return null; }
    return row.type === "lane" ? laneAt(row.lane, px) : eventAt(row, px);
}

function laneAt(lane, px) {
    const number = lowerBound(lane.starts, atX(px) + 0.001) - 1;
    const near = lowerBound(lane.starts, atX(px - 3));  // the beginning of a state that is too short to be met
    const span = near < lane.spans.length && x(lane.starts[near]) < px + 3 ? near : number;
    return span >= 0 ? {lane, span} : null;
}

function eventAt(row, px) {
    const found = shownTimes[row.kind], place = lowerBound(found, atX(px));
    const covering = place > 0 ? events[shown[row.kind][place - 1]] : null;
    let best = null, distance = NEAR;
    for (const candidate of [place - 1, place]) {
        const away = candidate >= 0 && candidate < found.length ? Math.abs(x(found[candidate]) - px) : Infinity;
        if (away < distance) {
            best = shown[row.kind][candidate];
            distance = away;
        }
    }
    if (best === null && covering && covering[AT] + covering[TOOK] > atX(px)) { best = shown[row.kind][place - 1]; }
    return best === null ? null : {event: best};
}
