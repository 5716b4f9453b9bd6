// A document of 100 MB with numbers: writing a ready tree, building one, and the whole way from numbers to bytes,
// beside pugixml, libxml2's text writer, fprintf and hand-written std::to_chars; and the text of single numbers.
#include "modelcore/modelcore.h"
#include "support/Inputs.h"
#include "support/PeerTable.h"

#include <libxml/xmlwriter.h>
#include <malloc.h>
#include <pugixml.hpp>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace {

using namespace MCXML_930;

/// Takes bytes and keeps none; counts them and adds up what shows a difference between two documents.
class Sink : public std::streambuf {
public:
    void Take(const char* bytes, std::size_t count)
    {
        fCount += count;
        if (!fChecking) return;
        for (std::size_t i = 0; i < count; ++i) fSum = fSum * 31 + static_cast<unsigned char>(bytes[i]);
    }
    std::size_t Count() const { return fCount; }
    std::size_t Sum() const { return fSum; }
    explicit Sink(bool checking = false) : fChecking(checking) {}

private:
    std::streamsize xsputn(const char* bytes, std::streamsize count) override
    {
        Take(bytes, static_cast<std::size_t>(count));
        return count;
    }
    int overflow(int c) override
    {
        const char byte = static_cast<char>(c);
        Take(&byte, 1);
        return c;
    }

    bool fChecking;
    std::size_t fCount = 0, fSum = 0;
};

// The document: blocks of statistics, parameters and one value list, as an evaluation of many models publishes them.

constexpr int kStatistics = 8;
constexpr int kParameters = 2;
constexpr std::size_t kListLength = 40;
constexpr std::size_t kBlockNumbers = 4 + kStatistics + kListLength;

struct Numbers {
    explicit Numbers(std::size_t count) : blocks(count), values(peers::Uniforms(count * kBlockNumbers, -1.0, 1.0, 3))
    {
        // Counts are whole, statistics of all sizes, the list has all its digits.
        const std::vector<double> sizes = peers::Uniforms(values.size(), -6.0, 9.0, 4);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const std::size_t place = i % kBlockNumbers;
            if (place < 4) values[i] = std::floor(std::fabs(values[i]) * 1e5);
            if (place >= 4 && place < 4 + kStatistics) values[i] *= std::pow(10.0, sizes[i]);
        }
    }
    const double* Block(std::size_t block) const { return values.data() + block * kBlockNumbers; }

    std::size_t blocks;
    std::vector<double> values;
};

const char* const kStatisticNames[kStatistics] = {"mean",     "variance", "stdDeviation", "skewness",
                                                  "kurtosis", "minimum",  "maximum",      "sum"};
const char* const kCountNames[4] = {"totalFreq", "missingFreq", "invalidFreq", "cardinality"};
const char* const kParameterNames[kParameters] = {"Intercept", "slope"};

std::unique_ptr<XMLElement> BuildOurs(const Numbers& numbers)
{
    std::unique_ptr<XMLElement> root(XMLElement::Create("Results"));
    for (std::size_t block = 0; block < numbers.blocks; ++block) {
        const double* value = numbers.Block(block);
        XMLElement* const data = MCStatXMLUtil::CreateElemStructuredData("block");
        root->AddElement(data);
        data->AddElement(MCStatXMLUtil::CreateElemCounts(value[0], value[1], value[2], value[3]));
        value += 4;
        for (const char* const name : kStatisticNames)
            data->AddElement(MCStatXMLUtil::CreateElemStatistic(name, *value++));
        for (const char* const name : kParameterNames)
            data->AddElement(MCStatXMLUtil::CreateElemRegressionParameter(
                name, false, {MCStatXMLUtil::CreateElemCovariate("income", 1)}, {}));
        data->AddElement(MCStatXMLUtil::CreateElemCoordinates("observed", "income", "", value, int{kListLength}));
    }
    return root;
}

