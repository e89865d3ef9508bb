"""The type stubs say what the package has, and all that is public has a docstring."""

import ast
import inspect
import pathlib

import ostra

STUBS = pathlib.Path(ostra.__file__).with_name("__init__.pyi")
SPECIAL = {"__init__", "__call__", "__len__", "__int__", "__array__", "__dlpack__", "__dlpack_device__", "__enter__",
           "__exit__"}
COMMON = {"__init__"}  # that of every class: the docstring is that of the class


def read_stubs():
    tree = ast.parse(STUBS.read_text(encoding="utf-8"))
    return {node.name: node for node in tree.body if isinstance(node, (ast.ClassDef, ast.FunctionDef))}


def list_members(node):
    members = {part.name: part for part in node.body if isinstance(part, ast.FunctionDef)}
    members.update({part.target.id: part for part in node.body if isinstance(part, ast.AnnAssign)})
    return members


def list_parameters(node):
    arguments = node.args
    names = [argument.arg for argument in arguments.posonlyargs + arguments.args + arguments.kwonlyargs]
    return [name for name in names if name != "self"]


def own_members(kind):
    """The public attributes of a class and of its bases in the package, and the special methods that users call."""
    members = {}
    for base in kind.__mro__:
        if base.__module__.startswith("ostra"):
            members.update({name: value for name, value in vars(base).items() if name not in members})
    return {name: value for name, value in members.items()
            if not name.startswith("_") or (name in SPECIAL and name in dir(kind))}


def test_the_stubs_have_the_public_names():
    assert sorted(read_stubs()) == sorted(ostra.__all__)
    assert (STUBS.parent / "py.typed").exists()


def test_the_stubs_have_the_members_of_classes():
    for name, node in read_stubs().items():
        if not isinstance(node, ast.ClassDef) or name == "Error":
            continue
        kind = getattr(ostra, name)
        members = set(own_members(kind))
        described = set(list_members(node))
        hidden = {"array"} if name == "Texture" else set()  # of the class behind it
        attributes = set(vars(ostra.Profile())) - {"_begin"} if name == "Profile" else set()
        made_by_kernel = COMMON if name == "Kernel" else set()
        assert members - hidden - made_by_kernel | attributes == described, name


def test_the_stubs_have_the_parameters_of_functions():
    stubs = read_stubs()
    pairs = [(getattr(ostra, name), node) for name, node in stubs.items() if isinstance(node, ast.FunctionDef)]
    for name in ("Texture", "Kernel", "Profile"):
        for member, node in list_members(stubs[name]).items():
            value = inspect.getattr_static(getattr(ostra, name), member, None)
            if isinstance(node, ast.FunctionDef) and inspect.isfunction(value):
                pairs.append((value, node))
    assert len(pairs) > 10
    for function, node in pairs:
        parameters = [one.name for one in inspect.signature(function).parameters.values()
                      if one.kind not in (one.VAR_POSITIONAL, one.VAR_KEYWORD) and one.name != "self"]
        assert parameters == list_parameters(node), node.name


def test_all_that_is_public_has_a_docstring():
    assert ostra.__doc__
    for name in ostra.__all__:
        value = getattr(ostra, name)
        assert value.__doc__ and value.__doc__ != RuntimeError.__doc__, name
        if not inspect.isclass(value):
            continue
        for member, attribute in own_members(value).items():
            if not member.startswith("_") and member != "array":
                assert (getattr(attribute, "__doc__", None) or "").strip(), f"{name}.{member}"
