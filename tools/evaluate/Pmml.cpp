#include "Pmml.h"

#include "common/Cell.h"
#include "common/Failure.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string_view>
#include <system_error>
#include <vector>

namespace evaluate {

using namespace procedure;
using namespace MCXML_930;

namespace {

/// The value of an attribute with references resolved.
std::string Unescaped(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t end = text[i] == '&' ? text.find(';', i) : std::string_view::npos;
        if (end == std::string_view::npos) {
            out += text[i];
            continue;
        }
        const std::string_view name = text.substr(i + 1, end - i - 1);
        unsigned code = name == "amp" ? '&' : name == "lt" ? '<' : name == "gt" ? '>' : name == "quot" ? '"' : '\'';
        if (name.starts_with('#')) {
            const bool hex = name.substr(1).starts_with('x');
            const std::string_view digits = name.substr(hex ? 2 : 1);
            std::from_chars(digits.data(), digits.data() + digits.size(), code, hex ? 16 : 10);
        }
        if (code < 0x80) {
            out += static_cast<char>(code);
        } else if (code < 0x800) {
            out += {static_cast<char>(0xC0 | code >> 6), static_cast<char>(0x80 | (code & 0x3F))};
        } else if (code < 0x10000) {
            out += {static_cast<char>(0xE0 | code >> 12), static_cast<char>(0x80 | (code >> 6 & 0x3F)),
                    static_cast<char>(0x80 | (code & 0x3F))};
        } else {
            out += {static_cast<char>(0xF0 | code >> 18), static_cast<char>(0x80 | (code >> 12 & 0x3F)),
                    static_cast<char>(0x80 | (code >> 6 & 0x3F)), static_cast<char>(0x80 | (code & 0x3F))};
        }
        i = end;
    }
    return out;
}

/// A tag of a document. Everything that is no tag has been passed over.
struct Tag {
    std::size_t begin = 0, end = 0; // < and behind >
    std::string_view name;
    std::string_view attributes;
    bool opens = false, closes = false; // an empty element does both

    std::string Attribute(std::string_view wanted) const
    {
        std::string_view rest = attributes;
        while (true) {
            const std::size_t at = rest.find_first_not_of(" \t\r\n");
            const std::size_t equal = rest.find('=');
            if (at == std::string_view::npos || equal == std::string_view::npos) return {};
            const std::string_view key = rest.substr(at, rest.find_first_of(" \t\r\n=", at) - at);
            const std::size_t quote = rest.find_first_of("\"'", equal);
            const std::size_t last = quote == std::string_view::npos ? quote : rest.find(rest[quote], quote + 1);
            if (last == std::string_view::npos) return {};
            if (key == wanted) return Unescaped(rest.substr(quote + 1, last - quote - 1));
            rest.remove_prefix(last + 1);
        }
    }
};

/// The next tag at or after a place; false at the end or where the text is no XML.
bool NextTag(std::string_view text, std::size_t from, Tag& tag)
{
    const auto skip = [&](std::size_t at, std::string_view begin, std::string_view end) {
        if (!text.substr(at).starts_with(begin)) return false;
        const std::size_t found = text.find(end, at + begin.size());
        from = found == std::string_view::npos ? text.size() : found + end.size();
        return true;
    };
    while (true) {
        const std::size_t at = text.find('<', from);
        if (at == std::string_view::npos) return false;
        if (skip(at, "<!--", "-->") || skip(at, "<![CDATA[", "]]>") || skip(at, "<?", "?>") || skip(at, "<!", ">"))
            continue;
        std::size_t end = at + 1;
        for (char quote = 0; end < text.size() && (quote != 0 || text[end] != '>'); ++end) {
            if (quote != 0 && text[end] == quote)
                quote = 0;
            else if (quote == 0 && (text[end] == '"' || text[end] == '\''))
                quote = text[end];
        }
        if (end >= text.size()) return false;
        std::string_view inside = text.substr(at + 1, end - at - 1);
        tag.begin = at;
        tag.end = end + 1;
        tag.opens = !inside.starts_with('/');
        tag.closes = !tag.opens || inside.ends_with('/');
        if (!tag.opens) inside.remove_prefix(1);
        if (inside.ends_with('/')) inside.remove_suffix(1);
        const std::size_t length = std::min(inside.find_first_of(" \t\r\n"), inside.size());
        tag.name = inside.substr(0, length);
        tag.attributes = inside.substr(length);
        return true;
    }
}

} // namespace

void PmmlDocument::Refuse(const std::string& why) const
{
    throw Failure(fPath + ": " + why);
}

