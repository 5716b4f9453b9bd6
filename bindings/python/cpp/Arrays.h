// Arrays of Python as C++ reads them, and arrays that C++ returns.
#pragma once

#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

struct ArrowArray;
struct ArrowSchema;

namespace modelcore_python {

namespace nb = nanobind;

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// A numpy array of doubles, for signatures.
class Array : public nb::object {
public:
    NB_OBJECT(Array, nb::object, "numpy.typing.NDArray[numpy.float64]", Check)
    static bool Check(PyObject* object) { return object != nullptr; }
};
/// The same of integers.
class IntArray : public nb::object {
public:
    NB_OBJECT(IntArray, nb::object, "numpy.typing.NDArray[numpy.int64]", Array::Check)
};
/// Whatever holds numbers and can be read as columns; see Table.
class ArrayLike : public nb::object {
public:
    NB_OBJECT(ArrayLike, nb::object, "typing.Any", Array::Check)
};
/// The same, or None.
class OptionalArrayLike : public nb::object {
public:
    NB_OBJECT(OptionalArrayLike, nb::object, "typing.Any", Array::Check)
};

/// A new array that owns its memory, and where its elements are, in C order.
Array NewArray(std::span<const std::size_t> shape, double*& elements);
Array ToArray(std::span<const double> values);
Array ToArray(std::span<const double> values, std::size_t rows, std::size_t columns);
IntArray ToIntArray(std::span<const std::int64_t> values);

/// What is left of a memory view of Python: released with the object.
struct HeldBuffer {
    HeldBuffer() = default;
    HeldBuffer(const HeldBuffer&) = delete;
    HeldBuffer& operator=(const HeldBuffer&) = delete;
    ~HeldBuffer();
    Py_buffer view{};
    bool held = false;
};

/// How the elements of a column are stored.
enum class Kind : std::uint8_t {
    Float64,
    Float32,
    Float16,
    Int8,
    Int16,
    Int32,
    Int64,
    UInt8,
    UInt16,
    UInt32,
    UInt64,
    Bool, // one byte each
    Bits, // one bit each, lowest first
    Null  // every value is missing
};

/// One column of one piece of a table. Nothing is copied: the memory is that of the exporter, read by any stride.
struct Column {
    const char* data = nullptr;
    std::ptrdiff_t stride = 0;
    Kind kind = Kind::Float64;
    std::int64_t offset = 0;                // of the first element, in bits, where elements or validity are bits
    const std::uint8_t* validity = nullptr; // a bit for each element; null: all are valid
};

/// Columns of numbers, all of the same length, from an array of one or two dimensions (any stride, any real type), a
/// pandas or polars frame or column, or whatever exports the Arrow C data interface.
///
/// One rule says what is missing: None, a null of a validity bitmap, a masked element, a NaN, and the most negative
/// finite double, by which the library marks missing values. All of them are read as NaN. Infinities are data. Integers
/// beyond 2^53 are refused, since a double would not hold them.
class Table {
public:
    /// @param x  see the class; an array of one dimension is one column
    explicit Table(nb::handle x);

    std::size_t NRows() const { return fnRows; }
    std::size_t NColumns() const { return fnColumns; }
    /// The names of the columns; empty when there are none.
    const std::vector<std::string>& Names() const { return fNames; }

    /// Whether reading can raise an error: there are integers of 64 bits.
    bool MayRefuse() const;

    /// Reads count rows from first on into rows of stride doubles. Needs no GIL.
    void Read(std::size_t first, std::size_t count, double* rows, std::size_t stride) const;
    /// All values of a column, one after the other.
    std::vector<double> ReadColumn(std::size_t column) const;

private:
    /// Rows that lie together.
    struct Piece {
        std::size_t rows = 0;
        std::vector<Column> columns;
    };
    /// Neighbouring columns: a whole frame or array, or one column of a frame.
    struct Part {
        std::size_t columns = 0;
        std::vector<Piece> pieces;
    };

    void AddPart(nb::handle part);
    void AddBuffer(nb::handle exporter);
    void AddArrowArray(nb::handle exporter);
    void AddArrowStream(nb::handle exporter);
    void AddArrow(Part& part, const ArrowSchema& schema, const ArrowArray& array);
    void Close(Part part);

    bool fbFirst = true;
    std::size_t fnRows = 0;
    std::size_t fnColumns = 0;
    std::vector<Part> fvParts;
    std::vector<std::string> fNames;
    std::vector<std::shared_ptr<void>> fOwners; // of the memory that the columns point to
};

/// The memory of an array-like of any shape as doubles, NaN for None, nulls and masked elements. Returns what owns it.
nb::object NumericArray(nb::handle x, HeldBuffer& buffer);

/// One column of as many values as there are rows, or nothing for None.
std::optional<Table> OptionalColumn(nb::handle x, std::size_t rows, const char* what);

/// An array-like of one dimension as doubles; missing values are NaN.
std::vector<double> ToVector(nb::handle x);

} // namespace modelcore_python
