#!/usr/bin/env python3
"""Draws docs/performance.svg from what the benchmark "refreshcost" has measured, and docs/latency.svg
from what "latency" has."""

import argparse
import json
import math
import pathlib
from xml.sax.saxutils import escape

WIDTH, HEIGHT = 780, 400
PANEL_WIDTH, PANEL_HEIGHT = 270, 250
PANEL_TOP, PANEL_LEFTS = 90, (62, 432)
COUNTS = (100, 100_000)  # of paragraphs, the ends of the x axis
TIMES = (0.3, 30_000)    # in milliseconds, the ends of the y axis

PANELS = (("one line more", "One more line"), ("one slice more", "One more slice of 64 KiB"))
# Name in the measurement, in the picture, and its class. The order is that of the key.
WAYS = (("full rebuild", "write everything again", "rebuild"),
        ("stock layout", "append, Qt’s stock layout", "stock"),
        ("ours", "append, lazy layout", "ours"))

# Of the picture of latencies.
LATENCY_HEIGHT = 300
LATENCY_LEFT, LATENCY_WIDTH = 250, 430
LATENCIES = (0.5, 100)  # in milliseconds, the ends of the x axis
FRAME = 16.7            # of a screen with 60 pictures a second
SITUATIONS = ("idle", "with 100,000 lines", "while another stream floods")
# Name in the measurement, in the picture, and its class.
EVENTS = (("from a program's write to the pixel", "A line of output", "ours"),
          ("from a key to the pixel", "A key in the program input", "stock"))

STYLE = """
text { font: 12px system-ui, sans-serif; fill: #52514e }
.title { font-size: 15px; font-weight: 600; fill: #0b0b0b }
.panel { font-weight: 600; fill: #0b0b0b }
.surface { fill: #fcfcfb }
.grid { stroke: #e1e0d9; stroke-width: 1 }
.axis { stroke: #c3c2b7; stroke-width: 1 }
.line { fill: none; stroke-width: 2; stroke-linejoin: round }
.dot { stroke: #fcfcfb; stroke-width: 2 }
.rebuild { stroke: #eb6834 } .dot.rebuild { fill: #eb6834 }
.stock { stroke: #1baf7a } .dot.stock { fill: #1baf7a }
.ours { stroke: #2a78d6 } .dot.ours { fill: #2a78d6 }
.dot.rebuild, .dot.stock, .dot.ours { stroke: #fcfcfb }
.frame { stroke: #eb6834; stroke-width: 1.5; stroke-dasharray: 4 3 }
@media (prefers-color-scheme: dark) {
  text { fill: #c3c2b7 }
  .title, .panel { fill: #ffffff }
  .surface { fill: #1a1a19 }
  .grid { stroke: #2c2c2a }
  .axis { stroke: #383835 }
  .rebuild { stroke: #d95926 } .dot.rebuild { fill: #d95926 }
  .stock { stroke: #199e70 } .dot.stock { fill: #199e70 }
  .ours { stroke: #3987e5 } .dot.ours { fill: #3987e5 }
  .dot.rebuild, .dot.stock, .dot.ours { stroke: #1a1a19 }
}
"""


def share(value, ends):
    """Where a value lies between the ends of a logarithmic axis, from 0 to 1."""
    low, high = (math.log10(end) for end in ends)
    return (math.log10(value) - low) / (high - low)


def x_of(count, left):
    return left + share(count, COUNTS) * PANEL_WIDTH


def y_of(milliseconds):
    return PANEL_TOP + (1 - share(milliseconds, TIMES)) * PANEL_HEIGHT


def duration(milliseconds):
    if milliseconds >= 1000:
        return f"{milliseconds / 1000:.3g} s"
    return f"{milliseconds:.2g} ms" if milliseconds < 100 else f"{milliseconds:.0f} ms"


def text(x, y, content, anchor="start", kind=""):
    return (f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" class="{kind}">'
            f"{escape(content)}</text>")


def line(x1, y1, x2, y2, kind):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" class="{kind}"/>'


def axes(left, heading):
    bottom, right = PANEL_TOP + PANEL_HEIGHT, left + PANEL_WIDTH
    parts = [text(left, PANEL_TOP - 12, heading, kind="panel")]
    for milliseconds in (1, 10, 100, 1_000, 10_000):
        y = y_of(milliseconds)
        parts.append(line(left, y, right, y, "grid"))
        parts.append(text(left - 8, y + 4, duration(milliseconds), "end"))
    parts.append(line(left, bottom, right, bottom, "axis"))
    for count in (100, 1_000, 10_000, 100_000):
        parts.append(text(x_of(count, left), bottom + 18, f"{count:,}", "middle"))
    parts.append(text(left + PANEL_WIDTH / 2, bottom + 38, "paragraphs already there", "middle"))
    return parts


def spread(positions, distance=14):
    """Moves labels apart that would cover each other; keeps their order."""
    result = {}
    last = -math.inf
    for name, y in sorted(positions.items(), key=lambda item: item[1]):
        last = max(y, last + distance)
        result[name] = last
    return result


