// One substance that grows in another, from a square: reaction_diffusion FILE.png [cpu|gpu] [STEPS]
#include <charconv>
#include <cstdio>
#include <string_view>
#include <utility>
#include <vector>

#include "clients/cpp/session.h"
#include "net.example.reactiondiffusion.kernel.h"
#include "ostra/image/image.h"

using Fields = std::vector<ostra::Vec2<float>>;

constexpr int kSide = 160, kSquare = 20;

Fields MakeStart() {
  Fields fields(kSide * kSide, {1.0f, 0.0f});
  for (int y = (kSide - kSquare) / 2; y < (kSide + kSquare) / 2; ++y)
    for (int x = (kSide - kSquare) / 2; x < (kSide + kSquare) / 2; ++x) fields[y * kSide + x] = {0.5f, 0.25f};
  return fields;
}

// -1 for a text that is not a number.
int ParseSteps(std::string_view text) {
  int steps = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), steps);
  return error == std::errc() && end == text.data() + text.size() ? steps : -1;
}

int main(int argc, char** argv) try {
  const std::string_view backend = argc > 2 ? argv[2] : "cpu";
  const int steps = argc > 3 ? ParseSteps(argv[3]) : 4000;
  const bool isOnGpu = backend == "gpu";
  if (argc < 2 || argc > 4 || (!isOnGpu && backend != "cpu") || steps < 0)
    return std::fprintf(stderr, "usage: reaction_diffusion FILE.png [cpu|gpu] [STEPS]\n"), 2;

  ostra::Session session(isOnGpu ? ostra::Backend::kGpu : ostra::Backend::kCpu);
  const auto react = session.Load<ostra::kernels::ReactionDiffusion>();
  auto source = session.MakeBuffer(MakeStart()), target = session.MakeBuffer(MakeStart());
  for (int i = 0; i < steps; ++i) {
    react({.width = kSide, .height = kSide, .feed = 0.037f, .kill = 0.06f, .source = source, .target = target},
          {kSide, kSide});
    std::swap(source, target);
  }
  std::vector<float> pixels;
  for (const auto& field : source.Read()) {
    const float amount = 2.8f * field.y;
    pixels.insert(pixels.end(), {amount, amount * amount, 0.15f + amount * amount * amount, 1.0f});
  }
  const ostra::ImageView view(kSide, kSide, {pixels.data(), ostra::Int(pixels.size())});
  ostra::OrThrow(ostra::WriteImage(ostra::OrThrow(ostra::Url::Create(argv[1])), view));
} catch (const std::exception& exception) {
  return std::fprintf(stderr, "%s\n", exception.what()), 1;
}
