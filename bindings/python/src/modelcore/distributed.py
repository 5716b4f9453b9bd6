"""Partial results of data that lie in parts: what a worker does with a part, and how the states are folded.

modelcore.spark and modelcore.dask run the same functions on their engines; the functions here run them in this process,
one part after the other, and give the same bits. A part is a partition of a frame or, with layout(), a row group of a
Parquet file or a block of a CSV file. States are merged in the order of the parts, so the result depends on how the data
are laid out alone: not on the number of workers, nor on which is first, nor on what was run twice. With exact=True it does
not depend on the layout either.

Rows with a missing value (None, NaN, null) in a column that is used are left out and counted, as everywhere.
"""

from __future__ import annotations

import glob
import os
import struct
from collections.abc import Callable, Iterable, Iterator, Mapping, Sequence
from dataclasses import dataclass, field, replace
from typing import Any, NamedTuple, Optional, Union

import numpy as np

from . import _core, stats

_BLOCK = 32768  # rows of a pass of Newton's method: batches of any size are cut into these


def needs(module: str, package: str) -> Any:
    """Imports a module that not everybody has."""
    import importlib

    try:
        return importlib.import_module(module)
    except ImportError as error:
        raise ImportError(f"this needs {module}, which is not installed: pip install {package}") from error


# ---- the data ----


class Unit(NamedTuple):
    """A part of a file: row group number `first` of Parquet, or the lines of CSV that begin in bytes first to
    first + length."""

    path: str
    first: int
    length: int  # -1: a row group
    columns: tuple[str, ...]  # of CSV: what its first line says


@dataclass(frozen=True)
class Layout:
    """The parts of files in their order: the canonical layout, the same for every engine."""

    units: tuple[Unit, ...]

    def __len__(self) -> int:
        return len(self.units)


def layout(paths: Union[str, Sequence[str]], *, block_bytes: int = 1 << 24) -> Layout:
    """The row groups of Parquet files and blocks of about block_bytes of CSV files, file after file.

    paths: a path, a pattern (sorted), or a list in its order. Every worker must find the files under these paths. A cell of
    CSV has no line end in it; the first line has the names.
    """
    names = [paths] if isinstance(paths, str) else list(paths)
    files = [file for name in names for file in (sorted(glob.glob(name)) or [name])]
    units: list[Unit] = []
    for file in files:
        if file.endswith((".csv", ".txt")):
            with open(file, "rb") as stream:
                line = stream.readline()
            header = tuple(cell.strip().strip('"') for cell in line.decode("utf-8-sig").rstrip("\r\n").split(","))
            size = os.path.getsize(file)
            units += [
                Unit(file, first, min(block_bytes, size - first), header)
                for first in range(len(line), size, block_bytes)
            ]
        else:
            groups = needs("pyarrow.parquet", "pyarrow").ParquetFile(file).num_row_groups
            units += [Unit(file, group, -1, ()) for group in range(groups)]
    return Layout(tuple(units))


def read(unit: Unit, columns: Sequence[str], categories: Sequence[str]) -> Any:
    """The columns of one part as an Arrow table. In CSV all columns are numbers but those of categories, which are text
    whatever they look like: a block that has none but digits must not differ from the others."""
    if unit.length < 0:
        file = needs("pyarrow.parquet", "pyarrow").ParquetFile(unit.path)
        return file.read_row_group(unit.first, columns=list(columns), use_threads=False)
    csv = needs("pyarrow.csv", "pyarrow")
    with open(unit.path, "rb") as stream:
        # The line that is open at the first byte belongs to the block before; that which is open at the last, here.
        stream.seek(unit.first - 1)
        begin = unit.first if stream.read(1) == b"\n" else unit.first + len(stream.readline())
        end = unit.first + unit.length
        stream.seek(begin)
        data = stream.read(max(0, end - begin))
        if data and not data.endswith(b"\n"):
            data += stream.readline()
    pa = needs("pyarrow", "pyarrow")
    types = {name: pa.string() if name in categories else pa.float64() for name in columns}
    if not data:
        return pa.schema(types).empty_table()
    return csv.read_csv(
        pa.BufferReader(data),
        read_options=csv.ReadOptions(column_names=list(unit.columns), use_threads=False),
        convert_options=csv.ConvertOptions(include_columns=list(columns), column_types=types, strings_can_be_null=True),
    )


