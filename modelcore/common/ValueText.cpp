// Value: rendering as text.
#include "modelcore/common/Value.h"

#include "modelcore/common/internal/ShortestText.h"

#include <cstddef>
#include <ostream>

namespace MCCommon_930 {

namespace {

void AppendQuoted(std::string& out, const std::string& text)
{
    constexpr char kHex[] = "0123456789abcdef";
    out += '"';
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (byte < 0x20)
                out.append("\\u00").append({kHex[byte >> 4], kHex[byte & 15]});
            else
                out += c;
        }
    }
    out += '"';
}

} // namespace

// The containers that are open while their elements are written.
class Value::Walk {
public:
    explicit Walk(std::string& out) : fOut(out) {}

    void Enter(const Value& container)
    {
        fOut += container.fType == TypeArray ? '[' : '{';
        fvLevels.push_back({&container, 0, {}});
        if (container.fType == TypeMap) fvLevels.back().at = container.fData.map->begin();
    }

    // The next element to write, with what stands before it written; null when every container is closed.
    const Value* Next()
    {
        for (; !fvLevels.empty(); fvLevels.pop_back()) {
            Level& level = fvLevels.back();
            const bool isArray = level.container->fType == TypeArray;
            if (level.index == static_cast<std::size_t>(level.container->Size())) {
                fOut += isArray ? ']' : '}';
                continue;
            }
            if (level.index > 0) fOut += ", ";
            const std::size_t i = level.index++;
            if (isArray) return &(*level.container->fData.array)[i];
            AppendQuoted(fOut, level.at->first);
            fOut += ": ";
            return &level.at++->second;
        }
        return nullptr;
    }

private:
    struct Level {
        const Value* container;
        std::size_t index;
        Map::const_iterator at;
    };

    std::string& fOut;
    std::vector<Level> fvLevels;
};

void Value::AppendScalar(std::string& out) const
{
    switch (fType) {
    case TypeNull: out += "null"; break;
    case TypeBool: out += fData.boolean ? "true" : "false"; break;
    case TypeInteger: out += std::to_string(fData.integer); break;
    case TypeReal: out += internal::ShortestText(fData.real); break;
    default: AppendQuoted(out, *fData.string); break;
    }
}

std::string Value::GetString() const
{
    if (fType == TypeString) return *fData.string;
    std::string out;
    if (IsNull()) return out;
    Walk walk(out);
    for (const Value* value = this; value != nullptr; value = walk.Next()) {
        if (value->IsContainer())
            walk.Enter(*value);
        else
            value->AppendScalar(out);
    }
    return out;
}

void Value::Display(std::ostream& stream) const
{
    if (IsNull())
        stream << "null";
    else if (fType == TypeString)
        stream << *fData.string;
    else
        stream << GetString();
}

} // namespace MCCommon_930
