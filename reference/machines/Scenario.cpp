#include "reference/machines/Scenario.h"

#include "modelcore/modelcore.h"
#include "reference/machines/Digest.h"
#include "tests/distributions/ExactTable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>
#include <utility>

using namespace MCMath_930;
using namespace MCXML_930;
using MCCommon_930::MCMV;
using MCCommon_930::MCStatus;
using MCCommon_930::Value;

namespace {

using Part = void (*)(Digest&);

// Numbers are drawn one in a statement, or in braces: the arguments of a call are evaluated in any order.

const double kInfinity = std::numeric_limits<double>::infinity();

MCSymMatrix PositiveDefinite(int n, std::uint64_t seed)
{
    Numbers numbers(seed);
    MCRectMatrix rows(n + 5, n, numbers.Many((n + 5) * n));
    MCSymMatrix product;
    product.ComputeRTransByR(rows);
    return product;
}

MCRectMatrix Rows(int rows, int cols, std::uint64_t seed)
{
    Numbers numbers(seed);
    return {rows, cols, numbers.Many(rows * cols)};
}

void Add(Digest& out, const MCSymMatrix& matrix)
{
    out.Add(matrix.AsSpan());
}

void Add(Digest& out, const MCRectMatrix& matrix)
{
    out.Add(matrix.GetNCols());
    out.Add(matrix.AsSpan());
}

void Add(Digest& out, const MCBitSet& bits)
{
    out.Add(bits.Members());
}

/// What an object writes as diagnostic text.
template <class Object>
void AddDisplay(Digest& out, const Object& object)
{
    std::ostringstream text;
    std::ostream* const before = MCDisplay_930::SetDisplayStream(&text);
    object.Display();
    MCDisplay_930::SetDisplayStream(before);
    out.Add(text.str());
}

/// The state of an object as text and as bytes.
template <class Object>
void AddState(Digest& out, const Object& object)
{
    std::ostringstream text;
    out.Add(object.WriteObjectXML(text, 0));
    out.Add(text.str());
    out.Add(MCStateBytes::Save(object));
}

void AddDocument(Digest& out, const XMLElement* root)
{
    const std::unique_ptr<const XMLElement> owned(root);
    std::ostringstream text;
    if (root != nullptr) WriteTreeUTF8(text, nullptr, root, true);
    out.Add(text.str());
}

void AddJson(Digest& out, const JsonObject& json)
{
    std::string text;
    out.Add(json.ToText(text, true));
    out.Add(text);
}

// ---- common -------------------------------------------------------------------------------------------------------

void Common(Digest& out)
{
    Numbers numbers(1);
    Value all;
    MCCommon_930::ValueRecord record;
    for (int i = 0; i < 300; ++i) {
        Value value;
        switch (numbers.Below(5)) {
        case 0: value = numbers.Any(); break;
        case 1: value = numbers.Signed(); break;
        case 2: value = static_cast<long long>(numbers.Bits()); break;
        case 3:
            value = std::string{static_cast<char>(32 + numbers.Below(224)), static_cast<char>(numbers.Below(256))};
            break;
        default: value[std::string(1, static_cast<char>(128 + i % 128))] = i % 2 == 0;
        }
        out.Add(value.GetString());
        record.Add(std::string("name ").append(std::to_string(numbers.Below(1000))), value);
        all[i] = std::move(value);
    }
    for (int i = 0; i < 300; ++i) {
        const Value &a = std::as_const(all)[i], &b = std::as_const(all)[numbers.Below(300)];
        out.Add((a < b ? 1 : 0) + (a == b ? 2 : 0) + (a > b ? 4 : 0));
    }
    out.Add(all.GetString());
    for (const std::string& name : record.Names()) out.Add(name);
    AddDisplay(out, record);
    for (int i = 0; i < 40; ++i) out.Add(MCCommon_930::MCTimeUtil::FormatDuration(std::fabs(numbers.Any())));

    MCBitSet bits(200);
    for (int i = 0; i < 60; ++i) bits.Set(numbers.Below(200));
    Add(out, bits);
    AddDisplay(out, bits);

    MCCommon_930::MCWarnings warnings;
    MCStatus status(-7, true);
    status.SetDiscreteDatum(0, -12345);
    status.SetScaleDatum(1, -0.1);
    warnings.AddWarning(status, MCCommon_930::MCWarnings::DestBoth);
    warnings.AddParameter(status, 1e-300);
    AddDisplay(out, warnings);
}

// ---- xml ----------------------------------------------------------------------------------------------------------

void Xml(Digest& out)
{
    Numbers numbers(2);
    JsonObject reals = JsonObject::NewArray();
    for (int i = 0; i < 300; ++i) {
        const double x = i % 2 == 0 ? numbers.Any() : numbers.Signed();
        reals.Append(x);
        out.Add(ReplaceSep(x));
        // More digits than a double has, some of them halfway between two.
        std::string digits = std::to_string(numbers.Bits());
        digits += std::to_string(numbers.Bits());
        const std::string text =
            digits.substr(0, 20) + "." + digits.substr(20) + "e" + std::to_string(numbers.Below(600) - 340);
        JsonObject parsed;
        out.Add(JsonObject::Parse(text, parsed));
        double read = 0.0;
        out.Add(parsed.Read(read));
        out.Add(read);
    }
    for (const char* const text : {"9007199254740993", "2.2250738585072011e-308", "4.9406564584124654e-324", "1e23",
                                   "123456789012345678901", "-0", "1.7976931348623158e308", "1e400"}) {
        JsonObject parsed;
        out.Add(JsonObject::Parse(text, parsed));
        AddJson(out, parsed);
    }
    JsonObject document;
    document.Set("reals", std::move(reals));
    document.Set("Gr\xc3\xb6\xc3\x9f"
                 "e",
                 "\xe2\x82\xac \xf0\x9f\x98\x80 \x01\t\"\\");
    document.Set("whole", std::numeric_limits<long long>::min());
    AddJson(out, document);
    JsonObject::Problem problem;
    for (const char* const text : {"[1, 2,]", "{\"a\": \"\xc3\x28\"}", "\"\xff\"", "{\"a\":1,\n\"a\":2}"}) {
        JsonObject parsed;
        out.Add(JsonObject::Parse(text, parsed, &problem));
        out.Add(problem.GetText());
    }

    std::unique_ptr<XMLElement> root(XMLElement::Create("Root"));
    for (int i = 0; i < 50; ++i) {
        XMLElement* const child = XMLElement::Create(std::string("e").append(std::to_string(i)));
        child->AddAttribute("real", numbers.Any());
        child->AddAttribute("text", "a < b & \"c\"\n\t ");
        child->AddElement(XMLString::Create(std::to_string(numbers.Bits())));
        root->AddElement(child);
    }
    AddDocument(out, root.release());

    MCStateBytes::Writer writer;
    std::ostringstream text;
    for (std::ostream* const stream : {&writer.Stream(), static_cast<std::ostream*>(&text)}) {
        const XMLObj object("Values", 0);
        object.StartObj(*stream);
        object.WriteSubElement(*stream, -1);
        object.WriteSubElement(*stream, std::numeric_limits<unsigned long long>::max());
        object.WriteSubElement(*stream, std::numeric_limits<long long>::min());
        object.WriteSubElement(*stream, true);
        object.WriteSubElement(*stream, "\x80\xff <&> ");
        Numbers same(3);
        for (int i = 0; i < 100; ++i) object.WriteSubElement(*stream, same.Any());
        for (const double x : {0.0, -0.0, 5e-324, kInfinity, -kInfinity, MCMV::Missing()})
            object.WriteSubElement(*stream, x);
        object.EndObj(*stream);
    }
    out.Add(writer.Finish());
    out.Add(text.str());
}

// ---- distributions ------------------------------------------------------------------------------------------------

void DistributionHelpers(Digest& out)
{
    Numbers numbers(4);
    std::vector<double> values = numbers.Many(60), weights(60), bounds;
    for (double& weight : weights) weight = numbers.Below(4);
    std::sort(values.begin(), values.end());
    for (long mode = 1; mode <= 5; ++mode)
        for (const double q : {0.0, 0.1, 0.5, 0.75, 1.0}) {
            double result = 0.0;
            long err = 0;
            out.Add(MCDistFun::GPTile(60, q, values, weights, bounds, mode, result, err));
            out.Add(result);
            out.Add(err);
        }
    for (int i = 0; i < 100; ++i) {
        const double x = numbers.Any(), y = numbers.Signed(), z = numbers.Signed();
        out.Add(MCMathFun::BinSearch(values, 0, 59, y, i % 2 == 0));
        out.Add(MCPower::IsInteger(x));
        out.Add(MCPower::IsOneOverOddInteger(1.0 / (2 * i + 1), 10));
        double root = 0.0;
        out.Add(MCExtremeNum::SumSqRoot(x, y, z, numbers.Any(), root));
        out.Add(root);
        out.Add(MCMathFun::QLReps(y, z));
    }
    out.Add(MCMathFun::DNrm2(60, values, 0, 1));
    out.Add(MCMathFun::VNrm1Diff(values, weights));
}

void Distributions(Digest& out)
{
    // What of these is no legal argument is refused, and that is a result too.
    static constexpr std::array kPool{0.02, 0.3, 0.5, 0.7, 0.98, 1.5, 4.0, 12.0, 60.0};
    Numbers numbers(5);
    for (const auto& [name, function] : ExactCalls()) {
        out.Add(name);
        std::vector<double> arguments(function.count);
        for (int i = 0; i < 60; ++i) {
            for (double& argument : arguments) {
                argument = kPool[static_cast<std::size_t>(numbers.Below(kPool.size()))];
                if (i % 3 == 0) argument *= 1.0 + numbers.Unit();
            }
            if (name.find("Hyper") != std::string::npos)
                for (double& argument : arguments) argument = std::ceil(argument);
            if (name.ends_with(
                    "Bin")) { // successes, or a probability of them, of so many trials, and the chance of one
                arguments = {name == "IdfBin" ? numbers.Unit() : std::ceil(arguments[0]), std::ceil(arguments[1]) + 4.0,
                             numbers.Unit()};
            }
            out.Add(function.call(arguments));
        }
    }
    for (int i = 0; i < 200; ++i) {
        const double x = numbers.Unit() * 30.0;
        out.Add(MCMathFun::Digamma(x));
        out.Add(MCMathFun::Trigamma(x));
        double power = 0.0;
        out.Add(static_cast<int>(MCPower::Power(numbers.Signed() * 10.0, i % 2 == 0 ? x : i - 100.0, power)));
        out.Add(power);
        const double a = numbers.Any(), b = numbers.Any();
        out.Add(MCPower::Multiply(a, b));
    }
}

// ---- linalg -------------------------------------------------------------------------------------------------------

class Rational : public IIntegrand {
public:
    double Evaluate(const std::vector<double>& point) override
    {
        double product = 1.0;
        for (const double x : point)
            product *= 1.0 / (1.0 + x * x) + std::sqrt(std::fabs(x)) / (2.0 + std::fabs(x * x * x));
        return product;
    }
};

void Linalg(Digest& out)
{
    const int n = 70;
    Numbers numbers(6);
    const auto order = static_cast<std::size_t>(n);
    const std::vector<double> square = numbers.Many(n * n), right = numbers.Many(n);
    std::vector<double> a = square, b = right, z(order), work(order), det(2);
    std::vector<int> pivots(order);
    out.Add(Linpack::Dgeco(a.data(), n, n, pivots.data(), z.data()));
    Linpack::Dgesl(a.data(), n, n, pivots.data(), b.data(), 0);
    out.Add(b);
    Linpack::Dgedi(a.data(), n, n, pivots.data(), det.data(), work.data(), 11);
    out.Add(det);
    out.Add(a);

    const MCSymMatrix definite = PositiveDefinite(n, 7);
    std::vector<double> full(order * order);
    definite.CopyToSquare(full.data());
    int info = 0;
    a = full, b = right;
    out.Add(Linpack::Dpoco(a.data(), n, n, z.data(), &info));
    Linpack::Dposl(a.data(), n, n, b.data());
    out.Add(b);
    Linpack::Dpodi(a.data(), n, n, det.data(), 11);
    out.Add(det);
    out.Add(a);
    a = full;
    for (std::size_t i = 0; i < order; i += 3) a[i * order + i] = -a[i * order + i]; // indefinite
    b = right;
    out.Add(Linpack::Dsico(a.data(), n, n, pivots.data(), z.data()));
    Linpack::Dsisl(a.data(), n, n, pivots.data(), b.data());
    out.Add(b);
    a = full;
    out.Add(Linpack::Dchdc(a.data(), n, n, work.data(), pivots.data(), 0));
    out.Add(a);

    const int rows = 90, columns = 40;
    std::vector<double> tall = numbers.Many(rows * columns), qraux(columns), y = numbers.Many(rows), qty(rows),
                        fit(rows), rest(rows), x(columns);
    std::vector<double> copy = tall;
    std::vector<int> moved(columns);
    std::vector<double> room(rows);
    Linpack::Dqrdc(copy.data(), rows, rows, columns, qraux.data(), moved.data(), room.data(), 1);
    out.Add(copy);
    out.Add(moved);
    out.Add(Linpack::Dqrsl(copy.data(), rows, rows, columns, qraux.data(), y.data(), fit.data(), qty.data(), x.data(),
                           rest.data(), fit.data(), 110));
    out.Add(x);
    out.Add(rest);
    std::vector<double> s(columns + 1), e(columns), u(rows * columns), v(columns * columns);
    out.Add(Linpack::Dsvdc(tall.data(), rows, rows, columns, s.data(), e.data(), u.data(), rows, v.data(), columns,
                           room.data(), 21));
    out.Add(s);
    out.Add(u);
    out.Add(v);

    out.Add(Blas1::DNrm2(n, right.data(), 1));
    out.Add(Blas1::DDot(n / 2, right.data(), 2, square.data(), 1));
    out.Add(Blas1::DASum(n, right.data(), 1));

    Rational f;
    LobattoQuad quad;
    BoundsList two(-1.0, 2.5);
    two.Add(0.0, kInfinity);
    for (const BoundsList& bounds : {BoundsList(-3.0, 4.0), BoundsList(-kInfinity, kInfinity), two}) {
        quad.SetTolerance(1e-5, 1e-5);
        double value = 0.0, error = 0.0;
        out.Add(static_cast<int>(quad.Integrate(f, bounds, value, error)));
        out.Add(value);
        out.Add(error);
        out.Add(quad.GetNEvaluations());
    }
}

// ---- output and settings ------------------------------------------------------------------------------------------

void Output(Digest& out)
{
    Numbers numbers(8);
    const std::unique_ptr<XMLElement> root(MCStatXMLUtil::BuildRoot());
    XMLElement* const model = MCStatXMLUtil::CreateElemStructuredData("Model");
    root->AddElement(model);
    model->AddElement(MCStatXMLUtil::CreateElemCounts(numbers.Any(), 1, 0, 5));
    std::vector<double> values;
    for (int i = 0; i < 100; ++i) values.push_back(numbers.Any());
    model->AddElement(MCStatXMLUtil::CreateElemArray(values));
    model->AddElement(MCStatXMLUtil::CreateElemArray(std::vector<int>{-1, 0, std::numeric_limits<int>::min()}));
    model->AddElement(MCStatXMLUtil::CreateElemArray(std::vector<std::string>{"a b", "\"", "", "\\"}));
    model->AddElement(MCStatXMLUtil::CreateElemRegressionParameter(
        "x", false, {MCStatXMLUtil::CreateElemCovariate("x", 2)}, {MCStatXMLUtil::CreateElemFactor("f", 0.1, true)}));
    MCVariateData data{"chart",
                       {{"observed", "x", "", numbers.Many(9), {}}, {"predicted", "y", "mean", numbers.Many(9), {}}},
                       {{"r", -0.1}}};
    model->AddElement(MCStatXMLUtil::CreateElemVarData(data));
    model->AddElement(MCStatXMLUtil::CreateElemRecordInfo("1", "first", std::vector<std::vector<double>>{values}));
    std::ostringstream text;
    WriteTreeUTF8(text, nullptr, root.get(), true);
    out.Add(text.str());
}

void Settings(Digest& out)
{
    MCSettings settings;
    settings.AddChoice("method", "enter", {"enter", "forward", "stepwise"}, "how terms come into the model");
    settings.AddReal("pEnter", 0.05, MCRealRange::OpenClosed(0.0, 1.0), "largest significance of a term that enters");
    settings.AddInteger("seed", 1, std::numeric_limits<long long>::min(), 1000, "where it starts");
    settings.AddRealList("cuts", {0.1, 0.2}, MCRealRange::AtLeast(-1e300), 0, 50, "where", "bins");
    settings.AddStringList("names", {"a"}, {}, 1, 3, "of whom");
    settings.AddRule("pEnter below 0.5", [](const MCSettings& now) { return now.Get("pEnter").GetReal() < 0.5; });
    for (const char* const text :
         {R"({"method": "stepwise", "pEnter": 0.3, "cuts": [1e-9, 2, 3.5]})", R"({"metod": "enter"})",
          R"({"pEnter": 0.7})", R"({"seed": 5000})", R"({"names": ["x", "y"]})"}) {
        JsonObject json;
        std::string message;
        JsonObject::Parse(text, json);
        out.Add(settings.FromJson(json, nullptr, &message).GetErrorCode());
        out.Add(message);
    }
    AddJson(out, settings.ToJson());
    AddJson(out, settings.CreateJsonSchema());
    AddDisplay(out, settings);
    AddState(out, settings);
}

// ---- matrix -------------------------------------------------------------------------------------------------------

void Matrix(Digest& out)
{
    const int n = 150; // large enough for the roads by blocks
    const MCSymMatrix definite = PositiveDefinite(n, 9);
    std::vector<double> diagonal, x;
    definite.GetDiagonal(diagonal);
    Numbers numbers(10);
    const std::vector<double> v = numbers.Many(n);

    MCSymMatrix s = definite;
    MCBitSet swept(n);
    out.Add(s.SweepOnAll(1e-9, diagonal, swept, true));
    Add(out, s);
    s = definite;
    swept.Clear();
    for (const int k : {3, 77, 149, 0}) out.Add(s.Sweep(k, 1e-9, diagonal, swept, true));
    Add(out, s);

    MCSymMatrix factor = definite;
    out.Add(factor.LTChol(diagonal, 1e-10, true));
    Add(out, factor);
    factor.LTSolve(v, x);
    out.Add(x);
    MCSymMatrix changed = factor;
    out.Add(changed.LTCholUpdateR1(v));
    out.Add(changed.LTCholDowndate(v));
    Add(out, changed);
    MCSymMatrix inverse;
    out.Add(definite.CholInverse(diagonal, 1e-10, inverse));
    Add(out, inverse);
    double det[2] = {0.0, 0.0};
    out.Add(definite.ComputeDeterminant(1e-12, det));
    out.Add(std::span<const double>(det));
    definite.SolveIndefinite(v, x, 1e-14);
    out.Add(x);

    const MCRectMatrix wide = Rows(60, n, 11), square = Rows(n, n, 12);
    MCSymMatrix product;
    definite.ComputeRSRTrans(wide, product);
    Add(out, product);
    MCRectMatrix rectangular, second;
    wide.ComputeMatrixProduct(square, rectangular);
    Add(out, rectangular);
    square.ComputeProductMatrixTrans(wide, rectangular);
    Add(out, rectangular);
    definite.ComputeGSG(square, rectangular);
    Add(out, rectangular);
    factor.ComputeLSLTrans(definite, product);
    Add(out, product);
    out.Add(definite.ComputeVSV(v));
    out.Add(definite.TraceOfProductOfThree(inverse, factor));
    rectangular = Rows(80, 30, 13);
    rectangular.CopyColToCol(rectangular, 3, 20);
    MCBitSet kept(30);
    out.Add(rectangular.FindRedundancies(1e-8, kept, false));
    Add(out, kept);
    rectangular.QRDecompositionH(second, rectangular);
    Add(out, second);
    square.SolveLinearSquare(v, x, 1e-15);
    out.Add(x);

    MCSparseRectMatrix sparse(50, 20, 3);
    MCSymMatrix sums(20);
    std::vector<int> columns(3);
    std::vector<double> values(3);
    const MCSparseVector row(columns, values);
    for (int i = 0; i < 50; ++i) {
        columns = {numbers.Below(5), 5 + numbers.Below(7), 12 + numbers.Below(8)};
        values = numbers.Many(3);
        sparse.AddRow(row);
        row.QuadraticOuterProductIncr(sums, numbers.Unit());
    }
    Add(out, sums);
    sparse.ComputeVR(numbers.Many(50), x);
    out.Add(x);

    MCSymBlockDiagMatrix blocks;
    blocks.AddBlock(PositiveDefinite(6, 14));
    blocks.AddBlock(MCDiagMatrix({2, 5, 10}));
    MCSymBlockDiagMatrix inverseBlocks;
    blocks.GetDiagonal(x);
    out.Add(blocks.CholInverse(x, 1e-12, inverseBlocks));
    MCSymMatrix dense;
    inverseBlocks.FillDenseMatrix(dense);
    Add(out, dense);
    AddDisplay(out, dense);

    MCExtendedSym twice;
    MCSymMatrix low(8);
    for (double& element : low.AsSpan()) element = numbers.Signed() * 1e-18;
    twice.Set(PositiveDefinite(8, 15), low);
    twice.GetDiagonal(x);
    MCBitSet none(8);
    out.Add(twice.SweepOnAll(1e-20, x, none, true));
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j <= i; ++j) {
            const MCExtended element = Sqrt(twice.GetElem(i, j) * twice.GetElem(i, j)) / MCExtended{3.0, 1e-17};
            out.Add(element.high);
            out.Add(element.low);
        }
}

