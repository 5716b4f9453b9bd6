// Saving and restoring of accumulators through the flat value stream.
#pragma once

#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/xml/XMLObj.h"
#include "modelcore/xml/XMLValueStream.h"

#include <algorithm>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <fstream>
#include <ostream>
#include <span>
#include <string>
#include <vector>

namespace MCMath_930::internal {

/// One object written as an element whose values are the fields in their order.
class StateWriter {
public:
    StateWriter(std::ostream& stream, const std::string& name, int indent) : fStream(stream), fObject(name, indent)
    {
        fObject.StartObj(fStream);
    }

    /// One value.
    template <class T>
    requires(std::integral<T> || std::floating_point<T>) void Write(T value)
    {
        fObject.WriteSubElement(fStream, value);
        ++fnLines;
    }
    void Write(const std::string& text)
    {
        fObject.WriteSubElement(fStream, text);
        ++fnLines;
    }
    void Write(std::span<const double> values)
    {
        for (const double value : values) Write(value);
    }

    /// A number of elements, as a real: not every integer of the stream has more than 32 bits on every machine.
    void WriteCount(std::size_t count) { Write(static_cast<double>(count)); }

    /// The number of lines of the whole element; 0 when writing failed. Nothing is left in the stream's buffer, which a
    /// full disk would refuse later.
    int Finish()
    {
        fObject.EndObj(fStream);
        fStream.flush();
        return fStream ? fnLines + 2 : 0;
    }

private:
    std::ostream& fStream;
    MCXML_930::XMLObj fObject;
    int fnLines = 0;
};

/// Reads what StateWriter has written. Once a value is not what it should be, nothing more is read.
class StateReader {
public:
    StateReader(std::ifstream& stream, const std::string& name)
        : fStream(stream), fbOk(MCXML_930::ParseStartObj(stream, name))
    {}

    /// One value.
    template <class T>
    bool Read(T& value)
    {
        if (fbOk) fbOk = MCXML_930::ParseValue(fStream, value);
        if (fbOk) ++fnLines;
        return fbOk;
    }

    /// Exactly count values. Memory grows with what is there, so that a damaged count cannot ask for all of it.
    bool Read(std::vector<double>& values, std::size_t count)
    {
        values.clear();
        for (double value = 0.0; values.size() < count && Read(value);) values.push_back(value);
        return fbOk;
    }

    bool ReadCount(std::size_t& count)
    {
        double number = 0.0;
        Read(number);
        if (Require(number >= 0.0 && number < 0x1p53 && number == std::floor(number)))
            count = static_cast<std::size_t>(number);
        return fbOk;
    }

    bool Read(MCSymMatrix& matrix, int order)
    {
        std::vector<double> elements;
        const auto n = static_cast<std::size_t>(order);
        if (!Read(elements, n * (n + 1) / 2)) return false;
        matrix.SetNRows(order);
        std::copy(elements.begin(), elements.end(), matrix.GetPtr());
        return true;
    }

    bool Ok() const { return fbOk; }

    /// Notes that a value was read that cannot be.
    bool Require(bool holds)
    {
        fbOk = fbOk && holds;
        return fbOk;
    }

    /// The number of lines of the whole element; 0 when something was not as written.
    int Finish() { return fbOk && MCXML_930::ParseEndObj(fStream) ? fnLines + 2 : 0; }

private:
    std::ifstream& fStream;
    bool fbOk;
    int fnLines = 0;
};

} // namespace MCMath_930::internal
