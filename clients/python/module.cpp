// What of C++ Python sees: the module ostra._ostra.
#include <pybind11/pybind11.h>

#include "clients/python/python_kernel.h"

namespace py = pybind11;

PYBIND11_MODULE(_ostra, module) {
  using namespace ostra::python;
  py::register_exception<ostra::Exception>(module, "Error", PyExc_RuntimeError);
  py::class_<PythonKernel>(module, "Kernel")
      .def(py::init<const std::string&, const std::string&, bool>())
      .def("call", &PythonKernel::Call)
      .def_property_readonly("name", &PythonKernel::GetName)
      .def_property_readonly("backend", &PythonKernel::GetBackendName)
      .def_property_readonly("parameters", &PythonKernel::DescribeParameters);
  module.def("has_gpu", &HasGpu);
  // The host ends before the libraries that it uses.
  py::module_::import("atexit").attr("register")(py::cpp_function(&Engine::Release));
}
