// A PMML document that gets the results as the quality of its model.
#pragma once

#include "Evaluation.h"
#include "Options.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace evaluate {

/// The text of a document and the place in it where the quality goes. All else is left byte for byte as it is.
class PmmlDocument {
public:
    /// Reads the document. Throws Failure when it is none, has no model or has no field of the target's name.
    explicit PmmlDocument(const Options& options);

    void Write(const Options& options, const Evaluation& evaluation, std::ostream& out) const;

private:
    void Find(const std::string& target);
    [[noreturn]] void Refuse(const std::string& why) const;

    std::string fPath;
    std::string fText;
    std::size_t fPlace = 0;                // where the quality goes
    bool fHasExplanation = false;          // whether that is inside a ModelExplanation
    std::vector<std::string> fvCategories; // of the target
};

} // namespace evaluate
