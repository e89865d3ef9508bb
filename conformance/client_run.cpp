#include "conformance/client_run.h"

#include <filesystem>

#include "ostra/core/format.h"

OSTRA_UNIT("parity_client");

namespace ostra::conformance {

ClientRun::ClientRun(const Id& programClass, const Url& kernels)
    : _isGpu(programClass == kGpuProgramClass), _kernels(kernels) {
  auto program = MakeProgram(programClass, kernels);
  if (CheckOk(program, "Init", __FILE__, __LINE__)) _program = std::move(*program);
}

Bool ClientRun::Note(std::string text, const char* file, int line) {
  _failures.push_back(std::filesystem::path(file).filename().string() + ":" + std::to_string(line) + ": " +
                      std::move(text));
  return false;
}

Bool ClientRun::Check(Bool holds, const char* text, const char* file, int line) {
  return holds || Note(text, file, line);
}

Bool ClientRun::CheckErrorIs(const Error& error, const Id& kind, std::string_view message, const char* text,
                             const char* file, int line) {
  const std::string_view given = error.GetMessage().GetView();
  if (!(error.GetKind() == kind))
    return Note(std::string(text) + ": an error of another kind: " + std::string(given), file, line);
  return message.empty() || given == message ||
         Note(std::string(text) + ": \"" + std::string(given) + "\"", file, line);
}

void ClientRun::AddKernel(const InternedId& id, std::string_view kernel) {
  const auto file = MakeKernelUrl(kernel);
  if (CheckOk(file, "MakeKernelUrl", __FILE__, __LINE__))
    CheckOk(_program->AddKernel(id, *file, true), "AddKernel", __FILE__, __LINE__);
}

std::vector<Byte> ClientRun::GetBytes(const Result<Data>& data) {
  if (!CheckOk(data, "reading a buffer", __FILE__, __LINE__)) return {};
  auto bytes = GetArrayBytes(*data);
  return CheckOk(bytes, "the elements of a buffer", __FILE__, __LINE__) ? *bytes : std::vector<Byte>();
}

const SamplingData* ClientRun::GetTexture(const Result<Data>& data) {
  if (!CheckOk(data, "reading a texture", __FILE__, __LINE__)) return nullptr;
  const auto* record = data->GetIf<SamplingData>();
  Check(record != nullptr, "a texture was read", __FILE__, __LINE__);
  return record;
}

Floats ClientRun::GetTexels(const Result<Data>& data) {
  const SamplingData* record = GetTexture(data);
  if (!record) return {};
  Floats texels(static_cast<std::size_t>(record->_dataSize) / sizeof(Float32));
  if (!texels.empty()) MemCopy(texels.data(), record->_texels, record->_dataSize);
  return texels;
}

std::vector<std::string> RunClient(void (*scenario)(ClientRun&), const Id& programClass, const Url& kernels) {
  ClientRun run(programClass, kernels);
  if (run.GetFailures().empty()) scenario(run);
  return run.GetFailures();
}

TextureBindData DescribeTexels(const Floats& texels, UInt32 width, UInt32 height) {
  TextureBindData data;
  data._data = reinterpret_cast<const Byte*>(texels.data());
  data._dataSize = static_cast<Int64>(texels.size() * sizeof(Float32));
  data._dimensions = Vec3<UInt32>(width, height, 1);
  data._format = TextureFormat::F32;
  data._numChannels = 4;
  return data;
}

Floats MakeTexels(UInt32 width, UInt32 height) {
  Floats texels(std::size_t{width} * height * 4);
  for (std::size_t i = 0; i < texels.size(); ++i) texels[i] = static_cast<Float32>(i % 251) / 251;
  return texels;
}

}  // namespace ostra::conformance
