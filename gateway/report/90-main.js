// Everything in its place.
function tellHead() {
    document.title = data.title;
    $("title").textContent = data.title;
    const begin = new Date(data.wall), date = `${begin.getFullYear()}-${two(begin.getMonth() + 1)}-${two(begin.getDate())}`;
    $("when").textContent = `${date}, ${two(begin.getHours())}:${two(begin.getMinutes())}:${two(begin.getSeconds())}, for ${duration(data.end)}`;
    $("foot").textContent = `Made ${data.made}. ${data.note}`;
}

function turnClock() {
    timeOfDay = !timeOfDay;
    $("clock").setAttribute("aria-pressed", timeOfDay);
    show(target.from, target.to);
    pageTable(first);
    drawPanel();
}

function begin() {
    tellHead();
    readColours();
    makeCards();
    makeChips();
    if (!events.length) {
        $("nothing").hidden = false;
        $("nothing").textContent = "Nothing happened in this time.";
    }
    drawPanel();
    applyFilter();
    showAll();
    listen();
    document.documentElement.dataset.ready = "true";
}

function listen() {
    listenToPointers();
    document.addEventListener("keydown", onKey);
    $("search").addEventListener("input", () => {
        filter.words = $("search").value;
        applyFilter();
    });
    $("quiet").addEventListener("click", () => {
        filter.quiet = !filter.quiet;
        applyFilter();
    });
    for (const [id, call] of [["in", () => zoom(0.5)], ["out", () => zoom(2)], ["all", showAll], ["clock", turnClock],
        ["before", () => pageTable(first - PAGE)], ["after", () => pageTable(first + PAGE)]]) { $(id).addEventListener("click", call); }
    $("only").addEventListener("change", () => pageTable(0));
    $("theme").addEventListener("click", () => turnTheme(themes[(themes.indexOf(document.documentElement.dataset.theme || "auto") + 1) % themes.length]));
    matchMedia("(prefers-color-scheme: light)").addEventListener("change", () => turnTheme(document.documentElement.dataset.theme || "auto"));
    new ResizeObserver(() => {
        layOut();
        drawOverview();
    }).observe($("chart"));
}

begin();