void MatrixLogarithms(Digest& out)
{
    MCSymMatrix factor = PositiveDefinite(50, 16);
    double logDet = 0.0;
    out.Add(factor.LTChol(1e-10, logDet, true));
    out.Add(logDet);
    Numbers numbers(17);
    std::vector<int> columns{0, 2, 3};
    std::vector<double> values, probs;
    const MCSparseVector row(columns, values);
    for (int i = 0; i < 100; ++i) {
        values = numbers.Many(3);
        const std::vector<double> parameters = numbers.Many(3 * 4);
        double logSum = 0.0;
        const MCSparseVector now(columns, values);
        out.Add(now.ComputeProbabilities(parameters, 4, 4, probs, logSum));
        out.Add(probs);
        out.Add(logSum);
    }
}

// ---- eigen --------------------------------------------------------------------------------------------------------

void Eigen(Digest& out)
{
    std::vector<double> values;
    MCRectMatrix vectors;
    MCSymMatrix symmetric(70), repaired;
    Numbers numbers(18);
    for (double& element : symmetric.AsSpan()) element = numbers.Signed();
    MCEigenValues eigen(symmetric, 2.2e-16, 60);
    out.Add(eigen.Compute(values, vectors));
    out.Add(values);
    Add(out, vectors);
    out.Add(eigen.GetSorted(values, true));
    out.Add(values);
    bool changed = false;
    out.Add(eigen.GetPDHMatrix(0.5, repaired, changed));
    Add(out, repaired);
    out.Add(eigen.SetEMatrix(PositiveDefinite(70, 19)));
    out.Add(eigen.Compute(values));
    out.Add(values);
    symmetric.MultiplyByNumber(1e-300);
    eigen.SetHMatrix(symmetric);
    out.Add(eigen.Compute(values));
    out.Add(values);
}

