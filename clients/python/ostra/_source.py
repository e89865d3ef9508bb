"""Kernels by content: what a kernel file says with the headers beside it, for another process or another machine."""

import atexit
import hashlib
import os
import re
import shutil
import tempfile
import threading

from ._place import TextPlace

_INCLUDE = re.compile(rb'^[ \t]*#[ \t]*include[ \t]*"([^"\n]+)"', re.M)
_HALO = re.compile(rb"^[ \t]*#[ \t]*define[ \t]+HALO[ \t]+(\d+)[ \t]*\r?$", re.M)

_kept = {}  # (digest, backend): the kernel that this process has made of a source
_lock = threading.Lock()


class KernelSource:
    """The text of a kernel and of its headers. A value that is pickled as it is, and that threads may share.

    name: the path of the kernel file among `files`.
    files: the bytes of each file, by its path below a folder that holds all of them.
    checked: whether calls look at indices, divisors and loops.
    place: where messages say that the text stands; None: where it is.
    """

    def __init__(self, name, files, checked=False, place=None):
        self.name = name
        self.files = files
        self.checked = checked
        self.place = place
        digest = hashlib.sha256(repr((name, checked)).encode())
        for path, content in sorted(files.items()):
            digest.update(repr((path, len(content))).encode() + content)
        self.digest = digest.hexdigest()

    @classmethod
    def read(cls, path):
        """The kernel file at `path`. Raises OSError."""
        path = os.path.abspath(os.fsdecode(path))
        with open(path, "rb") as file:
            return cls._collect(path, file.read())

    @classmethod
    def of_text(cls, text, name, place=None):
        """A kernel that is a text; its headers lie beside `name`, or in the current folder."""
        return cls._collect(os.path.abspath(name), text.encode(), place)

    @classmethod
    def _collect(cls, path, content, place=None):
        found = {path: content}
        stem = path[:-4] if path.endswith(".krn") else path
        waiting = [(path, content)]
        for header in (stem + ".h", stem + "_header"):
            _find(header, found, waiting)
        while waiting:
            includer, text = waiting.pop()
            for name in _INCLUDE.findall(text):
                _find(os.path.normpath(os.path.join(os.path.dirname(includer), os.fsdecode(name))), found, waiting)
        root = os.path.commonpath([os.path.dirname(each) for each in found])
        files = {os.path.relpath(each, root): text for each, text in found.items()}
        return cls(os.path.relpath(path, root), files, place=place)

    def with_checks(self, checked):
        """The same kernel with `checked`."""
        return KernelSource(self.name, self.files, checked, self.place)

    def with_type(self, type, shown):
        """The same kernel with `type` in place of TYPE. `shown`: the file that messages name."""
        files = {name: content.replace(b"TYPE", type.encode()) for name, content in self.files.items()}
        return KernelSource(self.name, files, self.checked, self.place or TextPlace(shown))

    def write(self, folder):
        """Writes the files below a folder. Returns the path of the kernel file."""
        for name, content in self.files.items():
            _write(os.path.join(folder, name), content)
        return os.path.join(folder, self.name)

    def __dask_tokenize__(self):
        return self.digest

    def find_halo(self):
        """The number in the line "#define HALO number" of the kernel file, or None."""
        found = _HALO.search(self.files[self.name])
        return int(found.group(1)) if found else None

    def load(self, backend):
        """The kernel, compiled once in a process. Raises what `ostra.kernel` raises."""
        with _lock:  # threads that want the same kernel wait for the one that compiles it
            kernel = _kept.get((self.digest, backend))
            if kernel is None:
                kernel = _kept[self.digest, backend] = self.make(backend)
            return kernel

    def make(self, backend):
        """The kernel, compiled or found in the cache. Raises what `ostra.kernel` raises."""
        from ._kernel import load_file, load_text

        if len(self.files) == 1 and backend == "cpu":
            try:
                text, name = self.files[self.name].decode(), os.path.basename(self.name)
                return load_text(text, name, backend, self.checked, self.place and self.place.with_name(name))
            except UnicodeDecodeError:
                pass  # an encoded file
        # Programs of a GPU and headers are read from files.
        path = self.write(os.path.join(_get_folder(), self.digest))
        return load_file(path, backend, self.checked, self.place and self.place.with_name(path))


def load(source, backend):
    """What a pickled kernel becomes."""
    return source.load(backend)


def list_kept():
    """(name, backend) of the kernels that this process has made of sources."""
    with _lock:
        return sorted((os.path.basename(kernel.name), kernel.backend) for kernel in _kept.values())


def _find(path, found, waiting):
    # Headers that do not lie there are those of the framework, which every machine has.
    if path in found or not os.path.isfile(path):
        return
    with open(path, "rb") as file:
        found[path] = file.read()
    waiting.append((path, found[path]))


_folder = None


def _get_folder():
    """Where sources lie: at one path for all processes of a user, because compiled kernels are found by it, too."""
    global _folder
    if _folder is None:
        cache = os.environ.get("XDG_CACHE_HOME", "")
        if not os.path.isabs(cache):
            cache = os.path.expanduser("~/.cache")
        _folder = os.path.join(cache, "ostra", "sources")
        if not _is_private(_folder):
            _folder = tempfile.mkdtemp(prefix="ostra_")
            atexit.register(shutil.rmtree, _folder, ignore_errors=True)
    return _folder


def _is_private(folder):
    try:
        os.makedirs(folder, mode=0o700, exist_ok=True)
        state = os.lstat(folder)
        return state.st_uid == os.geteuid() and not state.st_mode & 0o022 and os.access(folder, os.W_OK)
    except OSError:
        return False


def _write(path, content):
    try:
        with open(path, "rb") as file:
            if file.read() == content:
                return
    except FileNotFoundError:
        os.makedirs(os.path.dirname(path), mode=0o700, exist_ok=True)
    # Other processes may read the file: it is whole at any time.
    handle, written = tempfile.mkstemp(dir=os.path.dirname(path))
    with os.fdopen(handle, "wb") as file:
        file.write(content)
    os.replace(written, path)
