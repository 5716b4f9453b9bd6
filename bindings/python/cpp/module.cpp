// The extension module.
#include "Common.h"

namespace modelcore_python {
void RegisterPmml(nb::module_& m);
}

NB_MODULE(_core, m)
{
    using namespace modelcore_python;
    m.doc() = "The compiled part of modelcore.";
    RegisterSymMatrix(m);
    RegisterState(m);
    RegisterCrossProducts(m);
    RegisterExactProducts(m);
    RegisterPairwiseProducts(m);
    RegisterSummary(m);
    RegisterCategories(m);
    RegisterSparseRows(m);
    RegisterStats(m);
    RegisterStatsNoncentral(m);
    RegisterRandom(m);
    RegisterFit(m);
    RegisterEncoders(m);
    RegisterCharts(m);
    RegisterStatXml(m);
    RegisterPmml(m);
    m.def("version", &MCCommon_930::MCVersion::GetText, "The version of the library that is loaded.");
}