def _arrow(part: Any) -> Any:
    """A part as an Arrow table: record batches, tables, pandas and polars frames, dicts of columns."""
    pa = needs("pyarrow", "pyarrow")
    if isinstance(part, pa.Table):
        return part
    if isinstance(part, pa.RecordBatch):
        return pa.Table.from_batches([part])
    if hasattr(part, "iloc"):
        return pa.Table.from_pandas(part, preserve_index=False)
    return pa.table(part)


# ---- rows ----


@dataclass(frozen=True)
class Design:
    """Which columns of the data are the variables: numbers as they are, then the factors as indicators of all their levels
    but the first."""

    columns: tuple[str, ...]
    factors: tuple[tuple[str, tuple[Any, ...]], ...] = ()  # names and levels
    target: Optional[str] = None  # a number, behind the others
    weights: Optional[str] = None
    frequencies: Optional[str] = None

    def needed(self) -> list[str]:
        """The columns of the data that are read."""
        names = [*self.columns, *(name for name, _ in self.factors), self.target, self.weights, self.frequencies]
        return list(dict.fromkeys(name for name in names if name is not None))

    def names(self) -> list[str]:
        """The names of the variables without the target."""
        return [*self.columns, *(f"{name}={level}" for name, levels in self.factors for level in levels[1:])]

    def rows(self, table: Any) -> Any:
        """The variables of the rows, an Arrow table whose numbers are not copied."""
        pa = needs("pyarrow", "pyarrow")
        arrays = [table[name] for name in self.columns]
        for name, levels in self.factors:
            codes = codes_of(table[name], levels, name)
            arrays += [
                np.where(codes < 0, np.nan, (codes == j).astype(float)) for j in range(1, len(levels))
            ]
        names = self.names()
        if self.target is not None:
            arrays.append(table[self.target])
            names.append(self.target)
        if len(set(names)) != len(names):
            raise ValueError(f"a column is named twice: {names}")
        return pa.table(arrays, names=names)

    def row_weights(self, table: Any) -> dict[str, Any]:
        """Arguments of update."""
        return {
            kind: table[name]
            for kind, name in (("weight", self.weights), ("frequency", self.frequencies))
            if name is not None
        }


def codes_of(column: Any, levels: Sequence[Any], name: str) -> Any:
    """The number of each value among the levels, -1 for a missing one. A value that is no level raises ValueError."""
    encoded = _dictionary(column)
    place = {level: j for j, level in enumerate(levels)}
    codes = [-1 if _is_missing(value) else place.get(value, -2) for value in encoded.dictionary.to_pylist()]
    places = np.asarray(encoded.indices.fill_null(len(codes)))
    found = np.asarray([*codes, -1], dtype=np.int64)[places]
    unknown = np.flatnonzero(found == -2)  # a dictionary may have values that no row has
    if len(unknown):
        raise ValueError(f"{name}: {encoded.dictionary[int(places[unknown[0]])].as_py()!r} is not among its levels")
    return found


def _dictionary(column: Any) -> Any:
    pa = needs("pyarrow", "pyarrow")
    if isinstance(column, pa.ChunkedArray):
        column = column.combine_chunks()
    if isinstance(column, pa.ChunkedArray):  # of no chunks
        column = pa.array([], column.type)
    return column if isinstance(column, pa.DictionaryArray) else column.dictionary_encode()


def _is_missing(value: Any) -> bool:
    return value is None or value != value


# ---- what is done with a part ----


def _pack(parts: Iterable[bytes]) -> bytes:
    return b"".join(struct.pack("<Q", len(part)) + part for part in parts)


