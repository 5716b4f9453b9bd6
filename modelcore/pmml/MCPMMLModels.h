// What a PMML document is made from: models, targets, quality and rows that prove the model.
#pragma once

#include "modelcore/accumulators/LiftInfo.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/common/Value.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/modelcore_export.h"

#include <cstdint>
#include <string>
#include <vector>

namespace MCXML_930 {

/// What a coefficient is multiplied by: the product of its parts; 1, the intercept, without any.
struct MODELCORE_EXPORT MCPMMLTerm {
    /// A factor of the product.
    struct Part {
        /// What the factor is.
        enum Kind : std::int32_t {
            Field, ///< the value of a field without an encoder, raised to the exponent
            Level, ///< 1 where a field without an encoder has the value level, else 0
            Column ///< a column of the field's encoder, raised to the exponent
        };
        Kind kind = Field;         ///< what it is; says which of the others count
        std::string field;         ///< the name of a variable of the list
        int exponent = 1;          ///< of a Field or Column
        int column = 0;            ///< of a Column: which of its encoder's
        MCCommon_930::Value level; ///< of a Level: the value it stands for
    };

    std::string name;        ///< of the parameter in the document; each name once in a model
    std::vector<Part> parts; ///< none: the intercept

    /// A term without parts, which is the intercept.
    explicit MCPMMLTerm(std::string termName = {}) : name(std::move(termName)) {}

    /// @name The same term with one part more: MCPMMLTerm("x^2*cut=Ideal").TimesField("x", 2).TimesLevel("cut", "Ideal")
    /// A field stands in a term once.
    /// @{
    /// By the value of a field without an encoder, raised to the exponent.
    MCPMMLTerm& TimesField(const std::string& field, int exponent = 1);
    /// By 1 where a field without an encoder has the value, else 0.
    MCPMMLTerm& TimesLevel(const std::string& field, const MCCommon_930::Value& level);
    /// By a column of the field's encoder, raised to the exponent.
    MCPMMLTerm& TimesColumn(const std::string& field, int column = 0, int exponent = 1);
    /// @}
};

/// One estimate of a model.
struct MODELCORE_EXPORT MCPMMLCoefficient {
    int term = 0;          ///< place among the model's terms
    double estimate = 0.0; ///< finite, unless it is aliased
    int category = -1;     ///< place of the target's category whose equation it belongs to; -1: it belongs to all
    bool aliased = false;  ///< not estimated: it counts 0, is left out, and an Extension names it
};

/// What regression models share. The linear predictor of a category is the sum of estimate * term over its
/// coefficients, in their order.
struct MODELCORE_EXPORT MCPMMLModel {
    std::string name;                            ///< may be empty
    std::string algorithm;                       ///< for people; may be empty
    std::string target;                          ///< a variable of the list
    std::vector<MCPMMLTerm> terms;               ///< what the coefficients are multiplied by
    std::vector<MCPMMLCoefficient> coefficients; ///< the estimates
    /// The target's categories, at least two, for a model that predicts one of them; empty for one that predicts a number.
    std::vector<MCCommon_930::Value> categories;
};

/// A RegressionModel: one equation, or one for each category, and a normalization that makes predictions or
/// probabilities of them.
struct MODELCORE_EXPORT MCPMMLRegression : MCPMMLModel {
    /// With y the linear predictor, a number is predicted as y (None), 1/(1 + exp(-y)) (Logit and Softmax), exp(y) (Exp),
    /// the normal distribution at y (Probit), 1 - exp(-exp(y)) (CLogLog), exp(-exp(-y)) (LogLog), or
    /// 1/2 + atan(y)/pi (Cauchit). SimpleMax and Softmax of several categories divide y or exp(y) by its sum.
    ///
    /// Of categories, SimpleMax and Softmax take an equation each (one without coefficients is 0). The others are for
    /// two categories: the first has the probability of its equation, the second what is left.
    enum Normalization : std::int32_t { None, SimpleMax, Softmax, Logit, Probit, CLogLog, Exp, LogLog, Cauchit };
    Normalization normalization = None; ///< what makes a prediction of the linear predictor
};

/// A GeneralRegressionModel: parameters, their correlation with predictors, and the covariance of the estimates. It has
/// an estimate that is not aliased: evaluators read no document without.
struct MODELCORE_EXPORT MCPMMLGeneralRegression : MCPMMLModel {
    /// What the model predicts, and how.
    enum Type : std::int32_t {
        GeneralLinear,       ///< predicts the linear predictor
        GeneralizedLinear,   ///< predicts the inverse of the link at the linear predictor plus the offset
        MultinomialLogistic, ///< probabilities exp(y of the category), 1 for the reference, divided by their sum
        OrdinalMultinomial   ///< P(category <= j) = F(intercept of j + the other terms); mind the sign of the latter
    };
    /// Cauchit is for OrdinalMultinomial alone; Log and those from LogC on for GeneralizedLinear alone.
    enum Link : std::int32_t { Identity, Log, Logit, Probit, CLogLog, LogLog, Cauchit, LogC, Power, OddsPower, NegBin };
    /// The distribution of the target, as the document says it.
    enum Distribution : std::int32_t { Normal, Binomial, Poisson, Gamma, InverseGauss, NegativeBinomial, Tweedie };

