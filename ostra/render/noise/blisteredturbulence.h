// blisteredturbulence: a billowing ground out of which round blisters rise. Continuous; period 65536.
float NoiseBlisteredTurbulence(uint key, int depth, float x, float y, float z, float w) {
  float ground = NoiseBillow(key, min(depth, 7), x, y, z, w);
  float blister = NoiseSpots(NoiseKey(key, 1u), 0.9f, 0.5f, x, y, z, w);
  float dome = min(blister * (3.6f - 3.2f * blister), 1.0f);
  return NoiseSaturate(0.9f * ground + dome);
}
