// The kernels of the conformance suite: their classes for the CPU, and their files for a GPU program to read.
//
//   OSTRA_RETURN_IF_ERROR(RegisterConformanceKernels());
//   OSTRA_ASSIGN_OR_RETURN(const KernelFolder folder, KernelFolder::Create());
//   program->Init(folder.GetUrl(), nullptr, 0, true);
//   program->AddKernel(id, Url("relative://net.ostra.kernels.saxpy.krn"_s), true);
#pragma once

#include <filesystem>
#include <span>
#include <string_view>

#include "ostra/io/url.h"

namespace ostra::conformance {

struct TextFile {
  std::string_view name, text;
};

// Those of the kernel library and those of this folder.
extern const std::span<const TextFile> kKernelTexts;

// The files in a temporary folder, which goes with the object.
class KernelFolder {
 public:
  // Error: illegal state when the files cannot be written.
  static Result<KernelFolder> Create();

  KernelFolder(KernelFolder&& other) noexcept : _path(std::exchange(other._path, {})), _url(std::move(other._url)) {}
  KernelFolder& operator=(KernelFolder&&) = delete;
  ~KernelFolder();

  // The resource path for programs.
  const Url& GetUrl() const { return _url; }

 private:
  KernelFolder() = default;

  std::filesystem::path _path;
  Url _url;
};

// Enters the kernels' classes, once per host; the module "parallelprogram" must be loaded. Errors: those of the
// registry.
Result<void> RegisterConformanceKernels();

}  // namespace ostra::conformance
