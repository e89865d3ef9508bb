#include "clients/python/python_kernel.h"

#include <pybind11/stl.h>

#include <algorithm>
#include <cstring>

#include "clients/python/engine_call.h"
#include "ostra/render/render_noise.h"
#include "parallelprogram/program/kernel_declaration_interface.h"
#include "parallelprogram/program/kernel_interface.h"
#include "parallelprogram/program/kernel_print_text.h"
#include "parallelprogram/program/kernel_report.h"

OSTRA_UNIT("python");

namespace ostra::python {

namespace py = pybind11;

PythonKernel::PythonKernel(const std::string& file, const std::string& text, const std::string& gpuFile, bool isOnGpu,
                           bool isChecked)
    : _backend(isOnGpu ? Backend::kGpu : Backend::kCpu), _isChecked(isChecked) {
  _engine = OrThrow(Engine::Get());
  EngineCall call(*_engine);
  OrThrow(call.Run([&] { return Load(file, text, gpuFile); }));
  for (Parameter& parameter : _parameters)
    if (parameter.kind == Kind::kBuffer) parameter.dtype = MakeDtype(parameter.type);
}

Result<void> PythonKernel::Load(const std::string& file, const std::string& text, const std::string& gpuFile) {
  const bool isOnGpu = _backend == Backend::kGpu;
  if (isOnGpu) OSTRA_RETURN_IF_ERROR(_engine->GetGpu());
  OSTRA_ASSIGN_OR_RETURN(const Url url, Url::Create(file));
  OSTRA_ASSIGN_OR_RETURN(KernelRuntime & runtime, _engine->GetRuntime(_isChecked));
  OSTRA_ASSIGN_OR_RETURN(const LoadedKernel loaded, text.empty() ? runtime.Load(url) : runtime.LoadText(file, text));
  _name = std::string(url.GetName().GetView());
  _axisCount = loaded.GetAxisCount();
  OSTRA_ASSIGN_OR_RETURN(_kernel, _engine->MakeName("kernel"));
  _engine->NameKernel(_kernel, _name);
  OSTRA_ASSIGN_OR_RETURN(const Url gpuUrl, Url::Create(gpuFile.empty() ? file : gpuFile));
  OSTRA_RETURN_IF_ERROR(AddToProgram(isOnGpu ? gpuUrl : loaded.GetUrl()));
  return ReadParameters(loaded);
}

// A class of the CPU has its checks; a program of a GPU compiles them into the kernel.
Result<void> PythonKernel::AddToProgram(const Url& file) {
  ParallelProgramInterface& program = GetProgram();
  if (_backend == Backend::kCpu || !_isChecked) return program.AddKernel(_kernel, file, true);
  OSTRA_ASSIGN_OR_RETURN(auto& reports, GetInterface<KernelReportInterface>(program));
  OSTRA_RETURN_IF_ERROR(reports.SetReportOptions({.hasChecks = true}));
  const auto added = program.AddKernel(_kernel, file, true);
  OSTRA_RETURN_IF_ERROR(reports.SetReportOptions({}));
  return added;
}

// The class of the CPU knows the parameters of both.
Result<void> PythonKernel::ReadParameters(const LoadedKernel& loaded) {
  OSTRA_ASSIGN_OR_RETURN(const ClassRegistry& registry, ClassRegistry::Find(kKernelClassRegistry));
  OSTRA_ASSIGN_OR_RETURN(const Id id, Id::Create(loaded.GetClassId().GetView()));
  OSTRA_ASSIGN_OR_RETURN(const ClassRef kernelClass, registry.FindEntryValue(id));
  OSTRA_ASSIGN_OR_RETURN(const auto kernel, kernelClass->CreateObject<KernelInterface>());
  OSTRA_RETURN_IF_ERROR(kernel->Init());
  const auto* declarations = FindInterface<KernelDeclarationInterface>(*kernel);
  if (!declarations) return OSTRA_ILLEGAL_STATE("The kernel @ does not say what it declares.", std::string_view(_name));
  for (const KernelDeclaration& declaration : declarations->GetDeclarations()) {
    if (declaration.name.GetView() == kReportBuffer) {
      _hasReports = true;
      continue;  // the program gives it
    }
    Parameter parameter;
    parameter.name = std::string(declaration.name.GetView());
    parameter.id = declaration.name;
    parameter.isRequired = declaration.isRequired;
    parameter.type = declaration.type;
    SetKind(loaded, parameter);
    _hasNoises = _hasNoises || parameter.kind == Kind::kNoise;
    _parameters.push_back(std::move(parameter));
  }
  return OK;
}

void PythonKernel::SetKind(const LoadedKernel& loaded, Parameter& parameter) {
  const DataType type = parameter.type;
  const DataType inner = type.IsPointer() || type.IsMadeWith(kBlockParametricType) ? type.GetInnerType() : DataType();
  if (type.IsPointer()) {
    parameter.texture = FindTextureForm(inner);
    parameter.kind = parameter.texture                         ? Kind::kTexture
                     : inner.IsMadeWith(kAtomicParametricType) ? Kind::kCounter
                                                               : Kind::kOther;
  } else if (inner.IsPopulated() && inner == GetDataType<RenderNoiseRef>()) {
    parameter.kind = Kind::kNoise;
  } else if (inner.IsPopulated() && FindElementFormat(inner)) {
    parameter.kind = Kind::kBuffer;
    parameter.type = inner;
    parameter.format = FindElementFormat(inner);
    parameter.mayBeWritten = loaded.MayWrite(parameter.name);
    parameter.memory = std::make_unique<Array<Generic>>();
  } else if (const auto format = FindElementFormat(type); format && !format->isStruct) {
    parameter.kind = Kind::kValue;
    parameter.format = format;
  }
}

// As the command-line tool shows them, on sys.stdout.
void PythonKernel::ShowPrints(const KernelPrints& prints) const {
  const PyObject* const output = PySys_GetObject("stdout");
  if (!output || output == Py_None) return;  // as Python's own print
  for (const KernelPrint& print : prints.prints) {
    const std::string line = FormatKernelPrint(print);
    py::print(_printFilter.is_none() ? py::str(line) : _printFilter(line));
  }
  if (prints.lostCount > 0) py::print(std::to_string(prints.lostCount) + " prints did not fit");
}

py::dict PythonKernel::DescribeParameters() const {
  py::dict descriptions;
  for (const Parameter& parameter : _parameters) {
    const std::string element = DescribeElement(parameter.type);
    const std::string kind = parameter.mayBeWritten ? "buffer of " : "const buffer of ";
    descriptions[py::str(parameter.name)] = parameter.kind == Kind::kBuffer    ? kind + element
                                            : parameter.kind == Kind::kTexture ? DescribeTexture(*parameter.texture)
                                            : parameter.kind == Kind::kCounter ? std::string("counter")
                                            : parameter.kind == Kind::kNoise   ? std::string("noises")
                                                                               : element;
  }
  return descriptions;
}

py::object PythonKernel::Call(const py::object& size, const py::dict& arguments) {
  EngineCall::CheckInterpreter();
  Invocation invocation = Bind(size, arguments);
  KernelPrints prints;
  EngineCall call(*_engine);
  auto ran = call.Run([&]() -> Result<void> {
    auto done = Run(invocation);
    if (_hasReports) {
      OSTRA_ASSIGN_OR_RETURN(auto& reports, GetInterface<KernelReportInterface>(GetProgram()));
      OSTRA_ASSIGN_OR_RETURN(prints, reports.TakePrints());
    }
    return done;
  });
  ShowPrints(prints);
  OrThrow(std::move(ran));
  for (const BoundCounter& counter : invocation.counters)
    if (counter.target) counter.target->value = counter.value;
  return CollectResults(invocation, _parameters);
}

// In the order of the parameters.
py::object PythonKernel::CollectResults(const Invocation& invocation, const std::vector<Parameter>& parameters) {
  std::vector<std::pair<const Parameter*, py::object>> results;
  for (const BoundBuffer& buffer : invocation.buffers)
    if (buffer.isMade) results.emplace_back(buffer.parameter, buffer.object);
  for (const BoundCounter& counter : invocation.counters)
    if (!counter.target) results.emplace_back(counter.parameter, py::int_(counter.value));
  if (results.empty()) return py::none();
  if (results.size() == 1) return results.front().second;
  py::dict byName;
  for (const Parameter& parameter : parameters)
    for (const auto& [owner, object] : results)
      if (owner == &parameter) byName[py::str(parameter.name)] = object;
  return byName;
}

Result<void> PythonKernel::Run(Invocation& invocation) {
  ParallelProgramInterface& program = GetProgram();
  program.SetActiveKernel(_kernel);
  const auto run = [&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(HandOver(program, invocation));
    OSTRA_RETURN_IF_ERROR(program.UpdateUniforms());
    const DispatchSize& size = invocation.size;
    OSTRA_RETURN_IF_ERROR(program.DispatchKernel(size.x, size.y, size.z, false));
    OSTRA_RETURN_IF_ERROR(program.Execute(invocation.isWaiting || _hasReports));
    return ReadBack(program, invocation);
  };
  const auto done = run();
  // Arrays of Python belong to the kernel during a call only.
  for (Parameter& parameter : _parameters)
    if (parameter.memory) *parameter.memory = Array<Generic>();
  return done;
}

Result<void> PythonKernel::HandOver(ParallelProgramInterface& program, Invocation& invocation) {
  for (const BoundValue& value : invocation.values) {
    OSTRA_ASSIGN_OR_RETURN(const Data data, Data::CreateCopy(value.type, value.bytes.data()));
    OSTRA_RETURN_IF_ERROR(program.SetUniform(value.id, data));
  }
  for (const BoundBuffer& buffer : invocation.buffers) OSTRA_RETURN_IF_ERROR(HandOverBuffer(program, buffer));
  for (Parameter& parameter : _parameters)
    if (!parameter.spare.empty() && !parameter.memory->GetReference())
      OSTRA_RETURN_IF_ERROR(LinkMemory(program, parameter, parameter.spare.data(), 1));
  for (const BoundTexture& texture : invocation.textures) {
    OSTRA_ASSIGN_OR_RETURN(const InternedId name,
                           texture.texture->Place(*_engine, _backend, *texture.parameter->texture));
    OSTRA_RETURN_IF_ERROR(program.SetTextureToActiveKernel(name, texture.parameter->id));
  }
  for (const BoundCounter& counter : invocation.counters) {
    OSTRA_RETURN_IF_ERROR(_engine->SetCounter(_backend, counter.parameter->id, counter.value));
    OSTRA_RETURN_IF_ERROR(program.SetAtomicCounterToActiveKernel(counter.parameter->id));
  }
  return OK;
}

Result<void> PythonKernel::HandOverBuffer(ParallelProgramInterface& program, const BoundBuffer& buffer) {
  Parameter& parameter = *buffer.parameter;
  if (_backend == Backend::kCpu) {
    if (parameter.spare.empty()) parameter.spare.resize(static_cast<std::size_t>(parameter.type.GetSize()));
    return LinkMemory(program, parameter, buffer.first, buffer.count);
  }
  if (buffer.device) {
    OSTRA_ASSIGN_OR_RETURN(const InternedId name, buffer.device->Place(*_engine, parameter.type));
    return program.SetBufferToActiveKernel(name, parameter.id);
  }
  if (buffer.isMade) {
    OSTRA_RETURN_IF_ERROR(program.CreateUniformBuffer(parameter.id, parameter.type, buffer.count));
  } else {
    OSTRA_ASSIGN_OR_RETURN(GenericBaseArray copy, GenericBaseArray::Create(parameter.type, buffer.count));
    std::memcpy(copy.GetFirst(), buffer.first, static_cast<std::size_t>(buffer.count * parameter.type.GetSize()));
    OSTRA_RETURN_IF_ERROR(program.StoreUniformBufferData(parameter.id, parameter.type, std::move(copy)));
  }
  return program.SetBufferToActiveKernelSameId(parameter.id);
}

Result<void> PythonKernel::LinkMemory(ParallelProgramInterface& program, Parameter& parameter, void* first, Int count) {
  auto* const array = NewObj<client::ClientArray>(parameter.type, first, count);
  if (!array) return OSTRA_OUT_OF_MEMORY();
  *parameter.memory = Array<Generic>(StrongRef<ArrayInterface>::Adopt(array));
  OSTRA_ASSIGN_OR_RETURN(const Data link, Data::Create(parameter.memory.get()));
  return program.SetKernelBufferLink(parameter.id, link);
}

Result<void> PythonKernel::ReadBack(ParallelProgramInterface& program, Invocation& invocation) {
  for (BoundCounter& counter : invocation.counters) {
    OSTRA_ASSIGN_OR_RETURN(counter.value, program.GetAtomicCounter(counter.parameter->id));
  }
  if (_backend == Backend::kCpu) return OK;
  for (const BoundBuffer& buffer : invocation.buffers) {
    if (buffer.device) continue;
    if (buffer.parameter->mayBeWritten) {
      OSTRA_ASSIGN_OR_RETURN(const Data data, program.GetKernelBufferData(buffer.parameter->id));
      OSTRA_ASSIGN_OR_RETURN(const Array<Generic>& array, data.Get<Array<Generic>>());
      std::memcpy(buffer.first, array.GetFirstBlock<Byte>().GetFirst(),
                  static_cast<std::size_t>(buffer.count * buffer.parameter->type.GetSize()));
    }
    OSTRA_RETURN_IF_ERROR(program.DeleteUniformBuffer(buffer.parameter->id));
  }
  return OK;
}

}  // namespace ostra::python
