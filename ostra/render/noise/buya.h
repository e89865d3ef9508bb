// buya: marble that was stirred twice: a fractal displaced by a fractal that is itself displaced. Continuous; period
// 65536.
float NoiseBuya(uint key, int depth, float x, float y, float z, float w) {
  int octaves = min(depth, 4);
  float stirX = NoiseFractal(NoiseKey(key, 1u), 2, x, y, z, w);
  float stirY = NoiseFractal(NoiseKey(key, 2u), 2, x, y, z, w);
  float onceX = NoiseCoordinate(x + 1.4f * stirX);
  float onceY = NoiseCoordinate(y + 1.4f * stirY);
  float againX = NoiseFractal(NoiseKey(key, 3u), octaves, onceX, onceY, z, w);
  float againY = NoiseFractal(NoiseKey(key, 4u), octaves, onceX, onceY, z, w);
  float twiceX = NoiseCoordinate(x + 1.4f * againX);
  float twiceY = NoiseCoordinate(y + 1.4f * againY);
  float vein = NoiseFractal(key, octaves, twiceX, twiceY, z, w);
  return NoiseSoft(1.4f * vein + 0.5f * againX);
}
