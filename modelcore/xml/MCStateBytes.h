// The saved state of an object as bytes that travel: to another process, another machine, another year.
#pragma once

#include "modelcore/modelcore_export.h"

#include <cstdint>
#include <fstream>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

namespace MCXML_930 {

namespace internal {
class TokenSink;
class TokenSource;
} // namespace internal

/// The binary form of a saved state: what WriteObjectXML of an object writes, value for value with every bit, in an
/// envelope that says what it is and shows damage. The same bytes on every machine:
///
///     0   4  the bytes D3 4D 43 53
///     4   2  version of the form, 1
///     6   2  length k of the kind
///     8   8  length n of the content
///     16  k  the kind: the name of the object's element, such as "MCMeansXProducts"
///         n  the content
///         4  CRC-32C (Castagnoli, Braeuer & Herrmann 1993, IEEE Trans. Commun. 41, 883-892) of all bytes before it
///
/// Integers have their lowest byte first. The content is a sequence of tokens, a byte each and what follows it: 1 start
/// of an element (count and bytes of its name), 2 end of an element, 3 false, 4 true, 5 an integer (a count), 6 a
/// negative integer i (the count -1-i), 7 a real (8 bytes), 8 a string (count and bytes); a count is a base-128 varint,
/// the lowest seven bits first.
///
///     std::string bytes = MCStateBytes::Save(part);                  // in a worker
///     if (MCStateBytes::Restore(bytes, part) != MCStateBytes::Ok)    // where the parts are merged
///
/// Any single damage of up to 32 bits in a row is found, other damage all but once in 4e9. Nothing here is a protection
/// against forgery.
class MODELCORE_EXPORT MCStateBytes {
public:
    /// What is wrong with bytes that are to be read.
    enum Fault : std::int32_t {
        Ok,
        Foreign,       ///< they do not begin as a state does
        OtherVersion,  ///< a version of the form that this library does not read
        Truncated,     ///< they end early
        Damaged,       ///< they are longer than they should be, or the checksum differs
        OtherKind,     ///< a state, but of an object of another class
        Contradictory, ///< the state of an object that cannot be
    };

    /// The version of the form that is written.
    static constexpr int kVersion = 1;

    /// A fault in a few words: "the state is truncated".
    static const char* GetText(Fault fault);

    /// Puts content of one's own into the envelope. A kind has at most 65535 bytes; more are cut off.
    static std::string Wrap(std::string_view kind, std::string_view content);

    /// Takes the content out of an envelope.
    /// @param kind, content  parts of bytes, which must stay; unchanged on a fault
    static Fault Unwrap(std::string_view bytes, std::string_view& kind, std::string_view& content);

    /// The state of an object that has WriteObjectXML(std::ostream&, int), which all that are saved have; empty when
    /// that fails.
    template <class Object>
    static std::string Save(const Object& object)
    {
        Writer writer;
        return object.WriteObjectXML(writer.Stream(), 0) > 0 ? writer.Finish() : std::string();
    }

    /// Restores what Save has saved of an object of the same class, through its ReadObjectXML(std::ifstream&).
    /// @return  Ok; otherwise the object is as it was
    template <class Object>
    static Fault Restore(std::string_view bytes, Object& object)
    {
        Reader reader(bytes);
        if (reader.GetFault() != Ok) return reader.GetFault();
        Object read(object);
        const bool isRead = read.ReadObjectXML(reader.Stream()) > 0;
        const Fault fault = reader.Finish(isRead);
        if (fault == Ok) object = std::move(read);
        return fault;
    }

    /// A stream whose XMLObj elements become bytes, for objects that are reached through an interface. It takes elements
    /// alone: text that is written past XMLObj is lost.
    class MODELCORE_EXPORT Writer {
    public:
        /// A writer of nothing yet.
        Writer();
        ~Writer();
        Writer(const Writer&) = delete;
        Writer& operator=(const Writer&) = delete;
        /// The stream to write elements to.
        std::ostream& Stream() { return *fpStream; }
        /// The bytes; their kind is the name of the first element.
        std::string Finish();

    private:
        std::unique_ptr<internal::TokenSink> fpSink;
        std::unique_ptr<std::ostream> fpStream;
    };

    /// A stream from which ParseStartObj, ParseValue and ParseEndObj read bytes, which must stay.
    class MODELCORE_EXPORT Reader {
    public:
        /// A reader of these bytes.
        explicit Reader(std::string_view bytes);
        ~Reader();
        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;
        /// What is wrong with the envelope; then there is nothing to read.
        Fault GetFault() const { return fFault; }
        /// The kind that the envelope names.
        std::string_view GetKind() const { return fKind; }
        /// The stream to read elements from.
        std::ifstream& Stream() { return fStream; }
        /// What to say after reading: Ok when it went well and all was read; OtherKind when the first element that was
        /// looked for is not that of the kind; else Contradictory.
        Fault Finish(bool isRead) const;

    private:
        std::string_view fKind;
        Fault fFault = Ok;
        std::unique_ptr<internal::TokenSource> fpSource;
        std::ifstream fStream;
    };
};

} // namespace MCXML_930
