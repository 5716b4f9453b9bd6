#include "common/Manual.h"

#include <vector>

namespace procedure {

using MCXML_930::MCSettings;

namespace {

/// The text as roff takes it: no hyphen that breaks, no control character at the start of a line.
std::string Roff(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else
            out += c;
    }
    return out.starts_with('.') || out.starts_with('\'') ? "\\&" + out : out;
}

/// The options that people are told of, in the order of adding.
std::vector<const CLI::Option*> ShownOptions(const CLI::App& app)
{
    return app.get_options([](const CLI::Option* option) { return !option->get_group().empty(); });
}

std::string UpperCase(std::string text)
{
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

} // namespace

std::string ManualPage(const CLI::App& app, const MCSettings&)
{
    const std::string name = app.get_name();
    std::string page = ".TH " + UpperCase(name) + " 1 \"\" \"modelcore " + MCCommon_930::MCVersion::GetText() + "\"\n";
    std::string what = app.get_description();
    page += ".SH NAME\n" + name + " \\- " + Roff(what) + "\n.SH SYNOPSIS\n.B " + name + "\n";
    std::string options;
    for (const CLI::Option* const option : ShownOptions(app)) {
        const bool positional = option->get_positional();
        const std::string type = option->get_type_name();
        if (positional) {
            page += ".I " + Roff(type) + "\n";
            options += ".TP\n.I " + Roff(type) + "\n";
        } else {
            options += ".TP\n.B " + Roff(option->get_name(false, true)) + "\n";
            if (option->get_items_expected_max() > 0 && !type.empty())
                options.insert(options.size() - 1, " \\fI" + Roff(type) + "\\fR");
        }
        options += Roff(option->get_description()) + "\n";
    }
    page +=
        "[options]\n.SH DESCRIPTION\n" + Roff(what) +
        "\nMissing values are empty fields, NA, a point alone, and what \\-\\-missing names. Lists are written as rows "
        "of a CSV file.\n.SH OPTIONS\n" +
        options;
    page +=
        ".SH EXIT STATUS\n.TP\n0\nthe results were given\n.TP\n1\nthe results were given, and a warning says why they "
        "do not stand\n.TP\n2\nthe input, an option or an output cannot be used; nothing was written\n.TP\n128 + "
        "n\nstopped by signal n; nothing was written\n.SH ENVIRONMENT\n.TP\nNO_COLOR\nif not empty, no bold letters "
        "on a terminal\n.TP\nTMPDIR\nthe folder of temporary data, /tmp unless given\n.SH SEE ALSO\n";
    std::string others;
    for (const char* const program : {"describe", "evaluate", "linreg", "logreg"})
        if (name != program) others.append(others.empty() ? "" : ",\n").append(".BR ").append(program).append(" (1)");
    return page + others + "\n";
}

std::string BashCompletion(const CLI::App& app, const MCSettings& settings)
{
    const std::string name = app.get_name();
    std::string names;
    for (const CLI::Option* const option : ShownOptions(app))
        if (!option->get_positional())
            for (const std::string& one : option->get_lnames()) names.append(names.empty() ? "--" : " --").append(one);
    std::string choices;
    for (std::size_t i = 0; i < settings.Size(); ++i) {
        std::string words;
        for (const std::string& word : settings.At(i).GetChoices()) words.append(words.empty() ? "" : " ").append(word);
        if (words.empty()) continue;
        choices.append("        --")
            .append(settings.At(i).GetName())
            .append(") words='")
            .append(words)
            .append("' ;;\n");
    }
    return "# Completion of " + name + " for bash.\n_" + name +
           "()\n{\n    local word=${COMP_WORDS[COMP_CWORD]} words=\n    case ${COMP_WORDS[COMP_CWORD-1]} in\n" +
           choices + "        *) case $word in -*) words='" + names +
           "' ;; esac ;;\n    esac\n    if [ -n \"$words\" ]; then\n        mapfile -t COMPREPLY < <(compgen -W "
           "\"$words\" "
           "-- \"$word\")\n    else\n        mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n    fi\n}\ncomplete -o "
           "filenames -F _" +
           name + " " + name + "\n";
}

} // namespace procedure
