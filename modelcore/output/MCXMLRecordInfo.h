// The record behind a "RecordInfo" element.
#pragma once

#include "modelcore/modelcore_export.h"

#include <string>
#include <vector>

namespace MCXML_930 {

/// Values that belong to one record of the data, in rows of any lengths.
struct MODELCORE_EXPORT MCXMLRecordInfo {
    /// What identifies the record in the data.
    std::string fRecordId;
    /// Its name for people.
    std::string fRecordLabel;
    /// Its values, an "Array" each row.
    std::vector<std::vector<double>> fRows;

    /// Writes the fields to the diagnostic text stream.
    void Display() const;
};

} // namespace MCXML_930