def curves(left, points):
    parts = []
    for way, _, kind in WAYS:
        path = " ".join(f"{x_of(x, left):.1f},{y_of(y):.1f}" for x, y in points[way])
        parts.append(f'<polyline points="{path}" class="line {kind}"/>')
    for way, name, kind in WAYS:
        for x, y in points[way]:
            parts.append(f'<circle cx="{x_of(x, left):.1f}" cy="{y_of(y):.1f}" r="4.5" '
                         f'class="dot {kind}"><title>{escape(name)}, {x:,} paragraphs: '
                         f"{duration(y)}</title></circle>")
    labels = spread({way: y_of(points[way][-1][1]) + 4 for way, _, _ in WAYS})
    for way, _, _ in WAYS:
        parts.append(text(left + PANEL_WIDTH + 10, labels[way], duration(points[way][-1][1])))
    return parts


def key():
    parts = []
    x = PANEL_LEFTS[0]
    for _, name, kind in WAYS:
        parts.append(line(x, 48, x + 22, 48, f"line {kind}"))
        parts.append(text(x + 28, 52, name))
        x += 60 + 6.6 * len(name)
    return parts


def chart(figures):
    parts = [f'<rect width="{WIDTH}" height="{HEIGHT}" rx="6" class="surface"/>',
             text(PANEL_LEFTS[0], 26, "Time until new output is on the screen", kind="title")]
    parts += key()
    for left, (what, heading) in zip(PANEL_LEFTS, PANELS):
        points = {way: sorted((int(figure["x"]), figure["value"]) for figure in figures
                              if figure.get("series") == f"{way}, {what}") for way, _, _ in WAYS}
        parts += axes(left, heading) + curves(left, points)
    return "\n".join([f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
                      f'width="{WIDTH}" height="{HEIGHT}" role="img" '
                      'aria-label="Time until new output is on the screen, by paragraphs '
                      'already there">', f"<style>{STYLE}</style>", *parts, "</svg>", ""])


def latency_x(milliseconds):
    return LATENCY_LEFT + share(milliseconds, LATENCIES) * LATENCY_WIDTH


def latency_row(y, situation, kind, median, worst):
    """A line from the median, a dot, to what 99 of 100 do not exceed, another dot."""
    left, right = latency_x(median), latency_x(worst)
    dots = "".join(f'<circle cx="{x:.1f}" cy="{y}" r="4.5" class="dot {kind}"><title>{what}: '
                   f"{duration(value)}</title></circle>"
                   for x, value, what in ((left, median, "half of them"),
                                          (right, worst, "99 of 100")))
    return [text(LATENCY_LEFT - 14, y + 4, situation, "end"),
            line(left, y, right, y, f"line {kind}"), dots,
            text(right + 10, y + 4, f"{duration(median)} … {duration(worst)}")]


def latency_chart(figures):
    values = {figure["name"]: figure["value"] for figure in figures}
    top, bottom = 60, LATENCY_HEIGHT - 46
    parts = [f'<rect width="{WIDTH}" height="{LATENCY_HEIGHT}" rx="6" class="surface"/>',
             text(62, 26, "From a write or a key to the screen: half of them … 99 of 100",
                  kind="title")]
    for milliseconds in (0.5, 1, 2, 5, 10, 20, 50, 100):
        x = latency_x(milliseconds)
        parts.append(line(x, top, x, bottom, "grid"))
        parts.append(text(x, bottom + 18, duration(milliseconds), "middle"))
    parts.append(line(latency_x(FRAME), top - 6, latency_x(FRAME), bottom, "frame"))
    parts.append(text(latency_x(FRAME), bottom + 36, "one picture of a screen at 60 Hz", "middle"))
    y = top + 12
    for name, heading, kind in EVENTS:
        parts.append(text(62, y + 4, heading, kind="panel"))
        for situation in SITUATIONS:
            y += 24
            parts += latency_row(y, situation, kind, values[f"{name}, {situation}, median"],
                                 values[f"{name}, {situation}, 99 of 100"])
        y += 26
    return "\n".join([f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} '
                      f'{LATENCY_HEIGHT}" width="{WIDTH}" height="{LATENCY_HEIGHT}" role="img" '
                      'aria-label="Time from a write or a key to the screen">',
                      f"<style>{STYLE}</style>", *parts, "</svg>", ""])


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("results", nargs="?", type=pathlib.Path,
                        default=root / "build/benchmark/results",
                        help="where the benchmarks have written (default: %(default)s)")
    parser.add_argument("pictures", nargs="?", type=pathlib.Path, default=root / "docs",
                        help="where the pictures are written (default: %(default)s)")
    arguments = parser.parse_args()
    for benchmark, picture, draw in (("refreshcost", "performance", chart),
                                     ("latency", "latency", latency_chart)):
        results = arguments.results / f"{benchmark}.json"
        if results.exists():
            figures = json.loads(results.read_text(encoding="utf-8"))["figures"]
            (arguments.pictures / f"{picture}.svg").write_text(draw(figures), encoding="utf-8")
        else:
            print(f"Not measured yet: {benchmark}")


if __name__ == "__main__":
    main()
