// The description as tables, as a document and as a page of pictures.
#pragma once

#include "Summary.h"
#include "common/Results.h"

#include <ostream>

namespace describe {

/// For the terminal, JSON and CSV.
procedure::Results Report(const Options& options, const Description& data, const Summary& summary);

/// A StatXML document.
void WriteDocument(const Options& options, const Description& data, const Summary& summary, std::ostream& out);

/// One SVG page with a panel for each column: its histogram, or bars of its most frequent values.
void WritePage(const Options& options, const Description& data, const Summary& summary, std::ostream& out);

} // namespace describe
