// The rows of events: one sign each, a bar where many share a column, and words where there is room.
const WORDS = 46, INSIDE = 70;  // pixels from which on words are worth it: behind a sign, in a bar
const LOOKED_BACK = 8;  // events before the view, which may reach into it

function drawEvents(row) {
    const middle = row.y + row.h / 2, count = shown[row.kind].length.toLocaleString("en");
    sign(row.name, 9, middle, false);
    write(row.text, 22, middle, colour.text, FONT, left - 24);
    if (left > 150) { write(count, left - 10 - count.length * LETTER * 0.9, middle, colour.dim, SMALL); }
    clipped(row, () => drawColumns(row, middle));
}

function drawColumns(row, middle) {
    const found = shownTimes[row.kind], places = shown[row.kind];
    let place = Math.max(0, lowerBound(found, view.from) - LOOKED_BACK);
    while (place < found.length && found[place] <= view.to) {
        const px = x(found[place]), next = Math.max(place + 1, lowerBound(found, atX(px + COLUMN)));
        if (next - place === 1) {
            drawEvent(row, events[places[place]], px, middle, next < found.length ? x(found[next]) : width);
        } else {
            drawMany(row, next - place, px, middle);
        }
        place = next;
    }
}

function drawEvent(row, event, px, middle, end) {
    const wide = event[TOOK] / (view.to - view.from) * (width - left), bar = row.name === "command" && wide > COLUMN;
    if (px + wide < left - 6) { return; }
    if (wide > COLUMN) { drawTook(row, event, px, wide, middle, bar); }
    if (!bar) { sign(row.name, px, middle, event[BAD]); }
    const inside = bar && wide > INSIDE, begin = Math.max(inside ? px + 7 : px + (bar ? wide + 5 : 9), left + 5);
    const room = (inside ? px + wide : end) - begin - 6;
    if (room > WORDS) { write(event[TEXT].replace(/\s+/g, " "), begin, middle + 0.5, inside ? colour.back : colour.dim, SMALL, room); }
}

// How long a command ran; how long a message waited until it was taken up.
function drawTook(row, event, px, wide, middle, bar) {
    pen.fillStyle = colour[row.name];
    pen.globalAlpha = bar ? (event[BAD] ? 0.55 : 1) : 0.5;
    pen.beginPath();
    pen.roundRect(px, middle - (bar ? 8 : 1), wide, bar ? 16 : 2, bar ? 3 : 1);
    pen.fill();
    pen.globalAlpha = 1;
}

function drawMany(row, count, px, middle) {
    const tall = Math.min(row.h - 6, 8 + 4 * Math.log2(count));
    pen.fillStyle = colour[row.name];
    pen.beginPath();
    pen.roundRect(px - 1, middle - tall / 2, COLUMN - 1.5, tall, 2);
    pen.fill();
}

// Each kind has a shape of its own; what went wrong is hollow.
const shapes = {
    kernel: [[-6, -5], [6, -5], [0, 6]], message: [[0, -6.5], [6.5, 0], [0, 6.5], [-6.5, 0]], write: null,
    command: [[-3, -8], [3, -8], [3, 8], [-3, 8]], program: [[-5, -5], [5, -5], [5, 5], [-5, 5]], sent: [[-5, -6], [6, 0], [-5, 6]], log: [[-1.2, -7], [1.2, -7], [1.2, 7], [-1.2, 7]],
};

function sign(name, px, py, hollow) {
    pen.beginPath();
    const shape = shapes[name];
    if (shape) {
        shape.forEach(([dx, dy]) => pen.lineTo(px + dx, py + dy));
        pen.closePath();
    } else {
        pen.arc(px, py, 5, 0, 7);
    }
    pen.fillStyle = hollow ? colour.back : colour[name];
    pen.fill();
    pen.strokeStyle = hollow ? colour[name] : colour.back;
    pen.lineWidth = hollow ? 1.6 : 1;
    pen.stroke();
}
