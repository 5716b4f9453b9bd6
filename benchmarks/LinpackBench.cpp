// The LINPACK and BLAS level 1 routines beside OpenBLAS (LAPACK) on one thread and beside the plain published loops.
#include "modelcore/linalg/Blas1.h"
#include "modelcore/linalg/Linpack.h"
#include "reference/plain/LinpackLoops.h"
#include "support/Inputs.h"
#include "support/PeerTable.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

extern "C" {
void dgetrf_(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
void dgetri_(const int* n, double* a, const int* lda, const int* ipiv, double* work, const int* lwork, int* info);
void dpotrf_(const char* uplo, const int* n, double* a, const int* lda, int* info);
void dpptrf_(const char* uplo, const int* n, double* ap, int* info);
void dgeqrf_(const int* m, const int* n, double* a, const int* lda, double* tau, double* work, const int* lwork,
             int* info);
void dgeqp3_(const int* m, const int* n, double* a, const int* lda, int* jpvt, double* tau, double* work,
             const int* lwork, int* info);
void dsytrf_(const char* uplo, const int* n, double* a, const int* lda, int* ipiv, double* work, const int* lwork,
             int* info);
void dsytrs_(const char* uplo, const int* n, const int* nrhs, const double* a, const int* lda, const int* ipiv,
             double* b, const int* ldb, int* info);
void dtrtri_(const char* uplo, const char* diag, const int* n, double* a, const int* lda, int* info);
void dgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, double* a, const int* lda, double* s,
             double* u, const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork, int* info);
double ddot_(const int* n, const double* x, const int* incx, const double* y, const int* incy);
double dnrm2_(const int* n, const double* x, const int* incx);
double dasum_(const int* n, const double* x, const int* incx);
void daxpy_(const int* n, const double* a, const double* x, const int* incx, double* y, const int* incy);
void dscal_(const int* n, const double* a, double* x, const int* incx);
int idamax_(const int* n, const double* x, const int* incx);
}

namespace {

using MCMath_930::Blas1;
using MCMath_930::Linpack;

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
}

/// A square matrix and everything that any of the routines wants beside it.
struct Slot {
    Plain::Matrix a;
    std::vector<int> pivots;
    std::vector<double> first, second, work, u, v;

    void Copy(const Slot& from)
    {
        std::copy(from.a.values.begin(), from.a.values.end(), a.values.begin());
        pivots = from.pivots;
    }

    /// The diagonal without signs, in which all contenders of an operation must agree.
    std::vector<double> Diagonal(int n, bool packed)
    {
        std::vector<double> diagonal;
        for (int i = 0; i < n; ++i)
            diagonal.push_back(std::fabs(packed ? a.values[Size(i) * Size(i + 3) / 2] : a(i, i)));
        return diagonal;
    }
};

struct Contender {
    const char* name;
    std::function<void(Slot&, int n)> run;
    bool plain = false;
    std::function<void(Slot&, int n)> finish = nullptr; // makes what is compared from the result, untimed
};

struct Operation {
    const char* name;
    double flops; // times n^3
    std::function<Slot(int n)> input;
    std::vector<Contender> contenders;
    int largest = 2000;
    bool packed = false;
    bool compareFirst = false; // the result to compare is in `first`, not on the diagonal
};

constexpr int kLargestPlain = 1000;
constexpr int kLargestWithVectors = 1000;

Slot General(int n)
{
    const std::size_t size = Size(n);
    Slot slot{
        {peers::Uniforms(size * size, -1.0, 1.0, std::uint64_t(n)), n}, std::vector<int>(size), {}, {}, {}, {}, {}};
    for (std::vector<double>* const vector : {&slot.first, &slot.second}) vector->resize(size + 1);
    slot.work.resize(64 * size + 8 * size);
    return slot;
}

Slot WithVectors(int n)
{
    Slot slot = General(n);
    slot.u.resize(Size(n) * Size(n));
    slot.v.resize(Size(n) * Size(n));
    return slot;
}

