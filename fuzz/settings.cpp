// Settings: values from JSON, states and calls; names and limits of any sort.
#include "States.h"

using namespace MCXML_930;
using MCCommon_930::MCStatus;
using MCCommon_930::Value;

namespace {

MCSettings Sample()
{
    MCSettings settings;
    settings.AddBool("bool", true, "A flag");
    settings.AddInteger("integer", 3, -10, 100, "A count", "numbers");
    settings.AddReal("real", 0.5, MCRealRange::OpenClosed(0.0, 1.0), "A share", "numbers");
    settings.AddReal("any", 0.0, MCRealRange(), "Any real");
    settings.AddString("string", "text", "A text");
    settings.AddChoice("choice", "enter", {"enter", "forward", "stepwise"}, "A method");
    settings.AddRealList("reals", {0.1, 0.9}, MCRealRange::Closed(0.0, 1.0), 1, 4, "Shares");
    settings.AddStringList("strings", {"b"}, {"a", "b", "c"}, 0, 3, "Names");
    settings.AddRule("real is not above any + 1",
                     [](const MCSettings& s) { return s.Get("real").GetReal() <= s.Get("any").GetReal() + 1.0; });
    return settings;
}

Value AnyValue(Input& input, int depth = 0)
{
    switch (input.Byte() % (depth < 2 ? 8 : 5)) {
    case 0: return Value();
    case 1: return input.Bool();
    case 2: return input.Int(-20, 120);
    case 3: return std::string(input.Bool() ? "enter" : input.Text(5));
    case 4: return input.Real();
    default: {
        Value list;
        for (int i = 0, n = input.Int(0, 4); i < n; ++i) list[i] = AnyValue(input, depth + 1);
        return list;
    }
    }
}

void CheckWritten(const MCSettings& settings)
{
    MCSettings again = Sample();
    REQUIRE(!again.FromJson(settings.ToJson()).IsError() && again == settings);
    again = Sample();
    REQUIRE(!again.FromJson(settings.ToJson(true)).IsError() && again == settings);
    again = Sample();
    REQUIRE(MCStateBytes::Restore(MCStateBytes::Save(settings), again) == MCStateBytes::Ok && again == settings);
    settings.Display();
}

/// Settings made of generated names and limits. What may be added has a legal default and a schema.
void Add(Input& input)
{
    MCSettings settings;
    while (!input.IsDone()) {
        const std::string name = input.Text(6), text = input.Text(4);
        const std::size_t before = settings.Size();
        const MCSetting* setting = nullptr;
        const MCRealRange range{input.Real(), input.Real(), input.Bool(), input.Bool()};
        switch (input.Byte() % 5) {
        case 0: {
            const long long lowest = static_cast<long long>(input.Word()),
                            highest = static_cast<long long>(input.Word());
            setting = settings.AddInteger(name, static_cast<long long>(input.Word()), lowest, highest, text);
            break;
        }
        case 1: setting = settings.AddReal(name, input.Real(), range, text); break;
        case 2:
            setting = settings.AddChoice(name, input.Text(2), {input.Text(2), input.Text(2)}, text, input.Text(3));
            break;
        case 3: {
            const int least = input.Int(-1, 3), most = input.Int(-1, 3);
            setting = settings.AddRealList(name, {input.Real(), input.Real()}, range, least, most, text);
            break;
        }
        default: {
            const int least = input.Int(-1, 3), most = input.Int(-1, 3);
            setting = settings.AddStringList(name, {input.Text(2), input.Text(2)}, {input.Text(2)}, least, most, text);
        }
        }
        REQUIRE(settings.Size() == before + (setting != nullptr ? 1 : 0));
        if (setting == nullptr) continue;
        REQUIRE(!setting->Check(setting->GetDefault()).IsError() && setting->IsDefault());
        setting->GetLegalText();
        setting->CreateJsonSchema();
        const Value value = AnyValue(input);
        std::string message;
        MCSetting changed(*setting);
        const bool isLegal = !setting->Check(value).IsError();
        REQUIRE(isLegal == !changed.Set(value, &message).IsError() && isLegal == message.empty());
        REQUIRE(isLegal || changed == *setting);
        settings.Nearest(input.Text(6));
    }
    settings.CreateJsonSchema();
    settings.ToJson();
    settings.Display();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size == 0) return 0;
    const Silence silence;
    Input input(bytes, size);
    MCSettings settings = Sample();
    switch (input.Byte() % 4) {
    case 0: {
        JsonObject json;
        if (!JsonObject::Parse(input.Rest(), json)) return 0;
        std::string message;
        if (settings.FromJson(json, nullptr, &message).IsError())
            REQUIRE(settings == Sample() && !message.empty());
        else
            REQUIRE(message.empty());
        break;
    }
    case 1: ReadState(settings, input, "MCSettings"); break;
    case 2: {
        static constexpr std::array<const char*, 9> kNames = {"bool",   "integer", "real",    "any", "string",
                                                              "choice", "reals",   "strings", "rael"};
        while (!input.IsDone()) {
            const MCSettings before(settings);
            const std::string name = kNames[input.Index(kNames.size())];
            const MCStatus status = input.Bool() ? settings.Set(name, AnyValue(input))
                                                 : settings.SetAll({{name, AnyValue(input)}, {"any", AnyValue(input)}});
            if (status.IsError()) REQUIRE(settings == before);
        }
        break;
    }
    default: Add(input); return 0;
    }
    CheckWritten(settings);
    return 0;
}
