// cell: the squared distance to the nearest of scattered points: dark cores that brighten to the borders of the cells.
// Continuous; period 65536.
float NoiseCell(uint key, int depth, float x, float y, float z, float w) { return NoiseNearest(key, x, y, z, w); }
