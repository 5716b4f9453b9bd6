#include "common/Formula.h"

#include "common/Cell.h"
#include "common/Failure.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace procedure {

namespace {

using Terms = std::vector<FormulaTerm>;
using AllOthers = std::function<std::vector<std::string>(const std::string&)>;

constexpr int kMaxPower = 20;
constexpr std::size_t kMaxTerms = 5000;
constexpr int kMaxDepth = 100; // each level takes a piece of the stack

class Parser {
public:
    Parser(const std::string& text, const AllOthers& allOthers) : fText(text), fAllOthers(allOthers) {}

    Formula Run()
    {
        if (!IsName()) Refuse("a formula begins with the name of the target");
        fFormula.target = Name();
        if (!Take('~')) Refuse("'~' is to follow the target");
        Terms terms = Sum();
        Skip();
        if (fAt < fText.size()) Refuse("nothing was expected here");
        fFormula.intercept = std::erase_if(terms, [](const FormulaTerm& term) { return term.empty(); }) > 0;
        std::ranges::stable_sort(terms, {}, [](const FormulaTerm& term) { return term.size(); });
        fFormula.terms = std::move(terms);
        return std::move(fFormula);
    }

private:
    [[noreturn]] void Refuse(const std::string& why) const
    {
        throw Failure("model " + Quoted(fText) + ", character " + std::to_string(fAt + 1) + ": " + why);
    }

    void Skip()
    {
        while (fAt < fText.size() && fText[fAt] == ' ') ++fAt;
    }
    bool Take(char c)
    {
        Skip();
        if (fAt >= fText.size() || fText[fAt] != c) return false;
        ++fAt;
        return true;
    }
    static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
    static bool IsLetter(char c)
    {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '.' ||
               static_cast<unsigned char>(c) > 127;
    }
    bool IsName()
    {
        Skip();
        if (fAt >= fText.size()) return false;
        const char c = fText[fAt];
        return c == '"' || c == '\'' || c == '`' || IsLetter(c);
    }
    std::string Name()
    {
        const char quote = fText[fAt];
        if (IsLetter(quote)) {
            const std::size_t begin = fAt;
            while (fAt < fText.size() && (IsLetter(fText[fAt]) || IsDigit(fText[fAt]))) ++fAt;
            return fText.substr(begin, fAt - begin);
        }
        const std::size_t end = fText.find(quote, fAt + 1);
        if (end == std::string::npos) Refuse("the quote is not closed");
        std::string name = fText.substr(fAt + 1, end - fAt - 1);
        fAt = end + 1;
        return name;
    }
    int Integer()
    {
        Skip();
        int number = 0;
        const std::size_t begin = fAt;
        while (fAt < fText.size() && IsDigit(fText[fAt]) && number < 1000) number = 10 * number + (fText[fAt++] - '0');
        if (fAt == begin || number < 1 || number > kMaxPower)
            Refuse("'^' wants a whole number from 1 to " + std::to_string(kMaxPower));
        return number;
    }

    void Add(Terms& to, const Terms& from) const
    {
        for (const FormulaTerm& term : from)
            if (std::ranges::find_if(to, [&](const FormulaTerm& other) { return Same(other, term); }) == to.end())
                to.push_back(term);
        if (to.size() > kMaxTerms) Refuse("there are more than " + std::to_string(kMaxTerms) + " terms");
    }
    static bool Same(const FormulaTerm& a, const FormulaTerm& b)
    {
        return a.size() == b.size() &&
               std::ranges::all_of(a, [&](const FormulaPart& p) { return std::ranges::find(b, p) != b.end(); });
    }
    Terms Product(const Terms& a, const Terms& b) const
    {
        Terms out;
        for (const FormulaTerm& left : a)
            for (const FormulaTerm& right : b) {
                FormulaTerm term = left;
                for (const FormulaPart& part : right) {
                    const auto found = std::ranges::find(term, part.name, &FormulaPart::name);
                    if (found == term.end())
                        term.push_back(part);
                    else if (found->power != part.power)
                        Refuse("two powers of " + Quoted(part.name) + " in one product");
                }
                Add(out, Terms(1, term));
            }
        return out;
    }
    Terms Crossed(const Terms& a, const Terms& b) const
    {
        Terms out = a;
        Add(out, b);
        Add(out, Product(a, b));
        return out;
    }

    Terms Sum()
    {
        Terms terms(1); // the constant
        bool isFirst = true;
        for (;;) {
            const bool minus = Take('-');
            const bool plus = !minus && Take('+');
            if (!minus && !plus && !isFirst) return terms;
            isFirst = false;
            Skip();
            const bool isZero = fAt < fText.size() && fText[fAt] == '0';
            const Terms next = isZero ? Terms(1) : Cross();
            if (isZero) ++fAt;
            if (minus == isZero) // + terms, and - 0
                Add(terms, next);
            else
                std::erase_if(terms, [&](const FormulaTerm& term) {
                    return std::ranges::any_of(next, [&](const FormulaTerm& other) { return Same(other, term); });
                });
        }
    }
    Terms Cross()
    {
        Terms terms = Interaction();
        while (Take('*')) terms = Crossed(terms, Interaction());
        return terms;
    }
    Terms Interaction()
    {
        Terms terms = Power();
        while (Take(':')) terms = Product(terms, Power());
        return terms;
    }
    Terms Power()
    {
        Skip();
        if (Take('(')) {
            if (++fDepth > kMaxDepth)
                Refuse("more than " + std::to_string(kMaxDepth) + " parentheses are within each other");
            Terms terms = Sum();
            --fDepth;
            std::erase_if(terms, [](const FormulaTerm& term) { return term.empty(); });
            if (!Take(')')) Refuse("a ')' is missing");
            if (!Take('^')) return terms;
            const Terms once = terms;
            for (int power = Integer(); power > 1; --power) terms = Crossed(terms, once);
            return terms;
        }
        if (fAt < fText.size() && fText[fAt] == '1') {
            ++fAt;
            return Terms(1);
        }
        if (!IsName()) Refuse("a name, '1', '0' or '(' was expected");
        const bool quoted = !IsLetter(fText[fAt]);
        std::string name = Name();
        if (!quoted && name == ".") {
            Terms terms;
            for (const std::string& other : fAllOthers(fFormula.target))
                Add(terms, Terms(1, FormulaTerm{FormulaPart{other}}));
            return terms;
        }
        const int power = Take('^') ? Integer() : 1;
        return Terms(1, FormulaTerm{FormulaPart{std::move(name), power}});
    }

    const std::string& fText;
    const AllOthers& fAllOthers;
    std::size_t fAt = 0;
    int fDepth = 0; // parentheses that are open
    Formula fFormula;
};

} // namespace

std::string Formula::NameOf(const FormulaTerm& term)
{
    std::string name;
    for (const FormulaPart& part : term) {
        if (!name.empty()) name += ':';
        name += part.name;
        if (part.power > 1) name.append("^").append(std::to_string(part.power));
    }
    return name.empty() ? "(Intercept)" : name;
}

Formula ParseFormula(const std::string& text, const AllOthers& allOthers)
{
    return Parser(text, allOthers).Run();
}

} // namespace procedure
