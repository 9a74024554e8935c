// The keyboard: all that the mouse can do.
const keys = {
    "+": () => zoom(0.6), "=": () => zoom(0.6), ArrowUp: () => zoom(0.6), "-": () => zoom(1 / 0.6), ArrowDown: () => zoom(1 / 0.6),
    ArrowLeft: () => pan(-0.15), ArrowRight: () => pan(0.15), PageUp: () => pan(-0.9), PageDown: () => pan(0.9),
    Home: () => show(0, target.to - target.from), End: () => show(length - target.to + target.from, length),
    0: showAll, n: () => step(1), p: () => step(-1), Enter: () => $("panel").focus(), Escape: () => select(-1),
};

// The next event that is shown, or the one before.
function step(by) {
    if (!listed.length) { return say("no event is shown"); }
    const here = selected < 0 ? lowerBound(listed.map(place => times[place]), target.from) - (by > 0 ? 1 : 0) : lowerBound(listed, selected);
    const beside = selected >= 0 && by > 0 && listed[here] !== selected ? here : here + by;
    select(listed[Math.max(0, Math.min(listed.length - 1, beside))]);
}

function onKey(event) {
    const typing = event.target.matches("input[type=search]");
    if (event.ctrlKey || event.metaKey || event.altKey) { return; }
    if (event.key === "/" && !typing) {
        event.preventDefault();
        $("search").focus();
    } else if (event.key === "Escape" && !typing) {
        select(-1);
    } else if (event.target === $("chart")) {
        const call = keys[event.key] || keys[event.key.toLowerCase()];
        if (call) {
            event.preventDefault();
            call();
        }
    }
}
