// What of C++ Python sees: the module ostra._ostra.
#include <dlfcn.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "clients/python/arguments.h"
#include "clients/python/dlpack.h"
#include "clients/python/element_format.h"
#include "clients/python/engine_call.h"
#include "clients/python/inquiries.h"
#include "clients/python/parity.h"
#include "clients/python/pictures.h"
#include "clients/python/python_kernel.h"
#include "clients/python/scene_pictures.h"
#include "ostra/drawport/settings.h"
#include "ostra/jobs/worker_threads.h"

namespace py = pybind11;

namespace ostra::python {
namespace {

// One module of a process has the host.
void CheckOnlyOne() {
  constexpr const char* kKey = "ostra.module";
  auto* const known = static_cast<std::string*>(py::get_shared_data(kKey));
  if (known) throw py::import_error("ostra is loaded already, from " + *known + ": a process has one");
  Dl_info library = {};
  dladdr(reinterpret_cast<const void*>(&CheckOnlyOne), &library);
  py::set_shared_data(kKey, new std::string(library.dli_fname ? library.dli_fname : "?"));  // for the process
}

// With what to do about it, where the error itself does not know that it is one of Python.
std::string MakeMessage(const Exception& exception) {
  std::string message = exception.what();
  if (message.find("The GPU device is lost.") != std::string::npos)
    message +=
        " What lay on it is lost, and this process cannot use it again: start Python again. Kernels on the CPU go on.";
  return message;
}

void RegisterError(py::module_& module) {
  static py::exception<Exception> error(module, "Error", PyExc_RuntimeError);
  error.attr("__module__") = "ostra";
  error.doc() = "What is wrong with a kernel (the message has its line), with the compiler, or with a device.";
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      if (thrown) std::rethrow_exception(thrown);
    } catch (const Exception& exception) {
      const bool isMemory = exception.GetError().GetKind() == kOutOfMemoryError;
      PyErr_SetString(isMemory ? PyExc_MemoryError : error.ptr(), MakeMessage(exception).c_str());
    }
  });
}

// That of the array behind the buffer. Nothing may be thrown.
extern "C" int GetBuffer(PyObject* object, Py_buffer* view, int flags) {
  view->obj = nullptr;
  try {
    const auto& buffer = *py::cast<PythonBuffer*>(py::handle(object));
    return PyObject_GetBuffer(buffer.GetHostArray().ptr(), view, flags);
  } catch (py::error_already_set& error) {
    error.restore();
  } catch (const py::builtin_exception& error) {
    error.set_error();
  } catch (const std::exception& error) {
    PyErr_SetString(PyExc_BufferError, error.what());
  }
  return -1;
}

std::shared_ptr<PythonBuffer> MakeBuffer(const py::args& positional, const py::kwargs& named) {
  const auto given = TakeArguments("ostra.Buffer", {"array", "backend"}, 1, positional, named);
  const py::array array = TakeArray("array", given[0]);
  return std::make_shared<PythonBuffer>(array, given[1] ? ChooseBackend(given[1]) : Backend::kCpu);
}

py::object MakeArray(PythonBuffer& own, const py::args& positional, const py::kwargs& named) {
  const auto given = TakeArguments("ostra.Buffer.__array__", {"dtype", "copy"}, 0, positional, named);
  const bool hasDtype = given[0] && !given[0].is_none();
  const bool isOnCpu = own.GetBackend() == Backend::kCpu;
  if (given[1] && given[1].ptr() == Py_False &&
      (!isOnCpu || (hasDtype && !py::dtype::from_args(given[0]).equal(own.GetDtype()))))
    throw py::value_error("these elements cannot be had without a copy");
  const py::object array = own.MakeNumpy();
  const bool isCopied = given[1] && given[1].ptr() == Py_True && isOnCpu;
  if (!hasDtype) return isCopied ? array.attr("copy")() : array;
  return array.attr("astype")(given[0], py::arg("copy") = isCopied);
}

using BufferClass = py::class_<PythonBuffer, std::shared_ptr<PythonBuffer>>;

