// cranal: folds pressed against each other like those of a brain, divided by deep furrows. Continuous; period 65536.
float NoiseCranal(uint key, int depth, float x, float y, float z, float w) {
  float bendX = NoiseCoordinate(x + 0.6f * NoiseGradient(NoiseKey(key, 1u), x, y, z, w));
  float bendY = NoiseCoordinate(y + 0.6f * NoiseGradient(NoiseKey(key, 2u), x, y, z, w));
  float height = NoiseGradient(key, bendX, bendY, z, w) +
                 0.25f * NoiseGradient(NoiseKey(key, 3u), 2.0f * x, 2.0f * y, 2.0f * z, w);
  float fold = NoiseTriangle(2.5f * height);
  return 1.0f - (1.0f - fold) * (1.0f - fold);
}
