#include "clients/python/python_kernel.h"

#include <pybind11/stl.h>

#include <cstring>

#include "ostra/core/nearest_word.h"
#include "parallelprogram/program/kernel_declaration_interface.h"
#include "parallelprogram/program/kernel_interface.h"
#include "parallelprogram/program/kernel_report.h"

OSTRA_UNIT("python");

namespace ostra::python {

namespace py = pybind11;

namespace {

std::string Quote(const std::string& name) { return "\"" + name + "\""; }

// "(1080, 1920)".
std::string DescribeShape(const py::array& array) { return std::string(py::str(array.attr("shape"))); }

}  // namespace

bool HasGpu() {
  const py::gil_scoped_release release;
  const auto engine = OrThrow(Engine::Get());
  const std::lock_guard lock(engine->GetMutex());
  return engine->GetGpu().IsOk();
}

PythonKernel::PythonKernel(const std::string& file, const std::string& text, bool isOnGpu) : _isOnGpu(isOnGpu) {
  const py::gil_scoped_release release;
  _engine = OrThrow(Engine::Get());
  const std::lock_guard lock(_engine->GetMutex());
  OrThrow(Load(file, text));
}

Result<void> PythonKernel::Load(const std::string& file, const std::string& text) {
  if (_isOnGpu) OSTRA_RETURN_IF_ERROR(_engine->GetGpu());
  OSTRA_ASSIGN_OR_RETURN(const Url url, Url::Create(file));
  OSTRA_ASSIGN_OR_RETURN(const LoadedKernel loaded,
                         text.empty() ? _engine->GetRuntime().Load(url) : _engine->GetRuntime().LoadText(file, text));
  _name = std::string(url.GetName().GetView());
  _axisCount = loaded.GetAxisCount();
  OSTRA_ASSIGN_OR_RETURN(_kernel, _engine->MakeKernelName());
  OSTRA_RETURN_IF_ERROR(GetSession().GetProgram().AddKernel(_kernel, _isOnGpu ? url : loaded.GetUrl(), true));
  return ReadParameters(loaded);
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
    if (declaration.type.IsMadeWith(kBlockParametricType) && FindElementFormat(declaration.type.GetInnerType())) {
      parameter.kind = Kind::kBuffer;
      parameter.type = declaration.type.GetInnerType();
      parameter.mayBeWritten = loaded.MayWrite(parameter.name);
      parameter.memory = std::make_unique<Array<Generic>>();
    } else if (FindElementFormat(declaration.type)) {
      parameter.kind = Kind::kValue;
    }
    _parameters.push_back(std::move(parameter));
  }
  return OK;
}

// As the command-line tool shows them, on sys.stdout.
void PythonKernel::ShowPrints(const KernelPrints& prints) {
  for (const KernelPrint& print : prints.prints) {
    std::string place = std::to_string(print.invocation.x);
    if (print.dimensions > 1) place += ", " + std::to_string(print.invocation.y);
    if (print.dimensions > 2) place += ", " + std::to_string(print.invocation.z);
    if (print.dimensions > 1) place = "(" + place + ")";
    py::print(std::string(print.file.GetView()) + ":" + std::to_string(print.line) + ": invocation " + place + ": " +
              std::string(print.text.GetView()));
  }
  if (prints.lostCount > 0) py::print(std::to_string(prints.lostCount) + " prints did not fit");
}

py::dict PythonKernel::DescribeParameters() const {
  py::dict descriptions;
  for (const Parameter& parameter : _parameters) {
    const std::string element = DescribeElement(parameter.type);
    const std::string kind = parameter.mayBeWritten ? "buffer of " : "const buffer of ";
    descriptions[py::str(parameter.name)] = parameter.kind == Kind::kBuffer ? kind + element : element;
  }
  return descriptions;
}

py::object PythonKernel::Call(const py::object& size, const py::dict& arguments) {
  Invocation invocation = Bind(size, arguments);
  KernelPrints prints;
  Result<void> ran = OK;
  {
    const py::gil_scoped_release release;
    const std::lock_guard lock(_engine->GetMutex());
    ran = Run(invocation);
    if (_hasReports) prints = OrThrow(FindInterface<KernelReportInterface>(GetSession().GetProgram())->TakePrints());
  }
  ShowPrints(prints);
  OrThrow(std::move(ran));
  std::vector<const BoundBuffer*> made;
  for (const BoundBuffer& buffer : invocation.buffers)
    if (buffer.isMade) made.push_back(&buffer);
  if (made.empty()) return py::none();
  if (made.size() == 1) return made.front()->array;
  py::dict result;
  for (const BoundBuffer* buffer : made) result[py::str(buffer->parameter->name)] = buffer->array;
  return result;
}

