// box: boxes inside boxes: a cell has one value or is divided into halves along each axis, up to four times. Jumps at
// the edges of boxes, by design; along the fourth axis values fade over. Period 65536.
float NoiseBox(uint key, int depth, float x, float y, float z, float w) {
  float startW = floor(w);
  uint cellW = NoiseCellAt(startW);
  float fade = NoiseFade(w - startW);
  float value = 0.0f;
  bool divided = true;
  for (int level = 0; level < min(depth, 5) && NoiseAny(divided); ++level) {
    uint cells = NoiseCellX(NoiseCellAt(floor(x))) + NoiseCellY(NoiseCellAt(floor(y))) + NoiseCellZ(NoiseCellAt(floor(z)));
    uint hash = NoiseMix(NoiseKey(key, uint(level)) + cells);
    float before = NoiseFraction(NoiseMix(hash + NoiseCellW(cellW)));
    float after = NoiseFraction(NoiseMix(hash + NoiseCellW(cellW + 1u)));
    value = NoiseChoose(divided, NoiseBlend(before, after, fade), value);
    divided = NoiseBoth(divided, (hash & 3u) != 0u);
    x = 2.0f * x;
    y = 2.0f * y;
    z = 2.0f * z;
  }
  return value;
}
