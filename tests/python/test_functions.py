"""Kernels in the docstrings of functions."""

import importlib.util
import inspect
import os
import pickle
import subprocess
import sys
import textwrap

import numpy
import pytest

import ostra


@ostra.kernel
def scale(factor, source, target=None):
    r"""
    // Multiplies each number by a factor.
    #define KERNELINPUTS \
    (Float32) factor, \
    (const Block<Float32>) source, \
    (Block<Float32>) target

    OSTRA_PARALLEL_KERNEL(Scale, KERNELINPUTS)
    {
        uint i = LinearInvocation();
        if (UNIFORM(factor) == 3.0 && i == 0u) PRINT("three");
        ASSERT(UNIFORM(factor) != 0.0, "factors are not 0");
        UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] * UNIFORM(factor);
    }
    OSTRA_PARALLEL_KERNEL_END
    """


THIS = __file__
TEXT = scale.__doc__
PRINT_LINE = next(number for number, line in enumerate(open(THIS, encoding="utf-8"), 1) if 'PRINT("three")' in line)


def numbers(count):
    return numpy.arange(count, dtype=numpy.float32)


def test_a_function_with_a_kernel_in_its_docstring_becomes_the_kernel():
    assert isinstance(scale, ostra.Kernel) and scale.backend == "cpu" and scale.name == "scale.krn"
    numpy.testing.assert_array_equal(scale(factor=2, source=numbers(64)), 2 * numbers(64))


def test_the_kernel_has_the_name_and_the_parameters_of_the_function():
    assert (scale.__name__, scale.__module__) == ("scale", __name__)
    assert "Multiplies each number" in scale.__doc__
    assert str(inspect.signature(scale)) == "(size=None, /, *, factor, source, target=None)"


def test_the_decorator_takes_settings(backend):
    @ostra.kernel(backend=backend, checked=True)
    def fill():
        """
        #define KERNELINPUTS (Block<Float32>) target
        OSTRA_PARALLEL_KERNEL(Fill, KERNELINPUTS)
        {
            UNIFORM_BUFFER(target)[LinearInvocation()] = 5.0;
        }
        OSTRA_PARALLEL_KERNEL_END
        """

    assert (fill.backend, fill.checked) == (backend, True)
    numpy.testing.assert_array_equal(fill(1024), numpy.full(1024, 5, numpy.float32))


def test_a_function_may_be_given_as_an_argument(backend):
    def plain():
        pass

    plain.__doc__ = TEXT
    kernel = ostra.kernel(plain, backend=backend)
    numpy.testing.assert_array_equal(kernel(factor=2, source=numbers(64)), 2 * numbers(64))


def make_module(folder, text, name="own"):
    """Imports a file with this text; an error of it is the test's."""
    file = folder / f"{name}.py"
    file.write_text(textwrap.dedent(text))
    spec = importlib.util.spec_from_file_location(name, file)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


MODULE = '''
import ostra

{decorator}
def kernel({parameters}):
    {prefix}"""
    #define KERNELINPUTS \\
    (Float32) factor, \\
    (Block<Float32>) target

    OSTRA_PARALLEL_KERNEL(Kernel, KERNELINPUTS)
    {{
        uint i = LinearInvocation();
        {statement}
    }}
    OSTRA_PARALLEL_KERNEL_END
    """{behind}
'''


def make_kernel_module(folder, statement, decorator="@ostra.kernel", parameters="", prefix="r", behind="", name="own"):
    text = MODULE.format(**{key: value for key, value in locals().items() if key not in ("folder", "name")})
    return make_module(folder, text, name)


def find_line(file, text):
    return next(number for number, line in enumerate(file.read_text().splitlines(), 1) if text in line)


