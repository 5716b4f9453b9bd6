// Where a variate generator gets its uniform numbers from.
#pragma once

#include "modelcore/common/MCDisplay.h"
#include "modelcore/random/MCRNGUCongruential.h"
#include "modelcore/random/MCRNGUTwister.h"
#include "modelcore/random/internal/Congruential.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <typeinfo>

namespace MCMath_930::internal {

// The uniforms of a generator, drawn by a call that the compiler can put in place where it knows the class: a variate draws
// many, and a virtual call costs more than a number. CountUpTo draws n of them and counts those that are at most limit.

class TwisterUniforms {
public:
    explicit TwisterUniforms(MCRNGUTwister& source) : fpTwister(&source.fTwister) {}

    double operator()() const { return fpTwister->GetRealRes53(); }

    int CountUpTo(double limit, int n) const
    {
        int count = 0;
        for (std::ptrdiff_t left = n; left > 0;) {
            // Those of a block in one loop: else each draw waits until the position of the one before is stored.
            const std::uint32_t* const words = fpTwister->fpNext;
            const std::ptrdiff_t here = std::min(left, (fpTwister->fpEnd - words) / 2);
            for (std::ptrdiff_t i = 0; i < here; ++i)
                count += MCRandomTwister::Res53(words[2 * i], words[2 * i + 1]) <= limit ? 1 : 0;
            fpTwister->fpNext += 2 * here;
            left -= here;
            if (left == 0) break;
            count += (*this)() <= limit ? 1 : 0; // the one with which the next block begins
            --left;
        }
        return count;
    }

private:
    MCRandomTwister* fpTwister;
};

/// How many of the next n numbers of a source are at most the limit.
template <class Uniforms>
int CountOneByOne(const Uniforms& next, double limit, int n)
{
    int count = 0;
    for (int i = 0; i < n; ++i) count += next() <= limit ? 1 : 0;
    return count;
}

class CongruentialUniforms {
public:
    explicit CongruentialUniforms(MCRNGUCongruential& source) : fpSource(&source) {}

    double operator()() const { return CongruentialReal(fpSource->fnState = NextCongruential(fpSource->fnState)); }

    int CountUpTo(double limit, int n) const { return CountOneByOne(*this, limit, n); }

private:
    MCRNGUCongruential* fpSource;
};

class VirtualUniforms {
public:
    explicit VirtualUniforms(MCRNGenerator& source) : fpSource(&source) {}

    double operator()() const { return fpSource->GetNext(); }

    int CountUpTo(double limit, int n) const { return CountOneByOne(*this, limit, n); }

private:
    MCRNGenerator* fpSource;
};

/// A generator that belongs to the caller, or one of our own: MCRNGUCongruential with state 1, made when a number is
/// wanted and the caller has given none. A copy shares the caller's generator and has its own copy of our own.
class UniformSource {
public:
    UniformSource() = default;
    UniformSource(const UniformSource& other)
        : fpSource(other.fpSource), fpTwister(other.fpTwister), fpCongruential(other.fpCongruential),
          fOwnsSource(other.fOwnsSource)
    {
        // What is owned is always the one that Get made.
        if (fOwnsSource && fpSource != nullptr) Own(new MCRNGUCongruential(*fpCongruential));
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
        // The class is looked up once, not at every draw. A derived class may draw something else.
        const std::type_info& type = typeid(source);
        fpTwister = type == typeid(MCRNGUTwister) ? static_cast<MCRNGUTwister*>(&source) : nullptr;
        fpCongruential = type == typeid(MCRNGUCongruential) ? static_cast<MCRNGUCongruential*>(&source) : nullptr;
    }

    MCRNGenerator& Get()
    {
        if (fpSource == nullptr) Own(new MCRNGUCongruential);
        return *fpSource;
    }

    /// Calls body with one of the classes above, which draws the next uniform.
    template <class Body>
    auto Draw(Body body)
    {
        if (fpTwister != nullptr) return body(TwisterUniforms(*fpTwister));
        MCRNGenerator& source = Get();
        if (fpCongruential != nullptr) return body(CongruentialUniforms(*fpCongruential));
        return body(VirtualUniforms(source));
    }

    /// The lines with which the display of a generator ends.
    void Display() const
    {
        MCDisplay_930::Display("Uniform source indicator", fpSource != nullptr);
        MCDisplay_930::Display("Owned source indicator", fOwnsSource);
    }

private:
    void Own(MCRNGUCongruential* source) { fpSource = fpCongruential = source; }

    MCRNGenerator* fpSource = nullptr;
    MCRNGUTwister* fpTwister = nullptr;           // the source, if it is one
    MCRNGUCongruential* fpCongruential = nullptr; // likewise
    bool fOwnsSource = true;
};

} // namespace MCMath_930::internal
