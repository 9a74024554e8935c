// What lies over the lanes: the chosen event with its chain, and where the pointer is.
const EDGES = 400;  // of a chain that are drawn
let hover = null;  // {px, py} of the pointer

function placeOf(event) {
    const row = rowOfKind(events[event][KIND]);
    return row ? {px: x(times[event]), py: row.y + row.h / 2} : null;
}

function drawChain() {
    if (selected < 0) { return; }
    const px = x(times[selected]);
    if (px >= left) {
        pen.fillStyle = colour.accent;
        pen.globalAlpha = 0.6;
        pen.fillRect(Math.round(px), 0, 1, height);
        pen.globalAlpha = 1;
    }
    pen.save();
    pen.beginPath();
    pen.rect(left - 8, 0, width - left + 8, height);
    pen.clip();
    const nodes = chain.slice(0, EDGES), drawn = new Set();
    nodes.forEach(({event}) => drawEdge(events[event][CAUSE], event, drawn));
    nodes.forEach(({event}) => drawRing(event, false, drawn));
    drawRing(selected, true, new Set());
    pen.restore();
}

// Whether something is to be drawn at a place where the same has not been drawn before.
function isFresh(drawn, ...numbers) {
    const place = numbers.map(number => Math.round(number / 6)).join();
    return !drawn.has(place) && Boolean(drawn.add(place));
}

function drawEdge(cause, event, drawn) {
    const from = cause >= 0 ? placeOf(cause) : null, to = placeOf(event);
    if (!from || !to || Math.max(from.px, to.px) < left - 200 || Math.min(from.px, to.px) > width + 200) { return; }
    if (event !== selected && !isFresh(drawn, from.px, from.py, to.px, to.py)) { return; }
    const bend = from.py === to.py ? -26 : 0, middle = (from.px + to.px) / 2;
    pen.strokeStyle = colour.accent;
    pen.globalAlpha = event === selected ? 0.95 : 0.45;
    pen.lineWidth = event === selected ? 2 : 1.2;
    pen.beginPath();
    pen.moveTo(from.px, from.py);
    pen.bezierCurveTo(middle, from.py + bend, middle, to.py + bend, to.px, to.py);
    pen.stroke();
    pen.globalAlpha = 1;
}

function drawRing(event, strong, drawn) {
    const to = placeOf(event);
    if (!to || to.px < left - 8 || to.px > width || !isFresh(drawn, to.px, to.py)) { return; }
    sign(kinds[events[event][KIND]], to.px, to.py, events[event][BAD]);
    pen.strokeStyle = strong ? colour.text : colour.accent;
    pen.lineWidth = strong ? 2.2 : 1.2;
    pen.globalAlpha = strong ? 1 : 0.7;
    pen.beginPath();
    pen.arc(to.px, to.py, strong ? 11 : 9, 0, 7);
    pen.stroke();
    pen.globalAlpha = 1;
}

function drawHover() {
    if (!hover || hover.px < left) { return; }
    pen.fillStyle = colour.text;
    pen.globalAlpha = 0.25;
    pen.fillRect(Math.round(hover.px), 0, 1, height);
    pen.globalAlpha = 1;
}

function tipOf(found) {
    if (found.event !== undefined) {
        const event = events[found.event];
        return [`${moment(event[AT])}  ${kinds[event[KIND]]}, ${data.who[event[WHO]]}`, event[TEXT].slice(0, 300)];
    }
    const [at, text] = found.lane.spans[found.span], end = found.lane.spans[found.span + 1];
    const until = end ? end[0] : length;
    return [`${found.lane.name || found.lane.path}: ${text || "nothing"}`, `from ${moment(at)} to ${moment(until)}, ${duration(until - at)}`];
}

function showTip(found, clientX, clientY) {
    const tip = $("tip");
    tip.hidden = !found;
    $("lanes").style.cursor = found ? "pointer" : "";
    if (!found) { return; }
    const [first, second] = tipOf(found);
    tip.replaceChildren(element("b", {}, first), element("span", {}, second));
    tip.style.left = `${Math.max(8, Math.min(clientX + 14, innerWidth - tip.offsetWidth - 12))}px`;
    tip.style.top = `${clientY + 18 + tip.offsetHeight > innerHeight ? clientY - tip.offsetHeight - 12 : clientY + 18}px`;
}
