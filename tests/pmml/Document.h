// A document, and beside it what modelcore itself predicts: Encode, a plain sum, the inverse of the link.
#pragma once

#include "modelcore/modelcore.h"

#include <charconv>
#include <cmath>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <numbers>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace MCXML_930;
using MCCommon_930::MCMV;
using MCCommon_930::Value;
using Row = std::vector<Value>; ///< one value for each variable

/// What is predicted for a row; nothing for one that is refused or has a missing value.
struct Prediction {
    std::vector<double> numbers;
    double scale = 0.0; ///< the largest term of the sums
};

inline std::string Escaped(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        if (c == '\t' || c == '\n' || c == '\r' || c == '\\') out += '\\';
        out += c == '\t' ? 't' : c == '\n' ? 'n' : c == '\r' ? 'r' : c;
    }
    return out;
}

inline std::string Digits(double x)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, x).ptr};
}

class Document {
public:
    using Link = std::function<double(double)>;

    MCVariableList variables;
    std::map<std::string, std::shared_ptr<IMCEncoder>> encoders;
    std::vector<Row> rows;
    std::variant<MCPMMLRegression, MCPMMLGeneralRegression, MCPMMLClustering> model;
    std::optional<MCPMMLTarget> target;
    Link link = [](double y) { return y; }; ///< the inverse, of a model that predicts a number, or of two categories
    bool showColumns = true;
    double offset = 0.0, factor = 1.0; ///< added to the linear predictor; the prediction is multiplied by it
    std::string offsetField, trialsField;

    void Encode(const std::string& field, std::shared_ptr<IMCEncoder> encoder) { encoders[field] = std::move(encoder); }

    /// The columns of a field; nothing when it has none for the value.
    std::optional<std::vector<double>> Columns(const std::string& field, const Value& value) const
    {
        const IMCEncoder& encoder = *encoders.at(field);
        std::vector<double> columns(static_cast<std::size_t>(encoder.GetNColumns()));
        if (encoder.Encode(value, columns) == IMCEncoder::Refused) return {};
        for (const double column : columns)
            if (MCMV::IsMissing(column)) return {};
        return columns;
    }

    const Value& At(const Row& row, const std::string& field) const
    {
        return row[static_cast<std::size_t>(variables.Find(field))];
    }

    /// The value of a part of a term; nothing when the row has none.
    std::optional<double> PartOf(const Row& row, const MCPMMLTerm::Part& part) const
    {
        const Value& value = At(row, part.field);
        if (part.kind == MCPMMLTerm::Part::Column) {
            const auto columns = Columns(part.field, value);
            if (!columns) return {};
            const double x = (*columns)[static_cast<std::size_t>(part.column)];
            return part.exponent == 1 ? x : std::pow(x, part.exponent);
        }
        if (variables.Get(part.field)->Classify(value) != IMCVariable::ValueValid) return {};
        if (part.kind == MCPMMLTerm::Part::Level) return value == part.level ? 1.0 : 0.0;
        const double x =
            value.GetType() == Value::TypeInteger ? static_cast<double>(value.GetInteger()) : value.GetReal();
        return part.exponent == 1 ? x : std::pow(x, part.exponent);
    }

    std::optional<Prediction> Predict(const Row& row) const
    {
        Prediction result;
        if (const auto* const clusters = std::get_if<MCPMMLClustering>(&model)) return PredictCluster(*clusters, row);
        const auto& m = *ModelOf();
        const std::size_t categories = m.categories.size();
        std::vector<double> y(std::max<std::size_t>(categories, 1), 0.0);
        for (const MCPMMLCoefficient& c : m.coefficients) {
            if (c.aliased) continue;
            double term = 1.0;
            for (const MCPMMLTerm::Part& part : m.terms[static_cast<std::size_t>(c.term)].parts) {
                const auto x = PartOf(row, part);
                if (!x) return {};
                term *= *x;
            }
            result.scale = std::max(result.scale, std::fabs(c.estimate * term));
            for (std::size_t i = 0; i < y.size(); ++i)
                if (c.category < 0 || c.category == static_cast<int>(i)) y[i] += c.estimate * term;
        }
        double add = offset, times = factor;
        for (const auto& [name, number] : {std::pair(&offsetField, &add), std::pair(&trialsField, &times)}) {
            if (name->empty()) continue;
            if (At(row, *name).IsNull()) return {};
            *number = At(row, *name).GetReal();
        }
        if (categories == 0) {
            // Behind a link that bends, the scale of the terms says nothing: those documents keep them moderate.
            const double value = link(y[0] + add) * times;
            if (value != y[0]) result.scale = 0.0;
            result.numbers = {value};
            return result;
        }
        result.scale = 0.0;
        result.numbers = Probabilities(y, m);
        return result;
    }

