// The library's one exception type.
#pragma once

#include "modelcore/modelcore_export.h"

#include <exception>
#include <string>

namespace MCCommon_930 {

/// The only exception of the library, thrown by Value alone when it is asked for a type or an element that it does not
/// have. Everything else reports failure by its result.
class MODELCORE_EXPORT MCException : public std::exception {
public:
    /// Code 0 and an empty message.
    MCException() = default;
    MCException(int code, const std::string& message);
    MCException(const MCException& other) = default;
    MCException& operator=(const MCException& other) = default;
    ~MCException() override;

    /// The message, for code that catches std::exception.
    const char* what() const noexcept override { return fMessage.c_str(); }

    int GetCode() const { return fCode; }
    std::string GetMessage() const { return fMessage; }

private:
    int fCode = 0;
    std::string fMessage;
};

} // namespace MCCommon_930