void DefineElements(BufferClass& buffer) {
  buffer
      .def(py::init(&MakeBuffer),
           "Copies a numpy array to a backend: \"cpu\", \"gpu\", or \"auto\" for a GPU where there is one.")
      .def(
          "numpy",
          [](PythonBuffer& own, const py::args& positional, const py::kwargs& named) {
            TakeArguments("ostra.Buffer.numpy", {}, 0, positional, named);
            return own.MakeNumpy();
          },
          "The elements: on the CPU the memory itself, without a copy; on a GPU a new array, when all calls have "
          "ended.")
      .def(
          "write",
          [](PythonBuffer& own, const py::args& positional, const py::kwargs& named) {
            own.Write(TakeArray("array", TakeArguments("ostra.Buffer.write", {"array"}, 1, positional, named)[0]));
          },
          "Overwrites all elements. Raises TypeError for another dtype and for read-only memory, ValueError for "
          "another "
          "shape.");
}

void DefineProperties(BufferClass& buffer) {
  buffer
      .def_property_readonly("shape", &PythonBuffer::GetShapeTuple, "The number of elements along each axis: a tuple.")
      .def_property_readonly("dtype", &PythonBuffer::GetDtype, "The numpy.dtype of the elements.")
      .def_property_readonly("nbytes", &PythonBuffer::GetByteCount, "The size of all elements in bytes.")
      .def_property_readonly(
          "backend", [](const PythonBuffer& own) { return GetBackendName(own.GetBackend()); },
          "Where it is: \"cpu\" or \"gpu\".")
      .def_property_readonly("transfers", &PythonBuffer::GetTransfers,
                             "How often the elements were uploaded to a GPU and downloaded from it: a tuple.")
      .def("__len__",
           [](const PythonBuffer& own) {
             if (own.GetShape().empty()) throw py::type_error("the buffer has no axes");
             return own.GetShape().front();
           })
      .def("__array__", &MakeArray)
      .def("__dlpack__",
           [](const PythonBuffer& own, const py::args& positional, const py::kwargs& named) {
             return own.GetHostArray().attr("__dlpack__")(*positional, **named);
           })
      .def("__dlpack_device__", [](const PythonBuffer& own) { return own.GetHostArray().attr("__dlpack_device__")(); })
      .def("__repr__", [](const PythonBuffer& own) {
        return "<ostra.Buffer of " + TextOf(own.GetDtype()) + " " + TextOf(own.GetShapeTuple()) + " on the " +
               (own.GetBackend() == Backend::kGpu ? "GPU" : "CPU") + ">";
      });
}

void RegisterBuffer(py::module_& module) {
  BufferClass buffer(module, "Buffer", py::custom_type_setup([](PyHeapTypeObject* type) {
                       type->as_buffer.bf_getbuffer = GetBuffer;
                       type->ht_type.tp_as_buffer = &type->as_buffer;
                     }));
  buffer.doc() = R"(An array that stays where kernels work with it: in the memory of the CPU, or on a GPU.

Buffer(array, backend="cpu") copies a numpy array of numbers or structs. Calls of kernels on this backend take it in
place of an array and write into it. On a GPU the elements are uploaded with the first call and stay there. A call that
is given a buffer makes its other outputs as buffers. On the CPU it has the buffer protocol and DLPack.

Raises TypeError for an array without numbers, ValueError for an empty one, ostra.Error without a GPU.)";
  buffer.attr("__module__") = "ostra";
  DefineElements(buffer);
  DefineProperties(buffer);
  module.def("share", [](const py::object& array) { return PythonBuffer::Share(ReadDlpack(array)); });
}

void RegisterCounter(py::module_& module) {
  py::class_<PythonCounter> counter(module, "Counter");
  counter.doc() = R"(A number of 32 bits that the invocations of a kernel count with.

Counter(value=0) is given to the parameter of a kernel, counts on from its value, and has the new one after the call.)";
  counter.attr("__module__") = "ostra";
  const auto make = [](const py::args& positional, const py::kwargs& named) {
    const auto given = TakeArguments("ostra.Counter", {"value"}, 0, positional, named);
    return PythonCounter{given[0] ? TakeUInt32("value", given[0]) : 0};
  };
  const auto set = [](PythonCounter& own, const py::object& value) { own.value = TakeUInt32("value", value); };
  counter.def(py::init(make), "A counter that starts at `value`, 0 to 2**32 - 1.")
      .def_property(
          "value", [](const PythonCounter& own) { return own.value; }, set, "The number: an int.")
      .def("__int__", [](const PythonCounter& own) { return own.value; })
      .def("__repr__", [](const PythonCounter& own) { return "ostra.Counter(" + std::to_string(own.value) + ")"; });
}

