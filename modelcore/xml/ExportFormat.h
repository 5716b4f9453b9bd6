// The layout state that the XML writers carry from node to node.
#pragma once

#include "modelcore/modelcore_export.h"

namespace MCXML_930 {

/// Switches and indentation level of a document being written. A small value: the writers change the new-paragraph
/// switch and the level as they go, and leave the level as they found it.
class ExportFormat {
public:
    /// New paragraph and format on, indentation off, level 0.
    ExportFormat() = default;

    /// A start tag or end tag that comes next begins on a new line. Off right after a text.
    void SetIsNewParagraph(bool on) { fNewParagraph = on; }
    /// Tags and attributes are preceded by as many tabs as the level says.
    void SetIndentation(bool on) { fIndentation = on; }
    /// The main switch: without it neither line feeds nor tabs are written.
    void SetFormat(bool on) { fFormat = on; }
    /// Sets the indentation level; a level below 1 means no tabs.
    void SetLevel(int level) { fLevel = level; }

    /// True when format and new paragraph are both on.
    bool IsNewParagraph() const { return fFormat && fNewParagraph; }
    /// True when format and indentation are both on.
    bool HasIndentation() const { return fFormat && fIndentation; }
    /// The main switch.
    bool HasFormat() const { return fFormat; }
    /// The indentation level.
    int GetLevel() const { return fLevel; }

    /// Writes the switches and the level to the diagnostic text stream.
    MODELCORE_EXPORT void Display() const;

private:
    bool fNewParagraph = true;
    bool fIndentation = false;
    bool fFormat = true;
    int fLevel = 0;
};

} // namespace MCXML_930
