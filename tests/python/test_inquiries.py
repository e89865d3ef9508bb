"""Devices, configuration, memory and profiles."""

import numpy
import pytest

import ostra
from conftest import has_gpu, make_kernel, no_gpu

ADD = make_kernel("Add", ["(Float32) term", "(Block<Float32>) target"], "UNIFORM_BUFFER(target)[i] += UNIFORM(term);")


def test_devices_are_listed():
    devices = ostra.devices()
    usable = [device for device in devices if device["usable"]]
    assert bool(usable) == has_gpu()
    for device in usable:
        assert device["name"] and device["kind"] in ("discrete", "integrated", "virtual", "other", "software")
        assert device["memory"] > 0 and device["problem"] == "" and "compute shaders" in device["features"]


def test_memory_is_told(backend):
    available, total = ostra.memory(backend)
    assert 0 < available <= total
    with pytest.raises(ValueError, match="not 'tpu'"):
        ostra.memory("tpu")


def test_configuration_is_read_and_set():
    before = ostra.configuration()
    name = "g_trackSpinlocks"
    assert before[name]["help"]
    try:
        ostra.configure(**{name: not before[name]["value"]})
        after = ostra.configuration()[name]
        assert after["value"] != before[name]["value"] and after["configured"]
    finally:
        ostra.configure(**{name: before[name]["value"]})
    with pytest.raises(ValueError, match='no configuration variable "g_trackSpinlock"; did you mean "g_trackSpinlocks"'):
        ostra.configure(g_trackSpinlock=True)
    with pytest.raises(TypeError, match="g_trackSpinlocks is True or False, not 1"):
        ostra.configure(g_trackSpinlocks=1)


def test_a_profile_has_the_dispatches_of_its_block(backend):
    add = ostra.kernel(ADD, backend=backend, name="net.example.add.krn")
    target = numpy.zeros(1000, numpy.float32)
    add(term=1, target=target)
    with ostra.profile() as report:
        for _ in range(3):
            add(term=1, target=target)
    add(term=1, target=target)
    (row,) = report.kernels
    assert (row["kernel"], row["backend"], row["calls"]) == ("net.example.add.krn", backend, 3)
    assert row["invocations"] == 3000
    assert 0 <= row["shortest"] <= row["longest"] <= row["milliseconds"]
    if backend == "cpu":
        assert 0 < row["milliseconds"] <= report.milliseconds
    assert "net.example.add.krn" in str(report) and "the block:" in str(report)


def test_a_second_profile_is_refused_while_one_measures():
    add = ostra.kernel(ADD, name="net.example.add.krn")
    target = numpy.zeros(8, numpy.float32)
    with ostra.profile() as report:
        add(term=1, target=target)
        with pytest.raises(ostra.Error, match="another ostra.profile\\(\\) measures"):
            with ostra.profile():
                pass
        add(term=1, target=target)
    assert [row["calls"] for row in report.kernels] == [2]
    with ostra.profile() as again:
        add(term=1, target=target)
    assert [row["calls"] for row in again.kernels] == [1]


def test_a_profile_that_has_not_begun_cannot_end():
    with pytest.raises(ostra.Error, match="has not begun"):
        ostra.profile().__exit__(None, None, None)


@no_gpu
def test_the_memory_of_the_device_is_limited():
    _, total = ostra.memory("gpu")
    try:
        ostra.limit_memory(64 << 20)
        assert ostra.memory("gpu")[1] == 64 << 20
    finally:
        ostra.limit_memory(0)
    assert ostra.memory("gpu")[1] == total
    for wrong in (1.5, "1", True, None):
        with pytest.raises(TypeError, match='"bytes" is a whole number'):
            ostra.limit_memory(wrong)
    for wrong in (-1, 1 << 63):
        with pytest.raises(ValueError, match='"bytes" is from 0'):
            ostra.limit_memory(wrong)
