"""What the extension asks of Python to read an array-like: the parts that it can read itself."""

from __future__ import annotations

from typing import Any

import numpy as np


def _plain(x: Any) -> Any:
    """An array whose memory the extension can read: real numbers, with NaN for what is masked or None."""
    if isinstance(x, np.ma.MaskedArray):
        x = np.ma.filled(x.astype(float), np.nan)
    array = np.asarray(x)
    kind = array.dtype.kind
    if kind in "biuf":
        if kind == "f" and array.dtype.itemsize > 8:
            return array.astype(float)
        return array if array.dtype.isnative else array.astype(array.dtype.newbyteorder("="))
    if kind == "c":
        raise TypeError("Complex data not supported: real numbers are needed")
    if kind == "O":
        if any(isinstance(value, (str, bytes)) for value in array.flat):
            raise TypeError("text where numbers are needed")
        try:
            return array.astype(float)
        except (TypeError, ValueError) as error:
            raise TypeError(f"numbers are needed: {error}") from None
    raise TypeError(f"numbers are needed, not an array of type {array.dtype}")


def _pandas_column(column: Any) -> Any:
    values = column.array
    if hasattr(values, "__arrow_array__") and type(values).__name__ == "ArrowExtensionArray":
        return values.__arrow_array__()
    if hasattr(values, "_mask"):  # Int64, Float64, boolean: numbers with a mask
        return column.to_numpy(dtype=float, na_value=np.nan)
    return _plain(column.to_numpy())


def parts(x: Any) -> tuple[list[Any], list[str] | None]:
    """Arrays and Arrow exporters that stand side by side, and the names of all columns if they have names."""
    if type(x) is np.ndarray:
        return [_plain(x)], None
    module = type(x).__module__.partition(".")[0]
    if module == "pandas":
        if hasattr(x, "columns"):
            names = [str(name) for name in x.columns]
            columns = [x.iloc[:, j] for j in range(x.shape[1])]
            first = columns[0].dtype if columns else None
            if columns and isinstance(first, np.dtype) and all(column.dtype == first for column in columns):
                return [_plain(x.to_numpy())], names  # a view where the frame is one block
            return [_pandas_column(column) for column in columns], names
        return [_pandas_column(x)], [str(x.name)] if getattr(x, "name", None) is not None else None
    if module == "scipy" and hasattr(x, "tocsr"):
        raise TypeError("a sparse matrix is not an array of numbers here: use SparseRows or x.toarray()")
    if hasattr(x, "__arrow_c_stream__") or hasattr(x, "__arrow_c_array__"):
        return [x], None
    return [_plain(x)], None


def values(x: Any) -> Any:
    """Categories: an array of numbers for the extension, or a list of numbers, text and None."""
    module = type(x).__module__.partition(".")[0]
    if module == "pandas":
        if getattr(x, "ndim", 1) != 1:
            raise ValueError("one column of categories is needed")
        if x.dtype.kind in "biuf" and isinstance(x.dtype, np.dtype):
            return x.to_numpy()
        return [
            None if value is not None and value != value or value is _pandas_na() else value for value in x.tolist()
        ]
    if hasattr(x, "to_list"):  # polars
        return x.to_list()
    if hasattr(x, "to_pylist"):  # pyarrow
        return x.to_pylist()
    array = x if isinstance(x, np.ndarray) else np.asarray(x, dtype=object)
    if array.ndim != 1:
        raise ValueError("one column of categories is needed")
    if array.dtype.kind in "biuf":
        return array
    if array.dtype.kind == "O":
        return array.tolist()
    if array.dtype.kind in "U":
        return array.tolist()
    raise TypeError(f"categories are numbers, bools or text, not {array.dtype}")


def _pandas_na() -> Any:
    import pandas

    return pandas.NA


def numeric(x: Any) -> Any:
    """An array of doubles of any shape, NaN where a value is missing."""
    if type(x) is np.ndarray and x.dtype == np.float64 and x.dtype.isnative:
        return x
    if isinstance(x, (np.ndarray, np.generic, list, tuple)):
        return np.asarray(_plain(x), dtype=np.float64)
    if hasattr(x, "__arrow_c_stream__") and hasattr(x, "to_numpy") and not hasattr(x, "iloc"):
        return np.asarray(_plain(x.to_numpy()), dtype=np.float64)
    if hasattr(x, "to_numpy"):
        try:
            return np.asarray(x.to_numpy(dtype=float, na_value=np.nan))
        except TypeError:
            return np.asarray(_plain(x.to_numpy()), dtype=np.float64)
    return np.asarray(_plain(x), dtype=np.float64)
