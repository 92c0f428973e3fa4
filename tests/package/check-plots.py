#!/usr/bin/env python3
"""check-plots.py TALVO LIBRARY RSVG_CONVERT

Draws plots with the statistics package's Plot, Histogram and QQPlot (in a
scratch folder), renders each SVG file headless with rsvg-convert to a PNG,
decodes the PNG (zlib and the PNG row filters, nothing else) and checks the
picture:

- it is not blank: the frame, the title, the tick labels and the axis names
  are drawn (dark pixels where each belongs);
- Plot: the curve's highest point lies above the mode of the law (within
  4 pixels of the mode's column);
- Histogram: the tallest bar is the bin holding the most values; with
  density = true the kernel density curve is drawn over the bars, its peak
  above the centre of data that are symmetric about it;
- QQPlot: data that are the law's own quantiles lie on the diagonal.

The page layout is the package's (package/plots.tv): 640 x 420, the plotting
area from x = 70 to 620 and y = 40 (top) to 365 (bottom).
"""
import os
import struct
import subprocess
import sys
import tempfile
import zlib

LEFT, RIGHT, TOP, BOTTOM = 70, 620, 40, 365
CURVE = (0x1F, 0x5F, 0xBF)
BAR = (0x8F, 0xB3, 0xE0)
DENSITY = (0xC0, 0x30, 0x30)

SCRIPT = r'''
Plot(Normal(1, 0.5), range = -1..3, file = "normal.svg");
Plot(Gamma(2, 2), range = 0..12, file = "gamma.svg");
Plot(Weibull(2, 3), range = 0..4, file = "weibull.svg", title = "Weibull <2, 3> & more");
Plot(Poisson(3.5), range = 0..12, file = "poisson.svg");
Histogram([1, 2, 2, 3, 3, 3, 4, 4, 5], bins = 5, file = "histogram.svg");
Histogram([0, 1, 1.5, 2, 2.5, 2.5, 2.5, 3, 3.5, 4, 5], bins = 5, density = true, file = "density.svg");
QQPlot([seq(Quantile(Normal(0, 1), (i - 1/2)/20), i = 1..20)], Normal(0, 1), file = "qq.svg");
'''


