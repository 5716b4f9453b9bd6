// Arrays and maps as literals.
#pragma once

#include "modelcore/common/Value.h"

#include <initializer_list>
#include <utility>

inline MCCommon_930::Value Array(std::initializer_list<MCCommon_930::Value> elements)
{
    MCCommon_930::Value array;
    array.AssertTypeOrInvalid(MCCommon_930::Value::TypeArray);
    for (const MCCommon_930::Value& element : elements) array[array.Size()] = element;
    return array;
}

inline MCCommon_930::Value Map(std::initializer_list<std::pair<const char*, MCCommon_930::Value>> entries)
{
    MCCommon_930::Value map;
    map.AssertMap();
    for (const auto& [name, value] : entries) map[name] = value;
    return map;
}