    /// The verification: up to so many rows that have a prediction.
    std::vector<MCPMMLVerification> Verification(std::size_t most) const
    {
        std::vector<MCPMMLVerification> cases;
        for (const Row& row : rows)
            if (const auto p = Predict(row); p && cases.size() < most) cases.push_back({row, p->numbers});
        return cases;
    }

    MCPMMLExporter Exporter(bool verified = true) const
    {
        MCPMMLExporter exporter(variables);
        exporter.SetHeader("", "modelcore tests", "1", "2000-01-01T00:00:00");
        for (const auto& [field, encoder] : encoders)
            if (!exporter.SetEncoder(field, *encoder)) throw std::runtime_error("no encoder for " + field);
        std::visit(
            [&](const auto& one) {
                using T = std::decay_t<decltype(one)>;
                if constexpr (std::is_same_v<T, MCPMMLRegression>) exporter.AddRegression(one);
                if constexpr (std::is_same_v<T, MCPMMLGeneralRegression>) exporter.AddGeneralRegression(one);
                if constexpr (std::is_same_v<T, MCPMMLClustering>) exporter.AddClustering(one);
            },
            model);
        if (target) exporter.SetTarget(*target);
        exporter.SetShowColumns(showColumns);
        if (verified && !target) exporter.AddVerification(Verification(20), 1e-10);
        return exporter;
    }

    void Write(const std::string& path, const std::function<void(MCPMMLExporter&)>& more = {}) const
    {
        MCPMMLExporter exporter = Exporter();
        if (more) more(exporter);
        std::string problem;
        MCCommon_930::MCStatus status;
        const std::unique_ptr<XMLElement> root(exporter.Create(&status, &problem));
        if (!root) throw std::runtime_error(path + ": " + problem);
        std::ofstream document(path + ".pmml", std::ios::binary);
        WriteTreeUTF8(document, nullptr, root.get(), true);
        WriteCases(path + ".cases", exporter.GetOutputNames());
    }

private:
    const MCPMMLModel* ModelOf() const
    {
        if (const auto* const regression = std::get_if<MCPMMLRegression>(&model)) return regression;
        return std::get_if<MCPMMLGeneralRegression>(&model);
    }

    std::vector<double> Probabilities(const std::vector<double>& y, const MCPMMLModel& m) const
    {
        const std::size_t categories = m.categories.size();
        std::vector<double> p(categories, 0.0);
        const auto* const general = std::get_if<MCPMMLGeneralRegression>(&model);
        const auto* const regression = std::get_if<MCPMMLRegression>(&model);
        const bool softmax = general != nullptr ? general->type == MCPMMLGeneralRegression::MultinomialLogistic
                                                : regression->normalization == MCPMMLRegression::Softmax;
        const bool share = regression != nullptr && regression->normalization == MCPMMLRegression::SimpleMax;
        if (softmax || share) {
            double sum = 0.0;
            for (std::size_t i = 0; i < categories; ++i) sum += p[i] = softmax ? std::exp(y[i]) : y[i];
            for (double& one : p) one /= sum;
        } else if (general != nullptr && general->type == MCPMMLGeneralRegression::OrdinalMultinomial) {
            double before = 0.0;
            for (std::size_t i = 0; i + 1 < categories; ++i) {
                const double now = link(y[i]);
                p[i] = now - before;
                before = now;
            }
            p.back() = 1.0 - before;
        } else {
            const std::size_t event = general != nullptr && general->reference == 0 ? 1 : 0;
            p[event] = link(y[0]);
            p[1 - event] = 1.0 - p[event];
        }
        return p;
    }

