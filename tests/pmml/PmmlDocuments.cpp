// Writes documents of every encoder setting and every model, and random ones, into a folder, each with cases and what
// modelcore predicts for them. scripts/test pmml lets another engine score them.
#include "Document.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>

namespace {

using std::make_shared;
const Value kNothing;

// Probing values

/// What an encoder of numbers is asked: around every limit and cut, halves, zeros, and nothing.
Row NumbersAround(const std::vector<double>& edges)
{
    Row values{kNothing,           0.0,   -0.0,  0.5, -0.5, 1.5, 2.5, -2.5, 0.07, 2.675, 123456.789, -1e15 - 0.5,
               4503599627370497.0, 1e300, -1e300};
    for (const double edge : edges)
        for (const double x : {edge, std::nextafter(edge, -1e9), std::nextafter(edge, 1e9)}) values.emplace_back(x);
    return values;
}

const std::vector<double> kLearned{1.0, 2.5, 2.5, 3.0, 4.25, 0.1, 7.7, -3.3, 12.0, 0.30000000000000004};

/// A document of one field whose columns, from `first`, are summed up with coefficients that are no round numbers.
Document OneField(const MCVariable& variable, const std::shared_ptr<IMCEncoder>& encoder, const Row& values,
                  int first = 0)
{
    Document d;
    d.variables.Add(MCContinuousVariable("y", IMCVariable::StorageReal, IMCVariable::RoleTarget));
    d.variables.Add(variable);
    const std::string field = variable.GetName();
    if (!encoder->IsFinished() && encoder->Finish().IsError()) throw std::runtime_error("Finish refuses " + field);
    d.Encode(field, encoder);
    MCPMMLRegression model;
    model.target = "y";
    model.terms.emplace_back("(Intercept)");
    model.coefficients.push_back({0, 0.123456789012345678});
    for (int j = first; j < encoder->GetNColumns(); ++j) {
        model.terms.push_back(MCPMMLTerm("b" + std::to_string(j)).TimesColumn(field, j));
        model.coefficients.push_back({j - first + 1, 0.37 * (j + 1) + 0.01});
    }
    d.model = model;
    for (const Value& value : values) d.rows.push_back({kNothing, value});
    return d;
}

class Writer {
public:
    explicit Writer(std::string folder) : fFolder(std::move(folder)) {}
    void Write(const std::string& kind, const Document& d, const std::function<void(MCPMMLExporter&)>& more = {})
    {
        char number[16];
        std::snprintf(number, sizeof number, "%03d", ++fCounts[kind]);
        d.Write(fFolder + "/" + kind + "-" + number, more);
        ++fnWritten;
    }
    /// A model of all columns of the field, and where there are several one of the last alone, which has to refuse what
    /// the encoder refuses all the same.
    void WriteField(const std::string& kind, const MCVariable& variable, const std::shared_ptr<IMCEncoder>& encoder,
                    const Row& values)
    {
        Write(kind, OneField(variable, encoder, values));
        const int last = encoder->GetNColumns() - 1;
        if (last > 0) Write(kind, OneField(variable, encoder, values, last));
    }
    int Count() const { return fnWritten; }

private:
    std::string fFolder;
    std::map<std::string, int> fCounts;
    int fnWritten = 0;
};

// Encoders: every setting beside every other where they meet in one expression

constexpr IMCEncoder::MissingRule kMissing[] = {IMCEncoder::MissingStays, IMCEncoder::MissingReplaced,
                                                IMCEncoder::MissingOwnCategory, IMCEncoder::MissingRefused};
constexpr IMCEncoder::OutlierRule kOutliers[] = {IMCEncoder::OutlierStays, IMCEncoder::OutlierClipped,
                                                 IMCEncoder::OutlierAsMissing, IMCEncoder::OutlierRefused};

void ContinuousEncoders(Writer& writer)
{
    int turn = 0;
    for (int scaling = 0; scaling < 4; ++scaling)
        for (const auto missing : kMissing)
            for (const auto outliers : kOutliers) {
                auto encoder = make_shared<MCContinuousEncoder>("x");
                encoder->SetScaling(static_cast<MCContinuousEncoder::Scaling>(scaling));
                encoder->SetMissingRule(missing, ++turn % 2 == 0 ? Value(99.5) : Value());
                if (turn % 3 == 0)
                    encoder->SetLimitsLearned(outliers);
                else
                    encoder->SetLimits(turn % 5 == 1 ? MCMV::Missing() : -1.5, turn % 5 == 2 ? MCMV::Missing() : 8.25,
                                       outliers);
                encoder->LearnBlock(kLearned);
                encoder->Finish();
                writer.WriteField("continuous", MCContinuousVariable("x"), encoder,
                                  NumbersAround({-1.5, 8.25, encoder->GetLowest(), encoder->GetHighest()}));
            }
}

void RoundingEncoders(Writer& writer)
{
    int turn = 0;
    for (const double unit : {1.0, 0.1, 7.0, 0.0, -1.0, 2.0})
        for (int direction = 0; direction < 3; ++direction) {
            auto encoder = make_shared<MCRoundingEncoder>("x");
            if (unit == 1.0 || unit == 0.1 || unit == 7.0)
                encoder->SetUnit(unit);
            else
                encoder->SetDigits(static_cast<int>(unit)); // 0, -1, 2
            encoder->SetDirection(static_cast<MCRoundingEncoder::Direction>(direction));
            encoder->SetMissingRule(kMissing[++turn % 4], 3.14159);
            writer.WriteField("rounding", MCContinuousVariable("x"), encoder, NumbersAround({0.29, 1.005, 35.0, 0.3}));
        }
}

void BinningEncoders(Writer& writer)
{
    int turn = 0;
    for (int method = 0; method < 6; ++method)
        for (const auto closed : {MCBinningEncoder::ClosedUpper, MCBinningEncoder::ClosedLower})
            for (const auto output : {MCBinningEncoder::OutputIndex, MCBinningEncoder::OutputIndicator})
                for (const auto missing : kMissing) {
                    auto encoder = make_shared<MCBinningEncoder>("x");
                    if (method == 0) encoder->SetCuts({-1.0, 0.0, 2.5});
                    if (method == 1) encoder->SetEqualWidth(4);
                    if (method == 2) encoder->SetEqualFrequency(3);
                    if (method == 3) encoder->SetDeviations(2);
                    if (method == 4) encoder->SetMDLP();
                    if (method == 5) encoder->SetCuts({}); // one bin
                    encoder->SetClosed(closed);
                    encoder->SetOutput(output);
                    encoder->SetMissingRule(missing, ++turn % 2 == 0 ? Value(2.5) : Value());
                    const int ends = (turn + method + output) % 6;
                    if (ends < 4)
                        encoder->SetEndsClosed(turn % 3 == 0 ? MCMV::Missing() : -2.0,
                                               turn % 5 == 0 ? MCMV::Missing() : 9.0, kOutliers[ends]);
                    for (std::size_t i = 0; i < kLearned.size(); ++i)
                        encoder->LearnWithTarget(kLearned[i], kLearned[i] > 2.7 ? "a" : "b", 5.0);
                    encoder->Finish();
                    std::vector<double> edges(encoder->GetCuts());
                    for (const double limit : {encoder->GetLowest(), encoder->GetHighest()})
                        if (!MCMV::IsMissing(limit)) edges.push_back(limit);
                    writer.WriteField("binning", MCContinuousVariable("x"), encoder, NumbersAround(edges));
                }
}

const std::vector<Row> kCategories{
    {"b", "a", "c", "d", "two words", "e"},
    {3, 1.5, -2, 0, 1e21, 0.1},
    {true, false},
    {" lead", "trail ", "", "a\"b", "<&>", "line\nbreak", "tab\tbed", "\xC3\xA9t\xC3\xA9", "=", "(other)"},
    {7, "seven", true, 0.5},
};

template <class Encoder>
std::shared_ptr<Encoder> Categories(int turn, const Row& categories, IMCEncoder::MissingRule missing, int unseen,
                                    const std::function<void(Encoder&)>& settings)
{
    auto encoder = make_shared<Encoder>("k");
    settings(*encoder);
    encoder->SetMissingRule(missing, turn % 3 == 0 ? categories[1] : Value());
    encoder->SetUnseenRule(static_cast<IMCEncoder::UnseenRule>(unseen));
    if (turn % 4 == 1) encoder->SetMinWeight(2.5);
    if (turn % 4 == 2) encoder->SetReference(MCCategoryEncoder::ReferenceLast);
    if (turn % 4 == 3) encoder->SetReference(MCCategoryEncoder::ReferenceMostFrequent);
    double weight = 1.0;
    for (const Value& category : categories) {
        encoder->LearnWithTarget(category, weight * 0.3 + 1.0, weight);
        weight += 1.0;
    }
    encoder->LearnWithTarget(kNothing, 5.5, 1.5);
    return encoder;
}

Row Asked(const Row& categories)
{
    Row values(categories);
    values.push_back(kNothing);
    const bool numbers = categories[0].GetType() == Value::TypeInteger && categories[1].GetType() == Value::TypeReal;
    if (categories[0].GetType() == Value::TypeBool) return values; // nothing else is a bool
    if (categories[1].GetType() == Value::TypeString && categories[0].GetType() == Value::TypeInteger) {
        for (Value& value : values)
            if (!value.IsNull()) value = value.GetString(); // categories of several kinds are told apart as text
        return {"unseen", kNothing};
    }
    values.push_back(numbers ? Value(77.5) : Value("unseen"));
    values.push_back(numbers ? Value(2.0) : Value("A"));
    return values;
}

void CategoryEncoders(Writer& writer)
{
    const auto variableOf = [](const Row& categories) {
        const bool numbers =
            categories[0].GetType() == Value::TypeInteger && categories[1].GetType() == Value::TypeReal;
        return MCCategoricalVariable("k", numbers                                      ? IMCVariable::StorageReal
                                          : categories[0].GetType() == Value::TypeBool ? IMCVariable::StorageBoolean
                                                                                       : IMCVariable::StorageString);
    };
    int turn = 0;
    for (int coding = 0; coding < 7; ++coding)
        for (const auto missing : kMissing)
            for (int unseen = 0; unseen < 4; ++unseen) {
                const Row& categories = kCategories[static_cast<std::size_t>(++turn) % kCategories.size()];
                const auto encoder =
                    Categories<MCCategoricalEncoder>(turn, categories, missing, unseen, [&](MCCategoricalEncoder& e) {
                        e.SetCoding(static_cast<MCCategoricalEncoder::Coding>(coding));
                    });
                if (encoder->Finish().IsError()) throw std::runtime_error("Finish");
                writer.WriteField("categories", variableOf(categories), encoder, Asked(categories));
            }
    for (int method = 0; method < 3; ++method)
        for (const auto missing : kMissing)
            for (int unseen = 0; unseen < 4; ++unseen) {
                const Row& categories = kCategories[static_cast<std::size_t>(++turn) % 4];
                const auto encoder = Categories<MCCategoricalNumericEncoder>(
                    turn, categories, missing, unseen, [&](MCCategoricalNumericEncoder& e) {
                        if (method == 1) {
                            std::vector<std::pair<Value, double>> scores{{kNothing, -8.5}, {"(other)", 3.25}};
                            for (const Value& category : categories)
                                if (category.GetString() != "(other)")
                                    scores.emplace_back(category, 0.1 * static_cast<double>(scores.size()));
                            e.SetScores(scores);
                        }
                        if (method == 2) {
                            e.SetMethod(MCCategoricalNumericEncoder::MethodTargetMean);
                            e.SetSmoothing(2.0);
                        }
                    });
                if (encoder->Finish().IsError()) throw std::runtime_error("Finish");
                writer.WriteField("numeric", variableOf(categories), encoder, Asked(categories));
            }
}

void StringEncoders(Writer& writer)
{
    const Row texts{"Red",
                    " red ",
                    "RED",
                    "blue",
                    "Blue\t",
                    "green tea",
                    "green",
                    "",
                    "   ",
                    "\xC3\x89t\xC3\xA9",
                    "\xC3\xA9T\xC3\x89",
                    "\xD0\x96uk",
                    "ab c",
                    "n/a",
                    "azure",
                    "a\nb"};
    const std::map<std::string, std::string> mapping{{"azure", "blue"}, {"AZURE", "BLUE"}, {"n/a", ""}, {"N/A", ""}};
    int turn = 0;
    for (int trim = 0; trim < 4; ++trim)
        for (int letters = 0; letters < 3; ++letters)
            for (const int length : {0, 3}) {
                auto encoder = make_shared<MCStringEncoder>("s");
                encoder->SetTrim(static_cast<MCStringEncoder::Trim>(trim));
                encoder->SetCase(static_cast<MCStringEncoder::Case>(letters));
                encoder->SetMaxLength(length);
                ++turn;
                if (turn % 2 == 0) encoder->SetMapping(mapping);
                encoder->SetEmptyIsMissing(turn % 3 == 0);
                encoder->SetMissingRule(kMissing[turn / 2 % 4]);
                encoder->SetUnseenRule(static_cast<IMCEncoder::UnseenRule>(turn % 4));
                encoder->SetCoding(turn % 3 == 0   ? MCCategoricalEncoder::Dummy
                                   : turn % 3 == 1 ? MCCategoricalEncoder::Indicator
                                                   : MCCategoricalEncoder::Helmert);
                for (std::size_t i = 0; i < texts.size(); ++i)
                    if (i % 5 != 4) encoder->Learn(texts[i]);
                Row asked(texts);
                for (const char* const more : {"REDDISH", "  green  ", "zebra", "bLuE"}) asked.emplace_back(more);
                asked.push_back(kNothing);
                writer.WriteField("text", MCCategoricalVariable("s"), encoder, asked);
            }
}

// Models

double Logistic(double y)
{
    return 1.0 / (1.0 + std::exp(-y));
}
double NormalCdf(double y)
{
    return 0.5 * std::erfc(-y / std::numbers::sqrt2);
}
double CLogLog(double y)
{
    return 1.0 - std::exp(-std::exp(y));
}
double LogLog(double y)
{
    return std::exp(-std::exp(-y));
}
double Cauchit(double y)
{
    return 0.5 + std::atan(y) / std::numbers::pi;
}

const std::string kOddName = "a \"quoted\" <name> & \xC3\xBC\nsecond line";

/// Two numbers and a factor with every kind of term. Names and levels are as awkward as they may be.
Document TwoNumbersAndAFactor()
{
    Document d;
    d.showColumns = false;
    d.variables.Add(MCContinuousVariable("x", IMCVariable::StorageReal));
    d.variables.Add(MCContinuousVariable(kOddName, IMCVariable::StorageReal));
    MCCategoricalVariable factor("cut", IMCVariable::StorageString);
    for (const char* const level : {"Ideal", "very \"good\"", "<&>"}) factor.AddCategory(level, "label of it");
    d.variables.Add(factor);
    d.variables.Add(MCContinuousVariable("y", IMCVariable::StorageReal, IMCVariable::RoleTarget));
    d.variables.Add(MCContinuousVariable("exposure", IMCVariable::StorageReal, IMCVariable::RoleOffset));
    for (const double x : {0.5, -1.25, 0.30000000000000004, 2.0})
        for (const double z : {0.1, -0.7})
            for (const char* const level : {"Ideal", "very \"good\"", "<&>"})
                d.rows.push_back({x, z, level, kNothing, 0.25 + z});
    for (int i = 0; i < 3; ++i) {
        Row row(d.rows[static_cast<std::size_t>(i)]);
        row[static_cast<std::size_t>(i)] = kNothing;
        d.rows.push_back(row);
    }
    d.rows.push_back({1.0, 1.0, "unseen", kNothing, 0.5});
    return d;
}

template <class Model>
Model TermsOf(bool intercept = true)
{
    Model m;
    m.target = "y";
    if (intercept) m.terms.emplace_back("(Intercept)");
    m.terms.push_back(MCPMMLTerm("x").TimesField("x"));
    m.terms.push_back(MCPMMLTerm("x^3").TimesField("x", 3));
    m.terms.push_back(MCPMMLTerm(kOddName).TimesField(kOddName));
    m.terms.push_back(MCPMMLTerm("cut=Ideal").TimesLevel("cut", "Ideal"));
    m.terms.push_back(MCPMMLTerm("cut=very \"good\"").TimesLevel("cut", "very \"good\""));
    m.terms.push_back(MCPMMLTerm("x^2 * name").TimesField("x", 2).TimesField(kOddName));
    m.terms.push_back(MCPMMLTerm("x * cut=<&>").TimesField("x").TimesLevel("cut", "<&>"));
    return m;
}

/// Coefficients of a category, small enough that every link has a value.
void AddCoefficients(MCPMMLModel& m, int category, double scale, std::size_t first = 0)
{
    const double estimates[] = {0.41, 0.0931, -0.012345678901234567, 0.27, -0.19, 0.3333333333333333, 0.05, 0.11};
    for (std::size_t i = first; i < m.terms.size(); ++i)
        m.coefficients.push_back({static_cast<int>(i), scale * estimates[i % 8], category});
}

MCPMMLQuality Quality()
{
    MCPMMLQuality quality;
    quality.dataName = "training data";
    quality.rSquared = 0.75;
    quality.adjustedRSquared = 0.7;
    quality.records = 27;
    return quality;
}

void RegressionModels(Writer& writer)
{
    const std::pair<MCPMMLRegression::Normalization, Document::Link> kNumbers[] = {
        {MCPMMLRegression::None, [](double y) { return y; }},
        {MCPMMLRegression::Logit, Logistic},
        {MCPMMLRegression::Softmax, Logistic},
        {MCPMMLRegression::Exp, [](double y) { return std::exp(y); }},
        {MCPMMLRegression::Probit, NormalCdf},
        {MCPMMLRegression::CLogLog, CLogLog},
        {MCPMMLRegression::LogLog, LogLog},
        {MCPMMLRegression::Cauchit, Cauchit}};
    for (const auto& [normalization, link] : kNumbers) {
        Document d = TwoNumbersAndAFactor();
        auto m = TermsOf<MCPMMLRegression>();
        m.normalization = normalization;
        AddCoefficients(m, -1, 1.0);
        d.model = m;
        d.link = link;
        writer.Write("regression", d);
        if (normalization == MCPMMLRegression::None || normalization == MCPMMLRegression::Exp ||
            normalization == MCPMMLRegression::Softmax)
            continue;
        m.categories = {"yes \"&\"", "no"};
        for (MCPMMLCoefficient& c : m.coefficients) c.category = 0;
        d.model = m;
        writer.Write("regression", d);
    }
    for (const auto normalization : {MCPMMLRegression::Softmax, MCPMMLRegression::SimpleMax}) {
        Document d = TwoNumbersAndAFactor();
        auto m = TermsOf<MCPMMLRegression>();
        m.normalization = normalization;
        m.categories = {1, 2.5, 7};
        for (int category = 0; category < 3; ++category)
            AddCoefficients(m, category, normalization == MCPMMLRegression::SimpleMax ? 1.0 : category - 1.0);
        if (normalization == MCPMMLRegression::SimpleMax)
            for (MCPMMLCoefficient& c : m.coefficients)
                if (c.term == 0) c.estimate = 5.0 + c.category;
        d.model = m;
        writer.Write("regression", d);
    }

    // What is done to the prediction
    for (const auto cast : {MCPMMLTarget::NotCast, MCPMMLTarget::Round, MCPMMLTarget::Ceiling, MCPMMLTarget::Floor}) {
        Document d = TwoNumbersAndAFactor();
        auto m = TermsOf<MCPMMLRegression>();
        AddCoefficients(m, -1, 10.0);
        MCPMMLTarget target;
        target.min = 2.0;
        target.max = 6.0;
        target.rescaleFactor = 1.5;
        target.rescaleConstant = 0.1;
        target.cast = cast;
        d.model = m;
        d.target = target;
        d.link = [=](double y) {
            const double z = std::min(std::max(y, 2.0), 6.0) * 1.5 + 0.1;
            return cast == MCPMMLTarget::Round     ? std::floor(z + 0.5)
                   : cast == MCPMMLTarget::Ceiling ? std::ceil(z)
                   : cast == MCPMMLTarget::Floor   ? std::floor(z)
                                                   : z;
        };
        writer.Write("target", d);
    }

    // An intercept alone; without one
    for (const bool intercept : {true, false}) {
        Document d = TwoNumbersAndAFactor();
        auto m = TermsOf<MCPMMLRegression>(intercept);
        if (intercept) m.terms.resize(1);
        AddCoefficients(m, -1, 1.0);
        d.model = m;
        if (intercept) d.rows.resize(3);
        writer.Write("intercept", d);
    }
}

void GeneralModels(Writer& writer)
{
    using General = MCPMMLGeneralRegression;
    const auto withModel = [](General m, const Document::Link& link = {}) {
        Document d = TwoNumbersAndAFactor();
        if (m.coefficients.empty()) AddCoefficients(m, -1, 1.0);
        d.model = std::move(m);
        if (link) d.link = link;
        return d;
    };
    // With everything around it: an aliased parameter, covariances, statistics, quality
    {
        Document d = withModel(TermsOf<General>());
        auto& m = std::get<General>(d.model);
        m.coefficients[2].aliased = true;
        m.coefficients[2].estimate = std::nan("");
        m.covariance = MCMath_930::MCSymMatrix(static_cast<int>(m.coefficients.size()) - 1);
        for (int i = 0; i < m.covariance.GetNRows(); ++i) m.covariance.SetElem(i, i, 0.1 * (i + 1));
        m.residualDF = 20;
        writer.Write("general", d, [](MCPMMLExporter& exporter) {
            MCMath_930::MCContStats stats;
            for (const double x : {1.0, 2.0, 4.5}) stats.Update(x);
            exporter.AddStatistics("x", stats, 3.0);
            exporter.AddStatistics("cut", MCMath_930::MCCatStats({4, 5, 6}), {"Ideal", "very \"good\"", "<&>"}, 1.0);
            exporter.AddQuality(Quality());
        });
    }
    // A product alone: what is missing must be noticed where the other factor is 0
    {
        General m;
        m.target = "y";
        m.terms = {MCPMMLTerm("x * cut=Ideal").TimesField("x").TimesLevel("cut", "Ideal")};
        writer.Write("product", withModel(m));
    }
    struct Linked {
        General::Link link;
        double parameter;
        Document::Link inverse;
        General::Distribution distribution;
    };
    const double none = MCMV::Missing();
    const Linked kLinks[] = {
        {General::Identity, none, [](double y) { return y; }, General::Normal},
        {General::Log, none, [](double y) { return std::exp(y); }, General::Poisson},
        {General::Logit, none, Logistic, General::Binomial},
        {General::Probit, none, NormalCdf, General::Binomial},
        {General::CLogLog, none, CLogLog, General::Binomial},
        {General::LogLog, none, LogLog, General::Binomial},
        {General::LogC, none, [](double y) { return 1.0 - std::exp(y); }, General::Binomial},
        {General::Power, 0.5, [](double y) { return std::pow(y, 2.0); }, General::Gamma},
        {General::OddsPower, 2.0, [](double y) { return 1.0 / (1.0 + std::pow(1.0 + 2.0 * y, -0.5)); },
         General::Binomial},
        {General::NegBin, 2.0, [](double y) { return 1.0 / (2.0 * (std::exp(-y) - 1.0)); }, General::NegativeBinomial}};
    for (const Linked& one : kLinks)
        for (const int extra : {0, 1, 2}) {
            auto m = TermsOf<General>();
            m.type = General::GeneralizedLinear;
            m.link = one.link;
            (one.link == General::NegBin ? m.distributionParameter : m.linkParameter) = one.parameter;
            m.distribution = one.distribution;
            const bool negative = one.link == General::LogC || one.link == General::NegBin;
            AddCoefficients(m, -1, 0.3);
            m.coefficients[0].estimate = negative ? -1.5 : 1.0;
            if (extra == 1) m.offset = 0.125;
            if (extra == 2) m.offsetField = "exposure";
            Document d = withModel(m, one.inverse);
            d.offset = extra == 1 ? 0.125 : 0.0;
            d.offsetField = m.offsetField;
            writer.Write("general", d);
            if (extra != 0 || one.distribution != General::Binomial) continue;
            m.trials = 12;
            Document trials = withModel(m, one.inverse);
            trials.factor = 12.0;
            writer.Write("trials", trials);
            m.trials = 0;
            for (const int reference : {-1, 0}) {
                m.categories = {"no", "yes"};
                m.reference = reference;
                writer.Write("binary", withModel(m, one.inverse));
            }
        }
    for (const int reference : {-1, 0, 1}) {
        auto m = TermsOf<General>();
        m.type = General::MultinomialLogistic;
        m.categories = {"low", "<middle> & \"so\"", "high"};
        m.reference = reference;
        for (int category = 0; category < 3; ++category)
            if (category != (reference < 0 ? 2 : reference)) AddCoefficients(m, category, category == 0 ? 1.0 : -0.8);
        writer.Write("multinomial", withModel(m));
    }
    const std::pair<General::Link, Document::Link> kCumulative[] = {{General::Logit, Logistic},
                                                                    {General::Probit, NormalCdf},
                                                                    {General::CLogLog, CLogLog},
                                                                    {General::LogLog, LogLog},
                                                                    {General::Cauchit, Cauchit}};
    for (const auto& [link, inverse] : kCumulative) {
        auto m = TermsOf<General>();
        m.type = General::OrdinalMultinomial;
        m.link = link;
        m.categories = {1, 2, 3, 4};
        for (int category = 0; category < 3; ++category) m.coefficients.push_back({0, -0.9 + 0.8 * category, category});
        AddCoefficients(m, -1, 0.7, 1);
        writer.Write("ordinal", withModel(m, inverse));
    }
}

void ClusteringModels(Writer& writer)
{
    for (int measure = 0; measure < 4; ++measure) {
        Document d;
        d.variables.Add(MCContinuousVariable("x"));
        d.variables.Add(MCContinuousVariable("z z"));
        auto encoder = make_shared<MCContinuousEncoder>("z z");
        encoder->SetScaling(MCContinuousEncoder::ScaleZScore);
        if (measure % 2 == 0) encoder->SetMissingRule(IMCEncoder::MissingReplaced);
        encoder->LearnBlock(kLearned);
        encoder->Finish();
        d.Encode("z z", encoder);
        MCPMMLClustering m;
        m.measure = static_cast<MCPMMLClustering::Measure>(measure);
        m.fields = {{"x", -1, 1.0}, {"z z", 0, 0.7}};
        m.clusters = {
            {"first", {1.0, 0.5}, 12}, {"second & \"last\"", {-2.5, 0.1}}, {"3", {0.30000000000000004, -1.0}, 7}};
        d.model = m;
        for (const double x : {0.0, -1.7, 1.0, 5.5})
            for (const double z : {2.0, -4.0, 3.3}) d.rows.push_back({x, z});
        d.rows.push_back({kNothing, 1.0});
        d.rows.push_back({1.0, kNothing});
        writer.Write("clusters", d);
    }
    // Values that an encoder refuses or has no number for: distances without them would give a cluster all the same. Where
    // PMML cannot say so, there is no document.
    int nRefused = 0;
    const auto write = [&](const std::shared_ptr<MCEncoderBase>& encoder, const Row& learned, const Row& asked) {
        for (const Value& value : learned) encoder->LearnWithTarget(value, 1.0);
        if (encoder->Finish().IsError()) throw std::runtime_error("Finish");
        const bool text = learned[0].GetType() == Value::TypeString;
        Document d;
        d.variables.Add(MCContinuousVariable("x"));
        if (text)
            d.variables.Add(MCCategoricalVariable("z"));
        else
            d.variables.Add(MCContinuousVariable("z"));
        d.Encode("z", encoder);
        MCPMMLClustering m;
        m.fields = {{"x", -1, 1.0}, {"z", encoder->GetNColumns() - 1, 0.7}};
        m.clusters = {{"1", {1.0, 0.5}}, {"2", {-2.5, 0.1}}};
        d.model = m;
        for (const Value& value : asked) d.rows.push_back({0.25, value});
        d.rows.push_back({0.25, kNothing});
        MCCommon_930::MCStatus status;
        const std::unique_ptr<XMLElement> tried(d.Exporter(false).Create(&status));
        if (!tried && status.GetErrorCode() == MCPMMLExporter::NotExpressible)
            ++nRefused;
        else
            writer.Write("clusters", d);
    };
    const Row numbers{-4.0, 1.5, 2.0, 6.0}, texts{"a", "b", "c", "a"};
    for (const auto missing : kMissing) {
        for (const auto outliers : kOutliers) {
            auto continuous = make_shared<MCContinuousEncoder>("z");
            continuous->SetLimits(-3.0, 3.0, outliers);
            continuous->SetMissingRule(missing);
            write(continuous, {1.0, 2.0, 2.5}, numbers);
            auto bins = make_shared<MCBinningEncoder>("z");
            bins->SetCuts({0.0, 1.75});
            bins->SetEndsClosed(-3.0, 3.0, outliers);
            bins->SetMissingRule(missing);
            write(bins, numbers, numbers);
        }
        for (int unseen = 0; unseen < 4; ++unseen) {
            auto categories = make_shared<MCCategoricalNumericEncoder>("z");
            categories->SetUnseenRule(static_cast<IMCEncoder::UnseenRule>(unseen));
            categories->SetMissingRule(missing);
            write(categories, texts, {"a", "c", "zebra"});
            auto strings = make_shared<MCStringEncoder>("z");
            strings->SetUnseenRule(static_cast<IMCEncoder::UnseenRule>(unseen));
            strings->SetMissingRule(missing);
            write(strings, texts, {"a", "c", "zebra"});
        }
    }
    if (nRefused != 10) throw std::runtime_error("documents of clusters refused: " + std::to_string(nRefused));
}

void ManyParameters(Writer& writer)
{
    constexpr int kFields = 100, kPowers = 50; // 5,000 parameters
    for (const bool general : {false, true}) {
        Document d;
        d.showColumns = false;
        MCPMMLGeneralRegression m;
        m.target = "y";
        Row row;
        for (int i = 0; i < kFields; ++i) {
            const std::string name = "field " + std::to_string(i);
            d.variables.Add(MCContinuousVariable(name));
            row.emplace_back(0.5 + 0.004 * i);
            for (int power = 1; power <= kPowers; ++power) {
                m.terms.push_back(MCPMMLTerm(name + "^" + std::to_string(power)).TimesField(name, power));
                m.coefficients.push_back({static_cast<int>(m.terms.size()) - 1, 1.0 / (power + 3.0 * i)});
            }
        }
        d.variables.Add(MCContinuousVariable("y", IMCVariable::StorageReal, IMCVariable::RoleTarget));
        row.push_back(kNothing);
        d.rows = {row, row};
        d.rows[1][7] = -0.25;
        const auto isAliased = [](const MCPMMLCoefficient& c) { return c.aliased; };
        if (general && std::ranges::all_of(m.coefficients, isAliased)) m.coefficients[0].aliased = false;
        MCPMMLRegression regression;
        static_cast<MCPMMLModel&>(regression) = m;
        if (general)
            d.model = m;
        else
            d.model = regression;
        writer.Write("many", d);
    }
}

/// Descriptions that say what is missing, invalid and out of range.
void Descriptions(Writer& writer)
{
    Document d;
    d.showColumns = false;
    MCContinuousVariable x("x");
    x.SetInterval(-5.0, 10.0);
    x.AddMissingCode(-4.0);
    x.AddMissingCode("-3");
    x.AddMissingCode("none");
    MCCategoricalVariable k("k", IMCVariable::StorageInteger);
    k.AddCategory(1, "one");
    k.AddCategory(2);
    k.AddCategory(8, "refused", IMCVariable::ValueInvalid);
    k.AddCategory(9, "not asked", IMCVariable::ValueMissing);
    d.variables.Add(x);
    d.variables.Add(k);
    d.variables.Add(MCContinuousVariable("y", IMCVariable::StorageDate, IMCVariable::RoleTarget));
    d.variables.Add(MCWeightVariable("w"));
    for (const double value : {1.5, -4.0, -5.0, 10.0, 10.5, -6.0})
        for (const int level : {1, 2, 8, 9, 3}) d.rows.push_back({value, level, kNothing, kNothing});
    MCPMMLGeneralRegression m;
    m.target = "y";
    m.terms = {MCPMMLTerm("x").TimesField("x"), MCPMMLTerm("k1").TimesLevel("k", 1),
               MCPMMLTerm("k2").TimesLevel("k", 2)};
    AddCoefficients(m, -1, 1.0);
    d.model = m;
    writer.Write("described", d);
    MCPMMLRegression r;
    static_cast<MCPMMLModel&>(r) = m;
    d.model = r;
    writer.Write("described", d);
}

// Random models

class RandomModels {
public:
    explicit RandomModels(std::uint64_t seed) : fEngine(seed) {}