    Type type = GeneralLinear;                                        ///< what is predicted
    Link link = Identity;                                             ///< of GeneralizedLinear and OrdinalMultinomial
    Distribution distribution = Normal;                               ///< of the target
    double linkParameter = MCCommon_930::MCMV::gMissingValue;         ///< of Power and OddsPower
    double distributionParameter = MCCommon_930::MCMV::gMissingValue; ///< of NegativeBinomial (NegBin too) and Tweedie
    double residualDF = MCCommon_930::MCMV::gMissingValue;            ///< written as modelDF; missing: not written
    /// A continuous field that is added to the linear predictor; GeneralizedLinear alone, for evaluators ignore it elsewhere.
    std::string offsetField;
    double offset = MCCommon_930::MCMV::gMissingValue; ///< or a constant
    std::string trialsField; ///< of Binomial without categories: how many trials a case stands for
    int trials = 0;          ///< or a constant; 0: none
    /// The reference category, whose equation is 0, of MultinomialLogistic, and the one that is not the event of a
    /// GeneralizedLinear model of two categories; -1: the last. OrdinalMultinomial has the last one always.
    int reference = -1;
    /// Of the estimates that are not aliased, in their order; of order 0: not written.
    MCMath_930::MCSymMatrix covariance{0};
};

/// A ClusteringModel: a case belongs to the cluster whose center is nearest. A case with a missing field belongs to none;
/// an encoder whose refusals evaluators would pass over (limits that refuse while a missing value is served; text that
/// refuses what it has not seen) is NotExpressible.
struct MODELCORE_EXPORT MCPMMLClustering {
    /// Of the differences d, each multiplied by its field's weight as the format has it: sqrt(sum w d^2), sum w d^2,
    /// sum w |d|, max w |d|.
    enum Measure : std::int32_t { Euclidean, SquaredEuclidean, CityBlock, Chebychev };
    /// An input of the distance.
    struct Field {
        std::string field;   ///< the name of a variable of the list
        int column = -1;     ///< of the field's encoder; -1 for a field without one
        double weight = 1.0; ///< of the field in the distance
    };
    /// One cluster.
    struct Cluster {
        std::string name;                                ///< "1", "2", ... when it is empty
        std::vector<double> center;                      ///< a finite number for each field
        double size = MCCommon_930::MCMV::gMissingValue; ///< cases; missing: not written
    };

    std::string name;                   ///< may be empty
    std::string algorithm;              ///< for people; may be empty
    Measure measure = SquaredEuclidean; ///< the distance
    std::vector<Field> fields;          ///< the coordinates of a case
    std::vector<Cluster> clusters;      ///< of which the nearest one is predicted
};

/// What is done to the predicted number, and what is known of the target's categories before anything else is.
struct MODELCORE_EXPORT MCPMMLTarget {
    /// How the predicted number becomes a whole one.
    enum Cast : std::int32_t { NotCast, Round, Ceiling, Floor };
    double min = MCCommon_930::MCMV::gMissingValue; ///< smaller predictions become this; missing: none
    double max = MCCommon_930::MCMV::gMissingValue; ///< larger predictions become this; missing: none
    double rescaleFactor = 1.0;                     ///< after the limits: prediction * factor + constant
    double rescaleConstant = 0.0;                   ///< see rescaleFactor
    Cast cast = NotCast;                            ///< last of all
    std::vector<double> priorProbabilities;         ///< of the categories; empty: not written
};

/// How good the model was on some data. Numbers that are missing are not written.
struct MODELCORE_EXPORT MCPMMLQuality {
    /// A number that is not known and not written.
    static constexpr double kNone = MCCommon_930::MCMV::gMissingValue;
    /// What the data were to the model.
    enum Usage : std::int32_t { Training, Test, Validation };

    std::string dataName;   ///< what the data are called; may be empty
    Usage usage = Training; ///< what the data were to the model
    /// Of the differences between observed and predicted numbers.
    double meanError = kNone, meanAbsoluteError = kNone, meanSquaredError = kNone, rootMeanSquaredError = kNone;
    /// Shares of the variation that the model explains, and sums of squares.
    double rSquared = kNone, adjustedRSquared = kNone, sumSquaredError = kNone, sumSquaredRegression = kNone;
    /// Counts, and the F statistic of the model.
    double records = kNone, weightedRecords = kNone, predictors = kNone, degreesOfFreedom = kNone, fStatistic = kNone;
    /// Information criteria.
    double aic = kNone, bic = kNone, aicc = kNone;
    /// Of a model that predicts a category; auc is the area under the receiver operating curve.
    double accuracy = kNone, auc = kNone, precision = kNone, recall = kNone, specificity = kNone;

    /// A gains table (see GainsChart): after each segment the cases so far, the hits or the sum so far, and the least score
    /// of the segment.
    struct Lift {
        MCCommon_930::Value category;               ///< null for a model that predicts a number
        std::vector<MCMath_930::LiftInfo> segments; ///< from the highest scores down
    };
    /// One gains table, or one a category.
    std::vector<Lift> lifts;

    /// A point of the receiver operating curve: what happens with the score as cutoff.
    struct RocPoint {
        /// The rates from 0 to 1, and the score from which on a case counts as the event.
        double falsePositiveRate, truePositiveRate, cutoff;
    };
    MCCommon_930::Value rocCategory; ///< the event
    std::vector<RocPoint> roc;       ///< empty: none

    /// The labels of rows (observed) and columns (predicted), and the weights row by row; empty: none. See
    /// MCClassificationMatrix.
    std::vector<MCCommon_930::Value> confusionLabels;
    /// The weights of the table, row by row.
    std::vector<double> confusion;
};

/// A case and what the model makes of it.
struct MODELCORE_EXPORT MCPMMLVerification {
    /// One value for each variable of the list, in its order. Those that the model does not use are not looked at.
    std::vector<MCCommon_930::Value> values;
    /// The number predicted; or the probability of each category; or place of and distance from the nearest cluster.
    /// All are finite.
    std::vector<double> predictions;
};

} // namespace MCXML_930
