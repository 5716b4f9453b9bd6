// A collection of warnings that outlive the call that raised them.
#pragma once

#include "modelcore/common/MCStatus.h"
#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace MCCommon_930 {

/// Warnings gathered over several calls: a primary and a secondary list, both in order of arrival and without
/// duplicates, and parameters that a message for a warning needs. Parameters belong to a status code: two statuses with
/// the same code but other severity or data share them. Whether a warning is there is found in O(log n).
///
/// Whatever runs out of memory leaves the collection as it was. One that was moved from is empty.
class MODELCORE_EXPORT MCWarnings {
public:
    /// Which lists AddWarning writes to.
    enum Destination : std::int32_t { DestPrimary = 0, DestSecondary = 1, DestBoth = 2 };

    /// One parameter of a warning: an integer, a real and a string, and which of them was set last. Setting one leaves
    /// the other two as they were and the readers return their own field whatever the type: nothing is converted.
    class MODELCORE_EXPORT MCParameterValue {
    public:
        /// Which field was set last.
        enum ValueType : std::int32_t { TypeInteger = 0, TypeReal = 1, TypeString = 2 };

        /// Integer 0, real 0.0, an empty string, type integer.
        MCParameterValue() = default;
        /// One field and its type set, the others as in a default parameter.
        explicit MCParameterValue(int value) { SetInteger(value); }
        explicit MCParameterValue(double value) { SetDouble(value); }
        explicit MCParameterValue(std::string value) { SetString(std::move(value)); }

        /// Sets the integer, and the type to TypeInteger.
        void SetInteger(int value);
        /// Sets the real, and the type to TypeReal.
        void SetDouble(double value);
        /// Sets the string, and the type to TypeString.
        void SetString(std::string value);

        /// Which field was set last.
        ValueType GetType() const { return fType; }
        /// The integer; 0 when none was set.
        int ToInteger() const { return fInteger; }
        /// The real; 0.0 when none was set.
        double ToDouble() const { return fReal; }
        /// The string; empty when none was set.
        const std::string& ToString() const { return fString; }

        /// Writes the type and the three fields to the diagnostic text stream.
        void Display() const;

    private:
        ValueType fType = TypeInteger;
        std::int32_t fInteger = 0;
        double fReal = 0.0;
        std::string fString;
    };

    MCWarnings() = default;
    MCWarnings(const MCWarnings&) = default;
    MCWarnings(MCWarnings&&) = default;
    MCWarnings& operator=(const MCWarnings& other) { return MCMath_930::internal::AssignByCopy(*this, other); }
    MCWarnings& operator=(MCWarnings&&) = default;
    virtual ~MCWarnings();

    /// Appends a warning to the list or lists of the destination in which no equal status stands yet; any destination
    /// other than DestPrimary and DestSecondary means both. OK and error statuses are left out.
    void AddWarning(const MCStatus& status, Destination destination);

    /// AddWarning of each element to the primary list.
    void AddWarnings(const std::vector<MCStatus>& statuses);

    /// Merges another collection into this one: list by list, leaving out statuses that are already there, and code by
    /// code its parameters, appended after the ones that are here (equal ones too, so that none is lost).
    void AddWarnings(MCWarnings other);

    /// The primary list for true, the secondary one for false.
    const std::vector<MCStatus>& GetWarnings(bool primary) const
    {
        return primary ? fPrimary.statuses : fSecondary.statuses;
    }

    /// Empties the primary list only: the secondary list and all parameters stay.
    void ClearWarnings() { fPrimary = {}; }

    /// Appends a parameter to those of the status's code, whatever the status's severity and whether or not it is in a
    /// list.
    ///
    /// @return  true; false, with nothing changed, for an integer that 32 bits do not hold
    bool AddParameter(const MCStatus& status, int value);
    bool AddParameter(const MCStatus& status, double value);
    bool AddParameter(const MCStatus& status, std::string value);
    template <std::integral T>
    requires(!std::same_as<T, bool>) bool AddParameter(const MCStatus& status, T value)
    {
        return std::in_range<std::int32_t>(value) && AddParameter(status, static_cast<int>(value));
    }

    /// Whether the status's code has a parameter.
    bool HasParameter(const MCStatus& status) const;

    /// The parameters of the status's code in order of arrival; empty when it has none. The reference is to a buffer of
    /// this object: the next call writes its own answer there.
    const std::vector<MCParameterValue>& GetParameters(const MCStatus& status) const;

    /// Writes both lists and the parameters to the diagnostic text stream.
    void Display() const;

private:
    using Parameters = std::vector<MCParameterValue>;

    struct MODELCORE_EXPORT Less {
        bool operator()(const MCStatus& a, const MCStatus& b) const;
    };

    // Statuses in order of arrival, and the same ones sorted. A status with a NaN datum equals none: it is not sorted in.
    struct MODELCORE_EXPORT List {
        void Add(const MCStatus& status);
        void MakeRoomFor(const List& added);
        void Take(List& added) noexcept;

        std::vector<MCStatus> statuses;
        std::set<MCStatus, Less> sorted;
    };

    void Merge(List& primary, List& secondary);
    bool Append(const MCStatus& status, MCParameterValue parameter);
    Parameters& ParametersOf(std::int32_t code);
    const Parameters* FindParameters(const MCStatus& status) const;

    List fPrimary;
    List fSecondary;
    std::map<std::int32_t, std::size_t> fParameterIndex; // status code -> place in fvParameters
    std::vector<Parameters> fvParameters;
    mutable Parameters fvResult;
};

} // namespace MCCommon_930
