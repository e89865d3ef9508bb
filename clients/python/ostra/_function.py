"""Functions whose docstring is the text of a kernel."""

import ast
import difflib
import dis
import inspect
import os
import re

from . import _ostra
from ._place import TextPlace


class KernelFunction:
    """The kernel in the docstring of a function.

    text, name: of the kernel; headers are looked for beside the file of the function.
    place: the lines of the docstring in the file, None where there is no file with them.
    """

    def __init__(self, function, name=None):
        self._function = function
        self.text = _take_docstring(function)
        file = function.__code__.co_filename
        known = os.path.isfile(file)
        folder = os.path.dirname(os.path.abspath(file)) if known else ""
        self.name = os.path.join(folder, f"{function.__name__}.krn") if name is None else name
        lines = _find_lines(function)
        self.place = TextPlace(file, (self.name,), lines) if lines else None

    def finish(self, kernel):
        """The kernel with the name, the docstring and the signature of the function."""
        given = [one for one in inspect.signature(self._function).parameters.values() if one.kind != one.POSITIONAL_ONLY]
        for parameter in given:
            self._check(parameter, kernel.parameters)
        for name in ("__name__", "__qualname__", "__module__", "__doc__"):
            setattr(kernel, name, getattr(self._function, name))
        size = inspect.Parameter("size", inspect.Parameter.POSITIONAL_ONLY, default=None)
        named = [one.replace(kind=one.KEYWORD_ONLY) for one in given]
        kernel.__signature__ = inspect.Signature([size, *named])
        return kernel

    def _check(self, parameter, known):
        name = parameter.name
        noises = "noises" in known.values() and re.fullmatch(r"noise(Mode|Seed)_\d+", name)
        if name not in known and not noises:
            near = difflib.get_close_matches(name, known, 1)
            hint = f'did you mean "{near[0]}"?' if near else f"it has {', '.join(known)}"
            raise TypeError(f'{self._function.__qualname__} names the parameter "{name}", which the kernel in its docstring '
                            f"does not have; {hint}")
        if parameter.default not in (parameter.empty, None):
            raise TypeError(f'{self._function.__qualname__} has a default for "{name}": kernels have none, leave it out')


def _take_docstring(function):
    name, text = function.__qualname__, function.__doc__
    if text is None:
        raise TypeError(f"{name} has no docstring, where the text of a kernel stands; python -OO leaves docstrings out")
    _ostra.check_text("source", text)
    if "OSTRA_PARALLEL_KERNEL" not in text:
        raise TypeError(f"the docstring of {name} is no kernel: it has no OSTRA_PARALLEL_KERNEL")
    inputs = re.search(r"#[ \t]*define[ \t]+KERNELINPUTS.*", text)
    if inputs and "," in inputs[0] and not inputs[0].rstrip().endswith("\\"):
        raise TypeError(f'the docstring of {name} has its parameters in one line: write r""" in front of it, as Python joins '
                        "lines that end with a backslash")
    used = {step.opname for step in dis.get_instructions(function)}
    is_empty = used <= {"RESUME", "NOP", "LOAD_CONST", "RETURN_VALUE", "RETURN_CONST", "COPY_FREE_VARS"}
    if not is_empty or set(function.__code__.co_consts) - {None, text}:
        raise TypeError(f"{name} has code behind its docstring, which would never run: a kernel function is its docstring")
    return text


def _find_lines(function):
    """The line in its file of each line of the docstring; None where the source is not known or has changed."""
    try:
        source = "".join(inspect.findsource(function)[0])
        tree = ast.parse(source)
    except (OSError, SyntaxError):
        return None
    first = function.__code__.co_firstlineno
    for node in ast.walk(tree):
        if not isinstance(node, ast.FunctionDef) or node.name != function.__name__:
            continue
        if min([node.lineno, *(one.lineno for one in node.decorator_list)]) == first and ast.get_docstring(node, False) == function.__doc__:
            return _map_lines(ast.get_source_segment(source, node.body[0].value), node.body[0].lineno, function.__doc__)
    return None


def _map_lines(literal, line, text):
    """The source line of each line of a text; None for a literal of several parts."""
    prefix, quote = re.match(r"([A-Za-z]*)(\"\"\"|'''|\"|')", literal).groups()
    inner = literal[len(prefix) + len(quote):-len(quote)]
    lines = [line]
    begin = 0  # of the last line
    for found in re.finditer(r"\n" if "r" in prefix.lower() else r"\\.|\n", inner, re.S):
        if found[0].endswith("\n"):
            line += 1
        if found[0] in ("\n", "\\n"):  # in the text, too
            lines.append(line)
            begin = found.end()
        elif found.start() == begin:
            lines[-1] = line
            begin = found.end()
    return lines if len(lines) == text.count("\n") + 1 else None