/// What differs between the others is how a number becomes text: Text(char*, double) returns the end.
template <class Text>
std::unique_ptr<pugi::xml_document> BuildPugi(const Numbers& numbers, Text text)
{
    auto document = std::make_unique<pugi::xml_document>();
    pugi::xml_node root = document->append_child("Results");
    char number[64];
    const auto add = [&](pugi::xml_node node, const char* name, double value) {
        *text(number, value) = '\0';
        node.append_attribute(name).set_value(number);
    };
    for (std::size_t block = 0; block < numbers.blocks; ++block) {
        const double* value = numbers.Block(block);
        pugi::xml_node data = root.append_child("StructuredData");
        data.append_attribute("description").set_value("block");
        pugi::xml_node counts = data.append_child("Counts");
        for (const char* const name : kCountNames) add(counts, name, *value++);
        for (const char* const name : kStatisticNames) {
            pugi::xml_node statistic = data.append_child("Statistic");
            statistic.append_attribute("name").set_value(name);
            add(statistic, "value", *value++);
        }
        for (const char* const name : kParameterNames) {
            pugi::xml_node parameter = data.append_child("RegressionParameter");
            parameter.append_attribute("name").set_value(name);
            parameter.append_attribute("isIntercept").set_value("false");
            pugi::xml_node covariate = parameter.append_child("Covariate");
            covariate.append_attribute("field").set_value("income");
            add(covariate, "power", 1.0);
        }
        pugi::xml_node coordinates = data.append_child("Coordinates");
        coordinates.append_attribute("feature").set_value("observed");
        coordinates.append_attribute("field").set_value("income");
        char list[kListLength * 32];
        char* out = list;
        for (std::size_t i = 0; i < kListLength; ++i) {
            if (i > 0) *out++ = ' ';
            out = text(out, value[i]);
        }
        *out = '\0';
        coordinates.append_child(pugi::node_pcdata).set_value(list);
    }
    return document;
}

class PugiSink : public pugi::xml_writer {
public:
    explicit PugiSink(Sink& sink) : fSink(sink) {}
    void write(const void* bytes, size_t count) override { fSink.Take(static_cast<const char*>(bytes), count); }

private:
    Sink& fSink;
};