@pytest.mark.parametrize("statement, message", [
    ("UNIFORM_BUFFER(target)[i] = UNIFORM(facto);", 'there is no parameter "facto"; did you mean "factor"?'),
    ("UNIFORM_BUFFER(target)[i] = std::nothing(i);", "nothing"),
])
def test_a_mistake_has_the_file_and_the_line_of_the_docstring(tmp_path, backend, statement, message):
    with pytest.raises(ostra.Error) as error:
        make_kernel_module(tmp_path, statement, f"@ostra.kernel(backend={backend!r})")
    file = tmp_path / "own.py"
    assert f"{file}:{find_line(file, statement)}:" in str(error.value) and message in str(error.value)
    assert "ostra_" not in str(error.value)  # a temporary folder


def test_escaped_line_ends_are_counted(tmp_path):
    text = r'''
        import ostra

        @ostra.kernel
        def kernel():
            "#define KERNELINPUTS \\\n(Block<Float32>) target\n\n\
            OSTRA_PARALLEL_KERNEL(Kernel, KERNELINPUTS)\n{ float a\
             = 1.0;\n\
            UNIFORM_BUFFER(target)[0] = UNIFORM(facto); }\n\
            OSTRA_PARALLEL_KERNEL_END\n"
        '''
    with pytest.raises(ostra.Error) as error:
        make_module(tmp_path, text)
    file = tmp_path / "own.py"
    assert f"{file}:{find_line(file, 'facto)')}:" in str(error.value)


def test_what_a_kernel_prints_and_asserts_has_the_line(tmp_path, backend, capsys):
    kernel = ostra.kernel(backend=backend)(sys.modules[__name__].make_plain_function())
    kernel(factor=3, source=numbers(4))
    assert capsys.readouterr().out == f"{THIS}:{PRINT_LINE}: invocation 0: three\n"
    with pytest.raises(ostra.Error) as error:
        kernel(factor=0, source=numbers(4))
    assert str(error.value).startswith(f"{THIS}:{PRINT_LINE + 1}:9: error: the ASSERT does not hold: factors are not 0")


def make_plain_function():
    """The function `scale` as it is without its decorator."""
    module = compile(open(THIS, encoding="utf-8").read(), THIS, "exec")
    code = next(each for each in module.co_consts if getattr(each, "co_name", "") == "scale")
    function = type(make_plain_function)(code, globals())
    function.__doc__ = code.co_consts[0]
    return function


def test_a_checked_kernel_has_the_line(tmp_path, backend):
    statement = "UNIFORM_BUFFER(target)[i + 1u] = UNIFORM(factor);"
    module = make_kernel_module(tmp_path, statement, f"@ostra.kernel(backend={backend!r}, checked=True)")
    file = tmp_path / "own.py"
    with pytest.raises(ostra.Error) as error:
        module.kernel(factor=1, target=numbers(4))
    assert str(error.value).startswith(f"{file}:{find_line(file, statement)}:")
    assert 'outside the 4 elements of the buffer "target"' in str(error.value)


def test_a_file_that_has_changed_is_not_asked_for_lines(tmp_path):
    module = make_module(tmp_path, MODULE.format(decorator="", parameters="", prefix="r", behind="",
                                                 statement="UNIFORM_BUFFER(target)[i] = UNIFORM(facto);"))
    (tmp_path / "own.py").write_text("# other\n" * 30)
    with pytest.raises(ostra.Error, match=r"/kernel\.krn:\d+:.*there is no parameter"):
        ostra.kernel(module.kernel)


def test_headers_lie_beside_the_file_of_the_function(tmp_path, backend):
    (tmp_path / "shared.h").write_text("float twice(float x) { return 2.0 * x; }\n")
    text = MODULE.format(decorator=f"@ostra.kernel(backend={backend!r})", parameters="factor, target", prefix="r", behind="",
                         statement="UNIFORM_BUFFER(target)[i] = twice(UNIFORM(factor));")
    module = make_module(tmp_path, text.replace("    #define", '    #include "shared.h"\n    #define'))
    numpy.testing.assert_array_equal(module.kernel(4, factor=4), numpy.full(4, 8, numpy.float32))


