// mod: the remainder of a fractal: it climbs like a saw and drops back on the last eighth of each tooth. Continuous;
// period 65536.
float NoiseMod(uint key, int depth, float x, float y, float z, float w) {
  float height = 2.5f * NoiseFractal(key, min(depth, 3), x, y, z, w);
  float tooth = height - floor(height);
  return min(tooth * 1.142857142f, 8.0f - 8.0f * tooth);
}
