// Doubles the numbers of an array file: files SOURCE.npy TARGET.npy
#include <cstdio>

#include "clients/cpp/session.h"
#include "net.example.scale.kernel.h"

int main(int argc, char** argv) try {
  if (argc != 3) return std::fprintf(stderr, "usage: files SOURCE.npy TARGET.npy\n"), 2;
  ostra::Session session;
  const auto scale = session.Load<ostra::kernels::Scale>();
  auto values = session.LoadBuffer<float>(argv[1]);
  scale({.count = static_cast<ostra::UInt32>(values.GetCount()), .factor = 2, .values = values});
  values.Save(argv[2]);
} catch (const std::exception& exception) {
  return std::fprintf(stderr, "%s\n", exception.what()), 1;
}
