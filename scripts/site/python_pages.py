"""The pages of the Python package: signatures from its stubs where it has some, and the documentation strings."""

import ast
import importlib
import inspect
import pathlib

from text_pages import docstring_to_markdown, escape, fence

MODULES = ["ostra", "ostra.dask"]


class Undocumented(Exception):
    """A public name without a documentation string."""


def read_stubs(module):
    """The functions and classes of a module's stubs, or else of its source, by name."""
    source = pathlib.Path(module.__file__)
    stubs = source.with_suffix(".pyi")
    tree = ast.parse((stubs if stubs.exists() else source).read_text(encoding="utf-8"))
    return list_nodes(tree)


def list_nodes(node):
    return {each.name: each for each in node.body if isinstance(each, (ast.FunctionDef, ast.ClassDef))}


def make_signature(node, name=None):
    """The signature of a function of the stubs, on lines that fit a page. `name`: by which it is called."""
    returns = f" -> {ast.unparse(node.returns)}" if node.returns else ""
    name = name or node.name
    if any(ast.unparse(each).startswith("property") for each in node.decorator_list):
        return f"{name}: {ast.unparse(node.returns)}" if node.returns else name
    line = f"{name}({ast.unparse(node.args)}){returns if node.name != '__init__' else ''}"
    line = line.replace("(self, ", "(").replace("(self)", "()")
    if len(line) <= 110:
        return line
    arguments = [ast.unparse(ast.arguments(**{**EMPTY, **part})) for part in split_arguments(node.args)]
    inner = "".join(f"    {each},\n" for each in arguments if each != "self")
    return f"{name}(\n{inner}){returns if node.name != '__init__' else ''}"


EMPTY = {"posonlyargs": [], "args": [], "vararg": None, "kwonlyargs": [], "kw_defaults": [], "kwarg": None, "defaults": []}


def split_arguments(arguments):
    """An ast.arguments for each argument, in order."""
    plain = arguments.posonlyargs + arguments.args
    defaults = [None] * (len(plain) - len(arguments.defaults)) + arguments.defaults
    for index, (argument, default) in enumerate(zip(plain, defaults)):
        yield {"args": [argument], "defaults": [default] if default else []}
        if arguments.posonlyargs and index + 1 == len(arguments.posonlyargs):
            yield {"args": [ast.arg(arg="/")]}
    if arguments.vararg:
        yield {"vararg": arguments.vararg}
    elif arguments.kwonlyargs:
        yield {"args": [ast.arg(arg="*")]}
    for argument, default in zip(arguments.kwonlyargs, arguments.kw_defaults):
        yield {"args": [argument], "defaults": [default] if default else []}
    if arguments.kwarg:
        yield {"kwarg": arguments.kwarg}


def get_text(thing, name):
    text = inspect.getdoc(thing)
    if not text:
        raise Undocumented(f"{name} has no documentation string")
    return docstring_to_markdown(text)


def make_class(name, thing, node):
    """A class and its public members."""
    pieces = [get_text(thing, name)]
    members = list_nodes(node) if node else {}
    if "__init__" in members and len(members["__init__"].args.args + members["__init__"].args.kwonlyargs) > 1:
        pieces.insert(0, fence(make_signature(members["__init__"], name.rpartition(".")[2]), "python"))
    for member in sorted(key for key in vars(thing) if not key.startswith("_") or key == "__call__"):
        text = get_text(vars(thing)[member], f"{name}.{member}")
        called = name.rpartition(".")[2].lower() if member == "__call__" else member
        signature = make_signature(members[member], called) if member in members else called
        pieces.append(f"### {escape(name)}.{escape(member)}\n\n{fence(signature, 'python')}\n{text}")
    return "\n".join(pieces)


def make_page(module):
    nodes = read_stubs(module)
    pieces = [f"# The package {module.__name__}\n", docstring_to_markdown(module.__doc__)]
    for name in sorted(module.__all__, key=lambda name: (inspect.isclass(getattr(module, name)), name.lower())):
        thing, node = getattr(module, name), nodes.get(name)
        full = f"{module.__name__}.{name}"
        pieces.append(f"## {escape(full)}\n")
        if inspect.isclass(thing):
            pieces.append(make_class(full, thing, node if isinstance(node, ast.ClassDef) else None))
            continue
        if not callable(thing):
            pieces.append(escape(type(thing).__name__) + "\n")
            continue
        node = node or find_node(thing)
        pieces += [fence(make_signature(node, name) if node else name, "python"), get_text(thing, full)]
    return "\n".join(pieces) + "\n"


def find_node(function):
    """The node of a function that another file of the package defines."""
    try:
        return list_nodes(ast.parse(inspect.getsource(function))).get(function.__name__)
    except (OSError, TypeError):
        return None


def write_python_pages(stage):
    """Writes a page for each module, and returns their names."""
    folder = stage / "api/python"
    folder.mkdir(parents=True, exist_ok=True)
    pages = []
    for name in MODULES:
        (folder / f"{name}.md").write_text(make_page(importlib.import_module(name)), encoding="utf-8")
        pages.append(f"api/python/{name}")
    return pages
