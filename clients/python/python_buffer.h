// PythonBuffer: ostra.Buffer, an array that stays where kernels work with it.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "clients/python/constructed.h"
#include "clients/python/engine.h"

namespace ostra::python {

// "cpu", "gpu" or "auto" as a backend; "auto" starts a GPU to see whether there is one. Throws TypeError and ValueError
// for others, Exception for "gpu" without a GPU, and what a signal raises while a GPU starts.
Backend ChooseBackend(const pybind11::handle& name);
const char* GetBackendName(Backend backend);

// On the CPU it is a numpy array. On a GPU the elements lie in a buffer of the program: they are uploaded for the first
// kernel, as elements of the type that it declares.
class PythonBuffer {
 public:
  // Copies the array. Throws TypeError and ValueError for one that has no buffer.
  PythonBuffer(const pybind11::array& array, Backend backend);
  // Shares the memory of an array, on the CPU; it stays read-only where the array is. Throws the same.
  static std::shared_ptr<PythonBuffer> Share(const pybind11::array& array);
  // Zeros.
  PythonBuffer(Backend backend, std::vector<pybind11::ssize_t> shape, pybind11::dtype dtype);
  PythonBuffer(const PythonBuffer&) = delete;
  PythonBuffer& operator=(const PythonBuffer&) = delete;
  ~PythonBuffer();

  Backend GetBackend() const { return _backend; }
  const std::vector<pybind11::ssize_t>& GetShape() const { return _shape; }
  pybind11::tuple GetShapeTuple() const;
  const pybind11::dtype& GetDtype() const { return _dtype; }
  Int GetByteCount() const { return _byteCount; }
  // How often the elements went to a device, and came from it.
  std::pair<Int, Int> GetTransfers() const { return {_uploads, _downloads}; }

  // On the CPU the memory itself, on a GPU a copy. Throws Exception: that of the device.
  pybind11::array MakeNumpy();
  // Overwrites all elements. Throws TypeError for another type and for read-only memory, ValueError for another shape;
  // Exception: that of the device.
  void Write(const pybind11::array& array);
  // The array of a buffer on the CPU. Throws BufferError for one on a GPU.
  const pybind11::array& GetHostArray() const;

  // On a GPU, under the engine's mutex: the name of the program's buffer with elements of `type`, into which `count`
  // of them fit. Moves the elements where they are of another type until now.
  Result<InternedId> Place(Engine& engine, DataType type);

 private:
  Result<void> Upload(Engine& engine, DataType type);
  Result<void> Download(Engine& engine, void* target);
  // The device's elements are not needed any more.
  void Forget();

  const Backend _backend;
  std::vector<pybind11::ssize_t> _shape;
  pybind11::dtype _dtype;
  Int _byteCount = 0;
  Int _uploads = 0, _downloads = 0;
  pybind11::array _array;    // on the CPU
  std::vector<char> _bytes;  // on a GPU, until they are uploaded; empty: zeros
  DataType _type;            // of the elements of the program's buffer; none before
  InternedId _name;
  std::shared_ptr<Engine> _engine;
};

}  // namespace ostra::python