Slot Dominant(int n)
{
    Slot slot = General(n);
    for (int i = 0; i < n; ++i) slot.a(i, i) = 0.6 * n + i % 3;
    return slot;
}

Slot PackedDominant(int n)
{
    Slot slot = Dominant(n);
    std::vector<double> packed;
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) packed.push_back(slot.a(i, j));
    std::copy(packed.begin(), packed.end(), slot.a.values.begin());
    return slot;
}

Slot FactoredByUs(int n)
{
    Slot slot = General(n);
    Linpack::Dgefa(slot.a.values.data(), n, n, slot.pivots.data());
    return slot;
}

/// dgetri takes factors whose multipliers follow the later row exchanges and are not negated.
void ToLapackFactors(Slot& slot, int n)
{
    for (int j = 0; j < n; ++j) {
        for (int k = j + 1; k < n; ++k) std::swap(slot.a(k, j), slot.a(slot.pivots[Size(k)] - 1, j));
        for (int i = j + 1; i < n; ++i) slot.a(i, j) = -slot.a(i, j);
    }
}

Slot NoPivots(Slot slot)
{
    std::fill(slot.pivots.begin(), slot.pivots.end(), 0);
    return slot;
}

void SolveForOnes(Slot& slot, int n)
{
    std::fill(slot.first.begin(), slot.first.end(), 1.0);
    Linpack::Dsisl(slot.a.values.data(), n, n, slot.pivots.data(), slot.first.data());
}

