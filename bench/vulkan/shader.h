// The shader that the GPU program makes of a kernel file, for references that run it by themselves.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

struct Shader {
  struct Place {
    std::string name;
    std::uint32_t number;  // binding of a buffer or texture; byte offset of a uniform
  };

  std::vector<std::uint32_t> words;  // SPIR-V
  std::vector<Place> buffers;
  std::vector<Place> textures;  // with their samplers
  std::vector<Place> uniforms;
  std::uint32_t uniformBinding = 0;
  std::uint32_t uniformBytes = 0;
  std::uint32_t groupSize[3] = {1, 1, 1};
};

// Translates and compiles a kernel file with the same libraries as the GPU program. Throws Failure.
Shader MakeShader(const std::string& kernelPath);

// SPIR-V of GLSL that was written by hand, from the same compiler. Throws Failure.
std::vector<std::uint32_t> CompileGlsl(const std::string& text, bool isVertex);

// Work groups for `x` invocations, or `x` by `y` ones, as the GPU program counts them.
struct GroupCounts {
  std::uint32_t x, y;
};
GroupCounts GetGroupCounts(const Shader& shader, std::uint32_t x, std::uint32_t y);

}  // namespace bench
