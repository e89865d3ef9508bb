#include "plans/run/template_folder.h"

#include <stdlib.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "ostra/core/format.h"

OSTRA_UNIT("template_folder");

namespace ostra::plans {

namespace fs = std::filesystem;

Result<TemplateFolder> TemplateFolder::Create(const Url& kernelFile, const std::string& templateArgument) {
  std::error_code code;
  const fs::path parent = fs::temp_directory_path(code);
  TemplateFolder folder;
  std::string pattern = (parent / "ostra_template_XXXXXX").native();
  if (code || !mkdtemp(pattern.data()))
    return OSTRA_ILLEGAL_STATE("A temporary folder cannot be made in @: @.", parent.native(),
                               code ? code.message() : std::strerror(errno));
  folder._folder = pattern;
  const fs::path file = fs::absolute(fs::path(std::string(kernelFile.GetPath().GetView())), code);
  if (!code) fs::create_directory_symlink(file.parent_path(), fs::path(pattern) / "shaders", code);
  if (code) return OSTRA_ILLEGAL_STATE("A link cannot be made in @: @.", pattern, code.message());
  folder._realFolder = std::string(kernelFile.GetDirectory().GetView());
  if (!folder._realFolder.empty() && folder._realFolder.back() != '/') folder._realFolder += '/';
  OSTRA_ASSIGN_OR_RETURN(folder._resourcePath, Url::Create(pattern));
  Url name = kernelFile;
  name.ClearSuffix();
  OSTRA_ASSIGN_OR_RETURN(const String text,
                         Format("relative://@_@_T_@@", name.GetName(), templateArgument,
                                kernelFile.GetSuffix().IsEmpty() ? "" : ".", kernelFile.GetSuffix()));
  folder._kernelFile = Url(text);
  return folder;
}

TemplateFolder::TemplateFolder(TemplateFolder&& other) noexcept
    : _resourcePath(other._resourcePath),
      _kernelFile(other._kernelFile),
      _folder(std::exchange(other._folder, std::string())),
      _realFolder(other._realFolder) {}

TemplateFolder::~TemplateFolder() {
  std::error_code code;
  if (!_folder.empty()) fs::remove_all(_folder, code);
}

Error TemplateFolder::Explain(const Error& error) const {
  const std::string link = _folder + "/shaders/";
  std::string message(error.GetMessage().GetView());
  for (std::size_t at = message.find(link); at != std::string::npos; at = message.find(link, at + _realFolder.size()))
    message.replace(at, link.size(), _realFolder);
  return MakeError(error.GetKind(), kOstraUnit, __LINE__, "@", message);
}

}  // namespace ostra::plans
