"""Curves and bars as SVG."""

import math
from html import escape

WIDTH = 760
TEXT = "#222222"
GRID = "#dddddd"
COLOURS = ["#1f5fa8", "#c8501e", "#2f8a4c", "#8a4fa3", "#777777"]
DASHES = ["", "7 4", "2 3", "10 3 2 3", "5 5"]
FONT = "font-family='Helvetica, Arial, sans-serif'"


def text(x, y, content, size=13, anchor="start", weight="normal", rotate=None, colour=TEXT):
    turn = f" transform='rotate({rotate} {x:.1f} {y:.1f})'" if rotate is not None else ""
    return (
        f"<text x='{x:.1f}' y='{y:.1f}' {FONT} font-size='{size}' font-weight='{weight}' fill='{colour}' "
        f"text-anchor='{anchor}'{turn}>{escape(content)}</text>"
    )


def line(x1, y1, x2, y2, colour=GRID, width=1.0, dash=""):
    pattern = f" stroke-dasharray='{dash}'" if dash else ""
    return (
        f"<line x1='{x1:.1f}' y1='{y1:.1f}' x2='{x2:.1f}' y2='{y2:.1f}' stroke='{colour}' "
        f"stroke-width='{width}'{pattern}/>"
    )


def document(height, parts):
    return (
        f"<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 {WIDTH} {height}' width='{WIDTH}' height='{height}'>\n"
        f"<rect width='{WIDTH}' height='{height}' fill='#ffffff'/>\n" + "\n".join(parts) + "\n</svg>\n"
    )


def number(value):
    if value == 0 or abs(value) >= 10:
        return f"{value:,.0f}"
    return f"{value:.3g}"


class Axis:
    """Maps values to coordinates, and knows where its ticks are."""

    def __init__(self, values, start, end, logarithmic):
        self.start, self.end, self.logarithmic = start, end, logarithmic
        if logarithmic:
            self.low = math.floor(math.log10(min(values)) + 1e-9)
            self.high = max(math.ceil(math.log10(max(values)) - 1e-9), self.low + 1)
            self.ticks = [10.0**power for power in range(self.low, self.high + 1)]
        else:
            step = self._step(max(values))
            self.low, self.high = 0.0, step * math.ceil(max(values) / step + 1e-9)
            self.ticks = [step * index for index in range(round(self.high / step) + 1)]

    @staticmethod
    def _step(largest):
        """A round number that fits four to eight times."""
        power = 10.0 ** math.floor(math.log10(largest or 1))
        return next(power * part for part in (0.1, 0.2, 0.25, 0.5, 1) if largest / (power * part) <= 8 or part == 1)

    def at(self, value):
        position = math.log10(value) if self.logarithmic else value
        return self.start + (position - self.low) / (self.high - self.low) * (self.end - self.start)


def curves(title, x_label, y_label, series, x_log=True, y_log=False):
    """`series` is a list of (name, [(x, y), ...])."""
    height, left, right, top = 420, 84, WIDTH - 40, 56 + 20 * len(series)
    bottom = height - 62
    points = [point for _, curve in series for point in curve]
    x_axis = Axis([x for x, _ in points], left, right, x_log)
    y_axis = Axis([y for _, y in points], bottom, top, y_log)
    parts = [text(left, 28, title, 16, weight="bold")]
    for tick in x_axis.ticks:
        parts.append(line(x_axis.at(tick), top, x_axis.at(tick), bottom))
        parts.append(text(x_axis.at(tick), bottom + 20, number(tick), anchor="middle"))
    for tick in y_axis.ticks:
        parts.append(line(left, y_axis.at(tick), right, y_axis.at(tick)))
        parts.append(text(left - 8, y_axis.at(tick) + 4, number(tick), anchor="end"))
    parts.append(line(left, bottom, right, bottom, TEXT))
    parts.append(line(left, top, left, bottom, TEXT))
    parts.append(text((left + right) / 2, height - 16, x_label, anchor="middle"))
    parts.append(text(22, (top + bottom) / 2, y_label, anchor="middle", rotate=-90))
    for index, (name, curve) in enumerate(series):
        colour, dash = COLOURS[index % len(COLOURS)], DASHES[index % len(DASHES)]
        y = 50 + 20 * index
        parts.append(line(left, y - 4, left + 34, y - 4, colour, 2.5, dash))
        parts.append(text(left + 42, y, name))
        path = " ".join(f"{x_axis.at(x):.1f},{y_axis.at(value):.1f}" for x, value in curve)
        pattern = f" stroke-dasharray='{dash}'" if dash else ""
        parts.append(f"<polyline points='{path}' fill='none' stroke='{colour}' stroke-width='2.5'{pattern}/>")
        if len(curve) <= 12:
            parts += [
                f"<circle cx='{x_axis.at(x):.1f}' cy='{y_axis.at(value):.1f}' r='3.5' fill='{colour}'/>"
                for x, value in curve
            ]
    return document(height, parts)


def bars(title, x_label, rows, origin=None):
    """Horizontal bars on a logarithmic axis. `rows` is a list of (name, value, label, colour, mark); a mark is drawn as
    a tick across the bar. Bars begin at `origin`, or at the axis."""
    left = 30 + 6.3 * max(len(name) for name, *_ in rows)  # the width of a letter of that size
    right, top, pitch = WIDTH - 84, 56, 22
    bottom = top + pitch * len(rows)
    height = bottom + 62
    values = [value for _, value, *_ in rows] + [mark for *_, mark in rows if mark] + ([origin] if origin else [])
    axis = Axis(values, left, right, True)
    parts = [text(16, 28, title, 16, weight="bold")]
    for tick in axis.ticks:
        parts.append(line(axis.at(tick), top, axis.at(tick), bottom))
        parts.append(text(axis.at(tick), bottom + 20, number(tick), anchor="middle"))
    base = axis.at(origin) if origin else left
    for index, (name, value, label, colour, mark) in enumerate(rows):
        y = top + pitch * index
        end = axis.at(value)
        parts.append(text(left - 10, y + 15, name, 12, anchor="end"))
        parts.append(
            f"<rect x='{min(base, end):.1f}' y='{y + 4}' width='{max(abs(end - base), 1.5):.1f}' height='{pitch - 8}' "
            f"fill='{colour}'/>"
        )
        if mark:
            parts.append(line(axis.at(mark), y + 1, axis.at(mark), y + pitch - 1, TEXT, 2))
        parts.append(text(max(base, end, axis.at(mark) if mark else 0) + 6, y + 15, label, 12))
    parts.append(line(base, top, base, bottom, TEXT))
    parts.append(text((left + right) / 2, height - 16, x_label, anchor="middle"))
    return document(height, parts)
