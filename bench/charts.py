"""Line charts as SVG, readable on light and on dark pages."""

import math
from dataclasses import dataclass, field
from xml.sax.saxutils import escape

WIDTH, HEIGHT = 720, 400
LEFT, RIGHT, TOP, BOTTOM = 78, 24, 76, 52

# One colour and one marker a line: neither has to be told apart alone. The second set of colours
# is for dark pages.
COLOURS = (("#1f6fc4", "#6cb0f5"), ("#c2540a", "#f0985a"), ("#1c8a5a", "#5ecf9c"),
           ("#8a4bb8", "#c79af0"))
MARKERS = ("circle", "square", "diamond", "triangle")

STYLE = """
  .page { fill: #ffffff; stroke: #d5dae0; }
  .title { fill: #1b222b; font-weight: 600; font-size: 16px; }
  .text { fill: #4a5562; font-size: 13px; }
  .grid { stroke: #e3e7ec; stroke-width: 1; }
  .axis { stroke: #8a94a0; stroke-width: 1; }
"""
DARK_STYLE = """
    .page { fill: #12171e; stroke: #2f3843; }
    .title { fill: #eef2f6; }
    .text { fill: #b4bfcb; }
    .grid { stroke: #262e38; }
    .axis { stroke: #6b7683; }
"""


@dataclass
class Chart:
    """Lines are (label, [(x, y), ...]); logarithmic axes where asked for."""
    title: str
    x_label: str
    y_label: str
    lines: list
    log_x: bool = False
    log_y: bool = False
    least_y: float | None = None
    x_ticks: tuple = field(default_factory=tuple)


class Axis:
    """From values to pixels, with round ticks."""

    def __init__(self, values, first, last, log, least=None, ticks=()):
        low = min(values) if least is None else min(least, min(values))
        high = max(values)
        self.log, self.first, self.last = log, first, last
        self.ticks = list(ticks) or (log_ticks(low, high) if log else linear_ticks(low, high))
        if not log:
            low, high = min(low, self.ticks[0]), max(high, self.ticks[-1])
        else:
            low, high = low / 1.12, high * 1.12
        self.low, self.high = self.scaled(low), self.scaled(high)

    def scaled(self, value):
        return math.log10(value) if self.log else value

    def at(self, value):
        share = (self.scaled(value) - self.low) / (self.high - self.low)
        return self.first + (self.last - self.first) * share


def linear_ticks(low, high):
    step = 10 ** math.floor(math.log10((high - low) / 4))
    step *= next(factor for factor in (1, 2, 2.5, 5, 10) if (high - low) / (step * factor) <= 6)
    first = math.floor(low / step + 1e-9)
    return [index * step for index in range(first, math.ceil(high / step - 1e-9) + 1)]


def log_ticks(low, high):
    decades = range(math.floor(math.log10(low)), math.ceil(math.log10(high)) + 1)
    factors = (1, 2, 5) if math.log10(high / low) < 2.5 else (1,)
    ticks = [factor * 10.0 ** decade for decade in decades for factor in factors]
    return [tick for tick in ticks if low / 1.1 <= tick <= high * 1.1]


def number(value):
    return f"{value:,.0f}" if value >= 1000 else f"{value:g}"


def marker(kind, x, y, style):
    if kind == "circle":
        return f'<circle cx="{x:.1f}" cy="{y:.1f}" r="4" class="{style} dot"/>'
    shapes = {"square": ((-3.6, -3.6), (3.6, -3.6), (3.6, 3.6), (-3.6, 3.6)),
              "diamond": ((0, -5), (5, 0), (0, 5), (-5, 0)),
              "triangle": ((0, -4.8), (4.6, 3.6), (-4.6, 3.6))}
    corners = " ".join(f"{x + dx:.1f},{y + dy:.1f}" for dx, dy in shapes[kind])
    return f'<polygon points="{corners}" class="{style} dot"/>'


def text(x, y, words, style="text", anchor="middle", extra=""):
    return (f'<text x="{x:.1f}" y="{y:.1f}" class="{style}" text-anchor="{anchor}"{extra}>'
            f"{escape(words)}</text>")


def draw_axes(chart, x_axis, y_axis):
    bottom, right = HEIGHT - BOTTOM, WIDTH - RIGHT
    parts = []
    for tick in y_axis.ticks:
        y = y_axis.at(tick)
        parts.append(f'<line class="grid" x1="{LEFT}" x2="{right}" y1="{y:.1f}" y2="{y:.1f}"/>')
        parts.append(text(LEFT - 8, y + 4.5, number(tick), anchor="end"))
    for tick in x_axis.ticks:
        x = x_axis.at(tick)
        parts.append(f'<line class="axis" x1="{x:.1f}" x2="{x:.1f}" y1="{bottom}" '
                     f'y2="{bottom + 5}"/>')
        parts.append(text(x, bottom + 19, number(tick)))
    parts.append(f'<line class="axis" x1="{LEFT}" x2="{right}" y1="{bottom}" y2="{bottom}"/>')
    parts.append(text((LEFT + right) / 2, HEIGHT - 12, chart.x_label))
    middle = (TOP + bottom) / 2
    parts.append(text(20, middle, chart.y_label, extra=f' transform="rotate(-90 20 {middle:.1f})"'))
    return parts


def draw_lines(chart, x_axis, y_axis):
    parts, legend = [], LEFT
    for index, (label, points) in enumerate(chart.lines):
        style, kind = f"line{index}", MARKERS[index % len(MARKERS)]
        places = [(x_axis.at(x), y_axis.at(y)) for x, y in sorted(points)]
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in places)
        parts.append(f'<polyline points="{path}" class="{style} stroke"/>')
        parts += [marker(kind, x, y, style) for x, y in places]
        parts.append(f'<line x1="{legend}" x2="{legend + 22}" y1="52" y2="52" '
                     f'class="{style} stroke"/>')
        parts.append(marker(kind, legend + 11, 52, style))
        parts.append(text(legend + 28, 56.5, label, anchor="start"))
        legend += 28 + 6.9 * len(label) + 14
    return parts


def line_style(dark):
    return "".join(f".line{index}.stroke {{ stroke: {pair[dark]}; }} "
                   f".line{index}.dot {{ fill: {pair[dark]}; }}\n"
                   for index, pair in enumerate(COLOURS))


def draw(chart):
    """The chart as the text of an SVG file."""
    xs = [x for _, points in chart.lines for x, _ in points]
    ys = [y for _, points in chart.lines for _, y in points]
    x_axis = Axis(xs, LEFT, WIDTH - RIGHT, chart.log_x, None if chart.log_x else 0.0,
                  chart.x_ticks)
    y_axis = Axis(ys, HEIGHT - BOTTOM, TOP, chart.log_y, chart.least_y)
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
        f'width="{WIDTH}" height="{HEIGHT}" font-family="system-ui, sans-serif" role="img">',
        f"<title>{escape(chart.title)}</title>",
        f"<style>{STYLE}  .stroke {{ fill: none; stroke-width: 2; }}\n{line_style(False)}"
        f"@media (prefers-color-scheme: dark) {{{DARK_STYLE}{line_style(True)}}}</style>",
        f'<rect class="page" x="0.5" y="0.5" width="{WIDTH - 1}" height="{HEIGHT - 1}" rx="6"/>',
        text(LEFT, 30, chart.title, "title", "start"),
        *draw_axes(chart, x_axis, y_axis),
        *draw_lines(chart, x_axis, y_axis),
        "</svg>"]
    return "\n".join(parts) + "\n"
