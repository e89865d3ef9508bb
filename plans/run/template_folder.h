// Where the GPU program finds a template and its argument: in the name of a file below a folder of resources.
#pragma once

#include <filesystem>
#include <string>

#include "ostra/io/url.h"

namespace ostra::plans {

// A folder of resources whose "shaders" is the folder of the kernel file; removed at the end.
class TemplateFolder {
 public:
  // Error: illegal state when no temporary folder can be made.
  static Result<TemplateFolder> Create(const Url& kernelFile, const std::string& templateArgument);
  TemplateFolder(TemplateFolder&& other) noexcept;
  TemplateFolder& operator=(TemplateFolder&& other) = delete;
  ~TemplateFolder();

  const Url& GetResourcePath() const { return _resourcePath; }
  // "relative://NAME_float_T_.krn" for the argument "float".
  const Url& GetKernelFile() const { return _kernelFile; }
  // The error with the kernel's real place instead of the one below the folder.
  Error Explain(const Error& error) const;

 private:
  TemplateFolder() = default;

  Url _resourcePath, _kernelFile;
  std::string _folder;      // empty after a move
  std::string _realFolder;  // of the kernel file, with a slash at its end
};

}  // namespace ostra::plans
