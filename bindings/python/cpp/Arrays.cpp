// Arrays of Python as C++ reads them: memory views and the Arrow C data interface.
#include "Arrays.h"

#include "modelcore/modelcore.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

// The structures of the Arrow C data and C stream interfaces, as their pages define them.
struct ArrowSchema {
    const char* format;
    const char* name;
    const char* metadata;
    std::int64_t flags;
    std::int64_t n_children;
    ArrowSchema** children;
    ArrowSchema* dictionary;
    void (*release)(ArrowSchema*);
    void* private_data;
};
struct ArrowArray {
    std::int64_t length;
    std::int64_t null_count;
    std::int64_t offset;
    std::int64_t n_buffers;
    std::int64_t n_children;
    const void** buffers;
    ArrowArray** children;
    ArrowArray* dictionary;
    void (*release)(ArrowArray*);
    void* private_data;
};
struct ArrowArrayStream {
    int (*get_schema)(ArrowArrayStream*, ArrowSchema*);
    int (*get_next)(ArrowArrayStream*, ArrowArray*);
    const char* (*get_last_error)(ArrowArrayStream*);
    void (*release)(ArrowArrayStream*);
    void* private_data;
};

namespace modelcore_python {

namespace {

/// What a module of Python has under that name. It is looked up once and kept for good: looking up takes longer than most
/// calls.
nb::handle Kept(PyObject*& place, const char* module, const char* name)
{
    if (place == nullptr) place = nb::object(nb::module_::import_(module).attr(name)).release().ptr();
    return place;
}

/// Numpy's own empty: the array owns its memory.
nb::object NumpyEmpty(std::span<const std::size_t> shape, const char* type, Py_buffer& view)
{
    nb::object sizes = nb::steal(PyTuple_New(static_cast<Py_ssize_t>(shape.size())));
    for (std::size_t i = 0; i < shape.size(); ++i)
        PyTuple_SetItem(sizes.ptr(), static_cast<Py_ssize_t>(i), PyLong_FromSize_t(shape[i]));
    static PyObject* empty = nullptr;
    nb::object array = Kept(empty, "numpy", "empty")(sizes, type);
    if (PyObject_GetBuffer(array.ptr(), &view, PyBUF_WRITABLE | PyBUF_C_CONTIGUOUS) != 0) throw nb::python_error();
    return array;
}

Kind KindOfInteger(std::size_t size, bool isSigned)
{
    switch (size) {
    case 1: return isSigned ? Kind::Int8 : Kind::UInt8;
    case 2: return isSigned ? Kind::Int16 : Kind::UInt16;
    case 4: return isSigned ? Kind::Int32 : Kind::UInt32;
    default: return isSigned ? Kind::Int64 : Kind::UInt64;
    }
}

/// The kind that a format of the buffer protocol stands for; none for what is not a real number of this machine.
std::optional<Kind> KindOfBuffer(const char* format, std::size_t size)
{
    if (format == nullptr) return Kind::UInt8;
    if (*format == '@' || *format == '=' || *format == (std::endian::native == std::endian::little ? '<' : '>'))
        ++format;
    if (std::strlen(format) != 1) return std::nullopt;
    switch (*format) {
    case 'd': return Kind::Float64;
    case 'f': return Kind::Float32;
    case 'e': return Kind::Float16;
    case '?': return Kind::Bool;
    case 'b':
    case 'h':
    case 'i':
    case 'l':
    case 'q':
    case 'n': return KindOfInteger(size, true);
    case 'B':
    case 'H':
    case 'I':
    case 'L':
    case 'Q':
    case 'N': return KindOfInteger(size, false);
    default: return std::nullopt;
    }
}

std::size_t SizeOf(Kind kind)
{
    switch (kind) {
    case Kind::Float64:
    case Kind::Int64:
    case Kind::UInt64: return 8;
    case Kind::Float32:
    case Kind::Int32:
    case Kind::UInt32: return 4;
    case Kind::Float16:
    case Kind::Int16:
    case Kind::UInt16: return 2;
    default: return 1;
    }
}

std::optional<Kind> KindOfArrow(const char* format)
{
    if (std::strlen(format) != 1) return std::nullopt;
    switch (*format) {
    case 'n': return Kind::Null;
    case 'b': return Kind::Bits;
    case 'c': return Kind::Int8;
    case 'C': return Kind::UInt8;
    case 's': return Kind::Int16;
    case 'S': return Kind::UInt16;
    case 'i': return Kind::Int32;
    case 'I': return Kind::UInt32;
    case 'l': return Kind::Int64;
    case 'L': return Kind::UInt64;
    case 'e': return Kind::Float16;
    case 'f': return Kind::Float32;
    case 'g': return Kind::Float64;
    default: return std::nullopt;
    }
}

double FromHalf(std::uint16_t bits)
{
    const int exponent = bits >> 10 & 31;
    const int fraction = bits & 1023;
    double size = 0.0;
    if (exponent == 31)
        size = fraction != 0 ? kNaN : std::numeric_limits<double>::infinity();
    else
        size = exponent == 0 ? std::ldexp(fraction, -24) : std::ldexp(1024 + fraction, exponent - 25);
    return (bits & 0x8000) != 0 ? -size : size;
}

bool IsSet(const std::uint8_t* bits, std::int64_t i)
{
    return (bits[i >> 3] >> (i & 7) & 1) != 0;
}

bool IsValid(const Column& column, std::size_t i)
{
    return IsSet(column.validity, column.offset + static_cast<std::int64_t>(i));
}

double Checked(double x)
{
    return MCCommon_930::MCMV::IsMissing(x) ? kNaN : x;
}

template <class T>
double Convert(T x)
{
    if constexpr (sizeof(T) == 8) {
        constexpr auto limit = static_cast<T>(1ull << 53);
        bool beyond = x > limit;
        if constexpr (std::numeric_limits<T>::is_signed) beyond = beyond || x < -limit;
        if (beyond) throw nb::value_error("an integer beyond 2**53 is not exact as a double; convert it first");
    }
    return static_cast<double>(x);
}

template <class T, class Make>
void ReadAs(const Column& column, std::size_t first, std::size_t count, double* out, std::size_t stride, Make make)
{
    const char* at = column.data + static_cast<std::ptrdiff_t>(first) * column.stride;
    for (std::size_t i = 0; i < count; ++i, at += column.stride) {
        // What stands where the validity says null is anything, and not to be refused.
        if (column.validity != nullptr && !IsValid(column, first + i)) continue;
        T x;
        std::memcpy(&x, at, sizeof(T));
        out[i * stride] = make(x);
    }
}

void ReadColumn(const Column& column, std::size_t first, std::size_t count, double* out, std::size_t stride)
{
    const auto integer = [&]<class T>(T) {
        ReadAs<T>(column, first, count, out, stride, [](T x) { return Convert(x); });
    };
    switch (column.kind) {
    case Kind::Float64: ReadAs<double>(column, first, count, out, stride, Checked); break;
    case Kind::Float32:
        ReadAs<float>(column, first, count, out, stride, [](float x) { return static_cast<double>(x); });
        break;
    case Kind::Float16: ReadAs<std::uint16_t>(column, first, count, out, stride, FromHalf); break;
    case Kind::Int8: integer(std::int8_t{}); break;
    case Kind::Int16: integer(std::int16_t{}); break;
    case Kind::Int32: integer(std::int32_t{}); break;
    case Kind::Int64: integer(std::int64_t{}); break;
    case Kind::UInt8: integer(std::uint8_t{}); break;
    case Kind::UInt16: integer(std::uint16_t{}); break;
    case Kind::UInt32: integer(std::uint32_t{}); break;
    case Kind::UInt64: integer(std::uint64_t{}); break;
    case Kind::Bool:
        ReadAs<std::uint8_t>(column, first, count, out, stride, [](std::uint8_t x) { return x != 0 ? 1.0 : 0.0; });
        break;
    case Kind::Bits:
        for (std::size_t i = 0; i < count; ++i)
            out[i * stride] = IsSet(reinterpret_cast<const std::uint8_t*>(column.data),
                                    column.offset + static_cast<std::int64_t>(first + i))
                                  ? 1.0
                                  : 0.0;
        break;
    case Kind::Null:
        for (std::size_t i = 0; i < count; ++i) out[i * stride] = kNaN;
        break;
    }
    if (column.validity == nullptr) return;
    for (std::size_t i = 0; i < count; ++i)
        if (!IsValid(column, first + i)) out[i * stride] = kNaN;
}

/// Whether rows of these columns are doubles side by side, as in an array in C order.
bool AreSideBySide(const std::vector<Column>& columns)
{
    for (std::size_t j = 0; j < columns.size(); ++j)
        if (columns[j].kind != Kind::Float64 || columns[j].validity != nullptr ||
            columns[j].stride != columns[0].stride || columns[j].data != columns[0].data + j * sizeof(double))
            return false;
    return columns.size() > 1;
}

void ReadRows(const std::vector<Column>& columns, std::size_t first, std::size_t count, double* out, std::size_t stride)
{
    if (AreSideBySide(columns)) {
        for (std::size_t i = 0; i < count; ++i, out += stride) {
            const char* const row = columns[0].data + static_cast<std::ptrdiff_t>(first + i) * columns[0].stride;
            for (std::size_t j = 0; j < columns.size(); ++j) {
                double x = 0.0;
                std::memcpy(&x, row + j * sizeof x, sizeof x);
                out[j] = Checked(x);
            }
        }
        return;
    }
    constexpr std::size_t kTile = 64; // rows that stay in the cache while one column after the other is read
    for (std::size_t i = 0; i < count; i += kTile)
        for (std::size_t j = 0; j < columns.size(); ++j)
            ReadColumn(columns[j], first + i, std::min(kTile, count - i), out + i * stride + j, stride);
}

/// Takes the structure out of a capsule; it is released with the result.
template <class T>
std::shared_ptr<T> Take(nb::handle capsule, const char* name)
{
    T* const source = static_cast<T*>(PyCapsule_GetPointer(capsule.ptr(), name));
    if (source == nullptr) throw nb::python_error();
    if (source->release == nullptr) throw nb::value_error("the Arrow data was taken already");
    std::shared_ptr<T> taken(new T(*source), [](T* x) {
        if (x->release != nullptr) x->release(x);
        delete x;
    });
    source->release = nullptr;
    return taken;
}

} // namespace

HeldBuffer::~HeldBuffer()
{
    if (held) PyBuffer_Release(&view);
}

Array NewArray(std::span<const std::size_t> shape, double*& elements)
{
    Py_buffer view;
    nb::object array = NumpyEmpty(shape, "float64", view);
    elements = static_cast<double*>(view.buf);
    PyBuffer_Release(&view);
    return nb::borrow<Array>(array);
}

Array ToArray(std::span<const double> values)
{
    const std::size_t shape[] = {values.size()};
    double* elements = nullptr;
    Array array = NewArray(shape, elements);
    std::ranges::copy(values, elements);
    return array;
}

Array ToArray(std::span<const double> values, std::size_t rows, std::size_t columns)
{
    const std::size_t shape[] = {rows, columns};
    double* elements = nullptr;
    Array array = NewArray(shape, elements);
    std::ranges::copy(values, elements);
    return array;
}

IntArray ToIntArray(std::span<const std::int64_t> values)
{
    const std::size_t shape[] = {values.size()};
    Py_buffer view;
    nb::object array = NumpyEmpty(shape, "int64", view);
    std::ranges::copy(values, static_cast<std::int64_t*>(view.buf));
    PyBuffer_Release(&view);
    return nb::borrow<IntArray>(array);
}

Table::Table(nb::handle x)
{
    if (x.is_none()) throw nb::type_error("an array is needed, not None");
    static PyObject* helper = nullptr;
    const auto result = nb::cast<nb::tuple>(Kept(helper, "modelcore._arrays", "parts")(x));
    const auto parts = nb::cast<nb::list>(result[0]);
    if (!result[1].is_none()) fNames = nb::cast<std::vector<std::string>>(result[1]);
    for (nb::handle part : parts) AddPart(part);
    if (!fNames.empty() && fNames.size() != fnColumns) fNames.clear();
}

nb::object NumericArray(nb::handle x, HeldBuffer& buffer)
{
    // An array of doubles is read as it is; everything else by way of Python.
    nb::object array = nb::borrow(x);
    const auto isOfDoubles = [&] { return buffer.view.format != nullptr && std::strcmp(buffer.view.format, "d") == 0; };
    if (PyObject_CheckBuffer(x.ptr()) != 0) {
        buffer.held = PyObject_GetBuffer(x.ptr(), &buffer.view, PyBUF_STRIDES | PyBUF_FORMAT) == 0;
        if (buffer.held && isOfDoubles() && !nb::hasattr(x, "mask")) return array;
        if (buffer.held) PyBuffer_Release(&buffer.view);
        buffer.held = false;
        PyErr_Clear();
    }
    static PyObject* helper = nullptr;
    array = Kept(helper, "modelcore._arrays", "numeric")(x);
    if (PyObject_GetBuffer(array.ptr(), &buffer.view, PyBUF_STRIDES | PyBUF_FORMAT) != 0) throw nb::python_error();
    buffer.held = true;
    if (!isOfDoubles()) throw nb::type_error("numbers are needed");
    return array;
}

void Table::AddPart(nb::handle part)
{
    if (PyObject_CheckBuffer(part.ptr()) != 0)
        AddBuffer(part);
    else if (nb::hasattr(part, "__arrow_c_stream__"))
        AddArrowStream(part);
    else if (nb::hasattr(part, "__arrow_c_array__"))
        AddArrowArray(part);
    else
        throw nb::type_error("this is neither an array nor a frame of numbers");
}

void Table::AddBuffer(nb::handle exporter)
{
    auto buffer = std::make_shared<HeldBuffer>();
    if (PyObject_GetBuffer(exporter.ptr(), &buffer->view, PyBUF_STRIDES | PyBUF_FORMAT) != 0) throw nb::python_error();
    buffer->held = true;
    const Py_buffer& view = buffer->view;
    const auto size = static_cast<std::size_t>(view.itemsize);
    const Kind kind = KindOfBuffer(view.format, size).value_or(Kind::Null);
    if (kind == Kind::Null || size != SizeOf(kind)) throw nb::type_error("the array does not hold real numbers");
    if (view.ndim < 1 || view.ndim > 2) throw nb::value_error("an array of one or two dimensions is needed");

    Part part;
    part.columns = view.ndim == 2 ? static_cast<std::size_t>(view.shape[1]) : 1;
    Piece piece;
    piece.rows = static_cast<std::size_t>(view.shape[0]);
    for (std::size_t j = 0; j < part.columns; ++j) {
        Column column;
        column.kind = kind;
        column.stride = view.strides[0];
        column.data = static_cast<const char*>(view.buf) +
                      (view.ndim == 2 ? static_cast<std::ptrdiff_t>(j) * view.strides[1] : 0);
        piece.columns.push_back(column);
    }
    part.pieces.push_back(std::move(piece));
    fOwners.push_back(std::move(buffer));
    Close(std::move(part));
}

void Table::AddArrow(Part& part, const ArrowSchema& schema, const ArrowArray& array)
{
    const bool isStruct = std::strcmp(schema.format, "+s") == 0;
    const std::size_t columns = isStruct ? static_cast<std::size_t>(schema.n_children) : 1;
    if (isStruct && array.null_count != 0 && array.n_buffers > 0 && array.buffers[0] != nullptr)
        throw nb::value_error("a frame whose rows are null as a whole cannot be read");
    Piece piece;
    piece.rows = static_cast<std::size_t>(array.length);
    for (std::size_t j = 0; j < columns; ++j) {
        const ArrowSchema& type = isStruct ? *schema.children[j] : schema;
        const ArrowArray& values = isStruct ? *array.children[j] : array;
        const bool isNumber = type.dictionary == nullptr && KindOfArrow(type.format).has_value();
        const Kind kind = KindOfArrow(type.format).value_or(Kind::Null);
        const std::string name = type.name != nullptr ? type.name : "";
        if (!isNumber) {
            std::string message = "column '";
            message += name;
            message += "' does not hold numbers (Arrow format '";
            message += type.format;
            message += "')";
            throw nb::type_error(message.c_str());
        }
        Column column;
        column.kind = kind;
        column.offset = values.offset + (isStruct ? array.offset : 0);
        if (kind != Kind::Null) {
            if (values.null_count != 0) column.validity = static_cast<const std::uint8_t*>(values.buffers[0]);
            column.data = static_cast<const char*>(values.buffers[1]);
            if (kind != Kind::Bits) {
                column.stride = static_cast<std::ptrdiff_t>(SizeOf(kind));
                if (column.data != nullptr) column.data += column.offset * column.stride;
            }
        }
        piece.columns.push_back(column);
        if (isStruct && part.pieces.empty() && fbFirst) fNames.push_back(name);
    }
    part.columns = columns;
    part.pieces.push_back(std::move(piece));
}

void Table::AddArrowArray(nb::handle exporter)
{
    const auto capsules = nb::cast<nb::tuple>(exporter.attr("__arrow_c_array__")());
    const auto schema = Take<ArrowSchema>(capsules[0], "arrow_schema");
    auto array = Take<ArrowArray>(capsules[1], "arrow_array");
    Part part;
    AddArrow(part, *schema, *array);
    fOwners.push_back(std::move(array));
    Close(std::move(part));
}

void Table::AddArrowStream(nb::handle exporter)
{
    const nb::object capsule = nb::borrow(exporter.attr("__arrow_c_stream__")());
    const auto stream = Take<ArrowArrayStream>(capsule, "arrow_array_stream");
    const auto fail = [&] {
        const char* const text = stream->get_last_error(stream.get());
        throw nb::value_error(text != nullptr ? text : "the Arrow stream cannot be read");
    };
    const std::shared_ptr<ArrowSchema> schema(new ArrowSchema{}, [](ArrowSchema* x) {
        if (x->release != nullptr) x->release(x);
        delete x;
    });
    if (stream->get_schema(stream.get(), schema.get()) != 0) fail();
    Part part;
    part.columns = std::strcmp(schema->format, "+s") == 0 ? static_cast<std::size_t>(schema->n_children) : 1;
    for (;;) {
        std::shared_ptr<ArrowArray> array(new ArrowArray{}, [](ArrowArray* x) {
            if (x->release != nullptr) x->release(x);
            delete x;
        });
        if (stream->get_next(stream.get(), array.get()) != 0) fail();
        if (array->release == nullptr) break;
        AddArrow(part, *schema, *array);
        fOwners.push_back(std::move(array));
    }
    Close(std::move(part));
}

void Table::Close(Part part)
{
    std::size_t rows = 0;
    for (const Piece& piece : part.pieces) rows += piece.rows;
    if (!fbFirst && rows != fnRows) throw nb::value_error("the columns differ in length");
    fbFirst = false;
    fnRows = rows;
    fnColumns += part.columns;
    fvParts.push_back(std::move(part));
}

bool Table::MayRefuse() const
{
    for (const Part& part : fvParts)
        for (const Piece& piece : part.pieces)
            for (const Column& column : piece.columns)
                if (column.kind == Kind::Int64 || column.kind == Kind::UInt64) return true;
    return false;
}

void Table::Read(std::size_t first, std::size_t count, double* rows, std::size_t stride) const
{
    for (const Part& part : fvParts) {
        std::size_t skipped = 0;
        std::size_t done = 0;
        for (const Piece& piece : part.pieces) {
            if (done == count) break;
            if (first + done < skipped + piece.rows) {
                const std::size_t from = first + done - skipped;
                const std::size_t here = std::min(count - done, piece.rows - from);
                ReadRows(piece.columns, from, here, rows + done * stride, stride);
                done += here;
            }
            skipped += piece.rows;
        }
        rows += part.columns;
    }
}

std::vector<double> Table::ReadColumn(std::size_t column) const
{
    std::vector<double> values(fnRows);
    for (const Part& part : fvParts) {
        if (column >= part.columns) {
            column -= part.columns;
            continue;
        }
        double* out = values.data();
        for (const Piece& piece : part.pieces) {
            modelcore_python::ReadColumn(piece.columns[column], 0, piece.rows, out, 1);
            out += piece.rows;
        }
        break;
    }
    return values;
}

std::optional<Table> OptionalColumn(nb::handle x, std::size_t rows, const char* what)
{
    if (x.is_none()) return std::nullopt;
    Table column(x);
    if (column.NColumns() == 1 && column.NRows() == rows) return column;
    std::string message = what;
    message += ": one value for each row is needed (";
    message += std::to_string(rows);
    message += " rows, got ";
    message += std::to_string(column.NRows());
    message += ")";
    throw nb::value_error(message.c_str());
}

std::vector<double> ToVector(nb::handle x)
{
    const Table table(x);
    if (table.NColumns() != 1) throw nb::value_error("an array of one dimension is needed");
    return table.ReadColumn(0);
}

} // namespace modelcore_python
