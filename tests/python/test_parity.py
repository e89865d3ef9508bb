"""ostra.parity: what the conformance suite finds out."""

import pytest

import ostra
from conftest import has_gpu, no_gpu


@no_gpu
@pytest.mark.parametrize("language", ["GLSL", "HLSL"])
def test_groups_are_compared_in_a_process_of_their_own(language, kernels):
    # A kernel of the library is here under its name, which the suite has, too.
    ostra.kernel(kernels / "net.ostra.kernels.saxpy.krn")
    rows = ostra.parity(["Integers", "Remainders"], language=language)
    assert len(rows) >= 2
    for row in rows:
        assert set(row) == {"group", "what", "promised", "reached", "held"}
        assert row["group"] and row["what"] and row["promised"] and row["reached"]
    assert [row["what"] for row in rows if row["held"] is not True] == []


@no_gpu
def test_groups_come_from_any_iterable():
    rows = ostra.parity(name for name in ["Remainders"])
    assert rows and all(row["held"] is True for row in rows)


@pytest.mark.skipif(has_gpu(), reason="There is a GPU device on this machine.")
def test_without_a_gpu_there_is_nothing_to_compare():
    with pytest.raises(ostra.Error):
        ostra.parity(["Integers"])


@pytest.mark.parametrize("arguments, error, message", [
    ({"groups": ["Integrs"]}, ValueError, '"groups" has no group \'Integrs\'; did you mean "Integers"\\?'),
    ({"groups": ["?"]}, ValueError, "there are .*Integers, .*Differences"),
    ({"groups": "Integers"}, TypeError, '"groups" is a list of one or more names, not \'Integers\''),
    ({"groups": [1]}, TypeError, '"groups" is a list of one or more names, not \\[1\\]'),
    ({"groups": []}, TypeError, '"groups" is a list of one or more names, not \\[\\]'),
    ({"groups": b"Integers"}, TypeError, '"groups" is a list of one or more names, not b\'Integers\''),
    ({"groups": 5}, TypeError, '"groups" is a list of one or more names, not 5'),
    ({"groups": iter(["?"])}, ValueError, '"groups" has no group \'\\?\''),
    ({"language": "Metal"}, ValueError, '"language" is "GLSL" or "HLSL", not \'Metal\''),
    ({"language": ["GLSL"]}, TypeError, '"language" is "GLSL" or "HLSL", not \\[\'GLSL\'\\]'),
])
def test_other_arguments_are_refused(arguments, error, message):
    with pytest.raises(error, match=message):
        ostra.parity(**arguments)