// ---- random -------------------------------------------------------------------------------------------------------

void Random(Digest& out)
{
    MCRandomTwister twister;
    twister.Initialize(4294967295u);
    for (int i = 0; i < 1500; ++i) out.Add(static_cast<std::uint64_t>(twister.GetInteger32()));
    const unsigned long key[] = {1, 0xffffffffu, 3};
    twister.InitByArray(key, 3);
    for (int i = 0; i < 300; ++i) {
        out.Add(static_cast<std::int64_t>(twister.GetInteger31()));
        out.Add(twister.GetRealClosed());
        out.Add(twister.GetRealOpen());
        out.Add(twister.GetRealRes53());
    }
    for (const double seed : {0.0, -0.5, 1e300, 20240229.25, 5e-324}) {
        MCRNGUTwister source;
        MCRNGUCongruential old;
        source.SetSeed(seed);
        old.SetSeed(seed);
        MCRNGBinomial binomial(60, 0.3);
        binomial.SetURNGenerator(source);
        for (int i = 0; i < 50; ++i) {
            out.Add(source.GetNext());
            out.Add(old.GetNext());
            out.Add(binomial.GetNext());
        }
    }
    for (const bool useTwister : {false, true}) { // rand() of the C library is another one everywhere
        MCURandom uniform(99, true, useTwister, nullptr);
        for (int i = 0; i < 100; ++i) out.Add(uniform.GetRandom());
        AddState(out, uniform);
    }
    MCURandom uniform;
    MCRandomValues values;
    values.SetURNGPtr(&uniform);
    std::vector<double> x;
    values.SetParamUniform({-1.0, 0.0, 1e10}, {1.0, 1e-9, 3e10});
    for (int i = 0; i < 50; ++i) {
        values.GetRandom(x);
        out.Add(x);
    }
}