    std::optional<Prediction> PredictCluster(const MCPMMLClustering& m, const Row& row) const
    {
        std::vector<double> x;
        for (const MCPMMLClustering::Field& field : m.fields) {
            MCPMMLTerm term;
            const auto part = PartOf(row, field.column < 0 ? term.TimesField(field.field).parts[0]
                                                           : term.TimesColumn(field.field, field.column).parts[0]);
            if (!part) return {};
            x.push_back(*part);
        }
        Prediction best;
        for (std::size_t i = 0; i < m.clusters.size(); ++i) {
            double sum = 0.0, most = 0.0;
            for (std::size_t j = 0; j < x.size(); ++j) {
                const double d = std::fabs(x[j] - m.clusters[i].center[j]), w = m.fields[j].weight;
                const bool squared = m.measure <= MCPMMLClustering::SquaredEuclidean;
                sum += w * (squared ? d * d : d);
                most = std::max(most, w * d);
            }
            const double distance = m.measure == MCPMMLClustering::Euclidean   ? std::sqrt(sum)
                                    : m.measure == MCPMMLClustering::Chebychev ? most
                                                                               : sum;
            if (i == 0 || distance < best.numbers[1]) best.numbers = {static_cast<double>(i), distance};
        }
        return best;
    }

    void WriteCases(const std::string& path, const std::vector<std::string>& outputs) const
    {
        std::ofstream out(path, std::ios::binary);
        const bool clusters = std::holds_alternative<MCPMMLClustering>(model);
        const std::size_t categories = clusters ? 0 : ModelOf()->categories.size();
        const std::size_t predicted = clusters ? 2 : 1 + categories;
        for (int i = 0; i < variables.Size(); ++i)
            out << (i > 0 ? "\t" : "") << "i:" << Escaped(variables.Get(i)->GetName());
        for (std::size_t i = 0; i < outputs.size(); ++i)
            out << '\t' << (i < predicted ? "~:" : "=:") << Escaped(outputs[i]);
        for (const Row& row : rows) {
            out << '\n';
            for (std::size_t i = 0; i < row.size(); ++i) out << (i > 0 ? "\t" : "") << Cell(row[i]);
            const auto p = Predict(row);
            for (std::size_t i = 0; i < predicted; ++i) {
                if (!p)
                    out << "\t!";
                else if (categories > 0 && i == 0)
                    out << "\t-";
                else if (clusters && i == 0)
                    out << "\ts:"
                        << std::get<MCPMMLClustering>(model).clusters[static_cast<std::size_t>(p->numbers[0])].name;
                else
                    out << "\tn:" << Digits(p->numbers[i - (categories > 0 ? 1 : 0)]) << '~' << Digits(p->scale);
            }
            for (int i = 0; i < variables.Size() && outputs.size() > predicted; ++i) {
                const auto found = encoders.find(variables.Get(i)->GetName());
                if (found == encoders.end()) continue;
                const auto columns = p ? Columns(found->first, row[static_cast<std::size_t>(i)]) : std::nullopt;
                for (int j = 0; j < found->second->GetNColumns(); ++j)
                    out << '\t' << (columns ? "n:" + Digits((*columns)[static_cast<std::size_t>(j)]) : "-");
            }
        }
        out << '\n';
    }

    static std::string Cell(const Value& value)
    {
        switch (value.GetType()) {
        case Value::TypeNull: return "-";
        case Value::TypeBool: return value.GetBool() ? "b:true" : "b:false";
        case Value::TypeInteger: return "n:" + value.GetString();
        case Value::TypeReal: return MCMV::IsMissing(value.GetReal()) ? "-" : "n:" + Digits(value.GetReal());
        default: return "s:" + Escaped(value.GetString());
        }
    }
};
