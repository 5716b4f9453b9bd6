// Description of a variable of a model.
#pragma once

#include "modelcore/modelcore_export.h"

#include <cstdint>

namespace MCXML_930 {

/// A variable of a model: the interface that descriptions of continuous and categorical variables share.
class MODELCORE_EXPORT IMCVariable {
public:
    /// How the values of a variable are stored.
    enum VariableStorage : std::int32_t {
        StorageUndefined = 0,
        StorageInteger = 1,
        StorageReal = 2,
        StorageString = 3,
        StorageDate = 4,
        StorageTime = 5,
        StorageTimestamp = 6
    };

    virtual ~IMCVariable() = default;

protected:
    IMCVariable() = default;
    IMCVariable(const IMCVariable&) = default;
    IMCVariable& operator=(const IMCVariable&) = default;
};

} // namespace MCXML_930
