// JSON: any text, and sequences of changes beside a plain model.
#include "Input.h"

#include "modelcore/modelcore.h"

using namespace MCXML_930;
using MCCommon_930::Value;

namespace {

void CheckWritten(const JsonObject& json)
{
    for (const bool indented : {false, true}) {
        std::string text, again;
        JsonObject read;
        JsonObject::Limits deep;
        deep.maxDepth = std::numeric_limits<int>::max();
        const bool isFinite = json.ToText(text, indented);
        if (!isFinite) {
            REQUIRE(json.ToText(text, indented, JsonObject::AsText));
            REQUIRE(JsonObject::Parse(text, read, nullptr, deep));
            continue;
        }
        REQUIRE(JsonObject::Parse(text, read, nullptr, deep) && read == json);
        std::ostringstream stream;
        REQUIRE(read.Write(stream, indented) == 0 && stream.str() == text);
    }
    const JsonObject copy(json);
    REQUIRE(copy == json);
}

void Parse(Input& input)
{
    JsonObject::Limits limits;
    limits.maxDepth = input.Int(0, 255) * 8;
    limits.keepLastDuplicate = input.Bool();
    const std::string pointer = input.Text(12);
    JsonObject json(7);
    JsonObject::Problem problem;
    if (!JsonObject::Parse(input.Rest(), json, &problem, limits)) {
        REQUIRE(json == JsonObject(7) && problem.code != JsonObject::ParseOk);
        REQUIRE(problem.offset <= input.Rest().size() && problem.line >= 1 && problem.column >= 1);
        problem.GetText();
        return;
    }
    REQUIRE(problem.code == JsonObject::ParseOk);
    CheckWritten(json);
    if (const JsonObject* const part = json.FindPointer(pointer)) REQUIRE(JsonObject(*part) == *part);
    for (std::size_t i = 0; i < json.Size() && json.IsObject(); ++i) REQUIRE(json.Find(json.NameAt(i)) == json.At(i));
    Value value;
    JsonObject back;
    if (json.ToValue(value)) REQUIRE(JsonObject::FromValue(value, back) && back == json);
    std::vector<double> reals;
    if (json.Read(reals)) REQUIRE(reals.size() == json.Size());
    std::vector<int> integers;
    json.Read(integers);
    const Silence silence;
    json.Display();
}

/// What a value should be.
struct Model {
    JsonObject::Type type = JsonObject::TypeNull;
    long long integer = 0;
    double real = 0.0;
    std::string text;
    std::vector<Model> parts;
    std::vector<std::string> names; ///< of the parts; those of elements are empty

    void Add(const std::string& name, const Model& part)
    {
        parts.push_back(part);
        names.push_back(name);
    }
    void Remove(std::size_t i)
    {
        parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(i));
        names.erase(names.begin() + static_cast<std::ptrdiff_t>(i));
    }
    std::size_t Count() const
    {
        std::size_t count = 1;
        for (const Model& part : parts) count += part.Count();
        return count;
    }
    std::size_t Find(const std::string& name) const
    {
        return static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
    }
};

void Compare(const JsonObject& json, const Model& model)
{
    REQUIRE(json.GetType() == model.type && json.Size() == model.parts.size());
    switch (model.type) {
    case JsonObject::TypeInteger: {
        long long i = 0;
        REQUIRE(json.Read(i) && i == model.integer);
        break;
    }
    case JsonObject::TypeReal: {
        double x = 0.0;
        REQUIRE(json.Read(x) && SameBits(x, model.real));
        break;
    }
    case JsonObject::TypeString: REQUIRE(json.GetText() == model.text); break;
    default:
        for (std::size_t i = 0; i < model.parts.size(); ++i) {
            REQUIRE(json.NameAt(i) == model.names[i]);
            Compare(*json.At(i), model.parts[i]);
        }
    }
}

void Leaf(Input& input, JsonObject& json, Model& model)
{
    model = Model();
    switch (input.Byte() % 5) {
    case 0: json = nullptr; break;
    case 1: json = JsonObject::NewArray(), model.type = JsonObject::TypeArray; break;
    case 2: json = model.integer = input.Int(-9, 9), model.type = JsonObject::TypeInteger; break;
    case 3: {
        model.real = input.Small();
        json = model.real, model.type = JsonObject::TypeReal;
        break;
    }
    default: {
        model.text = std::string(static_cast<std::size_t>(input.Byte() % 40), 'x') + '"';
        json = JsonObject(model.text.c_str()), model.type = JsonObject::TypeString;
    }
    }
}

void Change(Input& input)
{
    JsonObject root;
    Model model;
    while (!input.IsDone()) {
        // Somewhere in the tree.
        JsonObject* json = &root;
        Model* plain = &model;
        for (int depth = input.Int(0, 4); depth > 0 && !plain->parts.empty(); --depth) {
            const std::size_t i = input.Index(plain->parts.size());
            json = json->At(i);
            plain = &plain->parts[i];
        }
        const std::string name(1 + input.Index(2) * 20, static_cast<char>('a' + input.Int(0, 15)));
        JsonObject value;
        Model valueModel;
        switch (input.Byte() % 8) {
        case 0:
        case 1:
        case 2: {
            Leaf(input, value, valueModel);
            const bool fits = plain->type == JsonObject::TypeNull || plain->type == JsonObject::TypeObject;
            REQUIRE(json->Set(name, value) == fits);
            if (!fits) break;
            plain->type = JsonObject::TypeObject;
            if (const std::size_t i = plain->Find(name); i < plain->parts.size())
                plain->parts[i] = valueModel;
            else
                plain->Add(name, valueModel);
            break;
        }
        case 3:
        case 4: {
            // A copy of the whole tree may become a part of it, as long as that does not double it once more and more.
            if (model.Count() < 1000 && input.Bool())
                value = root, valueModel = model;
            else
                Leaf(input, value, valueModel);
            const bool fits = plain->type == JsonObject::TypeNull || plain->type == JsonObject::TypeArray;
            REQUIRE(json->Append(value) == fits);
            if (!fits) break;
            plain->type = JsonObject::TypeArray;
            plain->Add("", valueModel);
            break;
        }
        case 5: {
            const std::size_t i = plain->Find(name);
            const bool isThere = i < plain->parts.size();
            REQUIRE(json->Remove(name) == isThere);
            if (isThere) plain->Remove(i);
            break;
        }
        case 6: {
            const std::size_t i = input.Index(6);
            const bool isThere = i < plain->parts.size();
            REQUIRE(json->Remove(i) == isThere);
            if (isThere) plain->Remove(i);
            break;
        }
        default: {
            // A part becomes the whole.
            JsonObject part(*json);
            Model partModel(*plain);
            if (input.Bool())
                root = *json;
            else
                root = std::move(part);
            model = std::move(partModel);
        }
        }
    }
    Compare(root, model);
    CheckWritten(root);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    Input input(bytes, size);
    if (size > 4096) return 0;
    if (input.Byte() % 4 != 0)
        Parse(input);
    else
        Change(input);
    return 0;
}
