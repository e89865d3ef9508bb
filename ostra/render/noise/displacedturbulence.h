// displacedturbulence: billows whose points are displaced by smooth noise, which folds and drags them. Continuous;
// period 65536.
float NoiseDisplacedTurbulence(uint key, int depth, float x, float y, float z, float w) {
  float moveX = 1.6f * NoiseGradient(NoiseKey(key, 1u), x, y, z, w);
  float moveY = 1.6f * NoiseGradient(NoiseKey(key, 2u), x, y, z, w);
  float moveZ = 1.6f * NoiseGradient(NoiseKey(key, 3u), x, y, z, w);
  return NoiseSaturate(1.3f * NoiseBillow(key, depth, NoiseCoordinate(x + moveX), NoiseCoordinate(y + moveY),
                                          NoiseCoordinate(z + moveZ), w));
}
