"""Growth as a picture: cost over size, both axes logarithmic, where a straight line of the dashed slope is linear."""
import math
from xml.sax.saxutils import escape

WIDTH, HEIGHT = 460, 340
LEFT, RIGHT, TOP, BOTTOM = 62, 24, 40, 46
LEGEND_LINE = 18
COLOURS = ["#1b6ca8", "#c0392b", "#2e8b57", "#8e44ad", "#d68910", "#16a085"]
STYLE = ("text{font:12px sans-serif;fill:#222} .title{font-weight:bold;font-size:14px} .grid{stroke:#ddd} "
         ".linear{stroke:#888;stroke-dasharray:5 4} polyline{fill:none;stroke-width:2}")


class Panel:
    """One pair of axes."""

    def __init__(self, growths, title, unit, left):
        self.growths, self.title, self.unit, self.left = growths, title, unit, left
        self.sizes = growths[0].sizes
        costs = [cost for growth in growths for cost in growth.costs]
        self.low = math.floor(math.log10(min(costs)))
        self.high = max(self.low + 1, math.ceil(math.log10(max(costs))))

    def x(self, size):
        part = math.log(size / self.sizes[0]) / math.log(self.sizes[-1] / self.sizes[0])
        return self.left + LEFT + part * (WIDTH - LEFT - RIGHT)

    def y(self, cost):
        part = (math.log10(cost) - self.low) / (self.high - self.low)
        return HEIGHT - BOTTOM - part * (HEIGHT - TOP - BOTTOM)

    def draw(self):
        yield text(self.left + LEFT, TOP - 16, self.title, "title")
        yield from self._grid()
        yield from self._linear()
        for number, growth in enumerate(self.growths):
            yield from self._line(growth, COLOURS[number % len(COLOURS)], HEIGHT + number * LEGEND_LINE)

    def _grid(self):
        for power in range(self.low, self.high + 1):
            height = self.y(10 ** power)
            yield line(self.x(self.sizes[0]), height, self.x(self.sizes[-1]), height, "grid")
            yield text(self.left + LEFT - 8, height + 4, axis(power), anchor="end")
        for size in self.sizes:
            yield text(self.x(size), HEIGHT - BOTTOM + 18, f"{size}", anchor="middle")
        yield text(self.x(self.sizes[-1]), HEIGHT - BOTTOM + 36, self.unit, anchor="end")

    def _linear(self):
        """From the lower left corner, as far as it stays inside."""
        most = min(self.sizes[-1], self.sizes[0] * 10 ** (self.high - self.low))
        start = 10 ** self.low
        yield line(self.x(self.sizes[0]), self.y(start), self.x(most), self.y(start * most / self.sizes[0]), "linear")

    def _line(self, growth, colour, legend):
        points = " ".join(f"{self.x(size):.1f},{self.y(cost):.1f}" for size, cost in zip(growth.sizes, growth.costs))
        yield f'<polyline points="{points}" stroke="{colour}"/>'
        start = self.left + LEFT
        yield f'<polyline points="{start},{legend - 4} {start + 24},{legend - 4}" stroke="{colour}"/>'
        yield text(start + 32, legend, growth.what)


def axis(power):
    """A power of ten of microseconds."""
    unit = ["us", "ms", "s"][min(power // 3, 2)] if power >= 0 else "us"
    return f"{10 ** (power - 3 * ['us', 'ms', 's'].index(unit)):g} {unit}"


def text(x, y, words, style="", anchor="start"):
    return f'<text x="{x:.1f}" y="{y:.1f}" class="{style}" text-anchor="{anchor}">{escape(words)}</text>'


def line(x1, y1, x2, y2, style):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" class="{style}"/>'


def svg(tables, links):
    panels = [Panel(tables, "data model: cost over the size of the table", "records", 0),
              Panel(links, "events: cost over the number of WAN links", "WAN links", WIDTH)]
    height = HEIGHT + max(len(tables), len(links)) * LEGEND_LINE
    drawn = "\n".join(part for panel in panels for part in panel.draw())
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {2 * WIDTH} {height}">\n<style>{STYLE}</style>\n'
            f'<rect width="100%" height="100%" fill="white"/>\n{drawn}\n</svg>\n')
