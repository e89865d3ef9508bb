// Three kernels in a row, on the CPU or with the argument "gpu" on the GPU. Prints 1000.
#include <cstdio>
#include <string_view>

#include "clients/cpp/session.h"
#include "net.example.blur.kernel.h"
#include "net.example.ramp.kernel.h"
#include "net.example.scale.kernel.h"

int main(int argc, char** argv) try {
  const bool isOnGpu = argc > 1 && argv[1] == std::string_view("gpu");
  ostra::Session session(isOnGpu ? ostra::Backend::kGpu : ostra::Backend::kCpu);
  const auto ramp = session.Load<ostra::kernels::Ramp>();
  const auto blur = session.Load<ostra::kernels::Blur>();
  const auto scale = session.Load<ostra::kernels::Scale>();
  auto values = session.MakeBuffer<float>(1000), blurred = session.MakeBuffer<float>(1000);
  ramp({.count = 1000, .values = values});
  blur({.count = 1000, .source = values, .target = blurred});
  scale({.count = 1000, .factor = 2, .values = blurred});
  std::printf("%g\n", blurred.Read()[500]);
} catch (const std::exception& exception) {
  return std::fprintf(stderr, "%s\n", exception.what()), 1;
}
