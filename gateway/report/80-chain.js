// An event's chain: what it came from, up to the first cause, and all that came of that.
const NODES = 400;  // of a chain that are kept
const LISTED = 120;  // and listed
const AROUND = 6;  // log lines before and behind
let selected = -1, chain = [];

function rootOf(event) {
    for (let steps = 0; steps < 1000 && events[event][CAUSE] >= 0; steps++) { event = events[event][CAUSE]; }
    return event;
}

// {event, deep} in the order in which it happened, the cause before its effects; log lines only among what is asked for.
function chainOf(event) {
    const found = [], waiting = [{event: rootOf(event), deep: 0}];
    while (waiting.length && found.length < NODES) {
        const node = waiting.pop();
        found.push(node);
        const below = [];
        for (let child = firstChild[node.event]; child >= 0; child = nextChild[child]) { below.push({event: child, deep: node.deep + 1}); }
        waiting.push(...below.reverse());
    }
    return found.some(node => node.event === event) ? found : [...pathTo(event), ...found.slice(1)];
}

function pathTo(event) {
    const path = [];
    for (let steps = 0; event >= 0 && steps < 1000; steps++) {
        path.unshift({event, deep: 0});
        event = events[event][CAUSE];
    }
    return path.map((node, deep) => ({...node, deep}));
}

function select(event) {
    selected = event;
    chain = event < 0 ? [] : chainOf(event);
    drawPanel();
    if (event >= 0) {
        bring(times[event]);
        say(`${moment(times[event])}, ${kinds[events[event][KIND]]}: ${events[event][TEXT].slice(0, 200)}`);
    }
    document.body.classList.toggle("chosen", event >= 0);
    markRow();
    redraw();
}

function logAround(event) {
    const number = kinds.indexOf("log"), around = [];
    const near = (place, by) => {
        for (let count = 0; count < AROUND && place >= 0 && place < events.length; place += by) {
            if (events[place][KIND] === number) {
                around.push(place);
                count++;
            }
        }
    };
    near(event - 1, -1);
    around.reverse();
    near(event + 1, 1);
    return around;
}
