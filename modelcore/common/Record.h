// A row of doubles.
#pragma once

#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <memory>
#include <utility>

namespace MCCommon_930 {

/// A row of data: a count and an owned array of that many doubles. Copies are deep; a row that was moved from is empty.
class MODELCORE_EXPORT Record {
public:
    /// n elements, all 0.0. A negative n gives one element, not none.
    explicit Record(int n);

    Record(const Record& other);
    Record(Record&& other) noexcept : fnSize(std::exchange(other.fnSize, 0)), fvElem(std::move(other.fvElem)) {}
    Record& operator=(const Record& other);
    Record& operator=(Record&& other) noexcept;
    ~Record() = default;

    /// Element i, 0 <= i < Size(); not checked.
    double& operator[](int i) { return fvElem[static_cast<std::size_t>(i)]; }
    double operator[](int i) const { return fvElem[static_cast<std::size_t>(i)]; }

    /// The elements, contiguous; null when there are none.
    double* GetAll() { return fvElem.get(); }
    const double* GetAll() const { return fvElem.get(); }

    /// The number of elements.
    int Size() const { return fnSize; }

    /// Changes the count to max(n, 0). When that is another count the elements are replaced, not kept: the new ones are
    /// uninitialised.
    ///
    /// @return  true
    bool Resize(int n);

    /// Writes the elements to the diagnostic text stream.
    void Display() const;

private:
    int fnSize;
    std::unique_ptr<double[]> fvElem;
};

} // namespace MCCommon_930
