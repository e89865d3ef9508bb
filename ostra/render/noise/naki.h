// naki: mountain ridges whose detail gathers on the crests. Continuous; period 65536.
float NoiseNaki(uint key, int depth, float x, float y, float z, float w) {
  return NoiseSaturate(1.1f * NoiseRidges(key, depth, x, y, z, w));
}
