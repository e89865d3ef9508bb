// Which noise a number stands for, as programs count them in noiseMode_0, noiseMode_1, ... Numbers without a noise of
// their own give turbulence.
float NoiseOfMode(int mode, uint key, int depth, float x, float y, float z, float w) {
  if (mode == 0) return NoisePerlin(key, depth, x, y, z, w);
  if (mode == 3) return NoiseGaseous(key, depth, x, y, z, w);
  if (mode == 4) return NoiseElectric(key, depth, x, y, z, w);
  if (mode == 5) return NoiseBox(key, depth, x, y, z, w);
  if (mode == 6) return NoiseBlisteredTurbulence(key, depth, x, y, z, w);
  if (mode == 7) return NoiseDisplacedTurbulence(key, depth, x, y, z, w);
  if (mode == 8) return NoiseBuya(key, depth, x, y, z, w);
  if (mode == 9) return NoiseCranal(key, depth, x, y, z, w);
  if (mode == 10) return NoiseDents(key, depth, x, y, z, w);
  if (mode == 11) return NoiseHama(key, depth, x, y, z, w);
  if (mode == 12) return NoiseLuka(key, depth, x, y, z, w);
  if (mode == 13) return NoiseMod(key, depth, x, y, z, w);
  if (mode == 14) return NoiseNaki(key, depth, x, y, z, w);
  if (mode == 15) return NoiseNutous(key, depth, x, y, z, w);
  if (mode == 16) return NoiseOber(key, depth, x, y, z, w);
  if (mode == 17) return NoisePezo(key, depth, x, y, z, w);
  if (mode == 18) return NoisePoxo(key, depth, x, y, z, w);
  if (mode == 19) return NoiseSema(key, depth, x, y, z, w);
  if (mode == 20) return NoiseStupl(key, depth, x, y, z, w);
  if (mode == 21) return NoiseVl(key, depth, x, y, z, w);
  if (mode == 22) return NoiseWavyTurbulence(key, depth, x, y, z, w);
  if (mode == 23) return NoiseZada(key, depth, x, y, z, w);
  if (mode == 24) return NoiseCellular(key, depth, x, y, z, w);
  return NoiseTurbulence(key, depth, x, y, z, w);
}
