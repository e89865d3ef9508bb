// ober: terraces: a fractal cut into eight even steps with short slopes between them. Continuous; period 65536.
float NoiseOber(uint key, int depth, float x, float y, float z, float w) {
  float height = 8.0f * NoiseSoft(1.2f * NoiseFractal(key, min(depth, 6), x, y, z, w));
  float floorHeight = floor(height);
  return 0.125f * (floorHeight + NoiseStep(0.75f, 4.0f, height - floorHeight));
}
