// The lanes and the events. However many there are, what is drawn is bounded by the pixels there are.
const FONT = "12px system-ui, sans-serif", SMALL = "10.5px system-ui, sans-serif", BOLD = "600 12px system-ui, sans-serif";
const COLUMN = 7, LETTER = 6.3;  // pixels: of a column of events, about of a letter
let pen = null;

function write(text, px, py, ink, font = FONT, room = Infinity) {
    pen.font = font;
    pen.fillStyle = ink;
    const most = Math.floor(room / (font === SMALL ? LETTER * 0.9 : LETTER));
    if (most > 3 || text.length <= most) { pen.fillText(text.length > most ? text.slice(0, most - 1) + "…" : text, px, py); }
}

function drawAll() {
    pen = fitted($("lanes"), width, height);
    pen.textBaseline = "middle";
    drawGrid();
    for (const row of rows) {
        if (row.type === "head") { drawHead(row); } else if (row.type === "lane") { drawLane(row); } else { drawEvents(row); }
    }
    drawChain();
    drawHover();
    drawAxis();
    placeWindow();
}

function drawGrid() {
    pen.fillStyle = colour.grid;
    for (const tick of ticks()) { pen.fillRect(Math.round(x(tick)), 0, 1, height); }
    for (const [when, , ok] of data.marks) {
        if (ok !== true && when >= view.from && when <= view.to) {
            pen.fillStyle = ok === null ? colour.line : colour.bad;
            pen.fillRect(Math.round(x(when)), 0, 1, height);
        }
    }
}

function drawHead(row) {
    write(row.text.toUpperCase(), 2, row.y + row.h / 2 + 3, colour.dim, "600 10.5px system-ui, sans-serif");
    pen.fillStyle = colour.line;
    pen.fillRect(0, row.y + row.h - 1, width, 1);
}

function drawLane(row) {
    const {lane} = row, middle = row.y + row.h / 2, name = lane.name || lane.path;
    write(name, 2, middle, colour.text, BOLD, left - 8);
    const used = 2 + pen.measureText(name).width + 8;
    if (lane.name && lane.path) { write(left > 150 ? lane.path : tableOf(lane.path), used, middle + 0.5, colour.dim, SMALL, left - used - 6); }
    clipped(row, () => eachSpan(lane, (span, from, to) => drawSpan(row, span, from, to)));
}

// What kind of thing it is, where there is no room for its path.
function tableOf(path) { return (path.match(/IPv[46](?=Address|Prefix)/) || path.split("."))[0]; }

function clipped(row, draw) {
    pen.save();
    pen.beginPath();
    pen.rect(left, row.y, width - left, row.h);
    pen.clip();
    draw();
    pen.restore();
}

// Each state that is wide enough to be seen; of those that share a pixel the first.
function eachSpan(lane, draw) {
    for (let number = Math.max(0, lowerBound(lane.starts, view.from) - 1); number < lane.spans.length && lane.starts[number] <= view.to;) {
        const from = x(lane.starts[number]), to = number + 1 < lane.spans.length ? x(lane.starts[number + 1]) : x(length);
        draw(lane.spans[number], Math.max(from, left - 10), Math.min(Math.max(to, from + 1), width + 10));
        number = to - from < 1 ? Math.max(number + 1, lowerBound(lane.starts, atX(from + 1)) - 1) : number + 1;
    }
}

function drawSpan(row, [, text, tone], from, to) {
    const inset = row.lane.path === "" ? 3 : 4, room = to - Math.max(from, left) - 10, middle = row.y + row.h / 2;
    if (tone === "off" || tone === "none") { return drawQuiet(middle, text, tone, from, to, room); }
    pen.fillStyle = colour[tone];
    pen.beginPath();
    pen.roundRect(from + 0.5, row.y + inset, Math.max(1, to - from - 1), row.h - 2 * inset, Math.min(4, (to - from) / 3));
    pen.fill();
    if (tone === "warn" || tone === "bad") { drawStripes(row, inset, from, to, tone === "warn" ? 9 : 5); }
    write(text, Math.max(from, left) + 7, middle + 0.5, colour.back, BOLD, room);
}

// What is down is a line; what is up a bar: they differ without colours, too.
function drawQuiet(middle, text, tone, from, to, room) {
    pen.fillStyle = colour[tone];
    pen.fillRect(from, middle - 1, to - from, tone === "none" ? 1 : 2);
    if (room < 30 || !text) { return; }
    pen.font = SMALL;
    const wide = Math.min(pen.measureText(text).width, room);
    pen.fillStyle = colour.back;
    pen.fillRect(Math.max(from, left) + 6, middle - 6, wide + 6, 12);
    write(text, Math.max(from, left) + 9, middle + 0.5, colour.dim, SMALL, room);
}

function drawStripes(row, inset, from, to, gap) {
    pen.save();
    pen.clip();
    pen.strokeStyle = colour.back;
    pen.globalAlpha = 0.16;
    pen.lineWidth = 2;
    pen.beginPath();
    for (let px = Math.max(from, left) - row.h; px < Math.min(to, width); px += gap) {
        pen.moveTo(px, row.y + row.h - inset);
        pen.lineTo(px + row.h - 2 * inset, row.y + inset);
    }
    pen.stroke();
    pen.restore();
}
