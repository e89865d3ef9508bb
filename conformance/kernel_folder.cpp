#include "conformance/kernel_folder.h"

#include <stdlib.h>  // mkdtemp

#include <fstream>
#include <string>

#include "ostra/core/format.h"
#include "ostra_conformance_kernels.h"
#include "parallelprogram/program/kernel_registration.h"

OSTRA_UNIT("parity_kernels");

namespace ostra::conformance {

Result<KernelFolder> KernelFolder::Create() {
  std::error_code failure;
  std::string path = (std::filesystem::temp_directory_path(failure) / "ostra-parity-XXXXXX").string();
  if (failure || !mkdtemp(path.data())) return OSTRA_ILLEGAL_STATE("there is no folder for temporary files");
  KernelFolder folder;
  folder._path = path;
  // A GPU program looks for files of the scheme "relative" in this folder of its resource path.
  const std::filesystem::path files = folder._path / "shaders";
  std::filesystem::create_directory(files, failure);
  for (const TextFile& file : kKernelTexts) {
    std::ofstream stream(files / file.name, std::ios::binary);
    stream << file.text;
    if (!stream.flush()) return OSTRA_ILLEGAL_STATE("@ cannot be written", (files / file.name).string());
  }
  OSTRA_ASSIGN_OR_RETURN(folder._url, Url::Create(path));
  return folder;
}

KernelFolder::~KernelFolder() {
  std::error_code ignored;
  if (!_path.empty()) std::filesystem::remove_all(_path, ignored);
}

Result<void> RegisterConformanceKernels() {
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kKernelClassRegistry));
  for (const auto& kernel : GetKernels_ostra_conformance()) {
    OSTRA_ASSIGN_OR_RETURN(const ClassRef kernelClass, kernel.create());
    OSTRA_RETURN_IF_ERROR(registry.Insert(kernelClass));
  }
  return OK;
}

}  // namespace ostra::conformance
