// Elements. Nothing of the data is ever taken for markup: it becomes text, and text alone.
const $ = id => document.getElementById(id);

function element(name, attributes = {}, ...children) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) {
        if (key.startsWith("on")) { made.addEventListener(key.slice(2), value); } else { made.setAttribute(key, value); }
    }
    made.append(...children.filter(child => child !== null && child !== undefined));
    return made;
}

function say(text) { $("told").textContent = text; }

// A canvas as sharp as the screen is, with its pen.
function fitted(canvas, width, height) {
    const sharp = Math.min(window.devicePixelRatio || 1, 3);
    if (canvas.width !== Math.round(width * sharp) || canvas.height !== Math.round(height * sharp)) {
        canvas.width = Math.round(width * sharp);
        canvas.height = Math.round(height * sharp);
        canvas.style.width = `${width}px`;
        canvas.style.height = `${height}px`;
    }
    const pen = canvas.getContext("2d");
    pen.setTransform(sharp, 0, 0, sharp, 0, 0);
    pen.clearRect(0, 0, width, height);
    return pen;
}

// The colours of the theme, by the names that the style gives them.
let colour = {};
function readColours() {
    const style = getComputedStyle(document.documentElement);
    colour = {};
    for (const name of ["back", "text", "dim", "grid", "line", "accent", "good", "warn", "bad", "off", "none", ...kinds]) {
        colour[name] = style.getPropertyValue(`--${name}`).trim();
    }
}

const themes = ["auto", "dark", "light"];
function turnTheme(to) {
    document.documentElement.dataset.theme = to;
    $("theme").textContent = `theme: ${to}`;
    readColours();
    redraw();
}
