// The state of an object as bytes: to_bytes, from_bytes and pickle, from one list of its fields.
#pragma once

#include "Common.h"

#include <concepts>

namespace modelcore_python {

using MCXML_930::MCStateBytes;

/// Writes the fields of an object in their order.
class StateOut {
public:
    static constexpr bool kReads = false;
    StateOut(std::ostream& stream, const char* kind, int indent) : fStream(stream), fObject(kind, indent)
    {
        fObject.StartObj(fStream);
    }
    template <class T>
    requires(std::integral<T> || std::floating_point<T> || std::same_as<T, std::string>) void Field(const T& value)
    {
        fObject.WriteSubElement(fStream, value);
    }
    template <class T>
    void Field(const std::vector<T>& values)
    {
        Field(static_cast<unsigned long long>(values.size()));
        for (const T& value : values) Field(value);
    }
    /// An object of the library.
    template <class Object>
    requires requires(const Object& o, std::ostream& s) { o.WriteObjectXML(s, 0); }
    void Field(const Object& object) { object.WriteObjectXML(fStream, fObject.GetNTabs() + 1); }
    bool Finish() { return fObject.EndObj(fStream) == 0; }

private:
    std::ostream& fStream;
    MCXML_930::XMLObj fObject;
};

/// Reads them; what is not as it should be ends it.
class StateIn {
public:
    static constexpr bool kReads = true;
    StateIn(std::ifstream& stream, const char* kind) : fStream(stream), fbGood(MCXML_930::ParseStartObj(stream, kind))
    {}
    template <class T>
    requires(std::integral<T> || std::floating_point<T> || std::same_as<T, std::string>) void Field(T& value)
    {
        fbGood = fbGood && MCXML_930::ParseValue(fStream, value);
    }
    template <class T>
    void Field(std::vector<T>& values)
    {
        unsigned long long count = 0;
        Field(count);
        values.clear();
        for (T value{}; fbGood && values.size() < count;) {
            Field(value);
            if (fbGood) values.push_back(value);
        }
    }
    template <class Object>
    requires requires(Object& o, std::ifstream& s) { o.ReadObjectXML(s); }
    void Field(Object& object) { fbGood = fbGood && object.ReadObjectXML(fStream) > 0; }
    /// Notes what cannot be.
    void Require(bool holds) { fbGood = fbGood && holds; }
    bool Good() const { return fbGood; }
    bool Finish() { return fbGood && MCXML_930::ParseEndObj(fStream); }

private:
    std::ifstream& fStream;
    bool fbGood;
};

/// Raises ValueError for bytes that are no state of such an object, saying why.
[[noreturn]] void RefuseState(MCStateBytes::Fault fault, std::string_view bytes, const std::string& wanted);

inline std::string_view View(const nb::bytes& bytes)
{
    return {bytes.c_str(), bytes.size()};
}

inline nb::bytes ToBytes(const std::string& bytes)
{
    return nb::bytes(bytes.data(), bytes.size());
}

/// What a class of the extension lets MCStateBytes see: its fields, by Object::Fields(object, state) in both ways.
template <class Object>
struct Saved {
    Object* object;
    int WriteObjectXML(std::ostream& stream, int indent) const
    {
        StateOut out(stream, Object::kClass, indent);
        Object::Fields(static_cast<const Object&>(*object), out);
        return out.Finish() ? 1 : 0;
    }
    int ReadObjectXML(std::ifstream& stream)
    {
        StateIn in(stream, Object::kClass);
        Object::Fields(*object, in);
        return in.Finish() ? 1 : 0;
    }
};

template <class Object>
constexpr bool kIsOwn = requires
{
    Object::kClass;
};

template <class Object>
nb::bytes StateBytes(const Object& object)
{
    if constexpr (kIsOwn<Object>)
        return ToBytes(MCStateBytes::Save(Saved<Object>{const_cast<Object*>(&object)}));
    else
        return ToBytes(MCStateBytes::Save(object));
}

/// @param empty  an object of the class, which receives the state
template <class Object>
Object FromStateBytes(const nb::bytes& bytes, Object empty, const char* name)
{
    MCStateBytes::Fault fault;
    if constexpr (kIsOwn<Object>) {
        Saved<Object> saved{&empty};
        fault = MCStateBytes::Restore(View(bytes), saved);
    } else {
        fault = MCStateBytes::Restore(View(bytes), empty);
    }
    if (fault != MCStateBytes::Ok) RefuseState(fault, View(bytes), name);
    return empty;
}

/// Gives a class to_bytes, from_bytes and pickle.
/// @param name  the class as its states call it
template <class Object, class Make>
void DefineState(nb::class_<Object>& type, const char* name, Make makeEmpty)
{
    const auto restore = [name, makeEmpty](const nb::bytes& bytes) {
        return FromStateBytes<Object>(bytes, makeEmpty(), name);
    };
    type.def("to_bytes", &StateBytes<Object>,
             "The state, every bit of it, as bytes that are the same on every machine: about 9 for each number, in an "
             "envelope with a version and a checksum. pickle holds the same.")
        .def_static("from_bytes", restore, nb::arg("state"),
                    "Restores what to_bytes gave. Bytes that are truncated, damaged, of another class, or of a version "
                    "that is not known raise ValueError, which says so.")
        .def("__getstate__", &StateBytes<Object>)
        .def("__setstate__", [restore](Object& self, const nb::bytes& bytes) { new (&self) Object(restore(bytes)); });
}

} // namespace modelcore_python
