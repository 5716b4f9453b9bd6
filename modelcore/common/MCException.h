// The library's one exception type.
#pragma once

#include "modelcore/modelcore_export.h"

#include <exception>
#include <memory>
#include <string>

namespace MCCommon_930 {

/// The only exception of the library, thrown by Value alone when it is asked for a type or an element that it does not
/// have. Everything else reports failure by its result. Copies share the message, so that copying never fails.
class MODELCORE_EXPORT MCException : public std::exception {
public:
    /// Code 0 and an empty message.
    MCException() = default;
    /// A code and a message of the thrower.
    MCException(int code, const std::string& message);
    MCException(const MCException& other) noexcept = default;
    MCException& operator=(const MCException& other) noexcept = default;
    ~MCException() override;

    /// The message, for code that catches std::exception.
    const char* what() const noexcept override { return fpMessage != nullptr ? fpMessage->c_str() : ""; }

    /// 13 for a type and 14 for an element that a Value does not have; 0 by default.
    int GetCode() const { return fCode; }
    /// A copy of the message.
    std::string GetMessage() const { return what(); }

    /// Writes code and message to the diagnostic text stream.
    void Display() const;

private:
    int fCode = 0;
    std::shared_ptr<const std::string> fpMessage;
};

} // namespace MCCommon_930