def _unpack(content: bytes) -> list[bytes]:
    parts, at = [], 0
    while at < len(content):
        (length,) = struct.unpack_from("<Q", content, at)
        parts.append(content[at + 8 : at + 8 + length])
        at += 8 + length
    return parts


class Task:
    """What is done with the rows of a part, and how its states are put together. A plain value that travels."""

    def needed(self) -> list[str]:
        """The columns that are read."""
        raise NotImplementedError

    def categories(self) -> list[str]:
        """Those of them that are categories."""
        raise NotImplementedError

    def begin(self) -> Any:
        """A new state; add takes an Arrow table into it, save makes it bytes, load makes it of bytes."""
        raise NotImplementedError

    def add(self, state: Any, table: Any) -> None:
        raise NotImplementedError

    def save(self, state: Any) -> bytes:
        raise NotImplementedError

    def load(self, state: bytes) -> Any:
        raise NotImplementedError

    def merge(self, total: Any, part: Any) -> None:
        """Takes the part, which comes behind all before, into the total."""
        raise NotImplementedError

    def state(self, tables: Iterable[Any]) -> bytes:
        """The state of a part whose rows come in any number of tables: the same bytes however they are cut."""
        state = self.begin()
        for table in tables:
            self.add(state, _arrow(table))
        return self.save(state)


@dataclass(frozen=True)
class Products(Task):
    """Means and cross products of the design's variables."""

    design: Design
    intercept: bool = True
    exact: bool = False

    def needed(self) -> list[str]:
        return self.design.needed()

    def categories(self) -> list[str]:
        return [name for name, _ in self.design.factors]

    def begin(self) -> Any:
        return (_core.ExactProducts if self.exact else _core.CrossProducts)(intercept=self.intercept)

    def add(self, state: Any, table: Any) -> None:
        if table.num_rows:
            state.update(self.design.rows(table), **self.design.row_weights(table))

    def save(self, state: Any) -> bytes:
        return bytes(state.finish().to_bytes())

    def load(self, state: bytes) -> Any:
        return (_core.ExactProducts if self.exact else _core.CrossProducts).from_bytes(state)

    def merge(self, total: Any, part: Any) -> None:
        total.merge(part)


@dataclass(frozen=True)
class Levels(Task):
    """The levels of columns of categories, with their number of rows."""

    columns: tuple[str, ...]

    def needed(self) -> list[str]:
        return list(self.columns)

    def categories(self) -> list[str]:
        return list(self.columns)

    def begin(self) -> Any:
        return [_core.Categories() for _ in self.columns]

    def add(self, state: Any, table: Any) -> None:
        for categories, name in zip(state, self.columns):
            encoded = _dictionary(table[name])
            values = [None if _is_missing(value) else value for value in encoded.dictionary.to_pylist()]
            counts = np.bincount(np.asarray(encoded.indices.drop_null()), minlength=len(values))
            if values:
                categories.update(values, frequency=counts.astype(float))

    def save(self, state: Any) -> bytes:
        return bytes(_core.wrap_state("Levels", _pack(categories.to_bytes() for categories in state)))

    def load(self, state: bytes) -> Any:
        return [_core.Categories.from_bytes(part) for part in _unpack(_core.unwrap_state("Levels", state))]

    def merge(self, total: Any, part: Any) -> None:
        if len(total) != len(part):
            raise ValueError("the two differ in their columns")
        for mine, theirs in zip(total, part):
            mine.merge(theirs)


@dataclass
class Description:
    """What describe gives: a Summary of the columns of numbers, and Categories of the factors by name."""

    summary: _core.Summary
    categories: dict[str, _core.Categories]

    def to_bytes(self) -> bytes:
        """All of it as bytes."""
        parts = [self.summary.to_bytes(), *(categories.to_bytes() for categories in self.categories.values())]
        return bytes(_core.wrap_state("Description", _pack(parts)))