PythonKernel::Invocation PythonKernel::Bind(const py::object& size, const py::dict& arguments) {
  CheckNames(arguments);
  Invocation invocation;
  std::vector<Parameter*> outputs;
  std::string missing;
  for (Parameter& parameter : _parameters) {
    const py::str key(parameter.name);
    if (!arguments.contains(key)) {
      if (parameter.mayBeWritten)
        outputs.push_back(&parameter);
      else if (parameter.isRequired || parameter.kind == Kind::kValue)
        missing += (missing.empty() ? "" : ", ") + Quote(parameter.name);
      continue;
    }
    const py::object value = arguments[key];
    if (parameter.kind == Kind::kBuffer)
      invocation.buffers.push_back(BindBuffer(parameter, value));
    else
      invocation.values.push_back({&parameter, MakeValue(parameter.name, parameter.type, value)});
  }
  if (!missing.empty()) throw py::type_error(_name + " needs " + missing);
  ChooseSize(size, invocation);
  for (Parameter* output : outputs) invocation.buffers.push_back(MakeOutput(*output, invocation));
  return invocation;
}

void PythonKernel::CheckNames(const py::dict& arguments) const {
  for (const auto& argument : arguments) {
    const auto name = py::cast<std::string>(argument.first);
    const auto isNamed = [&name](const Parameter& parameter) { return parameter.name == name; };
    if (std::any_of(_parameters.begin(), _parameters.end(), isNamed)) continue;
    NearestWord nearest(name, 3);
    std::string all;
    for (const Parameter& parameter : _parameters) {
      nearest.Try(parameter.name);
      all += (all.empty() ? "" : ", ") + parameter.name;
    }
    const std::string hint =
        nearest.Get().empty() ? "; it has " + all : "; did you mean " + Quote(std::string(nearest.Get())) + "?";
    throw py::type_error(_name + " has no parameter " + Quote(name) + hint);
  }
}

PythonKernel::BoundBuffer PythonKernel::BindBuffer(Parameter& parameter, const py::handle& value) const {
  const ElementFormat format = *FindElementFormat(parameter.type);
  const std::string wanted = Quote(parameter.name) + " is a buffer of " + DescribeElement(parameter.type);
  if (!py::isinstance<py::array>(value))
    throw py::type_error(wanted + ", which takes a numpy array, not " +
                         std::string(py::str(py::type::handle_of(value).attr("__name__"))));
  const auto array = py::reinterpret_borrow<py::array>(value);
  if (!array.dtype().equal(py::dtype(format.dtype)))
    throw py::type_error(wanted + ", not of " + std::string(py::str(array.dtype())) + "; array.astype(\"" +
                         format.dtype + "\") converts it");
  if (!(array.flags() & py::array::c_style))
    throw py::type_error(wanted + ", whose array is not in C order; numpy.ascontiguousarray(array) copies it");
  if (parameter.mayBeWritten && !array.writeable())
    throw py::type_error(wanted + " that the kernel may write, and its array is read-only");
  const bool fits =
      format.componentCount == 1 || (array.ndim() > 0 && array.shape(array.ndim() - 1) == format.componentCount);
  if (!fits)
    throw py::type_error(wanted + ": the last axis has " + std::to_string(format.componentCount) +
                         " components; the array has the shape " + DescribeShape(array));
  if (array.size() == 0) throw py::value_error(wanted + ", and its array is empty");
  // numpy needs not align elements.
  void* const first = const_cast<void*>(array.data());
  if (reinterpret_cast<std::uintptr_t>(first) % static_cast<std::uintptr_t>(array.itemsize()) != 0)
    throw py::type_error(wanted + ", whose array is not aligned; array.copy() is");
  return {&parameter, array, first, array.size() / format.componentCount, false};
}

void PythonKernel::ChooseSize(const py::object& size, Invocation& invocation) const {
  if (!size.is_none()) {
    const py::tuple extents = PyIndex_Check(size.ptr()) ? py::make_tuple(size) : py::tuple(size);
    UInt32* const axes[] = {&invocation.size.x, &invocation.size.y, &invocation.size.z};
    if (extents.empty() || extents.size() > 3) throw py::value_error("the size has one to three numbers");
    for (std::size_t i = 0; i < extents.size(); ++i) {
      const auto bytes = MakeValue("size", GetDataType<UInt32>(), extents[i]);
      std::memcpy(axes[i], bytes.data(), sizeof(UInt32));
      if (*axes[i] == 0) throw py::value_error("the size has numbers from 1 on");
      invocation.shape.insert(invocation.shape.begin(), *axes[i]);
    }
    return;
  }
  std::vector<py::ssize_t> shape;
  for (const BoundBuffer& buffer : invocation.buffers) {
    const Int components = FindElementFormat(buffer.parameter->type)->componentCount;
    std::vector<py::ssize_t> own(buffer.array.shape(), buffer.array.shape() + buffer.array.ndim());
    if (components > 1) own.pop_back();
    if (!shape.empty() && own != shape)
      throw py::value_error("the arrays have different shapes: say how many invocations run, kernel(size, ...)");
    shape = std::move(own);
  }
  const auto dimensions = static_cast<Int>(shape.size());
  Int count = 1;
  for (const py::ssize_t side : shape) count *= side;
  if (invocation.buffers.empty() || !_axisCount || (*_axisCount > 1 && *_axisCount != dimensions) || count > UINT32_MAX)
    throw py::value_error("the arrays do not say how many invocations run: give it, kernel((width, height), ...)");
  invocation.shape = shape;
  if (*_axisCount == 1) {
    invocation.size.x = static_cast<UInt32>(count);
    return;
  }
  invocation.size.x = static_cast<UInt32>(shape[shape.size() - 1]);
  invocation.size.y = static_cast<UInt32>(shape[shape.size() - 2]);
  if (*_axisCount == 3) invocation.size.z = static_cast<UInt32>(shape[0]);
}

