// Generator: the library's uniform streams and all variates that are made from them.
#include "Common.h"
#include "Docstrings.h"
#include "SymMatrix.h"

#include <cmath>

namespace modelcore_python {

namespace {

using namespace MCMath_930;
using MCCommon_930::MCMV;

enum class Stream : std::uint8_t { Twister, Twister53, Congruential };

/// One of the library's uniform streams, for both kinds of consumers of uniform numbers, that knows where it stands.
class Source : public MCCommon_930::MCRandom, public MCRNGenerator {
public:
    double GetRandom() override { return Next(); }
    double GetNext() override { return Next(); }
    void SetSeed(double) override {} // the owner seeds

    double Next()
    {
        switch (stream) {
        case Stream::Twister: ++drawn; return twister.GetRealOpen();
        case Stream::Twister53: drawn += 2; return twister53.GetNext();
        default: ++drawn; return last = congruential.GetNext();
        }
    }

    Stream stream = Stream::Twister;
    MCRandomTwister twister;
    MCRNGUTwister twister53;
    MCRNGUCongruential congruential;
    std::uint64_t drawn = 0; // words
    double last = 0.0;
};

class Generator {
public:
    Generator(nb::handle seed, const std::string& stream) : fStreamName(stream)
    {
        if (stream == "twister")
            fSource.stream = Stream::Twister;
        else if (stream == "twister53")
            fSource.stream = Stream::Twister53;
        else if (stream == "congruential")
            fSource.stream = Stream::Congruential;
        else
            Refuse("stream is 'twister', 'twister53' or 'congruential'");
        if (PyFloat_Check(seed.ptr()) || PyLong_Check(seed.ptr())) {
            fvKey = {nb::cast<double>(seed)};
            fbArray = false;
        } else {
            fvKey = ToVector(seed);
            fbArray = true;
        }
        SeedAnew();
    }
    Generator(const Generator&) = default;

    void SeedAnew()
    {
        const auto isWord = [](double x) { return x >= 0.0 && x < 4294967296.0 && x == std::floor(x); };
        if (fbArray) {
            if (fSource.stream != Stream::Twister || fvKey.empty())
                Refuse("an array of words seeds stream 'twister' alone, and must have some");
            std::vector<unsigned long> key;
            for (const double x : fvKey) {
                if (!isWord(x)) Refuse("the words of a key are whole numbers in [0, 2**32)");
                key.push_back(static_cast<unsigned long>(x));
            }
            fSource.twister.InitByArray(key.data(), key.size());
        } else if (fSource.stream == Stream::Twister) {
            if (!isWord(fvKey[0])) Refuse("a seed of stream 'twister' is a whole number in [0, 2**32)");
            fSource.twister.Initialize(static_cast<unsigned long>(fvKey[0]));
        } else {
            if (!std::isfinite(fvKey[0])) Refuse("a seed is finite");
            fSource.twister53.SetSeed(fvKey[0]);
            fSource.congruential.SetSeed(fvKey[0]);
        }
        fSource.drawn = 0;
    }

    /// A single number for None, else an array of that shape, drawn in C order.
    template <class Draw>
    nb::object Fill(nb::handle size, Draw draw)
    {
        const Busy busy(fbBusy);
        // Made for each call: consumers point to the source, and this object can be copied.
        MCURandom uniform(0, true, false, &fSource);
        MCRandomValues values;
        values.SetURNGPtr(&uniform);
        if (size.is_none()) {
            const double x = draw(values, fSource);
            if (MCMV::IsMissing(x)) Refuse("a parameter is outside its domain");
            return nb::float_(x);
        }
        std::vector<std::size_t> shape;
        if (PyLong_Check(size.ptr()))
            shape.push_back(nb::cast<std::size_t>(size));
        else
            shape = nb::cast<std::vector<std::size_t>>(size);
        std::size_t total = 1;
        for (const std::size_t n : shape) total *= n;
        double* out = nullptr;
        Array array = NewArray(shape, out);
        const Source before(fSource);
        bool isMissing = false;
        Watch watch;
        const auto run = [&](bool watched) {
            for (std::size_t i = 0; i < total && !isMissing; ++i) {
                out[i] = draw(values, fSource);
                isMissing = MCMV::IsMissing(out[i]);
                if (watched && i % 4096 == 4095 && watch.Stop(4096)) return;
            }
        };
        if (total < 5000) {
            run(false);
        } else {
            const nb::gil_scoped_release release;
            run(true);
        }
        try {
            watch.Finish();
            if (isMissing) Refuse("a parameter is outside its domain");
        } catch (...) {
            fSource = before;
            throw;
        }
        return array;
    }

