// The scale above the lanes, with the steps; and above that the whole time in small, with the part that is shown.
const STEPS = [1, 2, 5], TALL = 46;

function tickStep() {
    const least = (view.to - view.from) / Math.max(2, (width - left) / 92);
    if (length >= 120e6 && least > 1e7) {
        return [15e6, 30e6, 60e6, 120e6, 300e6, 600e6, 1800e6, 3600e6, 7200e6, 14400e6, 43200e6].find(step => step >= least) || 86400e6;
    }
    const power = 10 ** Math.floor(Math.log10(least));
    return [...STEPS.map(step => step * power), 10 * power].find(step => step >= least);
}

function ticks() {
    const step = tickStep(), found = [];
    for (let at = Math.ceil(view.from / step) * step; at <= view.to && found.length < 200; at += step) { found.push(at); }
    return found;
}

function drawAxis() {
    const tall = data.marks.length ? 54 : 24, lanesPen = pen;
    pen = fitted($("axis"), width, tall);
    pen.textBaseline = "middle";
    const step = tickStep();
    for (const tick of ticks()) {
        const px = Math.round(x(tick));
        pen.fillStyle = colour.line;
        pen.fillRect(px, 0, 1, 6);
        if (px < width - 44) { write(moment(tick, step), px + 4, 12, colour.dim, SMALL); }
    }
    if (data.marks.length) { drawMarks(36); }
    if (hover && hover.px >= left) { drawTime(hover.px); }
    pen = lanesPen;
}

function drawTime(px) {
    const text = moment(atX(px), (view.to - view.from) / 1000), wide = text.length * LETTER + 8;
    const begin = Math.min(px, width - wide);
    pen.fillStyle = colour.accent;
    pen.beginPath();
    pen.roundRect(begin, 2, wide, 20, 4);
    pen.fill();
    write(text, begin + 5, 12.5, colour.back, SMALL);
}

const steps = data.marks.filter(([, , ok]) => ok === null), outcomes = data.marks.filter(([, , ok]) => ok !== null);

// A box from each step to the next, and below them a dot for each outcome.
function drawMarks(middle) {
    write("Steps", 2, middle, colour.text, BOLD);
    let free = left;
    steps.forEach(([when, text], number) => {
        const px = x(when), end = number + 1 < steps.length ? x(steps[number + 1][0]) : width;
        if (end < left || px > width || (end - px < 2 && px < free)) { return; }
        free = px + 8;
        const from = Math.max(px, left), to = Math.min(end, width);
        pen.fillStyle = colour.line;
        pen.beginPath();
        pen.roundRect(from + 0.5, middle - 9, Math.max(3, to - from - 2), 18, 3);
        pen.fill();
        write(text, from + 6, middle + 0.5, colour.text, SMALL, to - from - 10);
    });
    drawOutcomes(middle + 13);
}

function drawOutcomes(py) {
    let free = left - 1;
    for (const [when, , ok] of outcomes) {
        const px = x(when);
        if (px < left || px > width || (ok && px < free)) { continue; }
        free = px + 4;
        pen.fillStyle = ok ? colour.good : colour.bad;
        pen.beginPath();
        pen.arc(Math.min(px, width - 4), py, ok ? 2.5 : 4, 0, 7);
        pen.fill();
    }
}

function drawOverview() {
    const box = $("overview"), wide = box.clientWidth, small = fitted(box.firstElementChild, wide, TALL), columns = Math.max(1, Math.floor(wide / 3));
    const counts = new Float64Array(columns);
    listed.forEach(place => counts[Math.min(columns - 1, Math.max(0, Math.floor(times[place] / length * columns)))]++);
    const most = Math.log2(1 + counts.reduce((one, other) => Math.max(one, other), 1));
    small.fillStyle = colour.off;
    counts.forEach((count, column) => {
        const tall = count ? Math.max(2, Math.log2(1 + count) / most * (TALL - 16)) : 0;
        small.fillRect(column * 3, TALL - 9 - tall, 2, tall);
    });
    const led = data.lanes.find(lane => lane.path === "");
    for (const [number, [at, , tone]] of led ? led.spans.entries() : []) {
        const to = number + 1 < led.spans.length ? led.starts[number + 1] : length;
        small.fillStyle = colour[tone];
        small.fillRect(at / length * wide, TALL - 6, Math.max(1, (to - at) / length * wide), tone === "off" ? 2 : 5);
    }
}

function placeWindow() {
    $("window").style.left = `${view.from / length * 100}%`;
    $("window").style.width = `${Math.max(0.3, (view.to - view.from) / length * 100)}%`;
}