void Variates(Digest& out)
{
    MCRNGUTwister source;
    source.SetSeed(5.0);
    MCRNGNormal normal(1.0, 2.5);
    MCRNGBeta beta;
    MCRNGBinomial binomial;
    normal.SetURNGenerator(source);
    beta.SetURNGenerator(source);
    binomial.SetURNGenerator(source);
    MCURandom uniform;
    MCRandomValues values;
    values.SetURNGPtr(&uniform);
    const MCSymMatrix covariance = PositiveDefinite(4, 20);
    std::vector<double> x;
    MCSymMatrix wishart;
    for (int i = 0; i < 400; ++i) {
        const double a = 0.03 * (1 + i % 100), b = i % 3 == 0 ? a : 2.5;
        out.Add(normal.GetNext());
        out.Add(beta.GetNext(a, b));
        out.Add(binomial.GetNext(50.0 * i, 0.02 + 0.002 * i));
        for (const double value : {values.RVNor(0.0, 1.0), values.RVExp(a), values.RVGam(a, b), values.RVChi(a)})
            out.Add(value);
        values.SetParamNormal({0.0, 1.0, 2.0, 3.0}, 1.0, covariance);
        values.GetRandom(x);
        out.Add(x);
        values.SetParamWishart(4, 6.0, covariance);
        values.GetRandom(wishart);
        Add(out, wishart);
    }
}

