// The Mandelbrot set, as fractal.py draws it: fractal FILE.png [cpu|gpu] [WIDTH HEIGHT]
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "clients/cpp/session.h"
#include "net.example.fractal.kernel.h"
#include "ostra/image/image.h"

int main(int argc, char** argv) try {
  if (argc < 2) return std::fprintf(stderr, "usage: fractal FILE.png [cpu|gpu] [WIDTH HEIGHT]\n"), 2;
  const bool isOnGpu = argc > 2 && argv[2] == std::string_view("gpu");
  const int width = argc > 4 ? std::atoi(argv[3]) : 360, height = argc > 4 ? std::atoi(argv[4]) : 240;
  if (width < 1 || height < 1 || width > 8192 || height > 8192) return std::fprintf(stderr, "sides are 1 to 8192\n"), 2;
  const ostra::UInt32 columns = static_cast<ostra::UInt32>(width), rows = static_cast<ostra::UInt32>(height);

  ostra::Session session(isOnGpu ? ostra::Backend::kGpu : ostra::Backend::kCpu);
  const auto fractal = session.Load<ostra::kernels::Fractal>();
  auto picture = session.MakeBuffer<ostra::Vec4<float>>(ostra::Int{columns} * rows);
  fractal({.width = columns,
           .height = rows,
           .centre = {-0.65f, 0.0f},
           .extent = 3.2f,
           .maximum = 400,
           .picture = picture},
          {columns, rows});
  const auto pixels = picture.Read();
  const ostra::ImageView view(width, height, {&pixels[0].x, ostra::Int(4 * pixels.size())});
  ostra::OrThrow(ostra::WriteImage(ostra::OrThrow(ostra::Url::Create(argv[1])), view));
} catch (const std::exception& exception) {
  return std::fprintf(stderr, "%s\n", exception.what()), 1;
}
