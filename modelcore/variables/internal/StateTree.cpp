#include "modelcore/variables/internal/StateTree.h"

#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCMV.h"

#include <charconv>
#include <cmath>
#include <string_view>

namespace MCXML_930::internal {

using MCCommon_930::MCMV;
using MCCommon_930::Value;

namespace {

constexpr char kInfinity[] = "Infinity";
constexpr char kMinusInfinity[] = "-Infinity";
constexpr char kNaN[] = "NaN";
constexpr char kBytes[] = "bytes";
constexpr char kReal[] = "real";
constexpr char kHexDigits[] = "0123456789abcdef";
constexpr int kDeepest = 16; // trees are written by this library and are flatter

/// Whether the bytes are UTF-8: shortest forms only, no surrogates, up to U+10FFFF (RFC 3629).
bool IsUtf8(std::string_view text)
{
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0x80   ? 1
                                   : lead < 0xC2 ? 0
                                   : lead < 0xE0 ? 2
                                   : lead < 0xF0 ? 3
                                   : lead < 0xF5 ? 4
                                                 : 0;
        if (length == 0 || text.size() - i < length) return false;
        unsigned long code = length == 1 ? lead : lead & (0x7Fu >> length);
        for (std::size_t k = 1; k < length; ++k) {
            const auto byte = static_cast<unsigned char>(text[i + k]);
            if ((byte & 0xC0) != 0x80) return false;
            code = code << 6 | (byte & 0x3F);
        }
        if ((length == 3 && code < 0x800) || (length == 4 && code < 0x10000) || code > 0x10FFFF ||
            (code >= 0xD800 && code < 0xE000))
            return false;
        i += length;
    }
    return true;
}

/// Null when the value is no map of exactly that name.
const Value& OnlyField(const Value& tree, const char* name)
{
    return tree.GetType() == Value::TypeMap && tree.Size() == 1 ? tree[name] : Value::NULL_VALUE;
}

template <class Item, class Convert>
Value ArrayOf(const std::vector<Item>& items, Convert convert)
{
    Value array;
    array.Resize(static_cast<int>(items.size()));
    for (std::size_t i = 0; i < items.size(); ++i) array[static_cast<int>(i)] = convert(items[i]);
    return array;
}

/// The items of a tree: its type, then its content. Integers of 64 bits go as text where they do not fit an int.
void WriteNode(MCMath_930::internal::StateWriter& writer, const Value& node)
{
    writer.Write(static_cast<int>(node.GetType()));
    switch (node.GetType()) {
    case Value::TypeBool: writer.Write(node.GetBool()); break;
    case Value::TypeInteger: writer.Write(std::to_string(node.GetInteger())); break;
    case Value::TypeReal: writer.Write(node.GetReal()); break;
    case Value::TypeString: writer.Write(node.GetStringRef()); break;
    case Value::TypeArray:
        writer.Write(node.Size());
        for (int i = 0; i < node.Size(); ++i) WriteNode(writer, node[i]);
        break;
    case Value::TypeMap:
        writer.Write(node.Size());
        for (const std::string& name : node.Names()) {
            writer.Write(name);
            WriteNode(writer, node[name]);
        }
        break;
    default: break;
    }
}

bool ReadNode(MCMath_930::internal::StateReader& reader, Value& node, int depth)
{
    int type = 0;
    if (!reader.Read(type) || !reader.Require(depth < kDeepest)) return false;
    bool flag = false;
    double real = 0.0;
    std::string text;
    int size = 0;
    switch (type) {
    case Value::TypeNull: return true;
    case Value::TypeBool:
        if (reader.Read(flag)) node = flag;
        break;
    case Value::TypeInteger: {
        long long integer = 0;
        if (!reader.Read(text)) return false;
        const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), integer);
        if (reader.Require(fault == std::errc() && end == text.data() + text.size())) node = integer;
        break;
    }
    case Value::TypeReal:
        if (reader.Read(real)) node = real;
        break;
    case Value::TypeString:
        if (reader.Read(text)) node = std::move(text);
        break;
    case Value::TypeArray:
        node.Resize(0);
        reader.Read(size);
        for (int i = 0; i < size && reader.Ok(); ++i) ReadNode(reader, node[i], depth + 1);
        break;
    case Value::TypeMap:
        node.AssertMap();
        reader.Read(size);
        for (int i = 0; i < size && reader.Ok(); ++i)
            if (reader.Read(text) && reader.Require(!node.Contains(text))) ReadNode(reader, node[text], depth + 1);
        break;
    default: reader.Require(false);
    }
    return reader.Require(size >= 0);
}

