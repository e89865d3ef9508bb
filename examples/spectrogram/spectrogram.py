"""Which tones a sound has, and when: spectrogram.py --in sound.wav --out spectrogram.png; without a file one is made."""

import argparse
import pathlib
import wave

import numpy
import ostra

KERNEL = pathlib.Path(__file__).with_name("net.example.spectrum.krn")
PART = 512


def make_sound(seconds=3.0, rate=8000):
    """A tone that rises and falls with an overtone, a steady one, three knocks, and noise."""
    time = numpy.arange(int(seconds * rate)) / rate
    frequency = 900 + 600 * numpy.sin(2 * numpy.pi * time / seconds * 2)
    phase = 2 * numpy.pi * numpy.cumsum(frequency) / rate
    sound = 0.5 * numpy.sin(phase) + 0.15 * numpy.sin(2 * phase) + 0.2 * numpy.sin(2 * numpy.pi * 3000 * time)
    for knock in (0.25, 0.5, 0.75):
        sound[int(knock * len(sound))] += 8
    return (sound + 0.01 * numpy.random.default_rng(1).normal(size=len(time))).astype(numpy.float32)


def read_sound(path):
    """The first channel of a wave file of 16 bits."""
    with wave.open(path) as file:
        if file.getsampwidth() != 2:
            raise ValueError(f"{path} has {8 * file.getsampwidth()} bits a sample, not 16")
        samples = numpy.frombuffer(file.readframes(file.getnframes()), "<i2")
        return samples[::file.getnchannels()].astype(numpy.float32) / 32768


def measure(sound, hop=64, backend="auto"):
    """The power of 256 frequencies, from 0 to half of the rate, in each part: (parts, 256)."""
    if len(sound) < PART:
        raise ValueError(f"the sound has {len(sound)} samples: a part has {PART}")
    parts = (len(sound) - PART) // hop + 1
    power = numpy.zeros((parts, PART // 2), numpy.float32)
    ostra.kernel(KERNEL, backend=backend)(power.size, parts=parts, hop=hop, samples=sound, power=power)
    return power


def paint(power):
    """Time from left to right, high tones above; 50 dB from dark to bright."""
    level = (1 + numpy.log10(power / max(power.max(), 1e-30) + 1e-12) / 5).clip(0, 1).T[::-1, :, None]
    return numpy.concatenate([level**0.7, level**1.8, 0.25 * numpy.sin(numpy.pi * level) + level**4 * 0.8], 2).clip(0, 1)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--in", dest="sound")
    parser.add_argument("--backend", default="auto")
    parser.add_argument("--out", default="spectrogram.png")
    options = parser.parse_args()
    sound = read_sound(options.sound) if options.sound else make_sound()
    ostra.write_picture(options.out, paint(measure(sound, backend=options.backend)))
