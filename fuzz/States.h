// Saved states as input: what a reader takes must be written and read again to the same, what it refuses must change
// nothing.
#pragma once

#include "Input.h"

#include "modelcore/modelcore.h"

/// The state as text, as it stands in a value stream.
template <class T>
std::string TextOf(const T& object)
{
    std::ostringstream text;
    object.WriteObjectXML(text, 0);
    return text.str();
}

template <class T>
bool ReadText(T& object, std::string_view text)
{
    std::ifstream stream(PathOf(text), std::ios::binary);
    return object.ReadObjectXML(stream) > 0;
}

/// Reads a state of the kind into a copy of object: as text; as bytes that are whole but for their content; as bytes of
/// any sort.
///
/// @return  whether it was taken; then object is what was read
template <class T>
bool ReadState(T& object, Input& input, const char* kind)
{
    using MCXML_930::MCStateBytes;
    const std::string before = TextOf(object);
    const int form = input.Int(0, 2);
    bool isRead = false;
    if (form == 0)
        isRead = ReadText(object, input.Rest());
    else if (form == 1)
        isRead = MCStateBytes::Restore(MCStateBytes::Wrap(kind, input.Rest()), object) == MCStateBytes::Ok;
    else
        isRead = MCStateBytes::Restore(input.Rest(), object) == MCStateBytes::Ok;
    const std::string text = TextOf(object);
    if (!isRead) {
        REQUIRE(text == before);
        return false;
    }
    T fromText(object), fromBytes(object);
    REQUIRE(ReadText(fromText, text));
    REQUIRE(TextOf(fromText) == text);
    const std::string bytes = MCStateBytes::Save(object);
    REQUIRE(MCStateBytes::Restore(bytes, fromBytes) == MCStateBytes::Ok);
    REQUIRE(MCStateBytes::Save(fromBytes) == bytes);
    return true;
}