bool ReadJson(const JsonObject& json, Value& node, int depth)
{
    bool flag = false;
    long long integer = 0;
    double real = 0.0;
    std::string text;
    if (depth == kDeepest || json.Size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return false;
    switch (json.GetType()) {
    case JsonObject::TypeBool:
        json.Read(flag);
        node = flag;
        return true;
    case JsonObject::TypeInteger:
        json.Read(integer);
        node = integer;
        return true;
    case JsonObject::TypeReal:
        json.Read(real);
        node = real;
        return true;
    case JsonObject::TypeString:
        json.Read(text);
        node = std::move(text);
        return true;
    case JsonObject::TypeArray:
        node.Resize(static_cast<int>(json.Size()));
        for (int i = 0; i < node.Size(); ++i)
            if (!ReadJson(json[i], node[i], depth + 1)) return false;
        return true;
    case JsonObject::TypeObject:
        node.AssertMap();
        for (std::size_t i = 0; i < json.Size(); ++i)
            if (!ReadJson(*json.At(i), node[std::string(json.NameAt(i))], depth + 1)) return false;
        return true;
    default: return true;
    }
}

} // namespace

Value StateTree::FromReal(double x)
{
    if (MCMV::IsMissing(x)) return {};
    if (std::isfinite(x)) return x;
    return std::isnan(x) ? kNaN : x > 0.0 ? kInfinity : kMinusInfinity;
}

bool StateTree::ToReal(const Value& tree, double& x)
{
    if (tree.IsNull())
        x = MCMV::Missing();
    else if (tree.GetType() == Value::TypeReal)
        x = tree.GetReal();
    else if (tree.GetType() == Value::TypeInteger) // JSON that was written by hand
        x = static_cast<double>(tree.GetInteger());
    else if (tree.GetType() != Value::TypeString)
        return false;
    else if (tree.GetStringRef() == kInfinity)
        x = std::numeric_limits<double>::infinity();
    else if (tree.GetStringRef() == kMinusInfinity)
        x = -std::numeric_limits<double>::infinity();
    else if (tree.GetStringRef() == kNaN)
        x = std::numeric_limits<double>::quiet_NaN();
    else
        return false;
    return true;
}

Value StateTree::FromText(const std::string& text)
{
    if (IsUtf8(text)) return text;
    std::string digits;
    for (const char byte : text) {
        digits += kHexDigits[static_cast<unsigned char>(byte) >> 4];
        digits += kHexDigits[static_cast<unsigned char>(byte) & 15];
    }
    Value bytes;
    bytes[kBytes] = std::move(digits);
    return bytes;
}

bool StateTree::ToText(const Value& tree, std::string& text)
{
    if (tree.GetType() == Value::TypeString) {
        text = tree.GetStringRef();
        return true;
    }
    const Value& field = OnlyField(tree, kBytes);
    if (field.GetType() != Value::TypeString || field.GetStringRef().size() % 2 != 0) return false;
    const std::string_view digits = field.GetStringRef();
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const std::size_t high = std::string_view(kHexDigits).find(digits[i]);
        const std::size_t low = std::string_view(kHexDigits).find(digits[i + 1]);
        if (high > 15 || low > 15) return false;
        bytes += static_cast<char>(high << 4 | low);
    }
    text = std::move(bytes);
    return true;
}

Value StateTree::FromScalar(const Value& scalar)
{
    if (scalar.GetType() == Value::TypeString) return FromText(scalar.GetStringRef());
    if (scalar.GetType() != Value::TypeReal) return scalar;
    Value tree = FromReal(scalar.GetReal());
    if (tree.GetType() != Value::TypeString) return tree;
    Value marked; // else it could not be told from a string
    marked[kReal] = std::move(tree);
    return marked;
}

bool StateTree::ToScalar(const Value& tree, Value& scalar)
{
    double real = 0.0;
    std::string text;
    if (ToText(tree, text))
        scalar = std::move(text);
    else if (tree.GetType() < Value::TypeString)
        scalar = tree;
    else if (!OnlyField(tree, kReal).IsNull() && ToReal(OnlyField(tree, kReal), real))
        scalar = real;
    else
        return false;
    return true;
}

