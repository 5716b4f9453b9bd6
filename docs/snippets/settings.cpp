// The program of docs/settings.md.
#include <modelcore/modelcore.h>

#include <iostream>
#include <string>

using namespace MCXML_930;

MCSettings CreateSettings()
{
    MCSettings settings;
    settings.AddChoice("method", "enter", {"enter", "forward", "stepwise"}, "how terms come into the model");
    settings.AddReal("pEnter", 0.05, MCRealRange::OpenClosed(0.0, 1.0), "largest significance of a term that enters");
    settings.AddReal("pRemove", 0.1, MCRealRange::OpenClosed(0.0, 1.0), "smallest significance that removes a term");
    settings.AddInteger("maxSteps", 0, 0, 1000, "most steps; 0 for twice the number of terms");
    settings.AddRule("pEnter must be less than pRemove",
                     [](const MCSettings& now) { return now.Get("pEnter").GetReal() < now.Get("pRemove").GetReal(); });
    return settings;
}

int main()
{
    MCSettings settings = CreateSettings();
    for (const char* const text : {
             R"({"method": "stepwise", "pEnter": 0.2, "pRemove": 0.3})",
             R"({"method": "stepwize", "pEnter": 2})",
             R"({"maxstep": 10})",
             R"({"pEnter": 0.5})",
         }) {
        JsonObject json;
        std::string message;
        if (!JsonObject::Parse(text, json)) return 1;
        if (!settings.FromJson(json, nullptr, &message).IsOK()) std::cout << message << '\n';
    }
    std::string text;
    settings.ToJson(true).ToText(text);
    std::cout << text << '\n';
    settings.Display();
    settings.Find("pEnter")->CreateJsonSchema().ToText(text, true);
    std::cout << text << '\n';
}
