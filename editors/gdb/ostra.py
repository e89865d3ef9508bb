"""Kernels in gdb: values are printed in the words of kernel files, and stepping leaves out the framework.

    gdb -x ostra.py --args ostra run --debug KERNEL.krn ...

docs/debugging.md shows it at work.
"""

import gdb
import gdb.printing
import gdb.xmethod

COMPONENTS = "xyzw"
BUFFER = "ostra::kernel::KernelBuffer<"


class VectorPrinter:
    """vec3(1, 2, 3) as {x = 1, y = 2, z = 3}."""

    def __init__(self, value):
        self._value = value

    def children(self):
        for name in COMPONENTS[: int(self._value.type.strip_typedefs().template_argument(0))]:
            yield name, self._value[name]


class BufferPrinter:
    """The elements of a buffer, with their number before them."""

    def __init__(self, value):
        self._first, self._count = find_elements(value)

    def to_string(self):
        return f"{self._count} elements"

    def children(self):
        for index in range(self._count):
            yield str(index), (self._first + index).dereference()

    def display_hint(self):
        return "array"


def find_elements(buffer):
    """The address of a buffer's first element, and how many there are."""
    return buffer["_first"], int(buffer["_count"])


class BufferElement(gdb.xmethod.XMethodWorker):
    """UNIFORM_BUFFER(name)[index], though the program may have no such function."""

    def get_arg_types(self):
        return gdb.lookup_type("long")

    def get_result_type(self, buffer, index):
        return find_elements(buffer)[0].type.target()

    def __call__(self, buffer, index):
        first, count = find_elements(buffer)
        if not 0 <= int(index) < count:
            raise gdb.GdbError(f"the buffer has {count} elements, and none with the number {int(index)}")
        return (first + int(index)).dereference()


class BufferMatcher(gdb.xmethod.XMethodMatcher):
    def __init__(self):
        super().__init__("ostra")
        self.methods = [gdb.xmethod.XMethod("operator[]")]

    def match(self, class_type, method_name):
        is_buffer = (class_type.strip_typedefs().tag or "").startswith(BUFFER)
        return BufferElement() if is_buffer and method_name == "operator[]" and self.methods[0].enabled else None


def register():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("ostra")
    printers.add_printer("vector", r"^glm::vec<[234], ", VectorPrinter)
    printers.add_printer("buffer", "^" + BUFFER, BufferPrinter)
    gdb.printing.register_pretty_printer(None, printers, replace=True)
    gdb.xmethod.register_xmethod_matcher(None, BufferMatcher(), replace=True)
    for command in (
        # The words of kernel files, which the preprocessor has taken away.
        "macro define UNIFORM(name) ostraParameter_##name",
        "macro define UNIFORM_BUFFER(name) ostraParameter_##name",
        "macro define LinearInvocation() ostraLinearInvocation",
        # The kernel is compiled and loaded only when the program runs.
        "set breakpoint pending on",
    ):
        gdb.execute(command)
    # `step` goes into functions of the kernel file only: they are in an unnamed namespace of ostra::kernel.
    gdb.execute(r"skip -rfu ^(glm|std|__gnu_cxx)::|^ostra::([^k]|k[^e]|kernel::[^(])", to_string=True)


register()
