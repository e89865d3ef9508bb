#include "clients/python/python_buffer.h"

#include <cstring>

#include "clients/python/arguments.h"
#include "clients/python/element_format.h"
#include "clients/python/engine_call.h"

OSTRA_UNIT("python");

namespace ostra::python {

namespace py = pybind11;

namespace {

// Error: why there is no GPU. Everything else is thrown.
Result<void> StartGpu() {
  const auto engine = OrThrow(Engine::Get());
  EngineCall call(*engine);
  return call.Run([&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(engine->GetGpu());
    return OK;
  });
}

void CheckArray(const py::array& array) {
  const py::dtype dtype = array.dtype();
  if (dtype.attr("hasobject").cast<bool>() || std::strchr("biufV", dtype.kind()) == nullptr)
    throw py::type_error("a buffer has numbers or structs of numbers, not " + TextOf(dtype));
  if (!dtype.attr("isnative").cast<bool>())
    throw py::type_error("a buffer has numbers in the byte order of this machine, not " + TextOf(dtype));
  if (array.size() == 0) throw py::value_error("a buffer has at least one element, and the array is empty");
}

py::array CopyArray(const py::array& array) {
  CheckArray(array);
  return py::module_::import("numpy").attr("array")(array, py::arg("order") = "C", py::arg("copy") = true);
}

std::vector<py::ssize_t> ShapeOf(const py::array& array) { return {array.shape(), array.shape() + array.ndim()}; }

}  // namespace

Backend ChooseBackend(const py::handle& name) {
  constexpr const char* kBackends = "\"cpu\", \"gpu\" or \"auto\"";
  if (!py::isinstance<py::str>(name)) RefuseArgument("backend", kBackends, name);
  if (name.equal(py::str("cpu"))) return Backend::kCpu;
  const bool isGpu = name.equal(py::str("gpu"));
  if (!isGpu && !name.equal(py::str("auto")))
    throw py::value_error(std::string("\"backend\" is ") + kBackends + ", not " + ShowValue(name));
  Result<void> started = StartGpu();
  if (!isGpu) return started ? Backend::kGpu : Backend::kCpu;
  OrThrow(std::move(started));
  return Backend::kGpu;
}

const char* GetBackendName(Backend backend) { return backend == Backend::kGpu ? "gpu" : "cpu"; }

PythonBuffer::PythonBuffer(const py::array& array, Backend backend)
    : _backend(backend), _shape(ShapeOf(array)), _dtype(array.dtype()), _byteCount(array.nbytes()) {
  py::array copy = CopyArray(array);
  _engine = OrThrow(Engine::Get());
  if (_backend == Backend::kCpu) {
    _array = std::move(copy);
    return;
  }
  const char* const first = static_cast<const char*>(copy.data());
  _bytes.assign(first, first + _byteCount);
}

PythonBuffer::PythonBuffer(Backend backend, std::vector<py::ssize_t> shape, py::dtype dtype)
    : _backend(backend), _shape(std::move(shape)), _dtype(std::move(dtype)), _byteCount(_dtype.itemsize()) {
  for (const py::ssize_t side : _shape) _byteCount *= side;
  _engine = OrThrow(Engine::Get());
  if (_backend == Backend::kCpu) _array = py::module_::import("numpy").attr("zeros")(_shape, _dtype);
}

std::shared_ptr<PythonBuffer> PythonBuffer::Share(const py::array& array) {
  CheckArray(array);
  if (!(array.flags() & py::array::c_style))
    throw py::type_error("the memory is not in C order: ostra.Buffer(array) copies it");
  auto buffer = std::make_shared<PythonBuffer>(Backend::kCpu, std::vector<py::ssize_t>{1}, array.dtype());
  buffer->_shape = ShapeOf(array);
  buffer->_byteCount = array.nbytes();
  buffer->_array = array;
  return buffer;
}

PythonBuffer::~PythonBuffer() { Forget(); }

void PythonBuffer::Forget() {
  if (_type.IsPopulated()) _engine->Retire({_backend, _name, false});
  _type = DataType();
}

py::tuple PythonBuffer::GetShapeTuple() const { return py::cast(_shape); }

const py::array& PythonBuffer::GetHostArray() const {
  if (_backend == Backend::kCpu) return _array;
  PyErr_SetString(PyExc_BufferError, "the buffer lies on a GPU: buffer.numpy() copies it");
  throw py::error_already_set();
}

py::array PythonBuffer::MakeNumpy() {
  if (_backend == Backend::kCpu) return _array.attr("view")();  // whose shape may be set without changing the buffer
  py::array array = py::module_::import("numpy").attr("zeros")(_shape, _dtype);
  void* const target = array.mutable_data();
  EngineCall call(*_engine);
  OrThrow(call.Run([&] { return Download(*_engine, target); }));
  return array;
}

void PythonBuffer::Write(const py::array& array) {
  if (!array.dtype().equal(_dtype))
    throw py::type_error("the buffer is of " + TextOf(_dtype) + ", not of " + TextOf(array.dtype()));
  if (ShapeOf(array) != _shape)
    throw py::value_error("the buffer has the shape " + TextOf(GetShapeTuple()) + ", not " +
                          TextOf(array.attr("shape")));
  if (_backend == Backend::kCpu) {
    if (!_array.writeable()) throw py::type_error("the memory of the buffer is read-only");
    py::module_::import("numpy").attr("copyto")(_array, array);
    return;
  }
  const py::array copy = CopyArray(array);
  const char* const first = static_cast<const char*>(copy.data());
  EngineCall call(*_engine);
  OrThrow(call.Run([&]() -> Result<void> {
    Forget();
    _bytes.assign(first, first + _byteCount);
    return OK;
  }));
}

Result<InternedId> PythonBuffer::Place(Engine& engine, DataType type) {
  if (_type == type) return _name;
  if (_type.IsPopulated()) {
    std::vector<char> bytes(static_cast<std::size_t>(_byteCount));
    OSTRA_RETURN_IF_ERROR(Download(engine, bytes.data()));
    Forget();
    _bytes = std::move(bytes);
  }
  OSTRA_RETURN_IF_ERROR(Upload(engine, type));
  return _name;
}

Result<void> PythonBuffer::Upload(Engine& engine, DataType type) {
  ParallelProgramInterface& program = engine.GetSession(_backend).GetProgram();
  const Int count = _byteCount / type.GetSize();
  OSTRA_ASSIGN_OR_RETURN(_name, engine.MakeName("buffer"));
  if (_bytes.empty()) {
    OSTRA_RETURN_IF_ERROR(program.CreateUniformBuffer(_name, type, count));
  } else {
    OSTRA_ASSIGN_OR_RETURN(GenericBaseArray elements, GenericBaseArray::Create(type, count));
    std::memcpy(elements.GetFirst(), _bytes.data(), _bytes.size());
    OSTRA_RETURN_IF_ERROR(program.StoreUniformBufferData(_name, type, std::move(elements)));
    ++_uploads;
  }
  _type = type;
  _bytes = std::vector<char>();
  return OK;
}

Result<void> PythonBuffer::Download(Engine& engine, void* target) {
  if (!_type.IsPopulated()) {
    if (!_bytes.empty()) std::memcpy(target, _bytes.data(), _bytes.size());
    return OK;
  }
  OSTRA_ASSIGN_OR_RETURN(const Data data, engine.GetSession(_backend).GetProgram().GetGlobalBufferData(_name));
  OSTRA_ASSIGN_OR_RETURN(const Array<Generic>& array, data.Get<Array<Generic>>());
  std::memcpy(target, array.GetFirstBlock<Byte>().GetFirst(), static_cast<std::size_t>(_byteCount));
  ++_downloads;
  return OK;
}

}  // namespace ostra::python
