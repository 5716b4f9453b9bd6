// JsonObject: the process's code page, and the library's variant.

#include "modelcore/xml/JsonObject.h"
#include "modelcore/xml/internal/CodePage.h"
#include "modelcore/xml/internal/CodePageText.h"

#include <limits>

namespace MCXML_930 {

using MCCommon_930::Value;

bool JsonObject::FromCodePage(std::string_view text, JsonObject& result)
{
    std::string utf8;
    if (!internal::CodePageText(internal::ProcessCodePage()).ToUTF8(text, utf8)) return false;
    result = JsonObject(utf8);
    return true;
}

bool JsonObject::ReadCodePage(std::string& text) const
{
    return IsString() && internal::CodePageText(internal::ProcessCodePage()).FromUTF8(GetText(), text);
}

// Both ways: arrays and maps are put on a list with the place where they are to be built. Before such a place is noted,
// what holds it has its final size.

bool JsonObject::FromValue(const Value& value, JsonObject& result)
{
    internal::CodePageText codePage(internal::ProcessCodePage());
    std::string utf8;
    JsonObject made;
    std::vector<std::pair<const Value*, JsonObject*>> pending{{&value, &made}};
    while (!pending.empty()) {
        const auto [from, to] = pending.back();
        pending.pop_back();
        switch (from->GetType()) {
        case Value::TypeBool: *to = from->GetBool(); break;
        case Value::TypeInteger: *to = from->GetInteger(); break;
        case Value::TypeReal: *to = from->GetReal(); break;
        case Value::TypeString:
            if (!codePage.ToUTF8(from->GetStringRef(), utf8)) return false;
            *to = utf8;
            break;
        case Value::TypeArray:
            *to = NewArray();
            to->Reserve(static_cast<std::size_t>(from->Size()));
            for (int i = 0; i < from->Size(); ++i) to->Append(nullptr);
            for (int i = 0; i < from->Size(); ++i)
                pending.emplace_back(&(*from)[i], to->At(static_cast<std::size_t>(i)));
            break;
        case Value::TypeMap: {
            *to = NewObject();
            const std::vector<std::string> names = from->Names();
            to->Reserve(names.size());
            for (const std::string& name : names) {
                // Two names are never the same in UTF-8: conversion gives the first back.
                if (!codePage.ToUTF8(name, utf8) || !to->Set(utf8, nullptr)) return false;
            }
            for (std::size_t i = 0; i < names.size(); ++i) pending.emplace_back(&(*from)[names[i]], to->At(i));
            break;
        }
        default: break;
        }
    }
    result.Swap(made);
    return true;
}

bool JsonObject::ToValue(Value& result) const
{
    internal::CodePageText codePage(internal::ProcessCodePage());
    std::string text;
    Value made;
    std::vector<std::pair<const JsonObject*, Value*>> pending{{this, &made}};
    while (!pending.empty()) {
        const auto [from, to] = pending.back();
        pending.pop_back();
        switch (from->GetType()) {
        case TypeNull: break;
        case TypeBool: *to = from->fData != 0; break;
        case TypeInteger: *to = static_cast<long long>(from->fData); break;
        case TypeReal: *to = std::bit_cast<double>(from->fData); break;
        case TypeString:
            if (!codePage.FromUTF8(from->GetText(), text)) return false;
            *to = text;
            break;
        case TypeArray: {
            if (!std::in_range<int>(from->Size())) return false;
            const auto count = static_cast<int>(from->Size());
            to->Resize(count);
            for (int i = 0; i < count; ++i) pending.emplace_back(from->At(static_cast<std::size_t>(i)), &(*to)[i]);
            break;
        }
        case TypeObject:
            to->AssertMap();
            for (const Member& member : from->Members()) {
                if (!codePage.FromUTF8(member.Name(), text)) return false;
                if (to->Contains(text)) return false;
                pending.emplace_back(&member.Value(), &(*to)[text]);
            }
            break;
        }
    }
    result.Swap(made);
    return true;
}

} // namespace MCXML_930