Value StateTree::FromReals(const std::vector<double>& numbers)
{
    return ArrayOf(numbers, FromReal);
}

Value StateTree::FromIntegers(const std::vector<int>& numbers)
{
    return ArrayOf(numbers, [](int number) { return Value(number); });
}

Value StateTree::FromScalars(const std::vector<Value>& scalars)
{
    return ArrayOf(scalars, FromScalar);
}

int StateTree::Write(std::ostream& stream, const std::string& name, int indent, const Value& tree)
{
    MCMath_930::internal::StateWriter writer(stream, name, indent);
    WriteNode(writer, tree);
    return writer.Finish();
}

int StateTree::Read(std::ifstream& stream, const std::string& name, Value& tree)
{
    MCMath_930::internal::StateReader reader(stream, name);
    Value read;
    ReadNode(reader, read, 0);
    const int lines = reader.Finish();
    if (lines > 0) tree = std::move(read);
    return lines;
}

JsonObject StateTree::ToJson(const Value& tree)
{
    JsonObject json;
    switch (tree.GetType()) {
    case Value::TypeBool: return tree.GetBool();
    case Value::TypeInteger: return tree.GetInteger();
    case Value::TypeReal: return tree.GetReal();
    case Value::TypeString: return std::string_view(tree.GetStringRef());
    case Value::TypeArray:
        json = JsonObject::NewArray();
        json.Reserve(static_cast<std::size_t>(tree.Size()));
        for (int i = 0; i < tree.Size(); ++i) json.Append(ToJson(tree[i]));
        return json;
    case Value::TypeMap:
        json = JsonObject::NewObject();
        for (const std::string& name : tree.Names()) json.Set(name, ToJson(tree[name]));
        return json;
    default: return json;
    }
}

bool StateTree::FromJson(const JsonObject& json, Value& tree)
{
    Value read;
    if (!ReadJson(json, read, 0)) return false;
    tree = std::move(read);
    return true;
}

const Value& StateFields::Get(const char* name) const
{
    return fMap.GetType() == Value::TypeMap ? fMap[name] : Value::NULL_VALUE;
}

bool StateFields::Read(const char* name, bool& value)
{
    if (Require(Get(name).GetType() == Value::TypeBool)) value = Get(name).GetBool();
    return fbOk;
}

bool StateFields::Read(const char* name, int& value, int lowest, int highest)
{
    const Value& field = Get(name);
    if (Require(field.GetType() == Value::TypeInteger && field.GetInteger() >= lowest && field.GetInteger() <= highest))
        value = static_cast<int>(field.GetInteger());
    return fbOk;
}

bool StateFields::Read(const char* name, double& value)
{
    return Require(StateTree::ToReal(Get(name), value));
}

bool StateFields::Read(const char* name, std::string& text)
{
    return Require(StateTree::ToText(Get(name), text));
}

bool StateFields::ReadScalar(const char* name, Value& value)
{
    return Require(StateTree::ToScalar(Get(name), value));
}

template <class Each>
bool StateFields::ReadArray(const char* name, Each each)
{
    const Value& field = Get(name);
    if (!Require(field.GetType() == Value::TypeArray)) return false;
    for (int i = 0; i < field.Size() && fbOk; ++i) Require(each(field[i]));
    return fbOk;
}

bool StateFields::Read(const char* name, std::vector<double>& numbers)
{
    return ReadArray(name, [&](const Value& item) { return StateTree::ToReal(item, numbers.emplace_back()); });
}

bool StateFields::Read(const char* name, std::vector<int>& numbers, int lowest, int highest)
{
    return ReadArray(name, [&](const Value& item) {
        if (item.GetType() != Value::TypeInteger || item.GetInteger() < lowest || item.GetInteger() > highest)
            return false;
        numbers.push_back(static_cast<int>(item.GetInteger()));
        return true;
    });
}

bool StateFields::ReadScalars(const char* name, std::vector<Value>& values)
{
    return ReadArray(name, [&](const Value& item) { return StateTree::ToScalar(item, values.emplace_back()); });
}

} // namespace MCXML_930::internal
