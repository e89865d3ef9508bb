// PythonKernel: a kernel that is called with a dict of Python values.
#pragma once

#include <pybind11/numpy.h>

#include <memory>
#include <string>
#include <vector>

#include "clients/python/element_format.h"
#include "clients/python/engine.h"
#include "parallelprogram/program/kernel_report_interface.h"

namespace ostra::python {

// Whether a GPU starts.
bool HasGpu();

class PythonKernel {
 public:
  // `text`: the kernel itself, and `file` its name; empty: it stands in `file`. Throws Exception.
  PythonKernel(const std::string& file, const std::string& text, bool isOnGpu);

  // `size`: None, a number, or a sequence of up to three. Returns None, an array, or a dict of arrays.
  pybind11::object Call(const pybind11::object& size, const pybind11::dict& arguments);

  const std::string& GetName() const { return _name; }
  const char* GetBackendName() const { return _isOnGpu ? "gpu" : "cpu"; }
  pybind11::dict DescribeParameters() const;

 private:
  enum class Kind { kValue, kBuffer, kOther };
  struct Parameter {
    std::string name;
    InternedId id;
    Kind kind = Kind::kOther;
    DataType type;  // of the value; of the elements of a buffer
    bool isRequired = false;
    bool mayBeWritten = false;
    std::unique_ptr<Array<Generic>> memory;  // what a program on the CPU links
  };
  // A buffer of a call.
  struct BoundBuffer {
    Parameter* parameter = nullptr;
    pybind11::array array;
    void* first = nullptr;
    Int count = 0;
    bool isMade = false;
  };
  struct BoundValue {
    const Parameter* parameter = nullptr;
    std::vector<char> bytes;
  };
  struct Invocation {
    std::vector<BoundValue> values;
    std::vector<BoundBuffer> buffers;
    DispatchSize size;
    std::vector<pybind11::ssize_t> shape;  // of arrays that are made, without components
  };

  // The rest of the constructor, without the interpreter lock.
  Result<void> Load(const std::string& file, const std::string& text);
  Result<void> ReadParameters(const LoadedKernel& loaded);
  Session& GetSession() const { return _isOnGpu ? *_engine->GetGpu() : _engine->GetCpu(); }

  static void ShowPrints(const KernelPrints& prints);
  Invocation Bind(const pybind11::object& size, const pybind11::dict& arguments);
  void CheckNames(const pybind11::dict& arguments) const;
  BoundBuffer BindBuffer(Parameter& parameter, const pybind11::handle& value) const;
  void ChooseSize(const pybind11::object& size, Invocation& invocation) const;
  BoundBuffer MakeOutput(Parameter& parameter, const Invocation& invocation) const;

  // Without the interpreter lock, under the engine's mutex.
  Result<void> Run(Invocation& invocation);
  Result<void> HandOver(ParallelProgramInterface& program, Invocation& invocation);
  Result<void> ReadBack(ParallelProgramInterface& program, Invocation& invocation);

  std::shared_ptr<Engine> _engine;
  bool _isOnGpu;
  std::string _name;
  InternedId _kernel;
  std::optional<Int> _axisCount;
  bool _hasReports = false;  // PRINT or ASSERT
  std::vector<Parameter> _parameters;
};

}  // namespace ostra::python
