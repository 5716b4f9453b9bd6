"""What can be given to the package as rows, and what is refused."""

import ctypes
import gc

import numpy as np
import pandas as pd
import polars as pl
import pyarrow as pa
import pytest
from hypothesis import given, strategies as st
from hypothesis.extra import numpy as hnp

from modelcore import Categories, CrossProducts, PairwiseProducts, Summary, SymMatrix

NAN = float("nan")
ROWS = np.array([[1.0, 2.0], [3.0, NAN], [5.0, 7.0], [8.0, 1.0]])


def both_means(rows):
    x = CrossProducts().update(rows)
    return x.means.tolist(), x.n_missing


FRAMES = {
    "numpy": ROWS,
    "numpy, by columns": np.asfortranarray(ROWS),
    "numpy, strided": np.repeat(np.repeat(ROWS, 2, axis=0), 3, axis=1)[::2, ::3],
    "numpy, backwards": np.ascontiguousarray(ROWS[::-1, ::-1])[::-1, ::-1],
    "numpy, read-only": ROWS.copy(),
    "numpy, other byte order": ROWS.astype(ROWS.dtype.newbyteorder()),
    "float32": ROWS.astype(np.float32),
    "float16": ROWS.astype(np.float16),
    "long double": ROWS.astype(np.longdouble),
    "masked": np.ma.masked_invalid(ROWS),
    "objects": ROWS.astype(object),
    "list with None": [[1, 2], [3, None], [5, 7], [8, 1]],
    "the library's own mark": np.where(np.isnan(ROWS), -np.finfo(float).max, ROWS),
    "pandas": pd.DataFrame(ROWS, columns=["a", "b"]),
    "pandas, nullable": pd.DataFrame(ROWS).convert_dtypes(),
    "pandas, arrow": pd.DataFrame(ROWS, columns=["a", "b"]).convert_dtypes(dtype_backend="pyarrow"),
    "polars": pl.DataFrame({"a": [1, 3, 5, 8], "b": [2.0, None, 7.0, 1.0]}),
    "polars, chunks": pl.concat(
        [pl.DataFrame({"a": [1.0, 3.0], "b": [2.0, None]}), pl.DataFrame({"a": [5.0, 8.0], "b": [7.0, 1.0]})],
        rechunk=False,
    ),
    "arrow": pa.table({"a": pa.array([1, 3, 5, 8], pa.int16()), "b": [2.0, None, 7.0, 1.0]}),
    "arrow, sliced": pa.record_batch(
        {"a": pa.array([0, 1, 3, 5, 8], pa.uint64()), "b": pa.array([9.0, 2.0, None, 7.0, 1.0], pa.float32())}
    ).slice(1),
}
FRAMES["numpy, read-only"].setflags(write=False)


@pytest.mark.parametrize("name", FRAMES)
def test_every_container_gives_the_same_rows(name):
    assert both_means(FRAMES[name]) == both_means(ROWS) == ([14 / 3, 10 / 3], 1)


def test_columns_of_every_type_and_bitmaps_at_any_offset():
    bits = [True, None, False, True, True, False, None, True, True, False, True]
    for start in range(9):
        column = pa.array(bits).slice(start)
        expected = [b for b in bits[start:] if b is not None]
        s = Summary().update(column)
        assert s.mean[0] == np.mean(expected) and s.n_missing[0] == len(bits) - start - len(expected)
    for dtype in ["i1", "i2", "i4", "i8", "u1", "u2", "u4", "u8", "f2", "f4", "f8", "?"]:
        x = np.array([0, 1, 1, 0, 1], dtype)
        assert Summary().update(x).mean[0] == 0.6
        assert Summary().update(pa.array(x)).mean[0] == 0.6
    halves = np.arange(65536, dtype=np.uint16).view(np.float16)
    finite = halves[np.isfinite(halves)]
    assert Summary().update(finite).maximum[0] == float(finite.max())
    assert np.array_equal(SymMatrix.from_packed(finite[:2016]).packed, finite[:2016].astype(float))


def test_names_come_from_frames():
    for name in ("pandas", "polars", "arrow"):
        assert CrossProducts().update(FRAMES[name]).names == ["a", "b"], name
    assert CrossProducts().update(ROWS).names == []


@given(
    hnp.arrays(
        float, hnp.array_shapes(min_dims=2, max_dims=2, max_side=9), elements=st.floats(-1e6, 1e6) | st.just(NAN)
    ),
    st.data(),
)
def test_any_stride_reads_what_numpy_reads(rows, data):
    view = rows[:: data.draw(st.sampled_from([1, 2, -1, -3])), :: data.draw(st.sampled_from([1, 2, -1]))]
    a, b = Summary().update(view), Summary().update(view.copy())
    assert a.to_json() == b.to_json()
    assert np.array_equal(a.n_missing, np.isnan(view).sum(axis=0))


REFUSED = [
    (ValueError, np.zeros((2, 2, 2))),
    (ValueError, np.float64(3.0)),
    (TypeError, None),
    (TypeError, "text"),
    (TypeError, [["1", "2"]]),
    (TypeError, np.array([1 + 2j])),
    (TypeError, np.array(["2026-01-01"], "M8[D]")),
    (TypeError, pa.table({"a": ["x"]})),
    (TypeError, pa.array(["x"]).dictionary_encode()),
    (TypeError, object()),
    (ValueError, np.zeros((3, 0))),
    (ValueError, np.array([2**53 + 2])),
    (TypeError, {"a": 1}),
    (ValueError, pl.DataFrame()),
    (TypeError, pd.DataFrame({"a": ["x"]})),
    (ValueError, [[1, 2], [3]]),
]


@pytest.mark.parametrize("case", range(len(REFUSED)))
@pytest.mark.parametrize("make", [CrossProducts, PairwiseProducts, Summary])
def test_refusals_are_errors_of_python_and_change_nothing(make, case):
    error, rows = REFUSED[case]
    x = make().update(np.arange(6.0))
    before = x.to_json()
    with pytest.raises(error):
        x.update(rows)
    for weight in ([1.0], [-1.0] * 6, [np.inf] * 6, np.ones((6, 2)), "heavy"):
        with pytest.raises((ValueError, TypeError)):
            x.update(np.arange(6.0), weight=weight)
    assert x.to_json() == before


def test_no_rows_are_no_error():
    for make in (CrossProducts, PairwiseProducts, Summary):
        x = make().update(np.zeros((0, 3)))
        assert x.n_rows == 0 and x.update(ROWS[:, [0, 1, 0]]).n_rows > 0
    assert np.isnan(CrossProducts(n_variables=2).means).all()
    assert len(Categories().update([])) == 0


def test_results_own_their_memory_and_inputs_are_let_go():
    rows = ROWS.copy()
    x = CrossProducts().update(rows)
    covariance = x.covariance()
    assert covariance.flags.owndata and covariance.flags.writeable
    rows.resize((8, 2), refcheck=True)  # fails while a buffer of it is held
    del x
    gc.collect()
    covariance += 1.0


class Broken:
    """An Arrow exporter that hands out a capsule of another kind."""

    def __arrow_c_array__(self, requested_schema=None):
        new = ctypes.pythonapi.PyCapsule_New
        new.restype, new.argtypes = ctypes.py_object, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_void_p]
        return new(1, b"other", None), new(1, b"other", None)


def test_a_broken_exporter_is_an_error():
    with pytest.raises(ValueError):
        Summary().update(Broken())
