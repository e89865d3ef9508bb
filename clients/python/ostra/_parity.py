"""The results of a GPU beside those of the CPU."""

import difflib as _difflib
import json as _json
import os as _os
import subprocess as _subprocess
import sys as _sys
from collections.abc import Iterable as _Iterable

from . import _ostra

# Scenarios change settings of the process, and kernels of the suite have the names of those of the library.
_PROGRAM = """
import json, sys
from ostra import _ostra
for name in json.loads(sys.argv[1]):
    try:
        rows = _ostra.run_parity(name, sys.argv[2])
    except _ostra.Error as error:
        sys.exit(str(error))
    print(json.dumps(rows), flush=True)
"""


def parity(groups=None, *, language="GLSL"):
    """Compares the results of the GPU with those of the CPU, in a process of its own.

    groups: the names of one or more groups, as ["Integers", "Noises"]; None: all of them, which takes more than a minute
        with a driver in software. The message for an unknown name lists them.
    language: what kernels are translated to on their way: "GLSL" or "HLSL".

    Returns a list of dicts, one for each promise: group, what, promised, reached, held (a bool).

    Raises TypeError and ValueError for other arguments, and ostra.Error without a GPU.
    """
    if not isinstance(language, str):
        raise TypeError(f'"language" is "GLSL" or "HLSL", not {_ostra.show_value(language)}')
    if language not in ("GLSL", "HLSL"):
        raise ValueError(f'"language" is "GLSL" or "HLSL", not {_ostra.show_value(language)}')
    command = [_sys.executable, "-c", _PROGRAM, _json.dumps(_check_groups(groups)), language]
    package = _os.path.dirname(_os.path.dirname(_os.path.abspath(__file__)))
    paths = _os.pathsep.join([package, *filter(None, [_os.environ.get("PYTHONPATH")])])
    done = _subprocess.run(command, env={**_os.environ, "PYTHONPATH": paths}, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise _ostra.Error(done.stderr.strip() or f"the comparison has ended with the status {done.returncode}")
    return [row for line in done.stdout.splitlines() for row in _json.loads(line)]


def _check_groups(groups):
    known = _ostra.parity_groups()
    if groups is None:
        return known
    names = [] if isinstance(groups, (str, bytes)) or not isinstance(groups, _Iterable) else list(groups)
    if not names or not all(isinstance(name, str) for name in names):
        raise TypeError(f'"groups" is a list of one or more names, not {_ostra.show_value(groups)}')
    for name in names:
        if name not in known:
            near = _difflib.get_close_matches(name, known, 1)
            hint = f'did you mean "{near[0]}"?' if near else "there are " + ", ".join(known)
            raise ValueError(f'"groups" has no group {name!r}; {hint}')
    return names
