// Where a variate generator gets its uniform numbers from.
#pragma once

#include "modelcore/common/MCDisplay.h"
#include "modelcore/random/MCRNGUCongruential.h"
#include "modelcore/random/MCRNGUTwister.h"

#include <typeinfo>

namespace MCMath_930::internal {

/// A generator that belongs to the caller, or one of our own: MCRNGUCongruential with state 1, made when a number is
/// wanted and the caller has given none. A copy shares the caller's generator and has its own copy of our own.
class UniformSource {
public:
    UniformSource() = default;
    UniformSource(const UniformSource& other) : fpSource(other.fpSource), fOwnsSource(other.fOwnsSource)
    {
        // What is owned is always the one that Get made.
        if (fOwnsSource && fpSource != nullptr)
            fpSource = new MCRNGUCongruential(static_cast<const MCRNGUCongruential&>(*fpSource));
    }
    UniformSource& operator=(const UniformSource&) = delete; // records are copied whole and then exchanged
    ~UniformSource()
    {
        if (fOwnsSource) delete fpSource;
    }

    void Use(MCRNGenerator& source)
    {
        if (fOwnsSource) delete fpSource;
        fpSource = &source;
        fOwnsSource = false;
    }

    MCRNGenerator& Get()
    {
        if (fpSource == nullptr) fpSource = new MCRNGUCongruential;
        return *fpSource;
    }

    /// Calls body with a function that draws the next uniform. That of a Twister is one the compiler can put in place:
    /// a variate draws many, and a virtual call costs more than a word.
    template <class Body>
    auto Draw(Body body)
    {
        MCRNGenerator& source = Get();
        if (typeid(source) == typeid(MCRNGUTwister)) {
            MCRandomTwister& twister = static_cast<MCRNGUTwister&>(source).fTwister;
            return body([&twister] { return twister.GetRealRes53(); });
        }
        return body([&source] { return source.GetNext(); });
    }

    bool Exists() const { return fpSource != nullptr; }

    /// The lines with which the display of a generator ends.
    void Display() const
    {
        MCDisplay_930::Display("Uniform source indicator", Exists());
        MCDisplay_930::Display("Owned source indicator", fOwnsSource);
    }

private:
    MCRNGenerator* fpSource = nullptr;
    bool fOwnsSource = true;
};

/// A uniform source and an embedded variate generator that draws from the same one.
template <class Embedded>
class SharedSource {
public:
    explicit SharedSource(const Embedded& initial) : embedded(initial) {}
    SharedSource(const SharedSource& other) : embedded(other.embedded), fSource(other.fSource)
    {
        if (fSource.Exists()) embedded.SetURNGenerator(fSource.Get());
    }
    SharedSource& operator=(const SharedSource&) = delete;

    void Use(MCRNGenerator& generator)
    {
        fSource.Use(generator);
        embedded.SetURNGenerator(generator);
    }

    MCRNGenerator& Get()
    {
        const bool isNew = !fSource.Exists();
        MCRNGenerator& uniform = fSource.Get();
        if (isNew) embedded.SetURNGenerator(uniform);
        return uniform;
    }

    template <class Body>
    auto Draw(Body body)
    {
        Get(); // the embedded generator has to know a source that is made now
        return fSource.Draw(body);
    }

    void Display() const { fSource.Display(); }

    Embedded embedded;

private:
    UniformSource fSource;
};

} // namespace MCMath_930::internal