    /// size objects of `each` numbers: vectors or matrices.
    template <class Draw>
    nb::object FillMany(nb::handle size, std::vector<std::size_t> each, Draw draw)
    {
        const Busy busy(fbBusy);
        MCURandom uniform(0, true, false, &fSource);
        MCRandomValues values;
        values.SetURNGPtr(&uniform);
        std::size_t count = 1;
        std::size_t step = 1;
        for (const std::size_t n : each) step *= n;
        if (!size.is_none()) {
            count = nb::cast<std::size_t>(size);
            each.insert(each.begin(), count);
        }
        double* out = nullptr;
        Array array = NewArray(each, out);
        draw(values, count, out, step);
        return array;
    }

    nb::tuple State() const
    {
        nb::list key;
        for (const double x : fvKey) key.append(x);
        return nb::make_tuple(fStreamName, fbArray, key, fSource.drawn, fSource.last);
    }
    static Generator FromState(const std::tuple<std::string, bool, std::vector<double>, std::uint64_t, double>& state)
    {
        const auto& [stream, isArray, key, drawn, last] = state;
        if (key.empty()) Refuse("the state contradicts itself");
        Generator generator(nb::float_(0.0), stream);
        generator.fvKey = key;
        generator.fbArray = isArray;
        generator.SeedAnew();
        Source& source = generator.fSource;
        switch (source.stream) {
        case Stream::Twister:
            for (std::uint64_t i = 0; i < drawn; ++i) source.twister.GetInteger32();
            break;
        case Stream::Twister53:
            for (std::uint64_t i = 0; i < drawn; i += 2) source.twister53.GetNext();
            break;
        case Stream::Congruential:
            if (drawn > 0) source.congruential.SetSeed(last * 2147483648.0); // the state is the last number times 2^31
            break;
        }
        source.drawn = drawn;
        source.last = last;
        return generator;
    }

    IntArray Words(std::size_t count)
    {
        const Busy busy(fbBusy);
        if (fSource.stream != Stream::Twister) Refuse("only stream 'twister' has words");
        std::vector<std::int64_t> words(count);
        for (std::int64_t& word : words) word = static_cast<std::int64_t>(fSource.twister.GetInteger32());
        fSource.drawn += count;
        return ToIntArray(words);
    }

