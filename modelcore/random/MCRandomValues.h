// Variates of several distributions from the procedures' uniform source.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/modelcore_export.h"

#include <vector>

namespace MCMath_930 {

class MCURandom;

/// Random numbers, vectors and matrices of a distribution that is chosen by a SetParam... call, drawn from an
/// MCURandom. The RV... members draw a single number of any of the scalar distributions without storing anything.
///
/// The source belongs to the caller and must outlive the object; a copy shares it. Nothing is kept from one draw for
/// the next, so the numbers depend on the source alone. Every method is exact. The number of uniforms a draw takes and
/// their order are part of what each member promises; an unbroken source gives system-missing only where it says so.
/// Without a source, every draw is system-missing or refused.
class MODELCORE_EXPORT MCRandomValues {
public:
    /// What GetRandom draws.
    enum Kind {
        kUniform = 0,
        kNormal = 1,
        kChiSquare = 2,
        kGamma = 3,
        kMultivariateUniform = 4,
        kMultivariateNormal = 5,
        kWishart = 6
    };

    /// The tolerance of an object that was given no other.
    static constexpr double kDefaultTolerance = 1e-12;

    /// No source and no distribution.
    MCRandomValues() = default;

    /// Shares the source.
    MCRandomValues(const MCRandomValues&) = default;

    /// What was moved from keeps its source and tolerance, and has no distribution chosen.
    MCRandomValues(MCRandomValues&&) noexcept = default;

    /// Shares the source. When memory runs out, this object is as it was.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a copy is made and moved
    MCRandomValues& operator=(const MCRandomValues& other) { return internal::AssignByCopy(*this, other); }

    /// As the move above.
    MCRandomValues& operator=(MCRandomValues&&) noexcept = default;

    /// The source stays.
    ~MCRandomValues() = default;

    /// Draws from source from now on; it is not owned. Null is no source.
    void SetURNGPtr(MCURandom* source) { fpSource = source; }

    /// Seeds the source (MCURandom::SetSeed); does nothing without one.
    void SetSeed(unsigned long s);

    /// Sets the tolerance that decides in SetParamNormal and SetParamWishart which rows of a covariance matrix depend
    /// on earlier ones: those whose pivot is at most t times the diagonal element. False, and nothing changed, unless
    /// t > 0.
    bool SetTolerance(double t);

    /// The tolerance for dependent rows.
    double GetTolerance() const { return fTolerance; }

    // ---------------------------------------------------------------------------------------------------------------
    // Choosing a distribution. Each returns false, and what was chosen before stays, when a parameter is outside its
    // domain or not finite.

    /// Uniform on (a, b), a <= b and b - a not beyond the largest double.
    bool SetParamUniform(double a, double b);

    /// Uniform on (0, 1).
    bool SetParamUniform() { return SetParamUniform(0.0, 1.0); }

    /// Normal, sd >= 0.
    bool SetParamNormal(double mean, double sd);

    /// Standard normal.
    bool SetParamNormal() { return SetParamNormal(0.0, 1.0); }

    /// Chi-square, df > 0 degrees of freedom.
    bool SetParamChi(double df);

    /// Gamma with shape > 0 and rate > 0, mean shape / rate.
    bool SetParamGamma(double shape, double rate);

    /// Vectors of independent uniforms: element i on (a[i], b[i]), which are as in one dimension. The vectors have one
    /// length, at least 1.
    bool SetParamUniform(const std::vector<double>& a, const std::vector<double>& b);

    /// The same with n >= 1 elements on (0, 1).
    bool SetParamUniform(int n);

    /// Vectors of the multivariate normal distribution with the given mean and covariance matrix sd^2 * covariance.
    ///
    /// The covariance matrix is factored here, once: covariance = L*L' by MCSymMatrix::LTChol with the object's
    /// tolerance. It may be singular; a row that the tolerance finds dependent on earlier rows is drawn as that linear
    /// combination of them. A matrix that is not positive semidefinite is refused: one of which more is left over
    /// beside L*L' than the tolerance allows.
    ///
    /// @param mean        as many elements as the matrix has rows, at least 1
    /// @param sd          >= 0, multiplies the deviation from the mean
    bool SetParamNormal(const std::vector<double>& mean, double sd, const MCSymMatrix& covariance);

    /// Vectors of n >= 1 independent standard normals.
    bool SetParamNormal(int n);