    Document Make()
    {
        Document d;
        fTerms.clear();
        d.variables.Add(MCContinuousVariable("y", IMCVariable::StorageReal, IMCVariable::RoleTarget));
        const int fields = Below(6) + 1;
        std::vector<std::function<Value()>> sources;
        for (int i = 0; i < fields; ++i) AddField(d, "v" + std::to_string(i), sources);
        for (int i = 0; i < 30; ++i) {
            Row row{kNothing};
            for (const auto& source : sources) row.push_back(Below(12) == 0 ? kNothing : source());
            d.rows.push_back(row);
        }
        const bool general = Below(2) == 0;
        d.showColumns = Below(2) == 0;
        MCPMMLGeneralRegression m;
        m.target = "y";
        m.terms.emplace_back("(Intercept)");
        for (const MCPMMLTerm& term : fTerms) m.terms.push_back(term);
        const std::size_t simple = fTerms.size();
        for (int i = Below(4); i > 0 && simple > 1; --i) {
            const MCPMMLTerm &a = fTerms[static_cast<std::size_t>(Below(static_cast<int>(simple)))],
                             &b = fTerms[static_cast<std::size_t>(Below(static_cast<int>(simple)))];
            MCPMMLTerm product("product " + std::to_string(i));
            product.parts = {a.parts[0], b.parts[0]};
            if (a.parts[0].field != b.parts[0].field) m.terms.push_back(product);
        }
        for (std::size_t i = 0; i < m.terms.size(); ++i) {
            m.coefficients.push_back({static_cast<int>(i), Normal() * std::pow(10.0, Below(5) - 2)});
            m.coefficients.back().aliased = !d.showColumns && Below(15) == 0;
        }
        const auto isAliased = [](const MCPMMLCoefficient& c) { return c.aliased; };
        if (general && std::ranges::all_of(m.coefficients, isAliased)) m.coefficients[0].aliased = false;
        MCPMMLRegression regression;
        static_cast<MCPMMLModel&>(regression) = m;
        if (general)
            d.model = m;
        else
            d.model = regression;
        return d;
    }

private:
    int Below(int n) { return static_cast<int>(fEngine() % static_cast<std::uint64_t>(n)); }
    double Uniform() { return static_cast<double>(fEngine() >> 11) * 0x1p-53; }
    double Normal() { return std::sqrt(-2.0 * std::log(1.0 - Uniform())) * std::cos(6.283185307179586 * Uniform()); }
    IMCEncoder::MissingRule Missing() { return kMissing[Below(4)]; }

