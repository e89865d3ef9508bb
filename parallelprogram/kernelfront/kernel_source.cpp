#include "parallelprogram/kernelfront/kernel_source.h"

#include <new>

#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernelfront/kernel_file.h"

OSTRA_UNIT("kernelfront");

namespace ostra {
namespace {

using kernelfront::Join;

// Runs a step that makes a text; its exceptions become errors.
template <class Make>
Result<String> MakeText(Make&& make) {
  try {
    return String::Create(make());
  } catch (const kernelfront::Failure& failure) {
    return Error::Make(kIllegalArgumentError, failure.message, kOstraUnit, __LINE__);
  } catch (const std::bad_alloc&) {
    return OSTRA_OUT_OF_MEMORY();
  }
}

void CheckIdentifier(std::string_view name) {
  const bool isIdentifier =
      !name.empty() && kernelfront::MakeIdentifier(name) == name && !(name[0] >= '0' && name[0] <= '9');
  if (!isIdentifier)
    throw kernelfront::Failure{Join({"The name \"", name, "\" of a kernel table is no C++ identifier."})};
}

}  // namespace

Result<String> GenerateKernelSource(const KernelSourceOptions& options, std::string_view text) {
  return MakeText([&] { return kernelfront::KernelFile(options, text).Generate(); });
}

Result<String> GenerateKernelTable(std::string_view name, const std::vector<std::string>& classIds) {
  return MakeText([&] {
    CheckIdentifier(name);
    std::string declarations, entries;
    for (const std::string& id : classIds) {
      const std::string create = Join({"Create_", kernelfront::MakeIdentifier(id)});
      declarations += Join({"Result<ClassRef> ", create, "();\n"});
      entries += Join({"    {\"", id, "\", &", create, "},\n"});
    }
    return Join({"#include \"", name, "_kernels.h\"\n\nnamespace ostra::kernelclasses {\n", declarations,
                 "static constexpr Entry kEntries[] = {\n", entries, "};\n}  // namespace ostra::kernelclasses\n\n",
                 "ostra::KernelTable GetKernels_", name, "() { return ostra::kernelclasses::kEntries; }\n"});
  });
}

Result<String> GenerateKernelTableHeader(std::string_view name) {
  return MakeText([&] {
    CheckIdentifier(name);
    return Join({"#pragma once\n\n#include \"parallelprogram/program/kernel_registration.h\"\n\n",
                 "// The kernel classes that are linked with ", name, ".\n", "ostra::KernelTable GetKernels_", name,
                 "();\n"});
  });
}

}  // namespace ostra