def read_png(path):
    data = open(path, "rb").read()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "not a PNG file"
    pos, idat, width = 8, b"", None
    while pos < len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        pos += 12 + length
        if kind == b"IHDR":
            width, height, depth, colour, _, _, interlace = struct.unpack(">IIBBBBB", body)
            assert depth == 8 and colour in (2, 6) and interlace == 0, "unexpected PNG format"
            channels = 4 if colour == 6 else 3
        elif kind == b"IDAT":
            idat += body
    raw = zlib.decompress(idat)
    stride = width * channels
    rows, prev = [], bytearray(stride)
    for y in range(height):
        f = raw[y * (stride + 1)]
        line = bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for i in range(stride):
            a = line[i - channels] if i >= channels else 0
            b = prev[i]
            c = prev[i - channels] if i >= channels else 0
            if f == 1:
                line[i] = (line[i] + a) & 255
            elif f == 2:
                line[i] = (line[i] + b) & 255
            elif f == 3:
                line[i] = (line[i] + (a + b) // 2) & 255
            elif f == 4:
                p = a + b - c
                pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                pr = a if pa <= pb and pa <= pc else b if pb <= pc else c
                line[i] = (line[i] + pr) & 255
        rows.append(line)
        prev = line
    def pixel(x, y):
        r = rows[y]
        k = x * channels
        if channels == 4 and r[k + 3] == 0:
            return (255, 255, 255)
        return (r[k], r[k + 1], r[k + 2])
    return width, height, pixel


def near(p, colour, tol=40):
    return all(abs(a - b) <= tol for a, b in zip(p, colour))


def dark(p):
    return sum(p) < 3 * 110


class Checks:
    def __init__(self):
        self.failures = 0

    def expect(self, ok, what):
        print(("ok      " if ok else "FAILED  ") + what)
        if not ok:
            self.failures += 1


def count(pixel, xs, ys, test):
    return sum(1 for x in xs for y in ys if test(pixel(x, y)))


def common(c, name, w, h, pixel):
    c.expect((w, h) == (640, 420), "%s: the picture is 640 x 420" % name)
    nonwhite = count(pixel, range(0, w, 2), range(0, h, 2), lambda p: p != (255, 255, 255))
    c.expect(nonwhite > 500, "%s: not blank (%d non-white pixels of every fourth)" % (name, nonwhite))
    c.expect(count(pixel, range(LEFT, RIGHT), range(4, 30), dark) > 50, "%s: the title is drawn" % name)
    c.expect(count(pixel, range(LEFT - 10, RIGHT + 10), range(BOTTOM + 8, BOTTOM + 26), dark) > 30,
             "%s: the x tick labels are drawn" % name)
    c.expect(count(pixel, range(25, LEFT - 8), range(TOP - 5, BOTTOM + 5), dark) > 30,
             "%s: the y tick labels are drawn" % name)
    c.expect(count(pixel, range(LEFT, RIGHT), range(h - 25, h), dark) > 10, "%s: the x axis is named" % name)
    c.expect(count(pixel, range(5, 25), range(TOP, BOTTOM), dark) > 10, "%s: the y axis is named" % name)
    # The frame's edge is a line of width 1 on the pixel boundary: grey over
    # the two rows it touches.
    frame = all(min(sum(pixel(x, y)) for y in (BOTTOM - 1, BOTTOM)) < 3 * 200 for x in range(LEFT + 5, RIGHT - 5, 25))
    c.expect(frame, "%s: the frame's bottom edge is drawn" % name)


def top_of(pixel, colour, xs, ys):
    """The highest (smallest y) pixel of the colour: (x, y), or None."""
    for y in ys:
        hits = [x for x in xs if near(pixel(x, y), colour)]
        if hits:
            return (sum(hits) / len(hits), y)
    return None


def main():
    talvo, lib, rsvg = [os.path.abspath(a) if os.path.exists(a) else a for a in sys.argv[1:4]]
    c = Checks()
    if not os.path.exists(rsvg):
        c.expect(False, "rsvg-convert is installed (Debian package librsvg2-bin; scripts/setup installs it)")
        return 1
    with tempfile.TemporaryDirectory() as scratch:
        p = subprocess.run([talvo, "--lib", lib, "-e", SCRIPT], cwd=scratch, capture_output=True, text=True,
                           timeout=600)
        c.expect(p.returncode == 0, "the plots are drawn (talvo printed: %s)" % (p.stdout + p.stderr).strip().replace("\n", " "))
        pictures = {}
        for name in ("normal", "gamma", "weibull", "poisson", "histogram", "density", "qq"):
            svg = os.path.join(scratch, name + ".svg")
            if not os.path.exists(svg):
                c.expect(False, "%s.svg was written" % name)
                continue
            text = open(svg).read()
            c.expect(text.count("<text") >= 8 and "</svg>" in text, "%s.svg has its labels and ends" % name)
            png = os.path.join(scratch, name + ".png")
            r = subprocess.run([rsvg, svg, "-o", png], capture_output=True, text=True)
            c.expect(r.returncode == 0, "%s.svg renders (%s)" % (name, r.stderr.strip()))
            if r.returncode == 0:
                pictures[name] = read_png(png)
                common(c, name, *pictures[name])
        if "weibull" in pictures:
            text = open(os.path.join(scratch, "weibull.svg")).read()
            c.expect("Weibull &lt;2, 3&gt; &amp; more" in text, "weibull.svg: the title's <, > and & are escaped")

    xs = range(LEFT, RIGHT + 1)
    ys = range(TOP - 5, BOTTOM)
    # The mode of each law, and where it lies on the page for the range drawn.
    for name, mode, lo, hi in (("normal", 1.0, -1.0, 3.0), ("gamma", 2.0, 0.0, 12.0),
                               ("weibull", 2 * (2 / 3) ** (1 / 3), 0.0, 4.0)):
        if name not in pictures:
            continue
        _, _, pixel = pictures[name]
        t = top_of(pixel, CURVE, xs, ys)
        want = LEFT + (mode - lo) / (hi - lo) * (RIGHT - LEFT)
        c.expect(t is not None and abs(t[0] - want) <= 4,
                 "%s: the curve's peak is at x = %s, the mode's column is %.1f" % (name, t and round(t[0], 1), want))
        c.expect(t is not None and t[1] <= TOP + 30, "%s: the peak reaches the top of the plotting area" % name)
    if "poisson" in pictures:
        _, _, pixel = pictures["poisson"]
        t = top_of(pixel, CURVE, xs, ys)
        want = LEFT + (3 + 0.5) / 13 * (RIGHT - LEFT)  # window -0.5 .. 12.5, mode 3
        c.expect(t is not None and abs(t[0] - want) <= 4,
                 "poisson: the tallest stem is at x = %s, the mode's column is %.1f" % (t and round(t[0], 1), want))
    if "histogram" in pictures:
        _, _, pixel = pictures["histogram"]
        t = top_of(pixel, BAR, xs, ys)
        lo_col, hi_col = LEFT + 1.6 / 4 * 550, LEFT + 2.4 / 4 * 550  # the bin [2.6, 3.4] of [1, 5]
        c.expect(t is not None and lo_col <= t[0] <= hi_col,
                 "histogram: the tallest bar is at x = %s, inside the middle bin's columns %.0f .. %.0f"
                 % (t and round(t[0], 1), lo_col, hi_col))
    if "density" in pictures:
        _, _, pixel = pictures["density"]
        curve = count(pixel, xs, ys, lambda p: near(p, DENSITY))
        c.expect(curve > 300, "density: the kernel density curve is drawn (%d pixels)" % curve)
        c.expect(top_of(pixel, BAR, xs, ys) is not None, "density: the bars are drawn")
        t = top_of(pixel, DENSITY, xs, ys)
        want = LEFT + 2.5 / 5 * (RIGHT - LEFT)  # data symmetric about 2.5, range [0, 5]
        c.expect(t is not None and abs(t[0] - want) <= 4,
                 "density: the curve's peak is at x = %s, the data's centre column is %.1f" % (t and round(t[0], 1), want))
    if "qq" in pictures:
        _, _, pixel = pictures["qq"]
        points = [(x, y) for x in xs for y in range(TOP, BOTTOM) if near(pixel(x, y), CURVE)]
        # The diagonal runs from the bottom-left to the top-right corner.
        off = [abs((y - BOTTOM) + (x - LEFT) * (BOTTOM - TOP) / (RIGHT - LEFT)) for x, y in points]
        c.expect(len(points) > 100 and max(off) <= 6,
                 "qq: %d point pixels, all within %.1f pixels of the diagonal" % (len(points), max(off) if off else -1))
    print("%d failures" % c.failures)
    return 1 if c.failures else 0


if __name__ == "__main__":
    sys.exit(main())
