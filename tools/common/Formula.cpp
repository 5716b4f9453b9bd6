#include "common/Formula.h"

#include "common/Cell.h"
#include "common/Failure.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <utility>

namespace procedure {

namespace {

using AllOthers = std::function<std::vector<std::string>(const std::string&)>;

constexpr int kMaxPower = 20;
constexpr std::size_t kMaxTerms = 5000;
constexpr std::size_t kMaxProducts = 200000; // that crossings form, most of them terms that are there
constexpr int kMaxDepth = 100;               // each level takes a piece of the stack

/// Terms in the order in which they came, each once: x:f and f:x are one.
class Terms {
public:
    Terms() = default;
    explicit Terms(const FormulaTerm& term) { Add(term); }

    void Add(const FormulaTerm& term)
    {
        if (fKnown.insert(Sorted(term)).second) fList.push_back(term);
    }
    void Remove(const Terms& others)
    {
        std::erase_if(fList, [&](const FormulaTerm& term) { return others.fKnown.contains(Sorted(term)); });
        for (const FormulaTerm& term : others.fKnown) fKnown.erase(term);
    }
    const std::vector<FormulaTerm>& List() const { return fList; }
    std::size_t Size() const { return fList.size(); }

private:
    static FormulaTerm Sorted(FormulaTerm term)
    {
        std::ranges::sort(term);
        return term;
    }

    std::vector<FormulaTerm> fList;
    std::set<FormulaTerm> fKnown; // their parts in order
};

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
        fFormula.terms = terms.List();
        fFormula.intercept = std::erase_if(fFormula.terms, [](const FormulaTerm& term) { return term.empty(); }) > 0;
        std::ranges::stable_sort(fFormula.terms, {}, [](const FormulaTerm& term) { return term.size(); });
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

    void Add(Terms& to, const FormulaTerm& term) const
    {
        to.Add(term);
        if (to.Size() > kMaxTerms) Refuse("there are more than " + std::to_string(kMaxTerms) + " terms");
    }
    void Add(Terms& to, const Terms& from) const
    {
        for (const FormulaTerm& term : from.List()) Add(to, term);
    }
    Terms Product(const Terms& a, const Terms& b)
    {
        fProducts += a.Size() * b.Size();
        if (fProducts > kMaxProducts) Refuse("it multiplies more than " + std::to_string(kMaxProducts) + " terms");
        Terms out;
        for (const FormulaTerm& left : a.List())
            for (const FormulaTerm& right : b.List()) {
                FormulaTerm term = left;
                for (const FormulaPart& part : right) {
                    const auto found = std::ranges::find(term, part.name, &FormulaPart::name);
                    if (found == term.end())
                        term.push_back(part);
                    else if (found->power != part.power)
                        Refuse("two powers of " + Quoted(part.name) + " in one product");
                }
                Add(out, term);
            }
        return out;
    }
    Terms Crossed(const Terms& a, const Terms& b)
    {
        Terms out = a;
        Add(out, b);
        Add(out, Product(a, b));
        return out;
    }

    Terms Sum()
    {
        Terms terms{FormulaTerm()}; // the constant
        bool isFirst = true;
        for (;;) {
            const bool minus = Take('-');
            const bool plus = !minus && Take('+');
            if (!minus && !plus && !isFirst) return terms;
            isFirst = false;
            Skip();
            const bool isZero = fAt < fText.size() && fText[fAt] == '0';
            const Terms next = isZero ? Terms(FormulaTerm()) : Cross();
            if (isZero) ++fAt;
            if (minus == isZero) // + terms, and - 0
                Add(terms, next);
            else
                terms.Remove(next);
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
            terms.Remove(Terms(FormulaTerm()));
            if (!Take(')')) Refuse("a ')' is missing");
            if (!Take('^')) return terms;
            const Terms once = terms;
            for (int power = Integer(); power > 1; --power) terms = Crossed(terms, once);
            return terms;
        }
        if (fAt < fText.size() && fText[fAt] == '1') {
            ++fAt;
            return Terms(FormulaTerm());
        }
        if (!IsName()) Refuse("a name, '1', '0' or '(' was expected");
        const bool quoted = !IsLetter(fText[fAt]);
        std::string name = Name();
        if (!quoted && name == ".") {
            Terms terms;
            for (const std::string& other : fAllOthers(fFormula.target)) Add(terms, {FormulaPart{other}});
            return terms;
        }
        const int power = Take('^') ? Integer() : 1;
        return Terms({FormulaPart{std::move(name), power}});
    }

    const std::string& fText;
    const AllOthers& fAllOthers;
    std::size_t fAt = 0;
    int fDepth = 0;            // parentheses that are open
    std::size_t fProducts = 0; // formed so far
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
