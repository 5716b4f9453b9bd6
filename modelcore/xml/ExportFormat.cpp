// The layout state that the XML writers carry from node to node.
#include "modelcore/xml/ExportFormat.h"

#include "modelcore/common/MCDisplay.h"

namespace MCXML_930 {

void ExportFormat::Display() const
{
    MCDisplay_930::DisplayStart("ExportFormat");
    MCDisplay_930::Display("New paragraph indicator", fNewParagraph);
    MCDisplay_930::Display("Indentation indicator", fIndentation);
    MCDisplay_930::Display("Format indicator", fFormat);
    MCDisplay_930::Display("Level", fLevel);
    MCDisplay_930::DisplayEnd("ExportFormat");
}

} // namespace MCXML_930
