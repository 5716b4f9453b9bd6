// How good a model was, as an element of a PMML document.
#pragma once

#include "modelcore/pmml/MCPMMLModels.h"
#include "modelcore/pmml/internal/PMMLWriter.h"

#include <string>

namespace MCXML_930::internal {

/// Fills an element PredictiveModelQuality.
void WritePMMLQuality(PMMLWriter& writer, XMLElement& quality, const std::string& target, const MCPMMLQuality& q);

} // namespace MCXML_930::internal