void WritePugi(const pugi::xml_document& document, Sink& sink)
{
    PugiSink writer(sink);
    document.save(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
}

void WriteOurs(const XMLElement& root, Sink& sink, bool utf8)
{
    std::ostream os(&sink);
    ExportFormat fmt;
    fmt.SetFormat(false);
    root.ToStream(os, fmt, utf8);
}

/// The document straight to bytes with nothing but a number's text and copies: as fast as a tree-less writer gets.
template <class Text>
void WriteByHand(const Numbers& numbers, Sink& sink, Text text)
{
    std::string out;
    char number[64];
    const auto add = [&](double value) { out.append(number, text(number, value)); };
    out += "<Results>";
    for (std::size_t block = 0; block < numbers.blocks; ++block) {
        const double* value = numbers.Block(block);
        out += "<StructuredData description=\"block\"><Counts";
        for (const char* const name : kCountNames) {
            out.append(" ").append(name).append("=\"");
            add(*value++);
            out += '"';
        }
        out += "/>";
        for (const char* const name : kStatisticNames) {
            out.append("<Statistic name=\"").append(name).append("\" value=\"");
            add(*value++);
            out += "\"/>";
        }
        for (const char* const name : kParameterNames)
            out.append("<RegressionParameter name=\"")
                .append(name)
                .append("\" isIntercept=\"false\"><Covariate field=\"income\" power=\"1\"/></RegressionParameter>");
        out += "<Coordinates feature=\"observed\" field=\"income\">";
        for (std::size_t i = 0; i < kListLength; ++i) {
            if (i > 0) out += ' ';
            add(value[i]);
        }
        out += "</Coordinates></StructuredData>";
        if (out.size() > 32768) {
            sink.Take(out.data(), out.size());
            out.clear();
        }
    }
    out += "</Results>";
    sink.Take(out.data(), out.size());
}

/// fprintf to a FILE of the sink.
void WriteWithPrintf(const Numbers& numbers, Sink& sink)
{
    cookie_io_functions_t functions{};
    functions.write = [](void* cookie, const char* bytes, size_t count) {
        static_cast<Sink*>(cookie)->Take(bytes, count);
        return static_cast<ssize_t>(count);
    };
    FILE* const file = fopencookie(&sink, "w", functions);
    std::vector<char> buffer(32768);
    std::setvbuf(file, buffer.data(), _IOFBF, buffer.size());
    std::fputs("<Results>", file);
    for (std::size_t block = 0; block < numbers.blocks; ++block) {
        const double* value = numbers.Block(block);
        std::fputs("<StructuredData description=\"block\"><Counts", file);
        for (const char* const name : kCountNames) std::fprintf(file, " %s=\"%.15g\"", name, *value++);
        std::fputs("/>", file);
        for (const char* const name : kStatisticNames)
            std::fprintf(file, "<Statistic name=\"%s\" value=\"%.15g\"/>", name, *value++);
        for (const char* const name : kParameterNames)
            std::fprintf(file,
                         "<RegressionParameter name=\"%s\" isIntercept=\"false\"><Covariate field=\"income\" "
                         "power=\"%.15g\"/></RegressionParameter>",
                         name, 1.0);
        std::fputs("<Coordinates feature=\"observed\" field=\"income\">", file);
        for (std::size_t i = 0; i < kListLength; ++i) std::fprintf(file, i > 0 ? " %.15g" : "%.15g", value[i]);
        std::fputs("</Coordinates></StructuredData>", file);
    }
    std::fputs("</Results>", file);
    std::fclose(file);
}

const xmlChar* X(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

void WriteWithLibxml(const Numbers& numbers, Sink& sink)
{
    xmlOutputBufferPtr buffer = xmlOutputBufferCreateIO(
        [](void* context, const char* bytes, int count) {
            static_cast<Sink*>(context)->Take(bytes, static_cast<std::size_t>(count));
            return count;
        },
        nullptr, &sink, nullptr);
    xmlTextWriterPtr writer = xmlNewTextWriter(buffer);
    xmlTextWriterStartElement(writer, X("Results"));
    for (std::size_t block = 0; block < numbers.blocks; ++block) {
        const double* value = numbers.Block(block);
        xmlTextWriterStartElement(writer, X("StructuredData"));
        xmlTextWriterWriteAttribute(writer, X("description"), X("block"));
        xmlTextWriterStartElement(writer, X("Counts"));
        for (const char* const name : kCountNames)
            xmlTextWriterWriteFormatAttribute(writer, X(name), "%.15g", *value++);
        xmlTextWriterEndElement(writer);
        for (const char* const name : kStatisticNames) {
            xmlTextWriterStartElement(writer, X("Statistic"));
            xmlTextWriterWriteAttribute(writer, X("name"), X(name));
            xmlTextWriterWriteFormatAttribute(writer, X("value"), "%.15g", *value++);
            xmlTextWriterEndElement(writer);
        }
        for (const char* const name : kParameterNames) {
            xmlTextWriterStartElement(writer, X("RegressionParameter"));
            xmlTextWriterWriteAttribute(writer, X("name"), X(name));
            xmlTextWriterWriteAttribute(writer, X("isIntercept"), X("false"));
            xmlTextWriterStartElement(writer, X("Covariate"));
            xmlTextWriterWriteAttribute(writer, X("field"), X("income"));
            xmlTextWriterWriteFormatAttribute(writer, X("power"), "%.15g", 1.0);
            xmlTextWriterEndElement(writer);
            xmlTextWriterEndElement(writer);
        }
        xmlTextWriterStartElement(writer, X("Coordinates"));
        xmlTextWriterWriteAttribute(writer, X("feature"), X("observed"));
        xmlTextWriterWriteAttribute(writer, X("field"), X("income"));
        for (std::size_t i = 0; i < kListLength; ++i)
            xmlTextWriterWriteFormatString(writer, i > 0 ? " %.15g" : "%.15g", value[i]);
        xmlTextWriterEndElement(writer);
        xmlTextWriterEndElement(writer);
    }
    xmlTextWriterEndElement(writer);
    xmlFreeTextWriter(writer);
}

char* ToChars(char* out, double value)
{
    return std::to_chars(out, out + 40, value, std::chars_format::general, 15).ptr;
}

char* Printf(char* out, double value)
{
    return out + std::snprintf(out, 40, "%.15g", value);
}

template <class Build>
double MegabytesOf(Build build)
{
    const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    const auto tree = build();
    return double(mallinfo2().uordblks + mallinfo2().hblkhd - before) / 1e6;
}

/// Adds a way to write the document when it gives the same bytes as ours.
void AddIfSame(const std::string& operation, const std::string& contender, const Sink& ours,
               const std::function<void(Sink&)>& write)
{
    Sink check(true);
    write(check);
    if (check.Count() != ours.Count() || check.Sum() != ours.Sum())
        return peers::Refuse(operation, contender, "the document differs");
    peers::Add(operation, contender, {double(ours.Count()), "MB", 1e6}, [write] {
        Sink sink;
        write(sink);
        peers::Keep(sink.Count());
    });
}

void RegisterDocument(std::size_t blocks)
{
    const auto numbers = std::make_shared<const Numbers>(blocks);
    const std::shared_ptr<const XMLElement> ours = BuildOurs(*numbers);
    const std::shared_ptr<const pugi::xml_document> pugis = BuildPugi(*numbers, ToChars);
    Sink document(true);
    WriteOurs(*ours, document, false);

    const double elements = 1.0 + double(blocks) * (3 + kStatistics + 2 * kParameters);
    const double attributes = double(blocks) * (1 + 4 + 2 * kStatistics + 4 * kParameters + 2);
    const double nodes = elements + attributes + double(blocks);
    std::printf("document: %.1f MB, %.0f nodes (%.0f elements, %.0f attributes, %.0f texts)\n",
                double(document.Count()) / 1e6, nodes, elements, attributes, double(blocks));
    const double oursMB = MegabytesOf([&] { return BuildOurs(*numbers); });
    const double pugisMB = MegabytesOf([&] { return BuildPugi(*numbers, ToChars); });
    std::printf("memory of the tree: modelcore %.1f MB, %.1f bytes a node; pugixml %.1f MB, %.1f bytes a node\n\n",
                oursMB, oursMB * 1e6 / nodes, pugisMB, pugisMB * 1e6 / nodes);

    const std::string write = "write a ready tree";
    AddIfSame(write, "modelcore", document, [=](Sink& sink) { WriteOurs(*ours, sink, false); });
    AddIfSame(write, "modelcore UTF-8", document, [=](Sink& sink) { WriteOurs(*ours, sink, true); });
    AddIfSame(write, "pugixml", document, [=](Sink& sink) { WritePugi(*pugis, sink); });

    const std::string build = "build and delete the tree";
    const peers::Work work{double(document.Count()), "MB", 1e6};
    peers::Add(build, "modelcore", work, [=] { peers::Keep(BuildOurs(*numbers).get()); });
    peers::Add(build, "pugixml, to_chars", work, [=] { peers::Keep(BuildPugi(*numbers, ToChars).get()); });
    peers::Add(build, "pugixml, snprintf", work, [=] { peers::Keep(BuildPugi(*numbers, Printf).get()); });

    const std::string whole = "from numbers to bytes";
    AddIfSame(whole, "modelcore", document, [=](Sink& sink) { WriteOurs(*BuildOurs(*numbers), sink, false); });
    AddIfSame(whole, "pugixml, to_chars", document,
              [=](Sink& sink) { WritePugi(*BuildPugi(*numbers, ToChars), sink); });
    AddIfSame(whole, "pugixml, snprintf", document, [=](Sink& sink) { WritePugi(*BuildPugi(*numbers, Printf), sink); });
    AddIfSame(whole, "no tree, to_chars", document, [=](Sink& sink) { WriteByHand(*numbers, sink, ToChars); });
    AddIfSame(whole, "no tree, fprintf", document, [=](Sink& sink) { WriteWithPrintf(*numbers, sink); });
    AddIfSame(whole, "libxml2 text writer", document, [=](Sink& sink) { WriteWithLibxml(*numbers, sink); });
}

/// One list of a million numbers as text.
void RegisterLists(const std::string& kind, std::vector<double> numbers)
{
    const auto values = std::make_shared<const std::vector<double>>(std::move(numbers));
    const std::string operation = "list of " + kind;
    const peers::Work work{double(values->size()), "M numbers", 1e6};
    peers::Add(operation, "modelcore", work, [=] {
        const std::unique_ptr<XMLElement> element(XMLElement::Create("Array"));
        MCStatXMLUtil::AddDoublesList(*element, *values);
    });
    const auto add = [&](const char* contender, auto text) {
        peers::Add(operation, contender, work, [=] {
            std::string list;
            char number[64];
            for (const double value : *values) {
                list.append(number, text(number, value));
                list += ' ';
            }
            peers::Keep(list.data());
        });
    };
    add("std::to_chars", ToChars);
    add("snprintf", Printf);
    peers::Add(operation, "std::ostringstream", work, [=] {
        std::ostringstream os;
        os.precision(15);
        for (const double value : *values) os << value << ' ';
        peers::Keep(os.tellp());
    });
}

} // namespace

void RegisterContenders()
{
    RegisterDocument(58000);
    std::vector<double> whole = peers::Uniforms(1000000, 0.0, 1e6, 5);
    for (double& value : whole) value = std::floor(value);
    RegisterLists("reals", peers::Uniforms(1000000, -100.0, 100.0, 6));
    RegisterLists("whole numbers", whole);
}
