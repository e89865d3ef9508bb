// Noises of scattered points: every cell of a three-dimensional lattice holds one, and the fourth coordinate lets the
// points drift. Distances are squared, which saves the root; nothing is searched beyond the neighbouring cells, and all
// that is computed ends at distance 1, so it is continuous.
//
// Sources: cellular texture basis, S. Worley, "A Cellular Texture Basis Function" (1996); sums of small bumps, J. P.
// Lewis, "Algorithms for Solid Noise Synthesis" (1989).

// Where the point lies in its cell along one axis: 0.1 ... 0.9, from ten bits of a hash.
float NoisePlaceInCell(uint bits) { return 0.1f + 0.00078125f * NoiseNumber(bits & 1023u); }

// Squared distance to the point of a cell. (x, y, z) leads from the place to the cell's corner.
float NoisePointDistance(uint place, uint placeAfter, float drift, float x, float y, float z) {
  uint hash = NoiseMix(place);
  float pointX = NoisePlaceInCell(hash);
  float pointY = NoisePlaceInCell(hash >> 10);
  float pointZ = NoisePlaceInCell(hash >> 20);
  if (NoiseAny(drift != 0.0f)) {  // a drift of 0 changes nothing below
    uint hashAfter = NoiseMix(placeAfter);
    pointX = NoiseBlend(pointX, NoisePlaceInCell(hashAfter), drift);
    pointY = NoiseBlend(pointY, NoisePlaceInCell(hashAfter >> 10), drift);
    pointZ = NoiseBlend(pointZ, NoisePlaceInCell(hashAfter >> 20), drift);
  }
  float towardsX = x + pointX;
  float towardsY = y + pointY;
  float towardsZ = z + pointZ;
  return towardsX * towardsX + towardsY * towardsY + towardsZ * towardsZ;
}

// A number of the cell's point that no drift changes: 0 ... 1.
float NoisePointValue(uint key, uint cells) { return NoiseFraction(NoiseMix(cells + NoiseKey(key, 77u))); }

// What the cells around a place add to the key; `index` 0 ... 26 counts them.
uint NoiseNeighbour(int index, uint cellX, uint cellY, uint cellZ) {
  uint x = cellX + uint(index % 3) + 65535u;
  uint y = cellY + uint(index / 3 % 3) + 65535u;
  uint z = cellZ + uint(index / 9) + 65535u;
  return NoiseCellX(x) + NoiseCellY(y) + NoiseCellZ(z);
}

// Squared distance to the point of the neighbour `index`; (x, y, z) is the place inside its cell.
float NoiseNeighbourDistance(uint key, int index, uint cells, float x, float y, float z, float w) {
  float startW = floor(w);
  uint cellW = NoiseCellAt(startW);
  uint place = key + cells + NoiseCellW(cellW);
  uint placeAfter = key + cells + NoiseCellW(cellW + 1u);
  float cornerX = float(index % 3 - 1) - x;
  float cornerY = float(index / 3 % 3 - 1) - y;
  float cornerZ = float(index / 9 - 1) - z;
  return NoisePointDistance(place, placeAfter, NoiseFade(w - startW), cornerX, cornerY, cornerZ);
}

// Squared distance to the nearest point, at most 1.
float NoiseNearest(uint key, float x, float y, float z, float w) {
  uint cellX = NoiseCellAt(floor(x));
  uint cellY = NoiseCellAt(floor(y));
  uint cellZ = NoiseCellAt(floor(z));
  float nearest = 1.0f;
  for (int index = 0; index < 27; ++index) {
    uint cells = NoiseNeighbour(index, cellX, cellY, cellZ);
    nearest = min(nearest, NoiseNeighbourDistance(key, index, cells, x - floor(x), y - floor(y), z - floor(z), w));
  }
  return nearest;
}

// How much farther, squared, the second nearest point is than the nearest: 0 on the border between two points' regions.
float NoiseBorder(uint key, float x, float y, float z, float w) {
  uint cellX = NoiseCellAt(floor(x));
  uint cellY = NoiseCellAt(floor(y));
  uint cellZ = NoiseCellAt(floor(z));
  float nearest = 1.0f;
  float second = 1.0f;
  for (int index = 0; index < 27; ++index) {
    uint cells = NoiseNeighbour(index, cellX, cellY, cellZ);
    float apart = NoiseNeighbourDistance(key, index, cells, x - floor(x), y - floor(y), z - floor(z), w);
    second = min(second, max(nearest, apart));
    nearest = min(nearest, apart);
  }
  return second - nearest;
}

// The value of the nearest point; jumps at the borders.
float NoiseNearestValue(uint key, float x, float y, float z, float w) {
  uint cellX = NoiseCellAt(floor(x));
  uint cellY = NoiseCellAt(floor(y));
  uint cellZ = NoiseCellAt(floor(z));
  float nearest = 1.0f;
  float value = 0.0f;
  for (int index = 0; index < 27; ++index) {
    uint cells = NoiseNeighbour(index, cellX, cellY, cellZ);
    float apart = NoiseNeighbourDistance(key, index, cells, x - floor(x), y - floor(y), z - floor(z), w);
    value = NoiseChoose(apart < nearest, NoisePointValue(key, cells), value);
    nearest = min(nearest, apart);
  }
  return value;
}

// The sum of round bumps of different heights around all points near.
float NoiseBumps(uint key, float x, float y, float z, float w) {
  uint cellX = NoiseCellAt(floor(x));
  uint cellY = NoiseCellAt(floor(y));
  uint cellZ = NoiseCellAt(floor(z));
  float sum = 0.0f;
  for (int index = 0; index < 27; ++index) {
    uint cells = NoiseNeighbour(index, cellX, cellY, cellZ);
    float apart = NoiseNeighbourDistance(key, index, cells, x - floor(x), y - floor(y), z - floor(z), w);
    float bump = max(1.0f - apart, 0.0f);
    sum = sum + (0.3f + 0.7f * NoisePointValue(key, cells)) * bump * bump * bump;
  }
  return sum;
}

// The strongest of spots with sharp rims, of different sizes, around points of which some have none.
float NoiseSpots(uint key, float share, float size, float x, float y, float z, float w) {
  uint cellX = NoiseCellAt(floor(x));
  uint cellY = NoiseCellAt(floor(y));
  uint cellZ = NoiseCellAt(floor(z));
  float strongest = 0.0f;
  for (int index = 0; index < 27; ++index) {
    uint cells = NoiseNeighbour(index, cellX, cellY, cellZ);
    float value = NoisePointValue(key, cells);
    float apart = NoiseNeighbourDistance(key, index, cells, x - floor(x), y - floor(y), z - floor(z), w);
    float radius = size * (share - value);
    strongest = max(strongest, radius - apart);
  }
  return strongest;
}
