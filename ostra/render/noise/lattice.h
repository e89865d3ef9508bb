// What all noises are made of: hashed integers, gradient noise on a four-dimensional lattice, and small shaping
// functions. Like every file of this folder it is C++ and shader text at once; see README.md for the words it may use.
//
// Sources: gradient noise and the quintic fade, K. Perlin, "An Image Synthesizer" (1985) and "Improving Noise" (2002);
// the integer hash, C. Wellons, "Prospecting for Hash Functions" (2018, public domain). The gradients are not unit
// vectors of a table but four hashed bytes, so that nothing has to be stored.

// Spreads the bits of an integer over all bits.
uint NoiseMix(uint value) {
  uint mixed = (value ^ (value >> 16)) * 0x7FEB352Du;
  mixed = (mixed ^ (mixed >> 15)) * 0x846CA68Bu;
  return mixed ^ (mixed >> 16);
}

// The key of a noise that is independent of the one with the key given.
uint NoiseKey(uint key, uint number) { return NoiseMix(key + number * 0x9E3779B9u); }

// A coordinate that can be computed with: the same place between -32768 and 32768, found without rounding. Coordinates
// without a fraction left (beyond 2^23), those that are no numbers, and those so small that products would leave the
// normal range of floats (below 2^-24) count as 0.
float NoiseCoordinate(float x) {
  float size = abs(x);
  float known = NoiseChoose(NoiseBoth(size >= 0.000000059604644775390625f, size <= 8388608.0f), x, 0.0f);
  return known - 65536.0f * floor(known * 0.0000152587890625f + 0.5f);
}

// The number of the cell that begins at `start`, an integral value. Cells repeat after 65536.
uint NoiseCellAt(float start) { return NoiseWhole(start - 65536.0f * floor(start * 0.0000152587890625f)); }

// What the cell number of each axis adds to a key.
uint NoiseCellX(uint cell) { return (cell & 65535u) * 0x9E3779B1u; }
uint NoiseCellY(uint cell) { return (cell & 65535u) * 0x85EBCA77u; }
uint NoiseCellZ(uint cell) { return (cell & 65535u) * 0xC2B2AE3Du; }
uint NoiseCellW(uint cell) { return (cell & 65535u) * 0x27D4EB2Fu; }

// 0 ... 1 (never 1 itself), from the upper bits of a hash.
float NoiseFraction(uint hash) { return NoiseNumber(hash >> 8) * 0.000000059604644775390625f; }

// -1 ... 1, symmetric, from the lowest byte.
float NoiseSignedByte(uint hash) { return NoiseNumber(hash & 255u) * 0.0078125f - 0.99609375f; }

float NoiseFade(float t) { return t * t * t * (t * (t * 6.0f - 15.0f) + 10.0f); }
float NoiseBlend(float a, float b, float t) { return a + t * (b - a); }
float NoiseSaturate(float x) { return min(max(x, 0.0f), 1.0f); }

// 0 below `low`, 1 above `low` + 1 / `steepness`, smooth between.
float NoiseStep(float low, float steepness, float x) {
  float t = NoiseSaturate((x - low) * steepness);
  return t * t * (3.0f - 2.0f * t);
}

// Bends a value around 0 into 0 ... 1 without a corner.
float NoiseSoft(float x) {
  float t = min(max(x, -1.0f), 1.0f);
  return 0.5f + 0.5f * t * (1.5f - 0.5f * t * t);
}

// A wave between 0 (at integers) and 1, straight or smooth.
float NoiseTriangle(float x) { return 1.0f - abs(2.0f * (x - floor(x)) - 1.0f); }
float NoiseWave(float x) {
  float t = NoiseTriangle(x);
  return t * t * (3.0f - 2.0f * t);
}

float NoiseCorner(uint place, float x, float y, float z, float w) {
  uint hash = NoiseMix(place);
  float plane = NoiseSignedByte(hash) * x + NoiseSignedByte(hash >> 8) * y;
  float depth = NoiseSignedByte(hash >> 16) * z + NoiseSignedByte(hash >> 24) * w;
  return plane + depth;
}

// Four corners of one cell; x and y lie inside it.
float NoiseSquare(uint key, uint cellX, uint cellY, float x, float y, float z, float w) {
  uint left = NoiseCellX(cellX);
  uint right = NoiseCellX(cellX + 1u);
  uint front = key + NoiseCellY(cellY);
  uint back = key + NoiseCellY(cellY + 1u);
  float fadeX = NoiseFade(x);
  float a = NoiseBlend(NoiseCorner(front + left, x, y, z, w), NoiseCorner(front + right, x - 1.0f, y, z, w), fadeX);
  float b = NoiseBlend(NoiseCorner(back + left, x, y - 1.0f, z, w), NoiseCorner(back + right, x - 1.0f, y - 1.0f, z, w),
                       fadeX);
  return NoiseBlend(a, b, NoiseFade(y));
}

// Corners that would count nothing are left out: points on a lattice plane (pictures, resting time) cost less.
float NoiseCube(uint key, uint cellX, uint cellY, float x, float y, float z, float w) {
  float start = floor(z);
  uint cell = NoiseCellAt(start);
  float part = z - start;
  float low = NoiseSquare(key + NoiseCellZ(cell), cellX, cellY, x, y, part, w);
  if (NoiseAll(part == 0.0f)) return low;
  float high = NoiseSquare(key + NoiseCellZ(cell + 1u), cellX, cellY, x, y, part - 1.0f, w);
  return NoiseChoose(part == 0.0f, low, NoiseBlend(low, high, NoiseFade(part)));
}

// Gradient noise: 0 at lattice points, smooth, between -2 and 2 and seldom beyond -0.6 ... 0.6.
float NoiseGradient(uint key, float x, float y, float z, float w) {
  float startX = floor(x);
  float startY = floor(y);
  float startW = floor(w);
  uint cellX = NoiseCellAt(startX);
  uint cellY = NoiseCellAt(startY);
  uint cellW = NoiseCellAt(startW);
  float partX = x - startX;
  float partY = y - startY;
  float partW = w - startW;
  float low = NoiseCube(key + NoiseCellW(cellW), cellX, cellY, partX, partY, z, partW);
  if (NoiseAll(partW == 0.0f)) return low;
  float high = NoiseCube(key + NoiseCellW(cellW + 1u), cellX, cellY, partX, partY, z, partW - 1.0f);
  return NoiseChoose(partW == 0.0f, low, NoiseBlend(low, high, NoiseFade(partW)));
}
