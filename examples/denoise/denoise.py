"""A photo without its noise: denoise.py --in photo.png --strength 0.1; without a photo one is made noisy first."""

import argparse
import pathlib

import numpy
import ostra

FOLDER = pathlib.Path(__file__).parent
KERNEL = FOLDER / "net.example.denoise.krn"
PICTURE = FOLDER.parents[1] / "docs" / "pictures" / "scenes.png"


def add_noise(picture, amount=0.1, seed=1):
    noise = numpy.random.default_rng(seed).normal(0, amount, picture.shape).astype(numpy.float32)
    noise[..., 3] = 0
    return (picture + noise).clip(0, 1)


def denoise(picture, radius=5, strength=0.12, backend="auto"):
    """`strength` is about that of the noise."""
    height, width = picture.shape[:2]
    kernel = ostra.kernel(KERNEL, backend=backend)
    return kernel(width=width, height=height, radius=radius, strength=strength, source=numpy.ascontiguousarray(picture))


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--in", dest="picture")
    parser.add_argument("--strength", type=float, default=0.12)
    parser.add_argument("--size", type=int, nargs=2, default=(200, 150), help="of what is made noisy")
    parser.add_argument("--backend", default="auto")
    parser.add_argument("--out", default="denoise.png")
    options = parser.parse_args()
    if options.picture:
        result = denoise(ostra.read_picture(options.picture), 5, options.strength, options.backend)
    else:
        width, height = options.size
        noisy = add_noise(ostra.read_picture(PICTURE)[310:310 + height, 140:140 + width])
        result = numpy.concatenate([noisy, denoise(noisy, 5, options.strength, options.backend)], 1)
    ostra.write_picture(options.out, result)