    /// Matrices of the Wishart distribution of order n >= 1: the cross products of df independent normal vectors with
    /// mean 0 and covariance matrix scale; df need not be whole. The mean is df * scale. The matrix is factored as in
    /// SetParamNormal.
    ///
    /// @param n   at most MCSymMatrix::kMaxRows, and the order of scale
    /// @param df  > n - 1
    bool SetParamWishart(int n, double df, const MCSymMatrix& scale);

    /// The same with the identity for the scale.
    bool SetParamWishart(int n, double df);

    // ---------------------------------------------------------------------------------------------------------------
    // Drawing

    /// A number of the chosen distribution: RVUni, RVNor, RVChi or RVGam. System-missing when none was chosen or the
    /// kind is one of vectors or matrices.
    double GetRandom();

    /// A vector of the chosen distribution; x gets its length. The uniforms, or standard normals z (RVSNor), are drawn
    /// in the order of the elements, one for each even where the matrix is singular; a normal vector is
    /// mean[i] + sd * (L(i,0)*z[0] + ... + L(i,i)*z[i]), summed in this order.
    /// @return  false, and x as it was, when the kind is another or a draw is missing
    bool GetRandom(std::vector<double>& x);

    /// A matrix of the Wishart distribution, L*A*A'*L', where A is M. S. Bartlett's lower triangle (Proceedings of the
    /// Royal Society of Edinburgh 53 (1933), 260-283): A(i,i) is the root of a chi-square with df - i degrees of
    /// freedom (RVChi), the elements before it are standard normal (RVSNor), drawn row by row from left to right.
    /// @param x  gets order n
    /// @return  false, and x as it was, when the kind is another or a draw is missing
    bool GetRandom(MCSymMatrix& x);

    /// a + (b - a) * u, one uniform. System-missing unless a <= b.
    double RVUni(double a, double b);

    /// A standard normal number: Kinderman and Ramage (1976) with the correction of Tirler, Dalgaard, Hoermann and
    /// Leydold (2004), as MCRNGNormal draws it; 2.16 uniforms on average.
    double RVSNor();

    /// mean + sd * RVSNor(); the mean itself, with nothing drawn, for sd = 0. System-missing unless sd >= 0.
    double RVNor(double mean, double sd);

    /// Exponential with mean 1 / rate: -ln(1 - u) / rate, one uniform. System-missing unless rate > 0, and for u = 1,
    /// which only the C runtime's and a caller's generator give.
    double RVExp(double rate);

    /// Gamma with the given shape and mean shape / rate. System-missing unless both are above 0 and shape is finite.
    ///
    /// shape = 1   RVExp.
    /// shape > 1   G. S. Fishman, Communications of the ACM 19 (1976), 407-409: two uniforms for each trial, of which
    ///             sqrt(shape) are needed on average. After 1000 times as many, at most 2^27, the result is
    ///             system-missing, which a sound source never brings about for a shape below 1e10. A shape of 1e14
    ///             takes 0.2 s.
    /// shape < 1   algorithm GS of Ahrens and Dieter, Computing 12 (1974), 223-246: two uniforms for each trial, the
    ///             first drawn again while it is 0. Shapes so small that the variate underflows give 0.
    double RVGam(double shape, double rate);

    /// Chi-square with df degrees of freedom: RVGam(df / 2, 0.5). System-missing unless df > 0.
    double RVChi(double df);

    /// The normal density above the triangle that Kinderman and Ramage cut out of it:
    /// max(0, 0.3989422804014327*exp(-t*t/2) - 0.180025191068563*max(0, 2.216035867166471 - |t|)), and 0 for t = 0.
    static double RVAuxF(double t);

    /// Writes the kind, its parameters and the tolerance to the diagnostic text stream.
    void Display() const;

private:
    bool Choose(Kind kind, double first, double second);
    void DisplayMultivariate() const;
    bool FactorOf(const MCSymMatrix& covariance, MCSymMatrix& factor) const;

    /// Calls body with a function that draws the next uniform; there is a source.
    template <class Body>
    double Draw(Body body);

    /// What RVSNor and RVNor share; there is a source.
    double StandardNormal();

    MCURandom* fpSource = nullptr;
    internal::EmptiedOnMove<bool> fParametersSet = false;
    Kind fKind = kUniform;
    double fTolerance = kDefaultTolerance;
    double fFirst = 0.0;                      // lower bound, mean, degrees of freedom or shape
    double fSecond = 0.0;                     // upper bound, standard deviation or rate
    internal::EmptiedOnMove<int> fnOrder = 0; // of the vectors and matrices
    std::vector<double> fvFirst;              // lower bounds or means
    std::vector<double> fvSecond;             // upper bounds
    MCSymMatrix fFactor;                      // L; empty for the identity
};

} // namespace MCMath_930