    const std::string& StreamName() const { return fStreamName; }
    std::uint64_t Drawn() const { return fSource.drawn; }

private:
    bool fbBusy = false;
    bool fbArray = false;
    std::string fStreamName;
    std::vector<double> fvKey;
    Source fSource;
};

MCSymMatrix Symmetric(nb::handle x)
{
    if (nb::isinstance<SymMatrix>(x)) return nb::cast<SymMatrix&>(x).matrix;
    const Table table(x);
    const std::size_t n = table.NRows();
    if (n != table.NColumns() || n < 1 || n > static_cast<std::size_t>(MCSymMatrix::kMaxRows))
        Refuse("a square array is needed");
    std::vector<double> square(n * n);
    table.Read(0, n, square.data(), n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (square[i * n + j] != square[j * n + i]) Refuse("the array is not symmetric");
    MCSymMatrix matrix;
    matrix.CopyFromSquare(square.data(), static_cast<int>(n));
    return matrix;
}

} // namespace

void RegisterRandom(nb::module_& m)
{
    const auto size = nb::arg("size") = nb::none();
    const auto returns = [](const char* arguments, const char* name) {
        return std::string("def ") + name + "(self, " + arguments + "size: typing.Any = None) -> typing.Any";
    };
    static const std::string uniform = returns("low: float = 0.0, high: float = 1.0, ", "uniform");

    nb::class_<Generator>(
        m, "Generator",
        "Random numbers in the streams of the C++ classes, each seed giving the same uniform numbers and variates on "
        "every platform.\n\n"
        "stream 'twister': MCURandom's Mersenne Twister, 32 random bits in (0, 1); seed a whole number in [0, 2**32) "
        "or "
        "an array of such words.\nstream 'twister53': MCRNGUTwister, 53 bits in [0, 1); any finite seed.\nstream "
        "'congruential': MCRNGUCongruential, to repeat old results.\n\nThe object is its state: copies and pickles go "
        "on where it stands. Restoring a Twister repeats its draws (about 0.4 s for 1e8). A parameter outside its "
        "domain "
        "raises ValueError and draws nothing. size: None for one number, or the shape of an array.")
        .def(nb::init<nb::object, const std::string&>(), nb::arg("seed") = 34567, nb::kw_only(),
             nb::arg("stream") = "twister",
             nb::sig("def __init__(self, seed: typing.Any = 34567, *, stream: str = "
                     "'twister') -> None"))
        .def_prop_ro("stream", &Generator::StreamName, "The name of the stream.")
        .def_prop_ro("words_drawn", &Generator::Drawn, "How many words were drawn since seeding.")
        .def(
            "random",
            [](Generator& self, nb::object n) {
                return self.Fill(n, [](MCRandomValues&, Source& source) { return source.Next(); });
            },
            size, "The next numbers of the uniform stream itself.")
        .def("words", &Generator::Words, nb::arg("count"), doc::MCRandomTwister_GetInteger32)
        .def(
            "uniform",
            [](Generator& self, double low, double high, nb::object n) {
                return self.Fill(n, [=](MCRandomValues& values, Source&) { return values.RVUni(low, high); });
            },
            nb::arg("low") = 0.0, nb::arg("high") = 1.0, size, doc::MCRandomValues_RVUni)
        .def(
            "normal",
            [](Generator& self, double mean, double sd, nb::object n) {
                return self.Fill(n, [=](MCRandomValues& values, Source&) { return values.RVNor(mean, sd); });
            },
            nb::arg("mean") = 0.0, nb::arg("sd") = 1.0, size, doc::MCRandomValues_RVNor)
        .def(
            "exponential",
            [](Generator& self, double rate, nb::object n) {
                return self.Fill(n, [=](MCRandomValues& values, Source&) { return values.RVExp(rate); });
            },
            nb::arg("rate") = 1.0, size, doc::MCRandomValues_RVExp)
        .def(
            "gamma",
            [](Generator& self, double shape, double rate, nb::object n) {
                return self.Fill(n, [=](MCRandomValues& values, Source&) { return values.RVGam(shape, rate); });
            },
            nb::arg("shape"), nb::arg("rate") = 1.0, size, doc::MCRandomValues_RVGam)
        .def(
            "chi2",
            [](Generator& self, double df, nb::object n) {
                return self.Fill(n, [=](MCRandomValues& values, Source&) { return values.RVChi(df); });
            },
            nb::arg("df"), size, doc::MCRandomValues_RVChi)
        .def(
            "beta",
            [](Generator& self, double a, double b, nb::object n) {
                if (!(a > 0.0) || !(b > 0.0) || std::isinf(a) || std::isinf(b))
                    Refuse("a parameter is outside its domain");
                MCRNGBeta beta(a, b);
                return self.Fill(n, [&](MCRandomValues&, Source& source) {
                    beta.SetURNGenerator(source);
                    return beta.GetNext();
                });
            },
            nb::arg("a"), nb::arg("b"), size, doc::MCRNGBeta)
        .def(
            "binomial",
            [](Generator& self, double trials, double p, nb::object n) {
                if (!(trials >= 0.0) || std::isinf(trials) || trials != std::floor(trials) || !(p >= 0.0) ||
                    !(p <= 1.0))
                    Refuse("a parameter is outside its domain");
                MCRNGBinomial binomial(trials, p);
                return self.Fill(n, [&](MCRandomValues&, Source& source) {
                    binomial.SetURNGenerator(source);
                    return binomial.GetNext();
                });
            },
            nb::arg("n"), nb::arg("p"), size, doc::MCRNGBinomial)
        .def(
            "multivariate_normal",
            [](Generator& self, ArrayLike mean, ArrayLike covariance, nb::object n, double sd) {
                const std::vector<double> means = ToVector(mean);
                const MCSymMatrix matrix = Symmetric(covariance);
                return self.FillMany(
                    n, {means.size()}, [&](MCRandomValues& values, std::size_t count, double* out, std::size_t step) {
                        if (!values.SetParamNormal(means, sd, matrix))
                            Refuse("a parameter is outside its domain (is the matrix positive semi-definite?)");
                        std::vector<double> x;
                        for (std::size_t i = 0; i < count; ++i, out += step) {
                            values.GetRandom(x);
                            std::copy(x.begin(), x.end(), out);
                        }
                    });
            },
            nb::arg("mean"), nb::arg("covariance"), size, nb::kw_only(), nb::arg("sd") = 1.0,
            "Vectors of the multivariate normal distribution with covariance matrix sd^2 * covariance, which may be "
            "singular: size x p.")
        .def(
            "wishart",
            [](Generator& self, double df, ArrayLike scale, nb::object n) {
                const MCSymMatrix matrix = Symmetric(scale);
                const auto order = static_cast<std::size_t>(matrix.GetNRows());
                return self.FillMany(
                    n, {order, order}, [&](MCRandomValues& values, std::size_t count, double* out, std::size_t step) {
                        if (!values.SetParamWishart(matrix.GetNRows(), df, matrix))
                            Refuse("a parameter is outside its domain: df > p - 1, scale positive semi-definite");
                        MCSymMatrix x;
                        for (std::size_t i = 0; i < count; ++i, out += step) {
                            values.GetRandom(x);
                            x.CopyToSquare(out);
                        }
                    });
            },
            nb::arg("df"), nb::arg("scale"), size,
            "Matrices of the Wishart distribution with mean df * scale, df > p - 1: size x p x p.")
        .def(
            "copy", [](const Generator& self) { return Generator(self); }, "Goes on where this one stands.")
        .def("__getstate__", &Generator::State)
        .def("__setstate__",
             [](Generator& self,
                const std::tuple<std::string, bool, std::vector<double>, std::uint64_t, double>& state) {
                 new (&self) Generator(Generator::FromState(state));
             })
        .def("__repr__", [](const Generator& self) {
            return "Generator(stream='" + self.StreamName() + "', words_drawn=" + std::to_string(self.Drawn()) + ")";
        });
}

} // namespace modelcore_python