@pytest.mark.parametrize("more, message", [
    ({"parameters": "facto, target"}, 'kernel names the parameter "facto", which the kernel in its docstring does not have; '
                                      'did you mean "factor"?'),
    ({"parameters": "zzz"}, 'which the kernel in its docstring does not have; it has factor, target'),
    ({"parameters": "factor=2"}, 'kernel has a default for "factor"'),
    ({"behind": "\n    return 5"}, "kernel has code behind its docstring, which would never run"),
    ({"behind": "\n    print(1)"}, "kernel has code behind its docstring, which would never run"),
])
def test_functions_that_do_not_fit_their_kernel_are_refused(tmp_path, more, message):
    with pytest.raises(TypeError) as error:
        make_kernel_module(tmp_path, "UNIFORM_BUFFER(target)[i] = UNIFORM(factor);", **more)
    assert message in str(error.value)


def test_a_docstring_whose_lines_python_has_joined_is_told(tmp_path):
    with pytest.raises(TypeError, match='the docstring of kernel has its parameters in one line: write r""" in front'):
        make_kernel_module(tmp_path, ";", prefix="")


def test_functions_without_a_kernel_are_refused():
    with pytest.raises(TypeError, match="silent has no docstring, where the text of a kernel stands"):
        @ostra.kernel
        def silent():
            pass
    with pytest.raises(TypeError, match="the docstring of .*talking is no kernel: it has no OSTRA_PARALLEL_KERNEL"):
        @ostra.kernel
        def talking():
            """Nothing to run."""
    with pytest.raises(TypeError, match='"source" is the path of a kernel file, the text of a kernel or a function'):
        ostra.kernel(ostra.Counter)


def test_a_noise_of_the_kernel_may_be_named(kernels):
    def noise(width, height, cells, time, noiseMode_0, target=None):
        pass

    noise.__doc__ = (kernels / "net.ostra.kernels.noise.krn").read_text(encoding="utf-8")
    made = ostra.kernel(noise)((4, 4), width=4, height=4, cells=2, time=0, noiseMode_0="gaseous")
    assert made.shape == (4, 4, 4) and len(set(made.ravel())) > 4


def test_a_kernel_of_a_function_travels_with_its_lines(tmp_path):
    statement = 'ASSERT(UNIFORM(factor) > 0.0, "positive"); UNIFORM_BUFFER(target)[i] = UNIFORM(factor);'
    kernel = make_kernel_module(tmp_path, statement, parameters="factor, target").kernel
    code = "import pickle, sys, ostra\nkernel = pickle.load(sys.stdin.buffer)\nprint(kernel(2, factor=4))\n" \
           "try:\n    kernel(2, factor=-1)\nexcept ostra.Error as error:\n    print(error)\n"
    done = subprocess.run([sys.executable, "-c", code], input=pickle.dumps(kernel), capture_output=True, check=True,
                          env={**os.environ, "PYTHONPATH": os.pathsep.join(sys.path)})
    lines = done.stdout.decode().splitlines()
    file = tmp_path / "own.py"
    assert lines[0] == "[4. 4.]" and lines[1].startswith(f"{file}:{find_line(file, statement)}:")


def test_a_function_of_an_interactive_interpreter_has_lines_of_its_own(tmp_path):
    program = "import ostra\n" + MODULE.format(decorator="@ostra.kernel", parameters="", prefix="r", behind="",
                                               statement="UNIFORM_BUFFER(target)[i] = UNIFORM(facto);")
    done = subprocess.run([sys.executable, "-"], input=program, capture_output=True, text=True, check=False, cwd=tmp_path,
                          env={**os.environ, "PYTHONPATH": os.pathsep.join(sys.path)})
    assert done.returncode == 1 and 'kernel.krn:9:' in done.stderr and "did you mean" in done.stderr


def test_python_without_docstrings_is_told(tmp_path):
    (tmp_path / "own.py").write_text(MODULE.format(decorator="@ostra.kernel", parameters="", prefix="r", behind="", statement=";"))
    done = subprocess.run([sys.executable, "-OO", "own.py"], capture_output=True, text=True, check=False, cwd=tmp_path,
                          env={**os.environ, "PYTHONPATH": os.pathsep.join(sys.path)})
    assert done.returncode == 1 and "python -OO leaves docstrings out" in done.stderr
