// 16 MB of reals and 5 MB of small objects: parsing (with the release of what was parsed) and writing, beside nlohmann,
// rapidjson, simdjson (which only reads) and, where it is installed, yyjson.
#include "modelcore/modelcore.h"
#include "support/Inputs.h"
#include "support/PeerTable.h"

#include <nlohmann/json.hpp>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>
#ifdef MODELCORE_HAVE_YYJSON
#include <yyjson.h>
#endif

#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

using MCXML_930::JsonObject;

// The documents

std::string Reals(std::size_t bytes)
{
    const std::vector<double> values = peers::Uniforms(bytes / 19, -1.0, 1.0, 7);
    std::string text;
    JsonObject::FromReals(values).ToText(text);
    return text;
}

/// Records as a procedure publishes them: short names, counts, a statistic, a flag and a short list.
std::string SmallObjects(std::size_t bytes)
{
    const std::size_t count = bytes / 130;
    const std::vector<double> values = peers::Uniforms(3 * count, -1000.0, 1000.0, 8);
    JsonObject records = JsonObject::NewArray();
    for (std::size_t i = 0; i < count; ++i) {
        JsonObject record;
        record.Set("id", static_cast<long long>(i));
        record.Set("name", "field " + std::to_string(i % 1000));
        record.Set("label", "Household income, class " + std::to_string(i % 100));
        record.Set("valid", i % 7 != 0);
        record.Set("mean", std::round(values[3 * i] * 1000.0) / 1000.0);
        JsonObject counts;
        for (std::size_t k = 0; k < 3; ++k) counts.Append(static_cast<long long>(std::fabs(values[3 * i + k] * 100.0)));
        record.Set("counts", std::move(counts));
        record.Set("group", nullptr);
        records.Append(std::move(record));
    }
    std::string text;
    records.ToText(text);
    return text;
}

// The contenders

using RapidDocument = rapidjson::Document;
constexpr unsigned kRapidFlags = rapidjson::kParseFullPrecisionFlag | rapidjson::kParseValidateEncodingFlag;

std::string RapidText(const RapidDocument& document)
{
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    document.Accept(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

void AddDocument(const std::string& name, const std::string& text)
{
    const peers::Work work{static_cast<double>(text.size()), "MB", 1e6};
    const std::string parse = "parse " + name, write = "write " + name;
    const auto shared = std::make_shared<const std::string>(text);

    // A fast wrong result is worth nothing: what the others write of the text is the same value.
    auto ours = std::make_shared<JsonObject>();
    auto rapid = std::make_shared<RapidDocument>();
    JsonObject theirs;
    std::string again;
    if (!JsonObject::Parse(text, *ours) || !ours->ToText(again) || again != text)
        return peers::Refuse(parse, "modelcore", "what was parsed is not written again");
    if (rapid->Parse<kRapidFlags>(text.data(), text.size()).HasParseError() ||
        !JsonObject::Parse(RapidText(*rapid), theirs) || !(theirs == *ours))
        return peers::Refuse(parse, "rapidjson", "its document is another one");
    const auto nlohmann = std::make_shared<nlohmann::json>(nlohmann::json::parse(text));

    peers::Add(parse, "modelcore", work, [shared] {
        JsonObject value;
        peers::Keep(JsonObject::Parse(*shared, value));
    });
    peers::Add(parse, "rapidjson", work, [shared] {
        RapidDocument document;
        peers::Keep(document.Parse<kRapidFlags>(shared->data(), shared->size()).HasParseError());
    });
    peers::Add(parse, "nlohmann", work, [shared] { peers::Keep(nlohmann::json::parse(*shared).size()); });
    peers::Add(parse, "simdjson", work, [shared] {
        simdjson::dom::parser parser;
        peers::Keep(parser.parse(*shared).error());
    });
    peers::Add(write, "modelcore", work, [ours] {
        std::string out;
        ours->ToText(out);
        peers::Keep(out.size());
    });
    peers::Add(write, "rapidjson", work, [rapid] {
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        rapid->Accept(writer);
        peers::Keep(buffer.GetSize());
    });
    peers::Add(write, "nlohmann", work, [nlohmann] { peers::Keep(nlohmann->dump().size()); });
#ifdef MODELCORE_HAVE_YYJSON
    peers::Add(parse, "yyjson", work, [shared] {
        yyjson_doc* const document = yyjson_read(shared->data(), shared->size(), 0);
        peers::Keep(document);
        yyjson_doc_free(document);
    });
    const std::shared_ptr<yyjson_doc> document(yyjson_read(text.data(), text.size(), 0), yyjson_doc_free);
    peers::Add(write, "yyjson", work, [document] {
        std::size_t length = 0;
        char* const out = yyjson_write(document.get(), 0, &length);
        peers::Keep(length);
        std::free(out);
    });
#endif
}

} // namespace

void RegisterContenders()
{
    AddDocument("16 MB of reals", Reals(16'000'000));
    AddDocument("5 MB of small objects", SmallObjects(5'000'000));
}
