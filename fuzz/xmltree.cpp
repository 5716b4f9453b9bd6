// XML trees built by generated operations beside a plain model, written, and read again by a small reader of our own.
#include "Input.h"

#include "modelcore/modelcore.h"

#include <memory>

using namespace MCXML_930;

namespace {

struct Node {
    std::string name; ///< empty: a text
    std::string text;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<Node> children;

    bool operator==(const Node&) const = default;
};

/// Takes apart what is written without line breaks. Stops the program at anything that is not well-formed.
class TreeReader {
public:
    explicit TreeReader(std::string_view text) : fRest(text) {}

    Node Element()
    {
        Node node;
        Take('<');
        node.name = Name();
        while (TakeIf(' ')) {
            std::string name = Name();
            Take('=');
            Take('"');
            const std::size_t end = fRest.find('"');
            REQUIRE(end != std::string_view::npos);
            const std::string_view raw = fRest.substr(0, end);
            // What a reader would take away or join.
            REQUIRE(raw.find_first_of("<>\t\n\r") == std::string_view::npos &&
                    raw.find("  ") == std::string_view::npos);
            REQUIRE(raw.empty() || (raw.front() != ' ' && raw.back() != ' '));
            node.attributes.emplace_back(std::move(name), Plain(raw));
            fRest.remove_prefix(end + 1);
        }
        if (TakeIf('/')) {
            Take('>');
            return node;
        }
        Take('>');
        while (!fRest.starts_with("</")) {
            REQUIRE(!fRest.empty());
            if (fRest.front() == '<') {
                node.children.push_back(Element());
            } else {
                const std::size_t end = std::min(fRest.find('<'), fRest.size());
                // Texts beside each other are one.
                if (node.children.empty() || !node.children.back().name.empty()) node.children.emplace_back();
                node.children.back().text += Plain(fRest.substr(0, end));
                fRest.remove_prefix(end);
            }
        }
        fRest.remove_prefix(2);
        REQUIRE(Name() == node.name);
        Take('>');
        return node;
    }
    bool IsDone() const { return fRest.empty(); }

private:
    bool TakeIf(char c)
    {
        if (fRest.empty() || fRest.front() != c) return false;
        fRest.remove_prefix(1);
        return true;
    }
    void Take(char c) { REQUIRE(TakeIf(c)); }
    std::string Name()
    {
        const std::size_t end = fRest.find_first_of(" =/>");
        REQUIRE(end != std::string_view::npos && end > 0);
        std::string name(fRest.substr(0, end));
        fRest.remove_prefix(end);
        return name;
    }
    static std::string Plain(std::string_view raw)
    {
        static constexpr std::array<std::pair<std::string_view, char>, 8> kReferences = {{{"&amp;", '&'},
                                                                                          {"&lt;", '<'},
                                                                                          {"&gt;", '>'},
                                                                                          {"&quot;", '"'},
                                                                                          {"&#9;", '\t'},
                                                                                          {"&#10;", '\n'},
                                                                                          {"&#13;", '\r'},
                                                                                          {"&#32;", ' '}}};
        std::string plain;
        while (!raw.empty()) {
            if (raw.front() != '&') {
                plain += raw.front();
                raw.remove_prefix(1);
                continue;
            }
            const auto found = std::find_if(kReferences.begin(), kReferences.end(),
                                            [&](const auto& each) { return raw.starts_with(each.first); });
            REQUIRE(found != kReferences.end());
            plain += found->second;
            raw.remove_prefix(found->first.size());
        }
        return plain;
    }

    std::string_view fRest;
};

/// Texts beside each other joined and empty ones left out, as a reader sees them.
Node Joined(const Node& node)
{
    Node out{node.name, node.text, node.attributes, {}};
    for (const Node& child : node.children) {
        if (!child.name.empty())
            out.children.push_back(Joined(child));
        else if (child.text.empty())
            continue;
        else if (!out.children.empty() && out.children.back().name.empty())
            out.children.back().text += child.text;
        else
            out.children.push_back(child);
    }
    return out;
}

std::size_t Count(const Node& node)
{
    std::size_t count = 1;
    for (const Node& child : node.children) count += Count(child);
    return count;
}

std::string Written(const XMLElement& root)
{
    ExportFormat layout;
    layout.SetFormat(false);
    std::string text;
    REQUIRE(root.ToString(text, layout) == 0);
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static constexpr std::array<const char*, 3> kNames = {"a", "bb",
                                                          "a-name-of-more-letters-than-a-small-string-holds"};
    Input input(bytes, size);
    std::unique_ptr<XMLElement> root(XMLElement::Create("root"));
    Node model{"root", {}, {}, {}};
    // Elements that can still be reached, and their way from the root.
    std::vector<std::pair<XMLElement*, std::vector<std::size_t>>> reached{{root.get(), {}}};
    while (!input.IsDone()) {
        auto& [element, way] = reached[input.Index(reached.size())];
        Node* plain = &model;
        for (const std::size_t step : way) plain = &plain->children[step];
        const std::string name = kNames[input.Index(kNames.size())];
        switch (input.Byte() % 7) {
        case 0:
        case 1: {
            const std::string value = input.Text(30);
            REQUIRE(element->AddAttribute(name, value) == 0);
            plain->attributes.emplace_back(name, value);
            break;
        }
        case 2: {
            const std::string text = input.Text(30);
            REQUIRE(element->AddElement(XMLString::Create(text)) == 0);
            plain->children.push_back({{}, text, {}, {}});
            break;
        }
        case 3:
        case 4: {
            XMLElement* const child = XMLElement::Create(name);
            REQUIRE(element->AddElement(child) == 0 && element->AddElement(child) == -1);
            std::vector<std::size_t> wayDown = way;
            wayDown.push_back(plain->children.size());
            plain->children.push_back({name, {}, {}, {}});
            if (reached.size() < 200) reached.emplace_back(child, std::move(wayDown));
            break;
        }
        case 5: {
            REQUIRE(element->AddElement(root.get()) == -1);
            if (Count(model) > 300) break; // copies of everything grow as powers do
            XMLElement* const copy = element->Clone();
            Node copied(*plain);
            REQUIRE(root->AddElement(copy) == 0);
            model.children.push_back(std::move(copied));
            break;
        }
        default: {
            std::unique_ptr<XMLElement> copy(root->Clone());
            REQUIRE(Written(*copy) == Written(*root));
        }
        }
    }
    const std::string text = Written(*root);
    TreeReader reader(text);
    REQUIRE(reader.Element() == Joined(model) && reader.IsDone());
    for (const bool utf8 : {false, true}) {
        ExportFormat layout;
        layout.SetFormat(false);
        std::ostringstream stream;
        root->ToStream(stream, layout, utf8);
        if (utf8)
            REQUIRE(JsonObject::IsUTF8(stream.str()) && (stream.str() == text || !JsonObject::IsUTF8(text)));
        else
            REQUIRE(stream.str() == text);
    }
    std::ostringstream indented;
    REQUIRE(WriteTreeUTF8(indented, nullptr, root.get(), true) == 0);
    // A part that is deleted leaves the rest.
    if (reached.size() > 1) {
        delete reached[1].first;
        Node* parent = &model;
        const auto& way = reached[1].second;
        for (std::size_t i = 0; i + 1 < way.size(); ++i) parent = &parent->children[way[i]];
        parent->children.erase(parent->children.begin() + static_cast<std::ptrdiff_t>(way.back()));
        const std::string rest = Written(*root);
        TreeReader second(rest);
        REQUIRE(second.Element() == Joined(model));
    }
    return 0;
}
