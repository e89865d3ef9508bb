// Sums of gradient noise over octaves: each has twice the frequency and half the amplitude of the one before.
//
// Sources: turbulence, K. Perlin (1985); fractional Brownian motion and ridged noise, F. K. Musgrave in Ebert et al.,
// "Texturing and Modeling" (1994); displacing the point by noise, I. Quilez, "Domain Warping" (2002).

// Octaves are moved in x and y, so that their zeros do not meet at the lattice points of the first.
float NoiseNextX(float x) { return 2.0f * x + 0.34375f; }
float NoiseNextY(float y) { return 2.0f * y + 0.71875f; }

// Fractional Brownian motion, around 0.
float NoiseFractal(uint key, int depth, float x, float y, float z, float w) {
  float sum = 0.0f;
  float amplitude = 1.0f;
  for (int octave = 0; octave < depth; ++octave) {
    sum = sum + amplitude * NoiseGradient(key + uint(octave) * 0x632BE5ABu, x, y, z, w);
    amplitude = 0.5f * amplitude;
    x = NoiseNextX(x);
    y = NoiseNextY(y);
    z = 2.0f * z;
    w = 2.0f * w;
  }
  return sum;
}

// Billows: round hills between sharp valleys at 0.
float NoiseBillow(uint key, int depth, float x, float y, float z, float w) {
  float sum = 0.0f;
  float amplitude = 1.0f;
  for (int octave = 0; octave < depth; ++octave) {
    sum = sum + amplitude * abs(NoiseGradient(key + uint(octave) * 0x632BE5ABu, x, y, z, w));
    amplitude = 0.5f * amplitude;
    x = NoiseNextX(x);
    y = NoiseNextY(y);
    z = 2.0f * z;
    w = 2.0f * w;
  }
  return sum;
}

// A crest: 1 where `x` is 0, falling to 0 at a distance of 1 / `steepness`.
float NoiseCrest(float x, float steepness) { return max(1.0f - steepness * abs(x), 0.0f); }

// Ridges: sharp crests near 1. Detail grows on the crests and fades in the valleys.
float NoiseRidges(uint key, int depth, float x, float y, float z, float w) {
  float sum = 0.0f;
  float amplitude = 0.5f;
  float weight = 1.0f;
  for (int octave = 0; octave < depth; ++octave) {
    float crest = NoiseCrest(NoiseGradient(key + uint(octave) * 0x632BE5ABu, x, y, z, w), 1.6f);
    weight = crest * crest * weight;
    sum = sum + amplitude * weight;
    amplitude = 0.5f * amplitude;
    x = NoiseNextX(x);
    y = NoiseNextY(y);
    z = 2.0f * z;
    w = 2.0f * w;
  }
  return sum;
}
