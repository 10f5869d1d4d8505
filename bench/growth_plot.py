"""The plot of bench/growth: four panels in one SVG, logarithmic on both axes."""
import html
import math

WIDTH, HEIGHT = 470, 300  # of one panel
LEFT, RIGHT, TOP, BOTTOM = 68, 30, 40, 44  # around its axes
LEGEND = 150  # under each column
COLOURS = {"8-bit": "#1b6ca8", "base64": "#c8501e", "quoted-printable": "#3b8c3b", "parts": "#1b6ca8",
           "header lines": "#c8501e"}
# What is done with it: dashes, and the shape of the marks.
STYLES = {"extracted": ("", "circle"), "filter": ("6 4", "square"), "open and list": ("", "circle"),
          "open and values": ("", "circle"), "all extracted": ("2 3", "circle")}


def text(x, y, words, anchor="middle", extra=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{extra}>{html.escape(words)}</text>'


def style_of(name):
    kind, _, use = name.partition(", ")
    return (COLOURS[kind], *STYLES[use])


def mark(x, y, colour, shape):
    if shape == "circle":
        return f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3.2" fill="{colour}"/>'
    return f'<rect x="{x - 3:.1f}" y="{y - 3:.1f}" width="6" height="6" fill="{colour}"/>'


def polyline(points, colour, dashes):
    pairs = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
    dashed = f' stroke-dasharray="{dashes}"' if dashes else ""
    return f'<polyline points="{pairs}" fill="none" stroke="{colour}" stroke-width="1.6"{dashed}/>'


def seconds(value):
    for unit, factor in (("s", 1), ("ms", 1e3), ("µs", 1e6)):
        if value * factor >= 0.999 or unit == "µs":
            return f"{value * factor:.0f} {unit}"
    return ""


def megabytes(value):
    return f"{value / 1000:.0f} GB" if value >= 1000 else f"{value:.0f} MB"


def count(value):
    return f"{value:,.0f}"


def mebibytes(value):
    return f"{value / 1024:g} GiB" if value >= 1024 else f"{value:g} MiB"


def panel(x0, y0, title, series, column, x_label, y_label, y_base):
    """One panel; `column` 1 is time, 2 memory. Horizontal lines stand at powers of `y_base`."""
    points = [point for line in series.values() for point in line]
    x_low, x_high = math.log10(min(p[0] for p in points)), math.log10(max(p[0] for p in points))
    low = math.floor(math.log(min(p[column] for p in points), y_base))
    high = max(math.ceil(math.log(max(p[column] for p in points), y_base)), low + 2)
    left, right, top, bottom = x0 + LEFT, x0 + WIDTH - RIGHT, y0 + TOP, y0 + HEIGHT - BOTTOM

    def at(value, logarithm):
        x = left + (math.log10(value) - x_low) / max(x_high - x_low, 1) * (right - left)
        return x, bottom - (logarithm - low) / (high - low) * (bottom - top)

    out = [text((left + right) / 2, y0 + 22, title, extra=' font-weight="bold"')]
    for power in range(low, high + 1):
        y = at(10**x_low, power)[1]
        out.append(f'<line x1="{left}" y1="{y:.1f}" x2="{right}" y2="{y:.1f}" stroke="#dddddd"/>')
        out.append(text(left - 6, y + 4, y_label(y_base**power), "end"))
    for step in sorted({p[0] for p in points}):
        x = at(step, low)[0]
        out.append(f'<line x1="{x:.1f}" y1="{top}" x2="{x:.1f}" y2="{bottom}" stroke="#dddddd"/>')
        out.append(text(x, bottom + 18, x_label(step)))
    for name, line in series.items():
        colour, dashes, shape = style_of(name)
        places = [at(p[0], math.log(p[column], y_base)) for p in line]
        out.append(polyline(places, colour, dashes))
        out += [mark(x, y, colour, shape) for x, y in places]
    return out


def legend(x0, y0, names):
    out = []
    for i, name in enumerate(names):
        colour, dashes, shape = style_of(name)
        y = y0 + 20 * i
        out.append(polyline([(x0, y), (x0 + 44, y)], colour, dashes))
        out += [mark(x0 + 22, y, colour, shape), text(x0 + 54, y + 4, name, "start")]
    return out


def write(path, by_size, by_count):
    out = ['<svg xmlns="http://www.w3.org/2000/svg" '
           f'viewBox="0 0 {2 * WIDTH} {2 * HEIGHT + LEGEND}" font-family="sans-serif" font-size="12">',
           f'<rect width="{2 * WIDTH}" height="{2 * HEIGHT + LEGEND}" fill="white"/>']
    out += panel(0, 0, "Time by size", by_size, 1, megabytes, seconds, 10)
    out += panel(WIDTH, 0, "Time by number of parts or header lines", by_count, 1, count, seconds, 10)
    out += panel(0, HEIGHT, "Peak memory by size", by_size, 2, megabytes, mebibytes, 2)
    out += panel(WIDTH, HEIGHT, "Peak memory by number", by_count, 2, count, mebibytes, 2)
    out += legend(LEFT, 2 * HEIGHT + 12, by_size)
    out += legend(WIDTH + LEFT, 2 * HEIGHT + 12, by_count)
    path.write_text("\n".join([*out, "</svg>", ""]), encoding="utf-8")
