// PythonKernel: a kernel that is called with a dict of Python values.
#pragma once

#include <pybind11/numpy.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "clients/python/constructed.h"
#include "clients/python/element_format.h"
#include "clients/python/engine.h"
#include "clients/python/python_buffer.h"
#include "clients/python/python_texture.h"
#include "parallelprogram/program/kernel_report_interface.h"

namespace ostra::python {

// ostra.Counter: a number that invocations count with.
struct PythonCounter {
  UInt32 value = 0;
};

class PythonKernel {
 public:
  // `text`: the kernel itself, and `file` its name; empty: it stands in `file`. `gpuFile`: where a program on a GPU
  // reads the text, without it that of the CPU runs. `isChecked`: calls look at indices, divisors and loops
  // (KernelReportOptions). Throws Exception.
  PythonKernel(const std::string& file, const std::string& text, const std::string& gpuFile, bool isOnGpu,
               bool isChecked);

  // What kernels print goes through this function, which takes and returns a str; None: as it is.
  void SetPrintFilter(pybind11::object filter) { _printFilter = std::move(filter); }

  // `size`: None, a number, or a sequence of up to three. Returns None, what was made, or a dict of several.
  pybind11::object Call(const pybind11::object& size, const pybind11::dict& arguments);

  // The errors of Call in arguments; nothing runs.
  void Check(const pybind11::object& size, const pybind11::dict& arguments) { Bind(size, arguments); }

  // Of a position that an invocation looks at; nothing when that is not known.
  std::optional<Int> GetAxisCount() const { return _axisCount; }
  const std::string& GetName() const { return _name; }
  bool IsChecked() const { return _isChecked; }
  const char* GetBackendName() const { return python::GetBackendName(_backend); }
  pybind11::dict DescribeParameters() const;

 private:
  enum class Kind { kValue, kBuffer, kTexture, kCounter, kNoise, kOther };
  struct Parameter {
    std::string name;
    InternedId id;
    Kind kind = Kind::kOther;
    DataType type;  // of the value; of the elements of a buffer
    bool isRequired = false;
    bool mayBeWritten = false;
    std::optional<ElementFormat> format;     // of a value and a buffer
    std::optional<TextureForm> texture;      // of a texture
    pybind11::object dtype;                  // of a buffer
    std::unique_ptr<Array<Generic>> memory;  // what a program on the CPU links
    std::vector<char> spare;                 // one element, for a buffer that is left out after it was given
  };
  // A buffer of a call.
  struct BoundBuffer {
    Parameter* parameter = nullptr;
    pybind11::object object;  // an array or a PythonBuffer
    PythonBuffer* device = nullptr;
    void* first = nullptr;  // on the CPU, and of an array
    Int count = 0;
    std::vector<pybind11::ssize_t> shape;  // without components
    bool isMade = false;
  };
  struct BoundValue {
    InternedId id;
    DataType type;
    std::vector<char> bytes;
  };
  struct BoundTexture {
    const Parameter* parameter = nullptr;
    std::shared_ptr<PythonTexture> texture;
  };
  struct BoundCounter {
    const Parameter* parameter = nullptr;
    UInt32 value = 0;
    PythonCounter* target = nullptr;  // null: the number is returned
  };
  struct Invocation {
    std::vector<BoundValue> values;
    std::vector<BoundBuffer> buffers;
    std::vector<BoundTexture> textures;
    std::vector<BoundCounter> counters;
    DispatchSize size;
    std::vector<pybind11::ssize_t> shape;  // of arrays that are made, without components
    bool hasDeviceBuffers = false;         // ostra.Buffer among the arguments: those that are made are, too
    bool isWaiting = true;                 // something is read when the dispatch has ended
  };

  // The rest of the constructor, without the interpreter lock.
  Result<void> Load(const std::string& file, const std::string& text, const std::string& gpuFile);
  Result<void> AddToProgram(const Url& file);
  Result<void> ReadParameters(const LoadedKernel& loaded);
  static void SetKind(const LoadedKernel& loaded, Parameter& parameter);
  ParallelProgramInterface& GetProgram() const { return _engine->GetSession(_backend).GetProgram(); }

  void ShowPrints(const KernelPrints& prints) const;
  static pybind11::object CollectResults(const Invocation& invocation, const std::vector<Parameter>& parameters);

  // python_arguments.cpp: what a call gives, checked against the parameters.
  Invocation Bind(const pybind11::object& size, const pybind11::dict& arguments);
  void BindArgument(Parameter& parameter, const pybind11::object& value, Invocation& invocation) const;
  void CheckNames(const pybind11::dict& arguments) const;
  BoundBuffer BindBuffer(Parameter& parameter, const pybind11::object& value) const;
  void CheckArray(const Parameter& parameter, const std::string& wanted, const pybind11::array& array) const;
  static std::vector<pybind11::ssize_t> TakeComponents(const Parameter& parameter, const std::string& wanted,
                                                       std::vector<pybind11::ssize_t> shape);
  BoundTexture BindTexture(const Parameter& parameter, const pybind11::object& value) const;
  static BoundCounter BindCounter(const Parameter& parameter, const pybind11::object& value);
  void BindNoises(const pybind11::dict& arguments, Invocation& invocation);
  std::vector<pybind11::ssize_t> FindShape(const std::vector<BoundBuffer>& buffers) const;
  void ChooseSize(const pybind11::object& size, Invocation& invocation) const;
  BoundBuffer MakeOutput(Parameter& parameter, const Invocation& invocation) const;

  // Without the interpreter lock, under the engine's mutex.
  Result<void> Run(Invocation& invocation);
  Result<void> HandOver(ParallelProgramInterface& program, Invocation& invocation);
  Result<void> HandOverBuffer(ParallelProgramInterface& program, const BoundBuffer& buffer);
  static Result<void> LinkMemory(ParallelProgramInterface& program, Parameter& parameter, void* first, Int count);
  Result<void> ReadBack(ParallelProgramInterface& program, Invocation& invocation);

  std::shared_ptr<Engine> _engine;
  Backend _backend;
  std::string _name;
  InternedId _kernel;
  std::optional<Int> _axisCount;
  bool _isChecked;
  bool _hasReports = false;  // PRINT, ASSERT or checks
  bool _hasNoises = false;
  Int _noiseCount = 1;  // that calls have set
  std::vector<Parameter> _parameters;
  pybind11::object _printFilter = pybind11::none();
};

}  // namespace ostra::python