PmmlDocument::PmmlDocument(const Options& options) : fPath(options.pmmlInPath)
{
    std::error_code none;
    if (std::filesystem::equivalent(options.dataPath, fPath, none)) Refuse("it is the data, not a PMML document");
    std::ifstream file(fPath, std::ios::binary);
    fText.assign(std::istreambuf_iterator<char>(file), {});
    if (!file && fText.empty()) Refuse("cannot be read");
    const std::string_view head = std::string_view(fText).substr(0, fText.find("?>"));
    const std::size_t encoding = head.starts_with("<?xml") ? head.find("encoding=") : std::string_view::npos;
    if (encoding != std::string_view::npos) {
        std::string name(head.substr(encoding + 10, head.find_first_of("\"'", encoding + 10) - encoding - 10));
        std::ranges::transform(name, name.begin(),
                               [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
        if (name != "UTF-8" && name != "US-ASCII") Refuse("it is written in " + name + ", not in UTF-8");
    }
    Find(options.target);
}

// Elements count by their place: root, children of the root, and the children of the first of these that is a model. The
// quality goes behind the qualities that are there, else into a new ModelExplanation behind what comes before one.
void PmmlDocument::Find(const std::string& target)
{
    std::vector<std::string_view> open;
    bool inTarget = false, hasTarget = false, inModel = false;
    Tag tag;
    for (std::size_t at = 0; NextTag(fText, at, tag); at = tag.end) {
        const std::size_t depth = open.size() - (tag.opens ? 0 : 1);
        if (!tag.opens && (open.empty() || open.back() != tag.name))
            Refuse("not a document: an end tag without its element");
        if (tag.opens) {
            if (depth == 0 && tag.name != "PMML") Refuse("the root is no PMML element without a prefix");
            if (depth == 2 && tag.name == "DataField") inTarget = tag.Attribute("name") == target;
            hasTarget = hasTarget || inTarget;
            if (depth == 3 && inTarget && tag.name == "Value") {
                const std::string property = tag.Attribute("property");
                if (property.empty() || property == "valid") fvCategories.push_back(tag.Attribute("value"));
            }
            if (depth == 1 &&
                (tag.name.ends_with("Model") || tag.name == "Scorecard" || tag.name.ends_with("Network"))) {
                if (fPlace != 0) Refuse("the document has more than one model");
                inModel = true;
            }
            open.push_back(tag.name);
        }
        if (tag.closes) {
            const bool before = tag.name == "MiningSchema" || tag.name == "Output" || tag.name == "ModelStats";
            if (inModel && depth == 2 && before && !fHasExplanation) fPlace = tag.end;
            if (inModel && depth == 2 && tag.name == "ModelExplanation") {
                if (tag.opens) Refuse("its ModelExplanation is empty: remove it");
                if (!fHasExplanation) fPlace = tag.begin;
                fHasExplanation = true;
            }
            if (inModel && depth == 3 && open.size() > 2 && open[2] == "ModelExplanation" &&
                (tag.name == "PredictiveModelQuality" || tag.name == "Extension")) {
                fPlace = tag.end;
                fHasExplanation = true;
            }
            if (depth == 1) inModel = false;
            open.pop_back();
        }
    }
    if (!open.empty()) Refuse("not a whole document");
    if (fPlace == 0) Refuse("the document has no model");
    if (!hasTarget) Refuse("the document has no field " + Quoted(target));
}

void PmmlDocument::Write(const Options& options, const Evaluation& e, std::ostream& out) const
{
    MCPMMLQuality quality;
    quality.dataName = std::filesystem::path(options.dataPath).filename().string();
    quality.usage = MCPMMLQuality::Test;
    quality.records = static_cast<double>(e.counts.used);
    quality.weightedRecords = e.cases;
    quality.auc = e.rocArea;
    MCPMMLQuality::Lift lift;
    lift.category = options.event;
    for (const Segment& segment : e.segments)
        lift.segments.push_back(
            {static_cast<std::int32_t>(segment.casesSoFar), segment.events, segment.minScore, segment.meanScore});
    quality.lifts = {lift};
    quality.rocCategory = options.event;
    quality.roc = e.roc;

    std::string other = "other";
    if (fvCategories.size() == 2 && fvCategories[0] == options.event) other = fvCategories[1];
    if (fvCategories.size() == 2 && fvCategories[1] == options.event) other = fvCategories[0];
    const MCMath_930::MCRectMatrix& m = e.classification.GetMatrix();
    quality.confusionLabels = {other, options.event};
    quality.confusion.assign(m.GetPtr(), m.GetPtr() + 4);
    const double hits = m.GetElem(1, 1), right = hits + m.GetElem(0, 0);
    const auto share = [](double part, double whole) { return whole > 0.0 ? part / whole : MCPMMLQuality::kNone; };
    quality.accuracy = share(right, e.cases);
    quality.precision = share(hits, hits + m.GetElem(0, 1));
    quality.recall = share(hits, hits + m.GetElem(1, 0));
    quality.specificity = share(m.GetElem(0, 0), m.GetElem(0, 0) + m.GetElem(0, 1));

    std::string problem;
    std::unique_ptr<XMLElement> element(MCPMMLExporter::CreateQuality(options.target, quality, &problem));
    if (!element) Refuse(problem);
    if (!fHasExplanation) {
        std::unique_ptr<XMLElement> explanation(XMLElement::Create("ModelExplanation"));
        explanation->AddElement(element.release());
        element = std::move(explanation);
    }
    std::ostringstream text;
    WriteTreeUTF8(text, nullptr, element.get(), true);
    // The writer begins a document with its declaration, which has no place here.
    const std::string added = text.str().substr(text.str().find("?>") + 2);
    out << fText.substr(0, fPlace) << '\n' << added.substr(added.find('<')) << fText.substr(fPlace);
}

} // namespace evaluate