PythonKernel::BoundBuffer PythonKernel::MakeOutput(Parameter& parameter, const Invocation& invocation) const {
  const ElementFormat format = *FindElementFormat(parameter.type);
  std::vector<py::ssize_t> shape = invocation.shape;
  if (format.componentCount > 1) shape.push_back(format.componentCount);
  const py::array array = py::module_::import("numpy").attr("zeros")(shape, format.dtype);
  return {&parameter, array, const_cast<void*>(array.data()), array.size() / format.componentCount, true};
}

Result<void> PythonKernel::Run(Invocation& invocation) {
  OSTRA_RETURN_IF_ERROR(_engine->CheckProcess());
  ParallelProgramInterface& program = GetSession().GetProgram();
  program.SetActiveKernel(_kernel);
  const auto run = [&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(HandOver(program, invocation));
    OSTRA_RETURN_IF_ERROR(program.UpdateUniforms());
    const DispatchSize& size = invocation.size;
    OSTRA_RETURN_IF_ERROR(program.DispatchKernel(size.x, size.y, size.z, false));
    OSTRA_RETURN_IF_ERROR(program.Execute(true));
    return _isOnGpu ? ReadBack(program, invocation) : OK;
  };
  const auto done = run();
  // Arrays of Python belong to the kernel during a call only.
  for (Parameter& parameter : _parameters)
    if (parameter.memory) *parameter.memory = Array<Generic>();
  return done;
}

Result<void> PythonKernel::HandOver(ParallelProgramInterface& program, Invocation& invocation) {
  for (const BoundValue& value : invocation.values) {
    OSTRA_ASSIGN_OR_RETURN(const Data data, Data::CreateCopy(value.parameter->type, value.bytes.data()));
    OSTRA_RETURN_IF_ERROR(program.SetUniform(value.parameter->id, data));
  }
  for (const BoundBuffer& buffer : invocation.buffers) {
    const Parameter& parameter = *buffer.parameter;
    if (_isOnGpu) {
      OSTRA_ASSIGN_OR_RETURN(GenericBaseArray copy, GenericBaseArray::Create(parameter.type, buffer.count));
      if (!buffer.isMade) std::memcpy(copy.GetFirst(), buffer.first, static_cast<std::size_t>(buffer.array.nbytes()));
      OSTRA_RETURN_IF_ERROR(program.StoreUniformBufferData(parameter.id, parameter.type, std::move(copy)));
      OSTRA_RETURN_IF_ERROR(program.SetBufferToActiveKernelSameId(parameter.id));
      continue;
    }
    auto* const array = NewObj<client::ClientArray>(parameter.type, buffer.first, buffer.count);
    if (!array) return OSTRA_OUT_OF_MEMORY();
    *parameter.memory = Array<Generic>(StrongRef<ArrayInterface>::Adopt(array));
    OSTRA_ASSIGN_OR_RETURN(const Data link, Data::Create(parameter.memory.get()));
    OSTRA_RETURN_IF_ERROR(program.SetKernelBufferLink(parameter.id, link));
  }
  return OK;
}

Result<void> PythonKernel::ReadBack(ParallelProgramInterface& program, Invocation& invocation) {
  for (const BoundBuffer& buffer : invocation.buffers) {
    if (buffer.parameter->mayBeWritten) {
      OSTRA_ASSIGN_OR_RETURN(const Data data, program.GetKernelBufferData(buffer.parameter->id));
      OSTRA_ASSIGN_OR_RETURN(const Array<Generic>& array, data.Get<Array<Generic>>());
      std::memcpy(buffer.first, array.GetFirstBlock<Byte>().GetFirst(),
                  static_cast<std::size_t>(buffer.array.nbytes()));
    }
    OSTRA_RETURN_IF_ERROR(program.DeleteUniformBuffer(buffer.parameter->id));
  }
  return OK;
}

}  // namespace ostra::python