// ---- accumulators -------------------------------------------------------------------------------------------------

/// Four variables of very different size and a weight.
MCRectMatrix WeightedRows(int count, std::uint64_t seed)
{
    MCRectMatrix rows(count, 5);
    Numbers numbers(seed);
    for (int i = 0; i < count; ++i) {
        const double a = numbers.Signed(), b = numbers.Signed(), c = numbers.Unit(), d = numbers.Signed();
        rows.SetRow(i, {1e9 + a, b * 1e-9, c * c * c * 1e6, a + 1e-3 * d, 1.0 + numbers.Below(3)});
    }
    return rows;
}

MCMeansXProducts MeansXProducts()
{
    MCMeansXProducts sums(4, true, true, false);
    sums.Compute(WeightedRows(500, 21), 0);
    sums.AddCase({1.0, 2.0, 3.0, 4.0}, 2.5);
    return sums;
}

MCExactXProducts ExactXProducts()
{
    MCExactXProducts sums(4, true, true, false);
    sums.Compute(WeightedRows(700, 22), 0);
    sums.AddCase({1e300, -1e-300, 5e-324, 0.1}, 1.0);
    return sums;
}

MCQuantileSketch Sketch()
{
    MCQuantileSketch sketch(64);
    Numbers numbers(23);
    for (int i = 0; i < 1000; ++i) {
        const double x = i % 3 == 0 ? numbers.Any() : numbers.Signed();
        sketch.Update(x, 1.0 + numbers.Below(4));
    }
    return sketch;
}

