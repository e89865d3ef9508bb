// What a call gives, checked against the parameters of the kernel.
#include <algorithm>
#include <charconv>
#include <cstring>

#include "clients/python/arguments.h"
#include "clients/python/python_kernel.h"
#include "ostra/core/nearest_word.h"
#include "parallelprogram/program/noise_modes.h"

namespace ostra::python {

namespace py = pybind11;

namespace {

constexpr std::string_view kMode = "noiseMode_", kSeed = "noiseSeed_";

// The number of "noiseMode_3" and "noiseSeed_3".
std::optional<Int> FindNoiseSetting(std::string_view name) {
  if (!name.starts_with(kMode) && !name.starts_with(kSeed)) return std::nullopt;
  const std::string_view digits = name.substr(kMode.size());
  Int number = -1;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (number < 0 || number >= kMaxNoises || std::to_string(number) != digits) return std::nullopt;
  return number;
}

std::string_view GetNoiseName(Int32 mode) {
  const std::string_view id = GetNoiseClass(mode).GetView();
  return id.substr(id.rfind('.') + 1);
}

Int32 ReadInt32(const std::string& parameter, const py::handle& value) {
  const std::vector<char> bytes = MakeValue(parameter, GetDataType<Int32>(), value);
  Int32 number = 0;
  std::memcpy(&number, bytes.data(), sizeof(number));
  return number;
}

Int32 ReadNoiseMode(const std::string& parameter, const py::handle& value) {
  if (!py::isinstance<py::str>(value)) {
    const Int32 mode = ReadInt32(parameter, value);
    if (mode >= 0 && mode < kNoiseModeCount) return mode;
    throw py::value_error(Quote(parameter) + " is 0 to " + std::to_string(kNoiseModeCount - 1) + ", not " +
                          std::to_string(mode));
  }
  const std::string name = TakeText(parameter, value);
  NearestWord nearest(name, 3);
  for (Int32 mode = 0; mode < kNoiseModeCount; ++mode) {
    if (GetNoiseName(mode) == name) return mode;
    nearest.Try(GetNoiseName(mode));
  }
  throw py::value_error(Quote(parameter) + ": there is no noise " + Quote(name) +
                        (nearest.Get().empty() ? "" : "; did you mean " + Quote(std::string(nearest.Get())) + "?"));
}

// Programs number invocations with 32 bits.
void CheckCount(const DispatchSize& size) {
  UInt64 count = size.x;
  for (const UInt32 side : {size.y, size.z}) count = count > UINT32_MAX ? count : count * side;
  if (count > UINT32_MAX) throw py::value_error("a call runs at most 4294967295 invocations: make several calls");
}

}  // namespace

PythonKernel::Invocation PythonKernel::Bind(const py::object& size, const py::dict& arguments) {
  CheckNames(arguments);
  Invocation invocation;
  std::vector<Parameter*> outputs;
  std::string missing;
  for (Parameter& parameter : _parameters) {
    const py::str key(parameter.name);
    if (arguments.contains(key)) {
      BindArgument(parameter, arguments[key], invocation);
    } else if (parameter.mayBeWritten) {
      outputs.push_back(&parameter);
    } else if (parameter.kind == Kind::kCounter) {
      invocation.counters.push_back({&parameter});
    } else if (parameter.kind != Kind::kNoise && (parameter.isRequired || parameter.kind == Kind::kValue)) {
      missing += (missing.empty() ? "" : ", ") + Quote(parameter.name);
    }
  }
  if (!missing.empty()) throw py::type_error(_name + " needs " + missing);
  if (_hasNoises) BindNoises(arguments, invocation);
  ChooseSize(size, invocation);
  for (const BoundBuffer& buffer : invocation.buffers)
    invocation.hasDeviceBuffers = invocation.hasDeviceBuffers || py::isinstance<PythonBuffer>(buffer.object);
  for (Parameter* output : outputs) invocation.buffers.push_back(MakeOutput(*output, invocation));
  invocation.isWaiting =
      !invocation.counters.empty() || std::any_of(invocation.buffers.begin(), invocation.buffers.end(),
                                                  [](const BoundBuffer& buffer) { return buffer.first != nullptr; });
  return invocation;
}

void PythonKernel::BindArgument(Parameter& parameter, const py::object& value, Invocation& invocation) const {
  switch (parameter.kind) {
    case Kind::kBuffer:
      invocation.buffers.push_back(BindBuffer(parameter, value));
      return;
    case Kind::kTexture:
      invocation.textures.push_back(BindTexture(parameter, value));
      return;
    case Kind::kCounter:
      invocation.counters.push_back(BindCounter(parameter, value));
      return;
    case Kind::kNoise:
      throw py::type_error(Quote(parameter.name) + " are noises, which noiseMode_0 and noiseSeed_0 choose");
    default:
      invocation.values.push_back({parameter.id, parameter.type, MakeValue(parameter.name, parameter.type, value)});
  }
}

void PythonKernel::CheckNames(const py::dict& arguments) const {
  for (const auto& argument : arguments) {
    const std::string name = TakeText("the name of a parameter", argument.first);
    const auto isNamed = [&name](const Parameter& parameter) { return parameter.name == name; };
    if (std::any_of(_parameters.begin(), _parameters.end(), isNamed)) continue;
    if (_hasNoises && FindNoiseSetting(name)) continue;
    NearestWord nearest(name, 3);
    std::string all;
    for (const Parameter& parameter : _parameters) {
      nearest.Try(parameter.name);
      all += (all.empty() ? "" : ", ") + parameter.name;
    }
    if (_hasNoises) nearest.Try("noiseMode_0"), nearest.Try("noiseSeed_0");
    const std::string hint =
        nearest.Get().empty() ? "; it has " + all : "; did you mean " + Quote(std::string(nearest.Get())) + "?";
    throw py::type_error(_name + " has no parameter " + Quote(name) + hint);
  }
}

void PythonKernel::CheckArray(const Parameter& parameter, const std::string& wanted, const py::array& array) const {
  const ElementFormat& format = *parameter.format;
  CheckUnmasked(parameter.name, array);
  if (!array.dtype().equal(parameter.dtype)) {
    if (format.isStruct) {
      const std::string difference = ExplainStructDifference(parameter.type, array.dtype());
      if (!difference.empty()) throw py::type_error(wanted + ": " + difference);
    } else {
      throw py::type_error(wanted + ", not of " + TextOf(array.dtype()) + "; array.astype(\"" + format.dtype +
                           "\") converts it");
    }
  }
  if (!(array.flags() & py::array::c_style))
    throw py::type_error(wanted + ", whose array is not in C order; numpy.ascontiguousarray(array) copies it");
  if (parameter.mayBeWritten && !array.writeable())
    throw py::type_error(wanted + " that the kernel may write, and its array is read-only");
  if (array.size() == 0) throw py::value_error(wanted + ", and its array is empty");
  // numpy needs not align elements.
  const py::ssize_t alignment = format.isStruct ? 4 : array.itemsize();
  if (reinterpret_cast<std::uintptr_t>(array.data()) % static_cast<std::uintptr_t>(alignment) != 0)
    throw py::type_error(wanted + ", whose array is not aligned; array.copy() is");
}

std::vector<py::ssize_t> PythonKernel::TakeComponents(const Parameter& parameter, const std::string& wanted,
                                                      std::vector<py::ssize_t> shape) {
  const Int components = parameter.format->componentCount;
  if (components == 1) return shape;
  if (shape.empty() || shape.back() != components)
    throw py::type_error(wanted + ": the last axis has " + std::to_string(components) +
                         " components; the array has the shape " + TextOf(py::tuple(py::cast(shape))));
  shape.pop_back();
  return shape;
}

PythonKernel::BoundBuffer PythonKernel::BindBuffer(Parameter& parameter, const py::object& value) const {
  const std::string wanted = Quote(parameter.name) + " is a buffer of " + DescribeElement(parameter.type);
  BoundBuffer bound;
  bound.parameter = &parameter;
  bound.object = value;
  py::array array;
  if (py::isinstance<py::array>(value)) {
    array = value;
  } else if (py::isinstance<PythonBuffer>(value)) {
    auto& buffer = py::cast<PythonBuffer&>(value);
    if (buffer.GetBackend() != _backend)
      throw py::type_error(wanted + " on the " + (_backend == Backend::kGpu ? "GPU" : "CPU") +
                           ", and it was given a buffer on the " + (_backend == Backend::kGpu ? "CPU" : "GPU") +
                           "; ostra.Buffer(array, backend=\"" + GetBackendName() + "\") makes one there");
    if (_backend == Backend::kGpu) {
      if (!buffer.GetDtype().equal(parameter.dtype))
        throw py::type_error(wanted + ", not of " + TextOf(buffer.GetDtype()));
      bound.device = &buffer;
      bound.count = buffer.GetByteCount() / parameter.type.GetSize();
      bound.shape = TakeComponents(parameter, wanted, buffer.GetShape());
      return bound;
    }
    array = buffer.GetHostArray();
  } else {
    throw py::type_error(wanted + ", which takes a numpy array or an ostra.Buffer, not " + NameType(value));
  }
  CheckArray(parameter, wanted, array);
  bound.shape = TakeComponents(parameter, wanted, {array.shape(), array.shape() + array.ndim()});
  bound.first = const_cast<void*>(array.data());
  bound.count = array.size() / parameter.format->componentCount;
  return bound;
}

PythonKernel::BoundTexture PythonKernel::BindTexture(const Parameter& parameter, const py::object& value) const {
  const std::string wanted = Quote(parameter.name) + " is a " + DescribeTexture(*parameter.texture);
  std::shared_ptr<PythonTexture> texture;
  if (py::isinstance<PythonTexture>(value)) {
    CheckConstructed<PythonTexture>(value);
    texture = py::cast<std::shared_ptr<PythonTexture>>(value);
  } else if (py::isinstance<py::array>(value)) {
    CheckUnmasked(parameter.name, value);
    texture = std::make_shared<PythonTexture>(py::array(value), TextureSettings());
  } else {
    throw py::type_error(wanted + ", which takes an ostra.Texture or a numpy array, not " + NameType(value));
  }
  texture->Check(wanted, *parameter.texture, _backend);
  return {&parameter, std::move(texture)};
}

PythonKernel::BoundCounter PythonKernel::BindCounter(const Parameter& parameter, const py::object& value) {
  if (py::isinstance<PythonCounter>(value)) {
    auto& counter = py::cast<PythonCounter&>(value);
    return {&parameter, counter.value, &counter};
  }
  return {&parameter, TakeUInt32(parameter.name, value)};
}

// Programs keep values: all that earlier calls have set are set again.
void PythonKernel::BindNoises(const py::dict& arguments, Invocation& invocation) {
  for (const auto& argument : arguments)
    if (const auto number = FindNoiseSetting(py::cast<std::string>(argument.first)))
      _noiseCount = std::max(_noiseCount, *number + 1);
  for (Int i = 0; i < _noiseCount; ++i) {
    for (const bool isMode : {true, false}) {
      const std::string name = std::string(isMode ? kMode : kSeed) + std::to_string(i);
      Int32 number = 0;
      if (arguments.contains(name)) {
        const py::object value = arguments[py::str(name)];
        number = isMode ? ReadNoiseMode(name, value) : ReadInt32(name, value);
      }
      std::vector<char> bytes(sizeof(number));
      std::memcpy(bytes.data(), &number, sizeof(number));
      invocation.values.push_back({OrThrow(InternedId::Create(name)), GetDataType<Int32>(), std::move(bytes)});
    }
  }
}

// Of the arrays, which are equal: else of the largest one, for a kernel that looks at as many axes, two or three. So a
// picture says the size beside a table.
std::vector<py::ssize_t> PythonKernel::FindShape(const std::vector<BoundBuffer>& buffers) const {
  const BoundBuffer* largest = &buffers.front();
  bool areEqual = true;
  bool isLargest = true;
  for (const BoundBuffer& buffer : buffers) {
    if (buffer.shape == largest->shape) continue;
    areEqual = false;
    isLargest = buffer.count != largest->count;
    if (buffer.count > largest->count) largest = &buffer;
  }
  const bool hasAxes = _axisCount && *_axisCount > 1 && static_cast<Int>(largest->shape.size()) == *_axisCount;
  if (areEqual || (isLargest && hasAxes)) return largest->shape;
  throw py::value_error("the arrays have different shapes: say how many invocations run, kernel(size, ...)");
}

void PythonKernel::ChooseSize(const py::object& size, Invocation& invocation) const {
  if (!size.is_none()) {
    const py::tuple extents = FindElements(size).value_or(py::make_tuple(size));
    UInt32* const axes[] = {&invocation.size.x, &invocation.size.y, &invocation.size.z};
    if (extents.empty() || extents.size() > 3) throw py::value_error("the size has one to three numbers");
    for (std::size_t i = 0; i < extents.size(); ++i) {
      if (!PyIndex_Check(py::object(extents[i]).ptr()))
        RefuseArgument("size", "a number or a tuple of one to three numbers", size);
      *axes[i] = TakeUInt32("size", extents[i]);
      if (*axes[i] == 0) throw py::value_error("the size has numbers from 1 on");
      invocation.shape.insert(invocation.shape.begin(), *axes[i]);
    }
    CheckCount(invocation.size);
    return;
  }
  const bool isKnown = !invocation.buffers.empty();
  const std::vector<py::ssize_t> shape = isKnown ? FindShape(invocation.buffers) : std::vector<py::ssize_t>();
  const auto dimensions = static_cast<Int>(shape.size());
  Int count = 1;
  for (const py::ssize_t side : shape) count *= side;
  if (!isKnown || !_axisCount || (*_axisCount > 1 && *_axisCount != dimensions) || count > UINT32_MAX)
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
  const Int components = parameter.format->componentCount;
  BoundBuffer bound;
  bound.parameter = &parameter;
  bound.shape = invocation.shape;
  bound.isMade = true;
  bound.count = 1;
  for (const py::ssize_t side : bound.shape) bound.count *= side;
  std::vector<py::ssize_t> shape = bound.shape;
  if (components > 1) shape.push_back(components);
  if (invocation.hasDeviceBuffers) {
    const auto buffer = std::make_shared<PythonBuffer>(_backend, shape, py::dtype(parameter.dtype));
    bound.object = py::cast(buffer);
    if (_backend == Backend::kGpu) {
      bound.device = buffer.get();
      return bound;
    }
    bound.first = const_cast<void*>(buffer->GetHostArray().data());
    return bound;
  }
  const py::array array = py::module_::import("numpy").attr("zeros")(shape, parameter.dtype);
  bound.first = const_cast<void*>(array.data());
  bound.object = array;
  return bound;
}

}  // namespace ostra::python
