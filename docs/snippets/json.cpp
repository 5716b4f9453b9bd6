// The program of docs/json.md.
#include <modelcore/modelcore.h>

#include <iostream>
#include <string>
#include <vector>

using MCXML_930::JsonObject;

// Builds a value, writes it, and reads parts of it.
bool Build(std::string& text)
{
    JsonObject model;
    model.Set("method", "stepwise");
    model.Set("rSquared", 0.1 + 0.2);
    model.Set("n", 1234567890123456789);

    JsonObject term;
    term.Set("name", "age \"in years\"");
    term.Set("coefficients", JsonObject::FromReals(std::vector<double>{1.5, -0.25}));
    JsonObject terms;
    terms.Append(std::move(term));
    model.Set("terms", std::move(terms));
    return model.ToText(text, true);
}

bool Look(const std::string& text)
{
    JsonObject model;
    JsonObject::Problem problem;
    if (!JsonObject::Parse(text, model, &problem)) {
        std::cout << problem.GetText() << '\n';
        return false;
    }
    long long n = 0;
    double second = 0.0;
    if (model["n"].Read(n) && model["terms"][0]["coefficients"][1].Read(second))
        std::cout << "n " << n << ", second coefficient " << second << '\n';
    if (const JsonObject* const name = model.FindPointer("/terms/0/name")) std::cout << name->GetText() << '\n';
    for (const JsonObject::Member& member : model.Members()) std::cout << member.Name() << ' ';
    std::cout << '\n';
    return true;
}

int main()
{
    std::string text;
    if (!Build(text)) return 1;
    std::cout << text << '\n';
    Look(text);
    Look("{\"n\": 12,\n \"n\": 13}");
    Look("[1, 2,]");
}