@dataclass(frozen=True)
class Describe(Task):
    """Extremes, means, variances and quantiles of columns, and the counts of categories."""

    columns: tuple[str, ...]
    factors: tuple[str, ...] = ()
    weights: Optional[str] = None
    frequencies: Optional[str] = None
    quantiles: bool = True
    limit: int = 1000

    def needed(self) -> list[str]:
        return replace(self._design(), columns=(*self.columns, *self.factors)).needed()

    def categories(self) -> list[str]:
        return list(self.factors)

    def _design(self) -> Design:
        return Design(self.columns, weights=self.weights, frequencies=self.frequencies)

    def begin(self) -> Any:
        return Description(_core.Summary(quantiles=self.quantiles, limit=self.limit), {name: _core.Categories() for name in self.factors})

    def add(self, state: Any, table: Any) -> None:
        weights = self._design().row_weights(table)
        if self.columns and table.num_rows:
            state.summary.update(self._design().rows(table), **weights)
        for name in self.factors:
            state.categories[name].update(table[name].to_pylist(), **weights)

    def save(self, state: Any) -> bytes:
        return bytes(state.to_bytes())

    def load(self, state: bytes) -> Any:
        summary, *others = _unpack(_core.unwrap_state("Description", state))
        if len(others) != len(self.factors):
            raise ValueError("the state has other factors")
        categories = [_core.Categories.from_bytes(part) for part in others]
        return Description(_core.Summary.from_bytes(summary), dict(zip(self.factors, categories)))

    def merge(self, total: Any, part: Any) -> None:
        total.summary.merge(part.summary)
        for name in self.factors:
            total.categories[name].merge(part.categories[name])


class Blocks(Task):
    """Sums that are plain numbers, added up over blocks of so many rows: batches of any size are cut into these."""

    design: Design
    b: Any

    def sums(self, table: Any) -> Any:
        """Those of one block, a vector."""
        raise NotImplementedError

    def length(self) -> int:
        """How many they are."""
        raise NotImplementedError

    def begin(self) -> Any:
        return [np.zeros(self.length()), []]

    def add(self, state: Any, table: Any) -> None:
        state[1].append(table.select(self.needed()))
        while sum(waiting.num_rows for waiting in state[1]) >= _BLOCK:
            rows = needs("pyarrow", "pyarrow").concat_tables(state[1])
            state[0] += self.sums(rows.slice(0, _BLOCK))
            state[1] = [rows.slice(_BLOCK)]

    def save(self, state: Any) -> bytes:
        rows = [table for table in state[1] if table.num_rows]
        if rows:
            state[0] += self.sums(needs("pyarrow", "pyarrow").concat_tables(rows))
        return bytes(_core.wrap_state(type(self).__name__, state[0].astype("<f8").tobytes()))

    def load(self, state: bytes) -> Any:
        sums = np.frombuffer(_core.unwrap_state(type(self).__name__, state), dtype="<f8").astype(float)
        if len(sums) != self.length():
            raise ValueError("the state is that of another model")
        return [sums, []]

    def merge(self, total: Any, part: Any) -> None:
        total[0] += part[0]

    def _weights(self, table: Any) -> Any:
        weights = None
        for column in self.design.row_weights(table).values():
            values = np.asarray(column.to_numpy(), dtype=float)
            weights = values if weights is None else weights * values
        return weights


@dataclass(frozen=True)
class NewtonPass(Blocks):
    """Log-likelihood, gradient and information of a logistic model at given coefficients."""

    design: Design
    b: Any
    label: str
    classes: tuple[Any, ...]
    shift: Any
    scale: Any
    intercept: bool

    def needed(self) -> list[str]:
        return list(dict.fromkeys([*self.design.needed(), self.label]))

    def categories(self) -> list[str]:
        return [*(name for name, _ in self.design.factors), self.label]

    def length(self) -> int:
        return int(1 + self.b.size + self.b.size**2)

    def sums(self, table: Any) -> Any:
        codes = codes_of(table[self.label], self.classes, self.label).astype(float)
        codes[codes < 0] = np.nan
        loglik, gradient, information = _core.logistic_pass(
            self.design.rows(table), codes, self._weights(table), self.b, self.shift, self.scale, self.intercept
        )
        return np.concatenate([[loglik], gradient, information.ravel()])


