// The hash of the scenario.
#pragma once

#include <bit>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// FNV-1a with 64 bits (Fowler, Noll & Vo) over values of fixed width, lowest byte first.
class Digest {
public:
    /// @param reals  where to keep the reals, to see which ones differ
    explicit Digest(std::vector<double>* reals = nullptr) : fReals(reals) {}

    template <std::integral T>
    void Add(T value)
    {
        auto bits = static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
        for (int i = 0; i < 8; ++i, bits >>= 8) AddByte(static_cast<unsigned char>(bits & 0xff));
    }
    void Add(std::uint64_t value) { Add(static_cast<std::int64_t>(value)); }
    void Add(double value)
    {
        if (fReals != nullptr) fReals->push_back(value);
        Add(std::isnan(value) ? 0x7ff8000000000000 : std::bit_cast<std::int64_t>(value));
    }
    void Add(std::string_view text)
    {
        Add(static_cast<std::int64_t>(text.size()));
        for (const char c : text) AddByte(static_cast<unsigned char>(c));
    }
    void Add(const std::string& text) { Add(std::string_view(text)); }
    void Add(const char* text) { Add(std::string_view(text)); }
    template <class T>
    void Add(std::span<T> values)
    {
        Add(static_cast<std::int64_t>(values.size()));
        for (const T& value : values) Add(value);
    }
    template <class T>
    void Add(const std::vector<T>& values)
    {
        Add(std::span<const T>(values));
    }

    std::uint64_t Get() const { return fnState; }

private:
    void AddByte(unsigned char byte) { fnState = (fnState ^ byte) * 1099511628211u; }

    std::uint64_t fnState = 14695981039346656037u;
    std::vector<double>* fReals;
};

/// Numbers that need neither the library nor rounding: Knuth's linear congruential generator modulo 2^64.
class Numbers {
public:
    explicit Numbers(std::uint64_t seed) : fnState(seed) {}

    std::uint64_t Bits()
    {
        fnState = fnState * 6364136223846793005u + 1442695040888963407u;
        return fnState;
    }
    /// In [0, 1), a multiple of 2^-53.
    double Unit() { return static_cast<double>(static_cast<std::int64_t>(Bits() >> 11)) * 0x1p-53; }
    /// In [-1, 1).
    double Signed() { return Unit() * 2.0 - 1.0; }
    /// In [0, count).
    int Below(int count) { return static_cast<int>((Bits() >> 33) % static_cast<unsigned>(count)); }
    /// Any finite double, of which every exponent is as likely.
    double Any()
    {
        const auto x = std::bit_cast<double>(Bits());
        return std::isfinite(x) ? x : Unit();
    }
    std::vector<double> Many(int count)
    {
        std::vector<double> values(static_cast<std::size_t>(count));
        for (double& value : values) value = Signed();
        return values;
    }

private:
    std::uint64_t fnState;
};