std::vector<Operation> Operations()
{
    static int info;
    const auto lwork = [](const Slot& slot) { return static_cast<int>(slot.work.size()); };
    return {
        {"Dgefa",
         2.0 / 3,
         General,
         {{"modelcore", [](Slot& s, int n) { Linpack::Dgefa(s.a.values.data(), n, n, s.pivots.data()); }},
          {"OpenBLAS dgetrf", [](Slot& s, int n) { dgetrf_(&n, &n, s.a.values.data(), &n, s.pivots.data(), &info); }},
          {"plain loop", [](Slot& s, int n) { Plain::Dgefa(s.a, n, s.pivots); }, true}}},
        {"Dgedi",
         4.0 / 3,
         FactoredByUs,
         {{"modelcore",
           [](Slot& s, int n) { Linpack::Dgedi(s.a.values.data(), n, n, s.pivots.data(), nullptr, s.work.data(), 1); }},
          {"OpenBLAS dgetri",
           [lwork](Slot& s, int n) {
               const int size = lwork(s);
               dgetri_(&n, s.a.values.data(), &n, s.pivots.data(), s.work.data(), &size, &info);
           }},
          {"plain loop", [](Slot& s, int n) { Plain::DgediInverse(s.a, n, s.pivots); }, true}}},
        {"Dtrdi",
         1.0 / 3,
         Dominant,
         {{"modelcore", [](Slot& s, int n) { Linpack::Dtrdi(s.a.values.data(), n, n, nullptr, 11); }},
          {"OpenBLAS dtrtri", [](Slot& s, int n) { dtrtri_("U", "N", &n, s.a.values.data(), &n, &info); }},
          {"plain loop", [](Slot& s, int n) { Plain::InvertUpper(s.a, n); }, true}}},
        {"Dpofa",
         1.0 / 3,
         Dominant,
         {{"modelcore", [](Slot& s, int n) { Linpack::Dpofa(s.a.values.data(), n, n); }},
          {"OpenBLAS dpotrf", [](Slot& s, int n) { dpotrf_("U", &n, s.a.values.data(), &n, &info); }},
          {"plain loop", [](Slot& s, int n) { Plain::Dpofa(s.a, n); }, true}}},
        {"Dppfa",
         1.0 / 3,
         PackedDominant,
         {{"modelcore", [](Slot& s, int n) { Linpack::Dppfa(s.a.values.data(), n); }},
          {"OpenBLAS dpptrf", [](Slot& s, int n) { dpptrf_("U", &n, s.a.values.data(), &info); }}},
         2000,
         true},
        {"Dsifa",
         1.0 / 3,
         General,
         {{"modelcore", [](Slot& s, int n) { Linpack::Dsifa(s.a.values.data(), n, n, s.pivots.data()); }, false,
           SolveForOnes},
          {"OpenBLAS dsytrf",
           [lwork](Slot& s, int n) {
               const int size = lwork(s);
               dsytrf_("U", &n, s.a.values.data(), &n, s.pivots.data(), s.work.data(), &size, &info);
           },
           false,
           [](Slot& s, int n) { // the two choose other pivots, so only what the factors solve agrees
               const int one = 1;
               std::fill(s.first.begin(), s.first.end(), 1.0);
               dsytrs_("U", &n, &one, s.a.values.data(), &n, s.pivots.data(), s.first.data(), &n, &info);
           }},
          {"plain loop", [](Slot& s, int n) { Plain::Dsifa(s.a, n, s.pivots); }, true, SolveForOnes}},
         2000,
         false,
         true},
        {"Dqrdc",
         4.0 / 3,
         General,
         {{"modelcore",
           [](Slot& s, int n) { Linpack::Dqrdc(s.a.values.data(), n, n, n, s.first.data(), nullptr, nullptr, 0); }},
          {"OpenBLAS dgeqrf",
           [lwork](Slot& s, int n) {
               const int size = lwork(s);
               dgeqrf_(&n, &n, s.a.values.data(), &n, s.first.data(), s.work.data(), &size, &info);
           }},
          {"plain loop", [](Slot& s, int n) { Plain::Dqrdc(s.a, n, n, s.first, s.pivots, false); }, true}}},
        {"Dqrdc pivoted",
         4.0 / 3,
         [](int n) { return NoPivots(General(n)); },
         {{"modelcore",
           [](Slot& s, int n) {
               Linpack::Dqrdc(s.a.values.data(), n, n, n, s.first.data(), s.pivots.data(), s.second.data(), 1);
           }},
          {"OpenBLAS dgeqp3",
           [lwork](Slot& s, int n) {
               const int size = lwork(s);
               dgeqp3_(&n, &n, s.a.values.data(), &n, s.pivots.data(), s.first.data(), s.work.data(), &size, &info);
           }},
          {"plain loop", [](Slot& s, int n) { Plain::Dqrdc(s.a, n, n, s.first, s.pivots, true); }, true}}},
        {"Dsvdc with vectors",
         21.0,
         WithVectors,
         {{"modelcore",
           [](Slot& s, int n) {
               Linpack::Dsvdc(s.a.values.data(), n, n, n, s.first.data(), s.second.data(), s.u.data(), n, s.v.data(), n,
                              s.work.data(), 11);
           }},
          {"OpenBLAS dgesvd",
           [lwork](Slot& s, int n) {
               const int size = lwork(s);
               dgesvd_("A", "A", &n, &n, s.a.values.data(), &n, s.first.data(), s.u.data(), &n, s.v.data(), &n,
                       s.work.data(), &size, &info);
           }}},
         1000,
         false,
         true},
    };
}

/// The slots of order n, shared by all operations: only one is timed at a time, and each restores its input first.
std::vector<Slot>& Slots(int n)
{
    static std::map<int, std::vector<Slot>> slots;
    std::vector<Slot>& found = slots[n];
    if (found.empty()) found.assign(Size(std::max(1, 100 / n)), n <= kLargestWithVectors ? WithVectors(n) : General(n));
    return found;
}

