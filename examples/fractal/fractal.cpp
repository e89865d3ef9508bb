// The Mandelbrot set, as fractal.py draws it: fractal FILE.png [cpu|gpu] [WIDTH HEIGHT]
#include <charconv>
#include <cstdio>
#include <string_view>

#include "clients/cpp/session.h"
#include "net.example.fractal.kernel.h"
#include "ostra/image/image.h"

// 0 for a text that is not a number from 1 to 8192.
int ParseSide(std::string_view text) {
  int side = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), side);
  return error == std::errc() && end == text.data() + text.size() && side >= 1 && side <= 8192 ? side : 0;
}

int main(int argc, char** argv) try {
  const std::string_view backend = argc > 2 ? argv[2] : "cpu";
  const int width = argc > 3 ? ParseSide(argv[3]) : 360, height = argc > 4 ? ParseSide(argv[4]) : 240;
  const bool isOnGpu = backend == "gpu";
  if ((argc != 2 && argc != 3 && argc != 5) || (!isOnGpu && backend != "cpu") || width == 0 || height == 0)
    return std::fprintf(stderr, "usage: fractal FILE.png [cpu|gpu] [WIDTH HEIGHT]; sides are 1 to 8192\n"), 2;
  const ostra::UInt32 columns = static_cast<ostra::UInt32>(width), rows = static_cast<ostra::UInt32>(height);

  ostra::Session session(isOnGpu ? ostra::Backend::kGpu : ostra::Backend::kCpu);
  const auto fractal = session.Load<ostra::kernels::Fractal>();
  auto picture = session.MakeBuffer<ostra::Vec4<float>>(ostra::Int{columns} * rows);
  fractal(
      {.width = columns, .height = rows, .centre = {-0.65f, 0.0f}, .extent = 3.2f, .maximum = 400, .picture = picture},
      {columns, rows});
  const auto pixels = picture.Read();
  const ostra::ImageView view(width, height, {&pixels[0].x, ostra::Int(4 * pixels.size())});
  ostra::OrThrow(ostra::WriteImage(ostra::OrThrow(ostra::Url::Create(argv[1])), view));
} catch (const std::exception& exception) {
  return std::fprintf(stderr, "%s\n", exception.what()), 1;
}