MCHistogramData Histogram()
{
    MCHistogramData histogram(-1.0, 1.0, 17);
    Numbers numbers(24);
    for (int i = 0; i < 300; ++i) {
        const double weight = numbers.Unit(), x = numbers.Signed() * 1.2;
        histogram.UpdateData(1.0 + numbers.Below(2), weight, x);
    }
    return histogram;
}

void AddData(Digest& out, const MCVariateData& data)
{
    AddDocument(out, MCStatXMLUtil::CreateElemVarData(data));
}

void Accumulators(Digest& out)
{
    MCMeansXProducts means = MeansXProducts(), part(4, true, true, false);
    part.Update(WeightedRows(333, 25), 0);
    means.Merge(part);
    out.Add(means.GetMeans());
    Add(out, means.GetXProds());
    AddState(out, means);
    AddDisplay(out, means);

    MCExactXProducts exact = ExactXProducts(), other(4, true, true, false);
    other.Update(WeightedRows(400, 26), 0);
    exact.Merge(other);
    exact.DeleteCase({1e300, -1e-300, 5e-324, 0.1}, 1.0);
    std::vector<double> high, low;
    MCSymMatrix products, rest;
    out.Add(exact.GetMeans(high, low));
    out.Add(high);
    out.Add(low);
    out.Add(exact.GetXProds(products, rest));
    Add(out, products);
    Add(out, rest);
    std::vector<MCExtended> extendedMeans;
    MCExtendedSym extended;
    out.Add(exact.GetExtended({{0, -1}, {2, 3}}, extendedMeans, extended));
    out.Add(extended.GetElem(1, 0).low);
    AddState(out, exact);

    Numbers numbers(27);
    MCProvMeans provisional(3, true);
    MCAccumXProdPair pairs(3, 4);
    MCContStats statistics;
    MCCatStats categories;
    MCBarChartData bars({"a", "b", "c"});
    MCClassificationMatrix table(3);
    MCScatterPlotData cells(-1.0, 1.0, 5, -1.0, 1.0, 7), points;
    std::vector<RegDataInfo> scored;
    std::vector<std::vector<ClassDataInfo>> classes(2);
    for (int i = 0; i < 300; ++i) {
        const std::vector<double> x = numbers.Many(3);
        const double w = 1.0 + numbers.Below(3), score = numbers.Unit();
        provisional.Update(x, w);
        for (int k = 0; k < 3; ++k) pairs.Update(k, x[0], x[2], w);
        statistics.Update(x[0], w, score);
        categories.Update(numbers.Below(9) * (i % 50 == 0 ? 1000.0 : 1.0), w);
        bars.UpdateData(w, score, numbers.Below(3));
        const int row = numbers.Below(3), column = numbers.Below(3);
        table.UpdateData(w, row, column);
        cells.UpdateData(w, score, x[0], x[1]);
        if (i < 30) points.UpdateData(w, score, x[0], x[1]);
        scored.push_back({score, x[1], w});
        for (auto& list : classes) list.push_back({std::floor(score * 50.0) / 50.0, numbers.Below(2) == 1, w});
    }
    pairs.Finish();
    Add(out, pairs.GetCovar());
    Add(out, pairs.GetCorr());
    AddState(out, provisional);
    AddState(out, pairs);
    AddState(out, statistics);
    AddState(out, categories);
    AddState(out, bars);
    AddState(out, table);
    AddState(out, cells);
    AddState(out, points);
    AddDisplay(out, statistics);
    MCHistogramData histogram = Histogram();
    AddState(out, histogram);
    AddData(out, histogram.GenerateMCVariateData("score"));
    AddData(out, bars.GenerateMCVariateData("bars"));
    AddData(out, cells.GetCellData());
    const MCQuantileSketch sketch = Sketch();
    AddState(out, sketch);
    for (int i = 0; i <= 20; ++i) out.Add(sketch.GetQuantile(i / 20.0));

    RegGainsChart gains;
    ClassGainsChart lift;
    gains.SetCountOfSegment(7);
    std::vector<std::vector<LiftInfo>> charts = lift.CalculateGains(classes);
    charts.push_back(gains.CalculateGains(scored));
    for (const std::vector<LiftInfo>& chart : charts)
        for (const LiftInfo& segment : chart) {
            out.Add(segment.fnCumulativeCount);
            for (const double x : {segment.fdSegmentSum, segment.fdMinScore, segment.fdMeanScore}) out.Add(x);
        }

    MCPackedInt packed(1000);
    for (int i = 0; i < 200; ++i) {
        packed.Append(static_cast<std::uint64_t>(numbers.Below(1001)));
        const MCHashKey key(std::vector<Value>{Value(numbers.Any()), Value(static_cast<long long>(numbers.Bits())),
                                               Value("\xe4\xff"), Value()});
        out.Add(key.Hash());
    }
    for (std::size_t i = 0; i < packed.Size(); ++i) out.Add(packed.Get(i));
}

