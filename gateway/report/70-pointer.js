// Wheel, mouse and fingers.
const STILL = 5;  // pixels that a click may move

function onWheel(event) {
    const wide = Math.abs(event.deltaX) > Math.abs(event.deltaY) || event.shiftKey;
    if (!wide && event.deltaY > 0 && isAll()) { return; }  // there is no more to see: the page moves on
    event.preventDefault();
    const lines = event.deltaMode === 1 ? 30 : 1, by = (event.deltaY || event.deltaX) * lines;
    if (wide) { pan((event.deltaX || event.deltaY) * lines / 600); } else { zoom(Math.exp(Math.max(-300, Math.min(300, by)) / 400), atX(event.clientX - $("lanes").getBoundingClientRect().left)); }
}

// Dragging the lanes moves them, two fingers zoom, a click chooses.
const fingers = new Map();
let moved = 0;

function onDown(event) {
    if (event.button !== 0) { return; }
    fingers.set(event.pointerId, event.clientX);
    moved = fingers.size > 1 ? Infinity : 0;
    $("lanes").setPointerCapture(event.pointerId);
    $("chart").focus({preventScroll: true});
}

function onMove(event) {
    const box = $("lanes").getBoundingClientRect();
    if (!fingers.has(event.pointerId)) {
        hover = {px: event.clientX - box.left, py: event.clientY - box.top};
        showTip(pointed(hover.px, hover.py), event.clientX, event.clientY);
        return redraw();
    }
    const before = fingers.get(event.pointerId), others = [...fingers].filter(([id]) => id !== event.pointerId).map(([, px]) => px);
    fingers.set(event.pointerId, event.clientX);
    if (others.length) { return pinch(before, event.clientX, others[0], box); }
    moved += Math.abs(event.clientX - before);
    if (moved > STILL) {
        showTip(null);
        pan((before - event.clientX) / (width - left));
    }
}

function pinch(before, now, other, box) {
    const factor = Math.max(20, Math.abs(before - other)) / Math.max(20, Math.abs(now - other));
    zoom(factor, atX((now + other) / 2 - box.left));
}

function onUp(event) {
    const known = fingers.delete(event.pointerId);
    if (known && event.type === "pointerup" && moved <= STILL) {
        const box = $("lanes").getBoundingClientRect();
        choose(pointed(event.clientX - box.left, event.clientY - box.top));
    }
}

function choose(found) {
    if (!found) { return select(-1); }
    if (found.event !== undefined) { return select(found.event); }
    const place = found.lane.spans[found.span][3];
    return place >= 0 ? select(place) : tellSpan(found);
}

// Dragging in the overview or along the scale picks a part of the time; a click there goes to it.
function picks(box, timeAt) {
    let begin = null;
    box.addEventListener("pointerdown", event => {
        begin = event.button === 0 ? event.clientX : null;
        box.setPointerCapture(event.pointerId);
    });
    box.addEventListener("pointerup", event => {
        if (begin === null) { return; }
        const from = timeAt(Math.min(begin, event.clientX)), to = timeAt(Math.max(begin, event.clientX)), half = (target.to - target.from) / 2;
        if (Math.abs(event.clientX - begin) > STILL) { show(from, to); } else { show(from - half, from + half); }
        begin = null;
        $("picked").hidden = true;
    });
    box.addEventListener("pointermove", event => {
        if (begin === null) { return; }
        const shade = $("picked"), outer = $("top").getBoundingClientRect();
        shade.hidden = false;
        shade.style.left = `${Math.min(begin, event.clientX) - outer.left}px`;
        shade.style.width = `${Math.abs(event.clientX - begin)}px`;
    });
}

function listenToPointers() {
    const lanes = $("lanes"), small = $("overview");
    for (const box of [lanes, $("axis"), small]) { box.addEventListener("wheel", onWheel, {passive: false}); }
    for (const [name, call] of [["pointerdown", onDown], ["pointermove", onMove], ["pointerup", onUp], ["pointercancel", onUp]]) { lanes.addEventListener(name, call); }
    lanes.addEventListener("pointerleave", () => {
        hover = null;
        showTip(null);
        redraw();
    });
    lanes.addEventListener("dblclick", event => zoom(0.25, atX(event.clientX - lanes.getBoundingClientRect().left)));
    picks($("axis"), px => atX(px - lanes.getBoundingClientRect().left));
    picks(small, px => (px - small.getBoundingClientRect().left) / small.clientWidth * length);
}
