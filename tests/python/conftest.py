"""What tests of the package share."""

import pathlib

import numpy
import pytest

import ostra

KERNELS = pathlib.Path(__file__).parents[2] / "kernels"


def has_gpu():
    try:
        ostra.Buffer(numpy.zeros(1, numpy.float32), backend="gpu")
    except ostra.Error:
        return False
    return True


no_gpu = pytest.mark.skipif(not has_gpu(), reason="There is no GPU device on this machine.")


@pytest.fixture(params=["cpu", pytest.param("gpu", marks=no_gpu)])
def backend(request):
    return request.param


@pytest.fixture
def kernels():
    """The folder of the kernel library."""
    return KERNELS


def make_kernel(name, parameters, body, before=""):
    """The text of a kernel whose body knows its linear invocation as i."""
    return (f"{before}\n#define KERNELINPUTS \\\n" + ", \\\n".join(parameters) +
            f"\n\nOSTRA_PARALLEL_KERNEL({name}, KERNELINPUTS)\n{{\n\tuint i = LinearInvocation();\n\t" +
            body.replace("\n", "\n\t") + "\n}\nOSTRA_PARALLEL_KERNEL_END\n")
