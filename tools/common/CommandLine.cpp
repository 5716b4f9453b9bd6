#include "common/CommandLine.h"

#include "common/Cell.h"
#include "common/Failure.h"
#include "common/Manual.h"
#include "common/Program.h"

#include <charconv>
#include <cstddef>
#include <deque>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <string_view>

namespace procedure {

using MCCommon_930::Value;
using MCXML_930::JsonObject;
using MCXML_930::MCSetting;
using MCXML_930::MCSettings;

namespace {

/// What the user typed for a setting.
struct Typed {
    const MCSetting* setting;
    CLI::Option* option;
    std::string text;
    bool flag = false;
};

const char* TypeName(const MCSetting& setting)
{
    switch (setting.GetType()) {
    case MCSetting::TypeInteger: return "N";
    case MCSetting::TypeReal: return "X";
    case MCSetting::TypeRealList:
    case MCSetting::TypeStringList: return "A,B";
    default: return setting.GetGroup() == "Columns" ? "NAME" : "TEXT";
    }
}

std::string Description(const MCSetting& setting)
{
    std::string text = setting.GetDescription();
    const bool isNumber = setting.GetType() == MCSetting::TypeInteger || setting.GetType() == MCSetting::TypeReal;
    if (isNumber || setting.GetType() == MCSetting::TypeChoice) text += ": " + setting.GetLegalText();
    if (isNumber) text += "; " + setting.GetDefault().GetString();
    return text;
}

/// The text as a value of the setting's type; a text that is none stays a text, which the setting then refuses.
Value ToValue(const MCSetting& setting, const std::string& text)
{
    switch (setting.GetType()) {
    case MCSetting::TypeInteger: {
        long long number = 0;
        const char* const end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, number);
        return stop == end && error == std::errc() ? Value(number) : Value(text);
    }
    case MCSetting::TypeReal: {
        double number = 0.0;
        return ParseCell(text, number) == Cell::Number ? Value(number) : Value(text);
    }
    case MCSetting::TypeRealList: {
        Value list;
        list.AssertTypeOrInvalid(Value::TypeArray);
        for (const std::string& element : SplitCsvRow(text)) {
            double number = 0.0;
            list[list.Size()] = ParseCell(element, number) == Cell::Number ? Value(number) : Value(element);
        }
        return list;
    }
    case MCSetting::TypeStringList: {
        Value list;
        list.AssertTypeOrInvalid(Value::TypeArray);
        for (const std::string& element : SplitCsvRow(text)) list[list.Size()] = element;
        return list;
    }
    default: return text;
    }
}

/// Complaints, a line each, as one.
std::string Joined(std::string message)
{
    while (message.ends_with('\n')) message.pop_back();
    for (std::size_t at = 0; (at = message.find('\n', at)) != std::string::npos;) message.replace(at, 1, "; ");
    return message;
}

void ReadFile(const std::string& path, MCSettings& settings)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) throw Failure(path + ": cannot be opened");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    JsonObject json;
    JsonObject::Problem problem;
    if (!JsonObject::Parse(text, json, &problem)) throw Failure(path + ": " + problem.GetText());
    std::string message;
    if (settings.FromJson(json, nullptr, &message).IsError()) throw Failure(path + ": " + Joined(message));
}

} // namespace

bool ReadCommandLine(CLI::App& app, MCSettings& settings, int argc, char** argv)
{
    std::deque<Typed> options;
    for (std::size_t i = 0; i < settings.Size(); ++i) {
        Typed& typed = options.emplace_back();
        typed.setting = &settings.At(i);
        const std::string name = "--" + typed.setting->GetName();
        const std::string description = Description(*typed.setting);
        typed.option = typed.setting->GetType() == MCSetting::TypeBool
                           ? app.add_flag(name, typed.flag, description)
                           : app.add_option(name, typed.text, description)->type_name(TypeName(*typed.setting));
        if (!typed.setting->GetGroup().empty()) typed.option->group(typed.setting->GetGroup());
    }
    std::string path;
    app.add_option("--settings", path, "take these options from a JSON file; the command line wins")
        ->type_name("FILE.json");
    app.set_version_flag("--version", std::string("modelcore ") + MCCommon_930::MCVersion::GetText());
    app.get_formatter()->column_width(26);
    bool man = false;
    bool completion = false;
    app.add_flag("--man", man, "print the manual page")->group(""); // for the build, not for the help text
    app.add_flag("--completion", completion, "print what bash needs to complete options")->group("");

    try {
        for (int i = 1; i < argc; ++i) { // these two need no data
            man = man || std::string_view(argv[i]) == "--man";
            completion = completion || std::string_view(argv[i]) == "--completion";
        }
        if (man || completion) {
            Print(man ? ManualPage(app, settings) : BashCompletion(app, settings));
            return false;
        }
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        Print(app.help());
        return false;
    } catch (const CLI::CallForVersion&) {
        Print(app.version() + "\n");
        return false;
    } catch (const CLI::ParseError& error) {
        throw Failure(std::string(error.what()) + " (--help lists the options)");
    }

    if (!path.empty()) ReadFile(path, settings);
    std::map<std::string, Value> given;
    for (const Typed& typed : options)
        if (*typed.option)
            given[typed.setting->GetName()] = typed.setting->GetType() == MCSetting::TypeBool
                                                  ? Value(typed.flag)
                                                  : ToValue(*typed.setting, typed.text);
    std::string message;
    if (settings.SetAll(given, nullptr, &message).IsError()) throw Failure(Joined(message));
    return true;
}

void AddFormatSettings(MCSettings& settings)
{
    settings.AddString("delimiter", ",", "what stands between two fields: one character, or tab (,)", "Format");
    settings.AddStringList("missing", {}, {}, 0, std::numeric_limits<int>::max(),
                           "texts that mean a missing value, besides nothing, NA and .", "Format");
    settings.AddChoice("decimal", "point", {"point", "comma"}, "the decimal sign of numbers (point)", "Format");
    settings.AddRule("--decimal comma wants another delimiter, such as --delimiter ';'", [](const MCSettings& all) {
        return all.Get("decimal").GetString() == "point" || all.Get("delimiter").GetString() != ",";
    });
    settings.AddRule("delimiter: it must be one character, no quote and no blank, or tab", [](const MCSettings& all) {
        const std::string text = all.Get("delimiter").GetString();
        return text == "tab" || (text.size() == 1 && std::string_view("\"\r\n ").find(text) == std::string_view::npos);
    });
}

CsvFormat FormatOf(const MCSettings& settings)
{
    const std::string delimiter = settings.Get("delimiter").GetString();
    return {delimiter == "tab" ? '\t' : delimiter.front(), settings.Find("missing")->GetStrings(),
            settings.Get("decimal").GetString() == "comma"};
}

} // namespace procedure
