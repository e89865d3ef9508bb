// Constructed: objects come to methods of the package's classes only if they are of the class and their constructor
// has run.
#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <type_traits>

namespace ostra::python {

class PythonBuffer;
class PythonKernel;
class PythonTexture;
struct PythonCounter;

template <class T>
inline constexpr bool kIsOfPackage = std::is_same_v<T, PythonBuffer> || std::is_same_v<T, PythonKernel> ||
                                     std::is_same_v<T, PythonTexture> || std::is_same_v<T, PythonCounter>;

// "ostra.Buffer" for the class of T.
template <class T>
std::string NameClass() {
  const pybind11::handle type(reinterpret_cast<PyObject*>(pybind11::detail::get_type_info(typeid(T), true)->type));
  return "ostra." + pybind11::str(type.attr("__name__")).cast<std::string>();
}

// Throws TypeError for a method of the class that was called with `value`, which is no instance of it.
template <class T>
[[noreturn]] void RefuseOther(const pybind11::handle& value) {
  throw pybind11::type_error("a method of " + NameClass<T>() + " needs an " + NameClass<T>() + ", not " +
                             pybind11::str(pybind11::type::handle_of(value).attr("__name__")).cast<std::string>());
}

// `value`: an instance of the class of T, or of a class that is derived from it and from others too. Throws TypeError
// if the constructor of T has not run for it, as after Class.__new__ alone.
template <class T>
void CheckConstructed(const pybind11::handle& value) {
  const auto* const type = pybind11::detail::get_type_info(typeid(T), true);
  auto* const instance = reinterpret_cast<pybind11::detail::instance*>(value.ptr());
  if (instance->get_value_and_holder(type).holder_constructed()) return;
  throw pybind11::type_error("the constructor of this " + NameClass<T>() + " has not run: " + NameClass<T>() +
                             ".__new__ alone makes no object that can be used");
}

}  // namespace ostra::python

namespace pybind11::detail {

// Methods, properties, arguments and casts to references lead through here. Casts to a shared_ptr have a caster of
// their own: call CheckConstructed before them.
template <class T>
class type_caster<T, std::enable_if_t<ostra::python::kIsOfPackage<T>>> : public type_caster_base<T> {
 public:
  bool load(handle source, bool mayConvert) {
    if (!pybind11::isinstance<T>(source)) ostra::python::RefuseOther<T>(source);
    ostra::python::CheckConstructed<T>(source);
    return type_caster_base<T>::load(source, mayConvert);
  }
};

}  // namespace pybind11::detail