    void AddField(Document& d, const std::string& name, std::vector<std::function<Value()>>& sources)
    {
        const int kind = Below(7);
        const double spread = std::pow(10.0, Below(7) - 3);
        const auto number = [this, spread] { return Value(Below(5) == 0 ? spread * Below(4) : spread * Normal()); };
        const auto text = [this] { return Value("level " + std::to_string(Below(7))); };
        std::shared_ptr<MCEncoderBase> encoder;
        if (kind <= 3) {
            d.variables.Add(MCContinuousVariable(name));
            if (kind == 1) {
                auto e = make_shared<MCContinuousEncoder>(name);
                e->SetScaling(static_cast<MCContinuousEncoder::Scaling>(Below(4)));
                e->SetLimits(-spread, spread * Uniform(), kOutliers[Below(4)]);
                e->SetMissingRule(Missing());
                encoder = e;
            } else if (kind == 2) {
                auto e = make_shared<MCBinningEncoder>(name);
                e->SetEqualFrequency(Below(6) + 2);
                e->SetClosed(static_cast<MCBinningEncoder::Closed>(Below(2)));
                e->SetOutput(static_cast<MCBinningEncoder::Output>(Below(2)));
                if (Below(2) == 0) e->SetEndsClosed(-spread, spread, kOutliers[Below(4)]);
                e->SetMissingRule(Missing());
                encoder = e;
            } else if (kind == 3) {
                auto e = make_shared<MCRoundingEncoder>(name);
                e->SetUnit(spread * (Uniform() + 0.01));
                e->SetDirection(static_cast<MCRoundingEncoder::Direction>(Below(3)));
                e->SetMissingRule(Missing(), spread * Normal());
                encoder = e;
            }
            for (int i = 0; i < 40 && encoder; ++i) encoder->Learn(number());
            sources.emplace_back(number);
            if (!encoder) fTerms.push_back(MCPMMLTerm(name).TimesField(name, Below(3) + 1));
        } else {
            MCCategoricalVariable variable(name);
            if (kind == 4)
                for (int i = 0; i < 6; ++i) variable.AddCategory("level " + std::to_string(i));
            d.variables.Add(variable);
            if (kind == 4) {
                for (int i = 1; i < 6; ++i) {
                    const std::string level = "level " + std::to_string(i);
                    fTerms.push_back(MCPMMLTerm(name + "=" + level).TimesLevel(name, level));
                }
            } else if (kind == 5) {
                auto e = make_shared<MCCategoricalEncoder>(name);
                e->SetCoding(static_cast<MCCategoricalEncoder::Coding>(Below(7)));
                Settle(*e);
                encoder = e;
            } else {
                auto e = make_shared<MCCategoricalNumericEncoder>(name);
                if (Below(2) == 0) e->SetMethod(MCCategoricalNumericEncoder::MethodTargetMean);
                Settle(*e);
                encoder = e;
            }
            for (int i = 0; i < 25 && encoder; ++i) encoder->LearnWithTarget(text(), Normal());
            sources.emplace_back(text);
        }
        if (!encoder) return;
        if (encoder->Finish().IsError()) throw std::runtime_error("Finish of a random encoder");
        d.Encode(name, encoder);
        for (int j = 0; j < encoder->GetNColumns(); ++j)
            fTerms.push_back(MCPMMLTerm(name + "[" + std::to_string(j) + "]").TimesColumn(name, j));
    }
    void Settle(MCCategoryEncoder& e)
    {
        e.SetMissingRule(Missing());
        e.SetUnseenRule(static_cast<IMCEncoder::UnseenRule>(Below(4)));
        if (Below(3) == 0) e.SetMaxKept(Below(3) + 2);
    }

    std::mt19937_64 fEngine;
    std::vector<MCPMMLTerm> fTerms;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FOLDER [RANDOM MODELS [SEED]]\n", argv[0]);
        return 2;
    }
    const int models = argc > 2 ? std::atoi(argv[2]) : 300;
    const std::uint64_t seed = argc > 3 ? std::strtoull(argv[3], nullptr, 10) : std::random_device{}();
    std::printf("%d random models from seed %llu\n", models, static_cast<unsigned long long>(seed));
    Writer writer(argv[1]);
    try {
        ContinuousEncoders(writer);
        RoundingEncoders(writer);
        BinningEncoders(writer);
        CategoryEncoders(writer);
        StringEncoders(writer);
        RegressionModels(writer);
        GeneralModels(writer);
        ClusteringModels(writer);
        ManyParameters(writer);
        Descriptions(writer);
        RandomModels random(seed);
        for (int i = 0; i < models; ++i) writer.Write("random", random.Make());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s: %s\n", argv[0], e.what());
        return 1;
    }
    std::printf("%d documents written\n", writer.Count());
    return 0;
}
