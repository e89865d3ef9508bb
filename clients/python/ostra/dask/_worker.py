"""What a worker says of itself: where its kernels run, and with how much of the machine."""

import threading

import dask

from .. import _ostra

_lock = threading.Lock()
_applied = {}


def choose_backend(backend):
    """"cpu" or "gpu" for this worker.

    "auto" is what the worker declares as the resource GPU, or the configuration value ostra.backend; a worker that
    declares neither takes a GPU where there is one.
    """
    if backend != "auto":
        return backend
    worker = find_worker()
    resources = worker.state.total_resources if worker else {}
    if "GPU" in resources:
        return "gpu" if resources["GPU"] > 0 else "cpu"
    configured = dask.config.get("ostra.backend", "auto")
    if configured not in ("cpu", "gpu", "auto"):
        raise ValueError(f'the configuration value ostra.backend is "cpu", "gpu" or "auto", not {configured!r}')
    return _ostra.choose_backend(configured)


def apply_limits():
    """Keeps kernels of this process to the threads and the device memory that its worker has."""
    worker = find_worker()
    threads = int(dask.config.get("ostra.threads", worker.state.nthreads if worker else 0))
    memory = dask.utils.parse_bytes(dask.config.get("ostra.device-memory", 0))
    with _lock:
        if _applied.get("threads", 0) != threads:
            _ostra.set_thread_limit(threads)
            _applied["threads"] = threads
        if _applied.get("memory", 0) != memory:
            _ostra.set_memory_limit(memory)
            _applied["memory"] = memory


def find_worker():
    """The worker that this thread runs a task of, or None: other schedulers have none."""
    try:
        from distributed import get_worker

        return get_worker()
    except (ImportError, ValueError):
        return None
