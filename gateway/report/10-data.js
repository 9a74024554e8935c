// What the page shows, as it was written into it, and times for people.
const data = JSON.parse(document.getElementById("data").textContent);
const AT = 0, KIND = 1, WHO = 2, TEXT = 3, TOOK = 4, BAD = 5, CAUSE = 6, MORE = 7;
const events = data.events, kinds = data.kinds.map(([name]) => name), length = Math.max(data.end, 1000);
const times = Float64Array.from(events, event => event[AT]);

// The first place of a sorted array whose value is not below.
function lowerBound(sorted, value) {
    let low = 0, high = sorted.length;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (sorted[middle] < value) { low = middle + 1; } else { high = middle; }
    }
    return low;
}

for (const lane of data.lanes) {
    lane.starts = Float64Array.from(lane.spans, span => span[0]);
    lane.words = [lane.group, lane.name, lane.path, ...new Set(lane.spans.map(span => span[1]))].join(" ").toLowerCase();
}

// What each event brought about: the first of them, and of each the next with the same cause.
const firstChild = new Int32Array(events.length).fill(-1), nextChild = new Int32Array(events.length).fill(-1);
for (let place = events.length - 1; place >= 0; place--) {
    const cause = events[place][CAUSE];
    if (!(cause >= 0 && cause < events.length) || cause === place) {
        events[place][CAUSE] = -1;
    } else {
        nextChild[place] = firstChild[cause];
        firstChild[cause] = place;
    }
}

// Of each event the lane that it gave a new state.
const turned = new Map();
for (const lane of data.lanes) {
    lane.spans.forEach((span, number) => {
        if (span[3] >= 0) { turned.set(span[3], [...turned.get(span[3]) || [], [lane, number]]); }
    });
}

let timeOfDay = false;
const two = number => String(Math.floor(number)).padStart(2, "0");

// A moment with as many digits as tell it from another one that is `step` microseconds off.
function moment(at, step = 1000) {
    const digits = step >= 1e6 ? 0 : step >= 1e3 ? 3 : 6;
    if (timeOfDay) {
        const day = new Date(data.wall + at / 1000), rest = (data.wall * 1000 + at) % 1e6;
        const fraction = digits ? "." + String(Math.floor(rest)).padStart(6, "0").slice(0, digits) : "";
        return `${two(day.getHours())}:${two(day.getMinutes())}:${two(day.getSeconds())}${fraction}`;
    }
    const seconds = at / 1e6;
    if (length < 120e6) { return `${seconds.toFixed(digits === 0 ? 0 : step >= 1e5 ? 1 : digits)} s`; }
    const whole = Math.floor(seconds), tail = digits ? (seconds - whole).toFixed(digits).slice(1) : "";
    return (whole >= 3600 ? `${Math.floor(whole / 3600)}:` : "") + `${two(whole / 60 % 60)}:${two(whole % 60)}${tail}`;
}

// How long something takes, in the unit that suits it.
function duration(micro) {
    const size = Math.abs(micro);
    if (size < 1000) { return `${Math.round(micro)} µs`; }
    if (size < 1e6) { return `${(micro / 1e3).toFixed(size < 1e4 ? 1 : 0)} ms`; }
    if (size < 120e6) { return `${(micro / 1e6).toFixed(size < 1e7 ? 2 : 1)} s`; }
    return `${Math.floor(micro / 60e6)} min ${Math.round(micro / 1e6) % 60} s`;
}
