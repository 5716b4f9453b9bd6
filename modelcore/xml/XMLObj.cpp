// Writer of the flat value stream.
#include "modelcore/xml/XMLObj.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/xml/XMLUtil.h"
#include "modelcore/xml/XMLValueStream.h"
#include "modelcore/xml/XMLWrite.h"
#include "modelcore/xml/internal/StateTokens.h"
#include "modelcore/xml/internal/ValueStream.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <ostream>
#include <utility>

namespace MCXML_930 {

namespace {

std::string TextOfReal(double value)
{
    if (MCCommon_930::MCMV::IsMissing(value)) return std::string(internal::kMissingReal);
    if (std::isinf(value)) return std::string(value > 0.0 ? internal::kInfinity : internal::kMinusInfinity);
    char text[32];
    if (!std::isnan(value)) return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
    const auto bits = std::bit_cast<std::uint64_t>(value); // the first bits of a NaN are ones: always 16 digits
    char* const end = std::to_chars(text, text + sizeof text, bits, 16).ptr;
    return std::string(internal::kNaN).append(text, end).append(")");
}

/// Hands a value to the sink of a stream that has one; false when it has none.
template <class Put>
bool PutToken(std::ostream& os, Put put)
{
    internal::TokenSink* const sink = internal::TokenSink::Of(os);
    if (sink != nullptr) put(*sink);
    return sink != nullptr;
}

template <std::integral Integer>
bool PutInteger(std::ostream& os, Integer value)
{
    return PutToken(os, [value](internal::TokenSink& sink) {
        const bool isNegative = value < Integer{0};
        sink.PutInteger(isNegative, static_cast<std::uint64_t>(isNegative ? static_cast<Integer>(~value) : value));
    });
}

} // namespace

XMLObj::XMLObj(std::string name, int nTabs) : fName(std::move(name)), fnTabs(nTabs) {}

int XMLObj::StartObj(std::ostream& os) const
{
    if (PutToken(os, [&](internal::TokenSink& sink) { sink.PutText(internal::Token::Start, fName); })) return 0;
    return Write(os, XMLUtil::GetTabs(fnTabs) + "<" + fName + ">\n");
}

int XMLObj::EndObj(std::ostream& os) const
{
    if (PutToken(os, [](internal::TokenSink& sink) { sink.Put(internal::Token::End); })) return 0;
    return Write(os, XMLUtil::GetTabs(fnTabs) + "</" + fName + ">\n");
}

int XMLObj::WriteSubElement(std::ostream& os, int value) const
{
    return PutInteger(os, value) ? 0 : WriteLine(os, nullptr, std::to_string(value));
}

int XMLObj::WriteSubElement(std::ostream& os, unsigned int value) const
{
    return PutInteger(os, value) ? 0 : WriteLine(os, nullptr, std::to_string(value));
}

int XMLObj::WriteSubElement(std::ostream& os, long value) const
{
    return PutInteger(os, value) ? 0 : WriteLine(os, nullptr, std::to_string(value));
}

int XMLObj::WriteSubElement(std::ostream& os, unsigned long value) const
{
    return PutInteger(os, value) ? 0 : WriteLine(os, nullptr, std::to_string(value));
}

int XMLObj::WriteSubElement(std::ostream& os, long long value) const
{
    return PutInteger(os, value) ? 0 : WriteLine(os, nullptr, std::to_string(value));
}

int XMLObj::WriteSubElement(std::ostream& os, unsigned long long value) const
{
    return PutInteger(os, value) ? 0 : WriteLine(os, nullptr, std::to_string(value));
}

int XMLObj::WriteSubElement(std::ostream& os, bool value) const
{
    if (PutToken(os,
                 [&](internal::TokenSink& sink) { sink.Put(value ? internal::Token::True : internal::Token::False); }))
        return 0;
    return WriteLine(os, nullptr, std::string(value ? internal::kTrue : internal::kFalse));
}

int XMLObj::WriteSubElement(std::ostream& os, double value) const
{
    if (PutToken(os, [&](internal::TokenSink& sink) { sink.PutReal(value); })) return 0;
    return WriteLine(os, internal::kDoubleType, TextOfReal(value));
}

int XMLObj::WriteSubElement(std::ostream& os, const std::string& value) const
{
    if (PutToken(os, [&](internal::TokenSink& sink) { sink.PutText(internal::Token::Text, value); })) return 0;
    std::string text;
    internal::AppendEncoded(text, value);
    return WriteLine(os, internal::kStringType, text);
}

int XMLObj::WriteSubElement(std::ostream& os, const char* value) const
{
    return WriteSubElement(os, std::string(value != nullptr ? value : ""));
}

int XMLObj::WriteLine(std::ostream& os, const char* type, const std::string& value) const
{
    std::string line = XMLUtil::GetTabs(std::min(fnTabs, std::numeric_limits<int>::max() - 1) + 1);
    line.append("<").append(internal::kItemName);
    if (type != nullptr) line.append(" ").append(internal::kTypeAttribute).append("=\"").append(type).append("\"");
    line.append(" ").append(internal::kValueAttribute).append("=\"").append(value).append("\"/>\n");
    return Write(os, line);
}

int StartRoot(std::ostream& os, const std::string& copyrightText)
{
    std::string text = XMLUtil::FIRST_LINE;
    text.append("\n<").append(internal::kRootName).append(" ").append(internal::kCopyright).append("=\"");
    internal::AppendEncoded(text, copyrightText);
    text.append("\">\n");
    return Write(os, text);
}

int EndRoot(std::ostream& os)
{
    return Write(os, std::string("</") + internal::kRootName + ">\n");
}

int WriteHeader(std::ostream& os, const std::string& text)
{
    return StartRoot(os, text);
}

int EndHeader(std::ostream& os)
{
    return EndRoot(os);
}

} // namespace MCXML_930