// ---- variables ----------------------------------------------------------------------------------------------------

MCVariableList Variables()
{
    MCVariableList list;
    MCContinuousVariable age("age", IMCVariable::StorageInteger);
    age.SetLabel("Age in years");
    age.SetInterval(0, 120);
    age.AddMissingCode(-9);
    MCCategoricalVariable cut("cut");
    cut.SetOrdered(true);
    for (const char* const name : {"Fair", "Good", "Ideal"}) cut.AddCategory(name);
    list.Add(age);
    list.Add(cut);
    list.Add(MCContinuousVariable("price", IMCVariable::StorageReal, IMCVariable::RoleTarget));
    return list;
}

MCContinuousEncoder AgeEncoder()
{
    MCContinuousEncoder encoder("age");
    encoder.SetScaling(MCContinuousEncoder::ScaleZScore);
    encoder.SetLimitsLearned(IMCEncoder::OutlierClipped);
    encoder.SetMissingRule(IMCEncoder::MissingReplaced);
    Numbers numbers(28);
    encoder.LearnBlock(numbers.Many(200));
    encoder.Finish();
    return encoder;
}

MCCategoricalEncoder CutEncoder()
{
    MCCategoricalEncoder encoder("cut");
    encoder.SetCoding(MCCategoricalEncoder::Polynomial);
    encoder.SetUnseenRule(IMCEncoder::UnseenAsOther);
    // What sorts by signed characters sorts these otherwise.
    for (const char* const name : {"Fair", "\xc3\x9c", "Good", "\xff", "Ideal", "a"}) encoder.Learn(name, 1.5);
    return encoder;
}

void AddEncoder(Digest& out, MCEncoderBase& encoder, const std::vector<double>& x)
{
    AddState(out, encoder);
    out.Add(encoder.Finish().GetErrorCode());
    AddState(out, encoder);
    AddDisplay(out, encoder);
    const auto columns = static_cast<std::size_t>(encoder.GetNColumns());
    std::vector<double> rows(x.size() * columns);
    out.Add(encoder.EncodeBlock(x, rows, encoder.GetNColumns()));
    out.Add(rows);
    for (int j = 0; j < encoder.GetNColumns(); ++j) out.Add(encoder.GetColumnName(j));
}

void VariablesPart(Digest& out)
{
    const MCVariableList list = Variables();
    out.Add(list.ToString());
    AddJson(out, list.ToJson());
    AddState(out, list);

    Numbers numbers(29);
    std::vector<double> learned = numbers.Many(300), x = numbers.Many(100);
    x.push_back(MCMV::Missing());
    x.push_back(1e300);
    MCContinuousEncoder age = AgeEncoder();
    AddEncoder(out, age, x);
    for (int method = 0; method < 4; ++method) {
        MCBinningEncoder bins("x");
        if (method == 0) bins.SetEqualWidth(7);
        if (method == 1) bins.SetEqualFrequency(9);
        if (method == 2) bins.SetDeviations(2);
        if (method == 3) bins.SetSketchLimit(32);
        bins.SetOutput(method % 2 == 0 ? MCBinningEncoder::OutputIndex : MCBinningEncoder::OutputIndicator);
        bins.LearnBlock(learned);
        AddEncoder(out, bins, x);
    }
    MCRoundingEncoder rounding("x");
    rounding.SetDigits(2);
    AddEncoder(out, rounding, x);
    MCCategoricalEncoder cut = CutEncoder();
    AddEncoder(out, cut, x);
    MCStringEncoder text("t");
    text.SetCase(MCStringEncoder::CaseLower);
    for (const char* const word : {" \xc3\x84pfel ", "B", "b", "\xc3\xa4pfel"}) {
        text.Learn(word);
        out.Add(text.Normalize(word));
    }
    AddEncoder(out, text, x);
}

