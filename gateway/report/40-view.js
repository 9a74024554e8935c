// The part of the time that is shown, and where it lies on the screen.
const view = {from: 0, to: length}, target = {from: 0, to: length};
const LEAST = 200;  // microseconds: a closer look shows nothing new
let width = 0, left = 0;  // of the drawing, and of its labels
const calm = matchMedia("(prefers-reduced-motion: reduce)");

function x(at) { return left + (at - view.from) / (view.to - view.from) * (width - left); }
function atX(position) { return view.from + (position - left) / (width - left) * (view.to - view.from); }

function show(from, to) {
    const span = Math.min(Math.max(to - from, LEAST), length);
    target.from = Math.min(Math.max((from + to - span) / 2, 0), length - span);
    target.to = target.from + span;
    if (calm.matches) { Object.assign(view, target); }
    const step = span / 100;
    $("range").textContent = `${moment(target.from, step)} – ${moment(target.to, step)}`;
    if ($("only").checked) { pageTable(0); }
    redraw();
}

function showAll() { show(0, length); }
function isAll() { return target.to - target.from >= length; }

// Closer (below 1) or wider, with what is at `at` staying where it is.
function zoom(factor, at = (target.from + target.to) / 2) {
    const span = Math.min(Math.max((target.to - target.from) * factor, LEAST), length);
    const share = (at - target.from) / (target.to - target.from);
    show(at - share * span, at + (1 - share) * span);
}

function pan(share) {
    const step = share * (target.to - target.from);
    const by = Math.max(-target.from, Math.min(step, length - target.to));
    show(target.from + by, target.to + by);
}

// Makes the moment visible, without a change of scale where it is.
function bring(at) {
    const span = target.to - target.from;
    if (at < target.from || at > target.to) { show(at - span / 2, at + span / 2); }
}

// A frame is drawn when something has changed, and as long as the view glides to where it was asked to be.
let asked = false;
function redraw() {
    if (!asked) {
        asked = true;
        requestAnimationFrame(frame);
    }
}

function frame() {
    asked = false;
    for (const end of ["from", "to"]) {
        view[end] += (target[end] - view[end]) * 0.4;
    }
    const far = Math.abs(target.from - view.from) + Math.abs(target.to - view.to) > (target.to - target.from) * 0.002;
    if (far) { redraw(); } else { Object.assign(view, target); }
    drawAll();
}