@dataclass(frozen=True)
class Residuals(Blocks):
    """Sums over the residuals of a linear model at given coefficients, each block's in twice the digits of a double."""

    design: Design
    b: Any
    means: Any
    centre: float
    target: str

    def needed(self) -> list[str]:
        return list(dict.fromkeys([*self.design.needed(), self.target]))

    def categories(self) -> list[str]:
        return [name for name, _ in self.design.factors]

    def length(self) -> int:
        return int(2 + self.b.size)

    def sums(self, table: Any) -> Any:
        total, squares, gradient = _core.residual_sums(
            self.design.rows(table), table[self.target], self._weights(table), self.b, self.means, self.centre
        )
        return np.concatenate([[total, squares], gradient])


@dataclass
class Evaluation:
    """How good a score is. Of a target of two classes: the sums by bins of the score; of a number: the errors."""

    products: _core.CrossProducts  # binary: of squared error and log loss; else of target, error, its absolute and square
    bins: Optional[_core.Categories]  # 2*bin + (1 for the positive class)
    n_bins: int

    @property
    def is_binary(self) -> bool:
        return self.bins is not None

    def to_bytes(self) -> bytes:
        """All of it as bytes."""
        parts = [self.products.to_bytes()] + ([] if self.bins is None else [self.bins.to_bytes()])
        return bytes(_core.wrap_state("Evaluation", struct.pack("<Q", self.n_bins) + _pack(parts)))

    def _counts(self) -> Any:
        counts = np.zeros((self.n_bins, 2))
        for key, weight in (self.bins.counts if self.bins is not None else {}).items():
            counts[int(key) // 2, int(key) % 2] = weight
        return counts

    @property
    def auc(self) -> float:
        """The area under the ROC curve, scores of one bin counting as ties; off by at most auc_error."""
        below = np.cumsum(self._counts(), axis=0)
        counts = self._counts()
        pairs = (counts[:, 1] * (below[:, 0] - 0.5 * counts[:, 0])).sum()
        total = below[-1, 0] * below[-1, 1]
        return float(pairs / total) if total > 0 else float("nan")

    @property
    def auc_error(self) -> float:
        """Half the share of the pairs that share a bin."""
        counts = self._counts()
        total = counts[:, 0].sum() * counts[:, 1].sum()
        return float(0.5 * (counts[:, 0] * counts[:, 1]).sum() / total) if total > 0 else float("nan")

    def gains(self) -> dict[str, Any]:
        """Shares of the cases and of the positive cases from the highest bin down, a point for each bin."""
        counts = self._counts()[::-1]
        totals = counts.sum(axis=1)
        with np.errstate(invalid="ignore"):
            return {
                "cases": np.cumsum(totals) / totals.sum(),
                "gain": np.cumsum(counts[:, 1]) / counts[:, 1].sum(),
            }

    def table(self, threshold: float = 0.5) -> Any:
        """The classification table, actual x predicted, of a threshold that is the edge of a bin."""
        first = round(threshold * self.n_bins)
        if abs(first - threshold * self.n_bins) > 1e-9:
            raise ValueError(f"the threshold is not the edge of one of {self.n_bins} bins")
        counts = self._counts()
        return np.array([[counts[:first, k].sum(), counts[first:, k].sum()] for k in (0, 1)])

    @property
    def brier(self) -> float:
        """The mean squared error of a probability."""
        return float(self.products.means[0])

    @property
    def log_loss(self) -> float:
        """The mean of -log of the probability of what happened."""
        return float(self.products.means[1])

    @property
    def mae(self) -> float:
        """The mean absolute error of a predicted number."""
        return float(self.products.means[2])

    @property
    def rmse(self) -> float:
        """The root of the mean squared error of a predicted number."""
        return float(np.sqrt(self.products.means[3]))

    @property
    def r2(self) -> float:
        """1 less the share of the target's sum of squares that the prediction leaves."""
        total = self.products.products().diagonal[0]
        return float(1.0 - self.products.means[3] * self.products.sum_weights / total)


@dataclass(frozen=True)
class Evaluate(Task):
    """Sums that judge a score: a column, or a model that predicts it from the design."""

    target: str
    score: Optional[str]
    model: Any = None  # coefficients of the design's variables and the intercept
    design: Design = field(default_factory=lambda: Design(()))
    classes: tuple[Any, ...] = ()
    n_bins: int = 1000

    def needed(self) -> list[str]:
        return list(dict.fromkeys([*self.design.needed(), self.target, *([self.score] if self.score else [])]))

    def categories(self) -> list[str]:
        return [*(name for name, _ in self.design.factors), *([self.target] if self.classes else [])]

    def begin(self) -> Any:
        return Evaluation(_core.CrossProducts(), _core.Categories() if self.classes else None, self.n_bins)

    def add(self, state: Any, table: Any) -> None:
        if not table.num_rows:
            return
        score = self._score(table)
        weights = self.design.row_weights(table)
        if not self.classes:
            y = _numbers(table[self.target])
            error = y - score
            state.products.update(np.column_stack([y, error, np.abs(error), error * error]), **weights)
            return
        codes = codes_of(table[self.target], self.classes, self.target)
        positive = np.where(codes < 0, np.nan, codes.astype(float))
        with np.errstate(divide="ignore", invalid="ignore"):
            chance = np.where(positive == 1.0, score, 1.0 - score)
            loss = -stats.log(np.maximum(chance, np.finfo(float).tiny))
            loss[np.isnan(chance) | np.isnan(positive)] = np.nan
        state.products.update(np.column_stack([(positive - score) ** 2, loss]), **weights)
        if ((score < 0.0) | (score > 1.0)).any():
            raise ValueError("scores of classes are probabilities, 0 to 1")
        key = np.full(len(score), np.nan)
        known = ~np.isnan(score) & (codes >= 0)
        key[known] = 2.0 * np.minimum(np.floor(score[known] * self.n_bins), self.n_bins - 1) + codes[known]
        state.bins.update(key, **weights)

    def _score(self, table: Any) -> Any:
        if self.score is not None:
            return _numbers(table[self.score])
        coef, intercept = self.model
        if not len(coef):  # a table without columns has no rows either
            score = np.full(table.num_rows, float(intercept))
        else:
            score = _core.linear_scores(self.design.rows(table), np.reshape(coef, (1, -1)), [intercept])[:, 0]
        if self.classes:
            score = _core.class_probabilities(score)[:, 1]
        return score

    def save(self, state: Any) -> bytes:
        state.products.finish()
        return bytes(state.to_bytes())

    def load(self, state: bytes) -> Any:
        content = _core.unwrap_state("Evaluation", state)
        products, *bins = _unpack(content[8:])
        if content[:8] != struct.pack("<Q", self.n_bins) or bool(bins) != bool(self.classes):
            raise ValueError("the state is that of another evaluation")
        return Evaluation(
            _core.CrossProducts.from_bytes(products),
            _core.Categories.from_bytes(bins[0]) if bins else None,
            self.n_bins,
        )

    def merge(self, total: Any, part: Any) -> None:
        total.products.merge(part.products)
        if total.bins is not None:
            total.bins.merge(part.bins)


def _numbers(column: Any) -> Any:
    from ._arrays import numeric

    return numeric(column)


# ---- the fold ----


class Fold:
    """Merges states in the order of their numbers 0, 1, 2, ..., whichever comes first; MCBlockFold of the C++ library. What
    comes early waits. A state that is refused raises ValueError and changes nothing."""

    def __init__(self, task: Task):
        self.task = task
        self.total = task.begin()
        self.awaited = 0
        self._kept: dict[int, Any] = {}

    def add(self, number: int, state: bytes) -> bool:
        """False, and nothing changed, when that part was handed over before."""
        if number < self.awaited or number in self._kept:
            return False
        try:
            self._kept[number] = self.task.load(state)
        except ValueError as error:
            raise ValueError(f"part {number}: {error}") from error
        while self.awaited in self._kept:
            self.task.merge(self.total, self._kept[self.awaited])
            del self._kept[self.awaited]
            self.awaited += 1
        return True

    def result(self, parts: int) -> Any:
        """The total of all parts; ValueError when one is not there."""
        if self.awaited != parts:
            raise ValueError(f"the state of part {self.awaited} of {parts} is not there")
        return self.total


#: Runs a task on all parts and gives their number and their states, in any order.
Run = Callable[[Task], tuple[int, Iterable[tuple[int, bytes]]]]


def run_task(run: Run, task: Task) -> Any:
    """One job: the folded total of a task."""
    parts, states = run(task)
    fold = Fold(task)
    for number, state in states:
        fold.add(number, state)
    return fold.result(parts)


def unit_state(task: Task, unit: Unit) -> bytes:
    """The state of a part of a file."""
    return task.state([read(unit, task.needed(), task.categories())])


def frame_state(task: Task, tables: Iterable[Any]) -> bytes:
    """The state of a partition whose rows come in these tables."""
    return task.state(_arrow(table).select(task.needed()) for table in tables)


def runner(source: Any) -> Run:
    """Runs in this process: a Layout, a frame (one part), or a list of frames (its parts). A Run is one already."""
    if callable(source):
        return source  # type: ignore[no-any-return]

    def states(task: Task) -> Iterator[tuple[int, bytes]]:
        if isinstance(source, Layout):
            yield from ((i, unit_state(task, unit)) for i, unit in enumerate(source.units))
        else:
            yield from ((i, frame_state(task, [part])) for i, part in enumerate(parts))

    parts = source if isinstance(source, (list, tuple)) else [source]
    count = len(source) if isinstance(source, (Layout, list, tuple)) else 1
    return lambda task: (count, states(task))


# ---- what is computed ----

Factors = Union[Sequence[str], Mapping[str, Sequence[Any]]]


def _factors(run: Run, factors: Factors, label: Optional[str] = None) -> tuple[Any, tuple[Any, ...]]:
    """Names and levels of the factors, and the levels of the label; one job where they are not given."""
    given = dict(factors) if isinstance(factors, Mapping) else {}
    unknown = [name for name in factors if name not in given] + ([label] if label is not None else [])
    found = {}
    if unknown:
        categories = run_task(run, Levels(tuple(unknown)))
        found = {name: tuple(each.categories) for name, each in zip(unknown, categories)}
    levels = tuple((name, tuple(given.get(name, found.get(name, ())))) for name in factors)
    for name, values in levels:
        if not values:
            raise ValueError(f"{name}: a factor without any level")
    return levels, found.get(label, ()) if label is not None else ()


def accumulate(
    source: Any,
    columns: Sequence[str],
    *,
    factors: Factors = (),
    weights: Optional[str] = None,
    frequencies: Optional[str] = None,
    intercept: bool = True,
    exact: bool = False,
) -> Any:
    """CrossProducts (exact: ExactProducts) of columns of numbers and the indicators of factors.

    factors: names of columns of categories, whose levels are found by a job of their own, or a dict of levels. The first
    level in order is the reference and has no indicator. weights, frequencies: columns of weights >= 0.
    """
    run = runner(source)
    levels, _ = _factors(run, factors)
    design = Design(tuple(columns), levels, None, weights, frequencies)
    return run_task(run, Products(design, intercept, exact))


def describe(
    source: Any,
    columns: Sequence[str],
    *,
    factors: Sequence[str] = (),
    weights: Optional[str] = None,
    frequencies: Optional[str] = None,
    quantiles: bool = True,
    limit: int = 1000,
) -> Description:
    """A Summary of columns of numbers and Categories of columns of categories, in one job.

    quantiles: with quantiles of the numbers. limit: as in Summary; 1000 makes states of about 30 KB a column, with ranks that
    are off by about 1e-4.
    """
    run = runner(source)
    task = Describe(tuple(columns), tuple(factors), weights, frequencies, quantiles, limit)
    return run_task(run, task)  # type: ignore[no-any-return]


def fit_linear(
    source: Any,
    target: str,
    columns: Sequence[str],
    *,
    factors: Factors = (),
    weights: Optional[str] = None,
    frequencies: Optional[str] = None,
    exact: bool = False,
    refine: bool = False,
    **parameters: Any,
) -> Any:
    """A LinearRegression of a column on others; one job, and one before it for the levels of factors. parameters are those
    of LinearRegression. refine: a second job reads residuals in twice the digits and corrects the coefficients by them, as
    LinearRegression.fit does; without it they come from the cross products alone."""
    run = runner(source)
    from .linear_model import LinearRegression

    if exact and refine:
        raise ValueError("exact sums are not refined: residuals would bring the order of the rows back")
    model = LinearRegression(exact=exact, **parameters)
    levels, _ = _factors(run, factors)
    design = Design(tuple(columns), levels, target, weights, frequencies)
    model._take(run_task(run, Products(design, model.fit_intercept, exact)), design.names())
    model.design_ = replace(design, target=None)
    if refine:
        b, means, centre = model._start_of_residuals()
        sums = run_task(run, Residuals(model.design_, b, means, centre, target))[0]
        model._correct(centre, sums[0], sums[1], sums[2:])
    return model


def fit_logistic(
    source: Any,
    target: str,
    columns: Sequence[str],
    *,
    factors: Factors = (),
    weights: Optional[str] = None,
    frequencies: Optional[str] = None,
    **parameters: Any,
) -> Any:
    """A LogisticRegression of a column of labels on others: a job for the levels, one for means and deviations, and one for
    each step of Newton's method, to which the coefficients travel. parameters are those of LogisticRegression."""
    run = runner(source)
    from .linear_model import LogisticRegression

    model = LogisticRegression(**parameters)
    levels, classes = _factors(run, factors, target)
    design = Design(tuple(columns), levels, None, weights, frequencies)
    # The classes as indicators beside the variables: their means are the shares of the classes in the complete rows.
    both = replace(design, factors=(*levels, (target, classes)))
    if target in design.needed():
        raise ValueError(f"{target}: the target is also a column or a factor")
    moments = run_task(run, Products(both))

    def objective(b: Any) -> tuple[float, Any, Any]:
        task = NewtonPass(design, b, target, classes, model._shift, model._scale, model.fit_intercept)
        sums = run_task(run, task)[0]
        return float(sums[0]), sums[1 : 1 + b.size], sums[1 + b.size :].reshape(b.size, b.size)

    model._fit_by(objective, moments, classes, design.names())
    model.design_ = design
    return model


def evaluate(
    source: Any,
    target: str,
    score: Any,
    *,
    weights: Optional[str] = None,
    frequencies: Optional[str] = None,
    binary: Optional[bool] = None,
    bins: int = 1000,
) -> Evaluation:
    """How well a score predicts the target: an Evaluation, in one job.

    score: a column, or a model of fit_linear or fit_logistic. binary: the target has two classes, of which the second in
    order is the positive one, and the score is its probability; None: when the model is logistic.
    """
    run = runner(source)
    classes: tuple[Any, ...] = ()
    design = Design((), (), None, weights, frequencies)
    model = None
    if not isinstance(score, str):
        classes = tuple(np.asarray(getattr(score, "classes_", ())).tolist())
        if len(classes) > 2:
            raise ValueError("a model of two classes or of a number is needed")
        design = replace(score.design_, weights=weights, frequencies=frequencies)
        model = (tuple(np.ravel(score.coef_).tolist()), float(np.ravel(score.intercept_)[0]))
        score = None
    elif binary:
        _, classes = _factors(run, (), target)
        if len(classes) != 2:
            raise ValueError(f"{target}: two classes are needed, not {list(classes)}")
    return run_task(run, Evaluate(target, score, model, design, classes, bins))  # type: ignore[no-any-return]


__all__ = [
    "Description",
    "Evaluation",
    "Fold",
    "Layout",
    "accumulate",
    "describe",
    "evaluate",
    "fit_linear",
    "fit_logistic",
    "layout",
]