void RegisterTexture(py::module_& module) {
  py::class_<PythonTexture, std::shared_ptr<PythonTexture>>(module, "Texture")
      .def(py::init([](const py::array& array, const std::array<int, 3>& wrapModes, const std::array<float, 4>& border,
                       bool hasNormalizedCoordinates, bool isSrgb, bool hasLayers) {
        return std::make_shared<PythonTexture>(
            array, TextureSettings{wrapModes, border, hasNormalizedCoordinates, isSrgb, hasLayers});
      }))
      .def_property_readonly("array", &PythonTexture::GetArray);
}

// Between two calls.
void SetThreadLimit(Int count) {
  const auto engine = OrThrow(Engine::Get());
  EngineCall call(*engine);
  OrThrow(call.Run([count]() -> Result<void> {
    SetWorkerThreadLimit(count);
    return OK;
  }));
}

void RegisterKernel(py::module_& module) {
  py::class_<PythonKernel>(module, "Kernel")
      .def(py::init(
          [](const py::object& file, const py::object& text, const std::string& gpuFile, bool isOnGpu, bool isChecked) {
            const std::string content = text.is_none() ? std::string() : TakeText("source", text);
            const std::string name = TakeText(text.is_none() ? "source" : "name", file);
            return std::make_unique<PythonKernel>(name, content, gpuFile, isOnGpu, isChecked);
          }))
      .def("set_print_filter", &PythonKernel::SetPrintFilter)
      .def("call", &PythonKernel::Call)
      .def("check", &PythonKernel::Check)
      .def_property_readonly("axis_count", &PythonKernel::GetAxisCount)
      .def_property_readonly("name", &PythonKernel::GetName)
      .def_property_readonly("backend", &PythonKernel::GetBackendName)
      .def_property_readonly("is_checked", &PythonKernel::IsChecked)
      .def_property_readonly("parameters", &PythonKernel::DescribeParameters);
}

void RegisterFunctions(py::module_& module) {
  module.def("choose_backend", [](const py::object& name) { return GetBackendName(ChooseBackend(name)); });
  module.def("show_value", [](const py::object& value) { return ShowValue(value); });
  module.def("check_text", [](const std::string& name, const py::object& text) { TakeText(name, text); });
  module.def("take_floats", &TakeFloats);
  module.def("take_doubles", &TakeDoubles);
  module.def("devices", &ListDevices);
  module.def("parity_groups", &ListParityGroups);
  module.def("run_parity", &RunParityGroup);
  module.def("configuration", &ListConfiguration);
  module.def("configure",
             [](const py::object& name, bool value) { Configure(TakeText("the name of a variable", name), value); });
  module.def("device_memory", &GetDeviceMemory);
  module.def("measure", &MeasureDispatches);
  module.def("take_times", &TakeDispatchTimes);
  module.def("set_thread_limit", &SetThreadLimit);
  module.def("set_memory_limit", &SetDrawportMemoryLimit);
  module.def("render", [](const std::string& path, const std::string& text, const std::string& folder, Int width,
                          Int height, const std::vector<std::pair<std::string, std::vector<double>>>& values) {
    return RenderPicture({path, !text.empty(), text, folder}, {width, height}, values);
  });
  module.def("read_picture", &ReadPicture);
  module.def("picture_info", &DescribePicture);
  module.def("write_picture", &WritePicture);
}

}  // namespace
}  // namespace ostra::python

// pybind11 hangs in subinterpreters: what it makes here is called by the initialization below.
#define PyInit__ostra MakeModule
PYBIND11_MODULE(_ostra, module) {
  using namespace ostra::python;
  CheckOnlyOne();
  py::options options;
  options.disable_function_signatures();
  RegisterError(module);
  RegisterBuffer(module);
  RegisterCounter(module);
  RegisterTexture(module);
  RegisterKernel(module);
  RegisterFunctions(module);
  // The host ends before the libraries that it uses.
  py::module_::import("atexit").attr("register")(py::cpp_function(&Engine::Close));
}
#undef PyInit__ostra

extern "C" PYBIND11_EXPORT PyObject* PyInit__ostra() {
  if (PyInterpreterState_Get() == PyInterpreterState_Main()) return MakeModule();
  PyErr_SetString(PyExc_ImportError, "ostra works in the main interpreter only, not in a subinterpreter");
  return nullptr;
}
