"""A picture in its few main colours, by k-means: palette.py --in photo.png --colours 8 --out palette.png"""

import argparse
import pathlib

import numpy
import ostra

FOLDER = pathlib.Path(__file__).parent
KERNEL = FOLDER / "net.example.nearest.krn"
PICTURE = FOLDER.parents[1] / "docs" / "pictures" / "scenes.png"


def find_colours(picture, colour_count, rounds=20, seed=1, backend="auto"):
    """The colours, which colour each pixel has, and the mean square error of each round."""
    nearest = ostra.kernel(KERNEL, backend=backend)
    pixels = numpy.ascontiguousarray(picture).reshape(-1, 4)
    colours = pixels[numpy.random.default_rng(seed).choice(len(pixels), colour_count, replace=False)].copy()
    errors = []
    for _ in range(rounds):
        labels = nearest(len(pixels), count=len(pixels), colourCount=colour_count, picture=pixels, colours=colours)
        errors.append(float(((pixels - colours[labels]) ** 2).sum(1).mean()))
        members = numpy.bincount(labels, minlength=colour_count)
        for channel in range(4):
            sums = numpy.bincount(labels, pixels[:, channel], colour_count)
            colours[:, channel] = numpy.where(members > 0, sums / members.clip(1), colours[:, channel])
    return colours, labels.reshape(picture.shape[:2]), errors


def paint(colours, labels):
    """The picture in these colours, above a bar that shows them by how often they occur."""
    height, width = labels.shape
    order = numpy.argsort(-numpy.bincount(labels.ravel(), minlength=len(colours)))
    bar = colours[order][numpy.arange(width) * len(colours) // width]
    return numpy.concatenate([colours[labels], numpy.broadcast_to(bar, (height // 10, width, 4))])


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--in", dest="picture", default=PICTURE)
    parser.add_argument("--colours", type=int, default=8)
    parser.add_argument("--shrink", type=int, default=2, help="takes one pixel of so many along each side")
    parser.add_argument("--backend", default="auto")
    parser.add_argument("--out", default="palette.png")
    options = parser.parse_args()
    picture = ostra.read_picture(options.picture)[::options.shrink, ::options.shrink]
    ostra.write_picture(options.out, paint(*find_colours(picture, options.colours, backend=options.backend)[:2]))