void CutsByEntropy(Digest& out)
{
    Numbers numbers(30);
    const std::vector<double> learned = numbers.Many(300);
    std::vector<double> target;
    for (const double x : learned) target.push_back(std::floor(2.0 * x + numbers.Unit()));
    MCBinningEncoder bins("x");
    bins.SetMDLP();
    bins.LearnBlockWithTarget(learned, target);
    AddEncoder(out, bins, learned);
}

// ---- pmml ---------------------------------------------------------------------------------------------------------

void Pmml(Digest& out)
{
    MCPMMLExporter exporter(Variables());
    exporter.SetHeader("", "scenario", "1.0", "2026-01-02T03:04:05");
    exporter.SetEncoder("age", AgeEncoder());
    exporter.SetShowColumns(true);
    MCPMMLRegression model;
    model.target = "price";
    model.terms = {MCPMMLTerm("(Intercept)"), MCPMMLTerm("age").TimesColumn("age"),
                   MCPMMLTerm("cut=Good").TimesLevel("cut", "Good")};
    model.coefficients = {{0, 800.1}, {1, -1e-7 / 3.0}, {2, 2e22 / 7.0}};
    exporter.AddRegression(model);
    std::string problem;
    AddDocument(out, exporter.Create(nullptr, &problem));
    out.Add(problem);

    MCPMMLGeneralRegression general;
    general.target = "price";
    general.terms = model.terms;
    general.coefficients = model.coefficients;
    general.covariance = PositiveDefinite(3, 31);
    MCPMMLQuality quality;
    quality.rSquared = 1.0 / 3.0;
    quality.dataName = "training";
    exporter.AddGeneralRegression(general);
    exporter.AddQuality(quality);
    AddDocument(out, exporter.Create(nullptr, &problem));

    MCPMMLClustering clustering;
    clustering.fields = {{"age", 0, 0.5}};
    clustering.clusters = {{"", {0.1}, 12.0}, {"far", {-2.0 / 3.0}, MCMV::Missing()}};
    exporter.AddClustering(clustering);
    AddDocument(out, exporter.Create(nullptr, &problem));
    out.Add(problem);
}

struct Folder {
    const char* name;
    Part part;
    Part more = nullptr;
};

constexpr Folder kFolders[] = {{"common", Common},
                               {"xml", Xml},
                               {"distributions", DistributionHelpers, Distributions},
                               {"linalg", Linalg},
                               {"output", Output},
                               {"settings", Settings},
                               {"matrix", Matrix, MatrixLogarithms},
                               {"eigen", Eigen},
                               {"random", Random, Variates},
                               {"accumulators", Accumulators},
                               {"variables", VariablesPart, CutsByEntropy},
                               {"pmml", Pmml}};

/// Calls what(name, object, ...) for every object whose state travels.
template <class What>
void ForEachSaved(What what)
{
    what("MCMeansXProducts", MeansXProducts(), MCMeansXProducts());
    what("MCExactXProducts", ExactXProducts(), MCExactXProducts());
    what("MCQuantileSketch", Sketch(), MCQuantileSketch());
    what("MCHistogramData", Histogram(), MCHistogramData(0.0, 1.0, 1));
    what("MCCategoricalEncoder", CutEncoder(), MCCategoricalEncoder());
    what("MCContinuousEncoder", AgeEncoder(), MCContinuousEncoder());
    what("MCVariableList", Variables(), MCVariableList());
}

template <class Object>
void GoOn(Object& object)
{
    if constexpr (requires(const MCRectMatrix& rows) { object.Update(rows, 0); })
        object.Update(WeightedRows(50, 32), 0);
    else if constexpr (requires { object.UpdateData(1.0, 1.0, 0.25); })
        object.UpdateData(1.0, 1.0, 0.25);
    else if constexpr (requires { object.Update(0.25); })
        object.Update(0.25);
    else if constexpr (requires { object.Learn("Zebra"); })
        object.Learn("Zebra");
}

} // namespace

std::vector<ScenarioHash> RunScenario()
{
    std::vector<ScenarioHash> hashes;
    Digest all;
    for (const Folder& folder : kFolders) {
        std::vector<double> reals;
        Digest digest(&reals);
        folder.part(digest);
        if (folder.more != nullptr) folder.more(digest);
        all.Add(digest.Get());
        hashes.push_back({folder.name, digest.Get(), std::move(reals)});
    }
    hashes.push_back({"all", all.Get(), {}});
    return hashes;
}

std::map<std::string, std::string> SaveStates()
{
    std::map<std::string, std::string> states;
    ForEachSaved([&](const char* name, const auto& object, const auto&) { states[name] = MCStateBytes::Save(object); });
    return states;
}

std::string CheckStates(const std::map<std::string, std::string>& states)
{
    std::string wrong;
    ForEachSaved([&](const std::string& name, auto object, auto restored) {
        const auto found = states.find(name);
        if (found == states.end()) {
            wrong += name + ": there is no state\n";
            return;
        }
        const MCStateBytes::Fault fault = MCStateBytes::Restore(found->second, restored);
        if (fault != MCStateBytes::Ok) wrong += name + ": " + MCStateBytes::GetText(fault) + "\n";
        if (MCStateBytes::Save(restored) != found->second) wrong += name + ": saved again it has other bytes\n";
        if (MCStateBytes::Save(object) != found->second) wrong += name + ": this machine writes other bytes\n";
        GoOn(object);
        GoOn(restored);
        if (MCStateBytes::Save(object) != MCStateBytes::Save(restored)) wrong += name + ": it goes on otherwise\n";
    });
    return wrong;
}