void Register(const Operation& operation, int n)
{
    const std::string name = std::string(operation.name) + "/n:" + std::to_string(n);
    const peers::Work work{operation.flops * n * n * n, "GFLOP", 1e9};
    const auto original = std::make_shared<Slot>(operation.input(n));
    original->work.clear();
    std::vector<double> expected;
    for (const Contender& contender : operation.contenders) {
        if (contender.plain && n > kLargestPlain) continue;
        const bool converts = std::string(contender.name) == "OpenBLAS dgetri";
        const auto prepare = [original, converts, n](Slot& slot) {
            slot.Copy(*original);
            if (converts) ToLapackFactors(slot, n);
        };
        Slot& check = Slots(n).front();
        prepare(check);
        contender.run(check, n);
        if (contender.finish) contender.finish(check, n);
        std::vector<double> result = operation.compareFirst ? check.first : check.Diagonal(n, operation.packed);
        result.resize(Size(n));
        if (expected.empty()) expected = result;
        double worst = 0.0;
        for (std::size_t i = 0; i < expected.size(); ++i)
            worst = std::max(worst, std::fabs(result[i] - expected[i]) / (1e-3 + std::fabs(expected[i])));
        if (worst > 1e-6)
            peers::Refuse(name, contender.name, "results disagree");
        else
            peers::Add(
                name, contender.name, work, static_cast<int>(Slots(n).size()),
                [=](int slot) { prepare(Slots(n)[Size(slot)]); },
                [=](int slot) { contender.run(Slots(n)[Size(slot)], n); });
    }
}

void RegisterLevel1(int n)
{
    const auto x = std::make_shared<std::vector<double>>(peers::Uniforms(Size(n), -1.0, 1.0, 1));
    const auto y = std::make_shared<std::vector<double>>(peers::Uniforms(Size(n), -1.0, 1.0, 2));
    const std::string size = "/n:" + std::to_string(n);
    const int one = 1;
    const double tiny = 1e-9;
    const double unit = -1.0; // keeps the vector in range however often it is scaled
    const peers::Work work{double(n), "Gelement", 1e9};
    peers::Add("DDot" + size, "modelcore", work, [=] { peers::Keep(Blas1::DDot(n, x->data(), 1, y->data(), 1)); });
    peers::Add("DDot" + size, "OpenBLAS", work, [=] { peers::Keep(ddot_(&n, x->data(), &one, y->data(), &one)); });
    peers::Add("DASum" + size, "modelcore", work, [=] { peers::Keep(Blas1::DASum(n, x->data(), 1)); });
    peers::Add("DASum" + size, "OpenBLAS", work, [=] { peers::Keep(dasum_(&n, x->data(), &one)); });
    peers::Add("DNrm2" + size, "modelcore", work, [=] { peers::Keep(Blas1::DNrm2(n, x->data(), 1)); });
    peers::Add("DNrm2" + size, "OpenBLAS", work, [=] { peers::Keep(dnrm2_(&n, x->data(), &one)); });
    peers::Add("IDAMax" + size, "modelcore", work, [=] { peers::Keep(Blas1::IDAMax(n, x->data(), 1)); });
    peers::Add("IDAMax" + size, "OpenBLAS", work, [=] { peers::Keep(idamax_(&n, x->data(), &one)); });
    peers::Add("Daxpy" + size, "modelcore", work, [=] { Blas1::Daxpy(n, tiny, x->data(), 1, y->data(), 1); });
    peers::Add("Daxpy" + size, "OpenBLAS", work, [=] { daxpy_(&n, &tiny, x->data(), &one, y->data(), &one); });
    peers::Add("DScal" + size, "modelcore", work, [=] { Blas1::DScal(n, unit, x->data(), 1); });
    peers::Add("DScal" + size, "OpenBLAS", work, [=] { dscal_(&n, &unit, x->data(), &one); });
}

} // namespace

void RegisterContenders()
{
    for (const Operation& operation : Operations())
        for (const int n : {10, 20, 50, 100, 500, 1000, 2000})
            if (n <= operation.largest) Register(operation, n);
    for (const int n : {10, 100, 1000}) RegisterLevel1(n);
}
