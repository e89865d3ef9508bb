// Where one place and several at once (lanes, ostra/render/noise_lanes.inl, which has its own form of this file) differ:
// conditions, and numbers that become others.

// Whether a condition holds everywhere, or anywhere, of those that are computed together.
bool NoiseAll(bool condition) { return condition; }
bool NoiseAny(bool condition) { return condition; }
bool NoiseBoth(bool a, bool b) { return a && b; }
float NoiseChoose(bool condition, float a, float b) { return condition ? a : b; }

// An integral value as an integer, and an integer below 2^31 as a float.
uint NoiseWhole(float x) { return uint(int(x)); }
float NoiseNumber(uint x) { return float(int(x)); }
