// gaseous: thin clouds drawn out into wisps: a fractal whose points are displaced by a slower fractal, with the low
// values thinned. Continuous; period 65536.
float NoiseGaseous(uint key, int depth, float x, float y, float z, float w) {
  int octaves = min(depth, 3);
  float moveX = NoiseFractal(NoiseKey(key, 1u), octaves, x, y, z, w);
  float moveY = NoiseFractal(NoiseKey(key, 2u), octaves, x, y, z, w);
  float movedX = NoiseCoordinate(x + 1.5f * moveX);
  float movedY = NoiseCoordinate(y + 1.5f * moveY);
  float cloud = NoiseSoft(0.2f + 1.2f * NoiseFractal(key, min(depth, 6), movedX, movedY, z, w));
  return cloud * cloud;
}
