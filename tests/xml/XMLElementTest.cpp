#include "modelcore/xml/XMLElement.h"
#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/JsonObject.h"
#include "modelcore/xml/NumberFormat.h"
#include "modelcore/xml/XMLAttribute.h"
#include "modelcore/xml/XMLDocType.h"
#include "modelcore/xml/XMLString.h"
#include "modelcore/xml/XMLUtil.h"
#include "modelcore/xml/XMLWrite.h"
#include "support/FailingOutput.h"
#include "support/Growth.h"
#include "support/MovedFrom.h"
#include "support/Testing.h"

#include <thread>
#ifdef __GLIBC__
#include <malloc.h>
#endif

using namespace MCXML_930;

namespace {

using Tree = std::unique_ptr<XMLElement>;

constexpr char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n";

/// The text of a node, after checking that ToString and both stream modes agree (the text must be ASCII) and leave the
/// same layout state.
std::string TextOf(const XMLInterface& node, const ExportFormat& start = ExportFormat())
{
    ExportFormat fmt = start, other = start;
    std::string text = "before ";
    EXPECT_EQ(node.ToString(text, fmt), 0);
    for (const bool utf8 : {false, true}) {
        other = start;
        std::ostringstream os;
        EXPECT_EQ(node.ToStream(os, other, utf8), 0);
        EXPECT_EQ(os.str(), text.substr(7));
        EXPECT_EQ(other.IsNewParagraph(), fmt.IsNewParagraph());
        EXPECT_EQ(other.GetLevel(), fmt.GetLevel());
    }
    return text.substr(7);
}

ExportFormat Layout(bool format, bool indentation)
{
    ExportFormat fmt;
    fmt.SetFormat(format);
    fmt.SetIndentation(indentation);
    return fmt;
}

/// <a x="1"><b/>text<c y="2" z="3"><d/></c></a>
Tree SmallTree()
{
    Tree a(XMLElement::Create("a"));
    a->AddElement(XMLElement::Create("b"));
    a->AddAttribute("x", 1.0); // attributes come first whenever they are added
    a->AddElement(XMLString::Create("text"));
    XMLElement* const c = XMLElement::Create("c");
    c->AddAttribute("y", "2");
    c->AddElement(XMLElement::Create("d"));
    c->AddAttribute("z", 3.0);
    a->AddElement(c);
    return a;
}

std::string Document(const XMLDocType* doctype, const XMLElement* root, bool format)
{
    std::ostringstream bytes, utf8;
    EXPECT_EQ(WriteTree(bytes, doctype, root, format), 0);
    EXPECT_EQ(WriteTreeUTF8(utf8, doctype, root, format), 0);
    EXPECT_EQ(bytes.str(), utf8.str());
    return bytes.str();
}

} // namespace

TEST(XMLElement, LayoutOfASmallTree)
{
    const Tree tree = SmallTree();
    EXPECT_EQ(TextOf(*tree, Layout(false, false)), "<a x=\"1\"><b/>text<c y=\"2\" z=\"3\"><d/></c></a>");
    EXPECT_EQ(TextOf(*tree, Layout(false, true)), "<a x=\"1\"><b/>text<c y=\"2\" z=\"3\"><d/></c></a>");
    // The tag after a text stays on its line; so does the first child inside that tag.
    EXPECT_EQ(TextOf(*tree), "\n<a x=\"1\">\n<b/>text<c y=\"2\" z=\"3\"><d/>\n</c>\n</a>");
    EXPECT_EQ(TextOf(*tree, Layout(true, true)),
              "\n<a \tx=\"1\">\n\t<b/>text\t<c \t\ty=\"2\" \t\tz=\"3\">\t\t<d/>\n\t</c>\n</a>");

    ExportFormat later = Layout(true, true);
    later.SetLevel(1);
    later.SetIsNewParagraph(false);
    const Tree leaf(XMLElement::Create("leaf"));
    EXPECT_EQ(TextOf(*leaf, later), "\t<leaf/>");
    leaf->AddElement(XMLString::Create("t"));
    EXPECT_EQ(TextOf(*leaf, later), "\t<leaf>t\t</leaf>");
}

TEST(XMLElement, WholeDocuments)
{
    const Tree tree = SmallTree();
    EXPECT_EQ(Document(nullptr, tree.get(), false), kHead + TextOf(*tree, Layout(false, false)));
    EXPECT_EQ(Document(nullptr, tree.get(), true), kHead + TextOf(*tree));
    EXPECT_EQ(Document(nullptr, nullptr, true), kHead);

    const std::unique_ptr<XMLDocType> doctype(XMLDocType::Create("a", "a.dtd", 5));
    const std::string open = std::string(kHead) + "<!DOCTYPE a SYSTEM \"a.dtd\"";
    EXPECT_EQ(TextOf(*doctype), open + ">\n");
    EXPECT_EQ(doctype->AddExtension("<!ENTITY e \"1\">"), 16u);
    EXPECT_EQ(doctype->AddExtension("two"), 20u);
    EXPECT_EQ(TextOf(*doctype), open + " [\n<!ENTITY e \"1\">\ntwo\n]>\n");
    EXPECT_EQ(Document(doctype.get(), tree.get(), false), TextOf(*doctype) + TextOf(*tree, Layout(false, false)));
    doctype->SetDeclaration("1.1", "ISO-8859-1");
    const std::unique_ptr<XMLDocType> copy(doctype->Clone());
    EXPECT_EQ(TextOf(*copy), TextOf(*doctype));
    EXPECT_EQ(TextOf(*copy).substr(0, 46), "<?xml version=\"1.1\" encoding=\"ISO-8859-1\" ?>\n<");
    EXPECT_EQ(copy->GetMark(), 5);
    const std::unique_ptr<XMLDocType> quoted(XMLDocType::Create("a", "say \"a\"", 0));
    EXPECT_EQ(TextOf(*quoted), std::string(kHead) + "<!DOCTYPE a SYSTEM 'say \"a\"'>\n");
}

TEST(XMLElement, AttributesAndTextsEscapeTheirOwnCharacters)
{
    const Tree element(XMLElement::Create("e"));
    element->AddAttribute("v", "<&>\"  \n");
    element->AddAttribute("w", 1e20, true);
    element->AddElement(XMLString::Create("<&>\"  \n"));
    const std::unique_ptr<XMLString> text(XMLString::Create("<&>"));
    EXPECT_EQ(TextOf(*text), "&lt;&amp;>");
    const std::string raw("\0]]>", 4);
    element->AddElement(XMLString::Create(raw));
    EXPECT_EQ(TextOf(*element, Layout(false, false)), "<e v=\"&lt;&amp;&gt;&quot; &#32;&#10;\" w=\"" +
                                                          ReplaceSep(1e20, nullptr) + "\">&lt;&amp;>\"  \n" + raw +
                                                          "</e>");
    for (const char* const value : {"a  b", "a=\"b", ""}) {
        const std::unique_ptr<XMLAttribute> attribute(XMLAttribute::Create("n=m", value));
        const std::unique_ptr<XMLAttribute> copy(attribute->Clone());
        EXPECT_EQ(TextOf(*copy), "n=m=\"" + XMLUtil::Escape(value) + "\"");
    }
}

TEST(XMLElement, RefusesNullOwnedAndCircularNodes)
{
    const Tree root = SmallTree();
    const std::string before = TextOf(*root);
    const Tree lone(XMLElement::Create("child"));
    XMLElement* const grandchild = XMLElement::Create("grandchild");
    XMLString* const text = XMLString::Create("");
    XMLAttribute* const attribute = XMLAttribute::Create("n", "v");
    EXPECT_EQ(lone->AddElement(grandchild) + lone->AddElement(text) + lone->AddAttribute(attribute), 0);

    const int refusals[] = {lone->AddElement(lone.get()),
                            grandchild->AddElement(lone.get()),
                            root->AddElement(static_cast<XMLElement*>(nullptr)),
                            root->AddElement(static_cast<XMLString*>(nullptr)),
                            root->AddAttribute(static_cast<XMLAttribute*>(nullptr)),
                            root->AddElement(grandchild),
                            root->AddElement(text),
                            root->AddAttribute(attribute)};
    for (const int& refusal : refusals) EXPECT_EQ(refusal, -1) << &refusal - refusals;
    EXPECT_EQ(TextOf(*root), before);
    EXPECT_EQ(TextOf(*lone, Layout(false, false)), "<child n=\"v\"><grandchild/></child>");
}

TEST(XMLElement, CloneIsDeepAndFreeAndADeletedChildLeavesItsParent)
{
    Tree tree = SmallTree();
    XMLElement* const second = SmallTree().release();
    tree->AddElement(second);
    tree->AddElement(XMLString::Create("after"));
    Tree copy(tree->Clone()), part(second->Clone());
    const std::string all = TextOf(*tree);
    EXPECT_EQ(TextOf(*copy), all);
    EXPECT_EQ(TextOf(*part), TextOf(*SmallTree()));
    EXPECT_EQ(copy->AddElement(part.get()), 0); // the clone of a child has no parent
    delete part.release();
    EXPECT_EQ(TextOf(*copy), all);
    delete second;
    EXPECT_EQ(TextOf(*tree, Layout(false, false)), "<a x=\"1\"><b/>text<c y=\"2\" z=\"3\"><d/></c>after</a>");
    const Tree single(XMLElement::Create("s"));
    XMLElement* const only = XMLElement::Create("only");
    single->AddElement(only);
    delete only;
    EXPECT_EQ(TextOf(*single), "\n<s/>");
}

// Built from the root, from the leaf, and from the root by elements that have a child already.
TEST(XMLElement, DeepChainsNeedNoStackAndNoMoreTimeThanFlatTrees)
{
    const auto chain = [](int depth, int way) {
        Tree root(XMLElement::Create("n"));
        XMLElement* last = root.get();
        for (int i = 1; i < depth; ++i) {
            XMLElement* const next = XMLElement::Create("n");
            if (way == 2) next->AddElement(XMLElement::Create("leaf"));
            EXPECT_EQ(way == 1 ? next->AddElement(root.release()) : last->AddElement(next), 0);
            if (way == 1) root.reset(next);
            last = next;
        }
        return root;
    };
    constexpr int kDepth = 100000;
    std::string expected;
    for (int i = 1; i < kDepth; ++i) expected += "<n>";
    expected += "<n/>";
    for (int i = 1; i < kDepth; ++i) expected += "</n>";
    for (const int way : {0, 1}) {
        Tree root = chain(kDepth, way);
        const Tree copy(root->Clone());
        root.reset();
        EXPECT_TRUE(TextOf(*copy, Layout(false, false)) == expected);
    }
    ExpectLinearTime(20000, [&chain](int depth) { chain(depth, 2); });
}

TEST(XMLElement, TreesPassBetweenThreads)
{
    // Each thread builds trees, takes apart those of the other in the same memory, and ends before the last is gone.
    constexpr int kTrees = 400;
    std::vector<Tree> trees[2];
    const auto inTwoThreads = [](auto run) {
        std::thread other(run, 1);
        run(0);
        other.join();
    };
    inTwoThreads([&](int self) {
        for (int i = 0; i < kTrees; ++i) trees[self].push_back(SmallTree());
    });
    const std::string expected = TextOf(*SmallTree());
    inTwoThreads([&](int self) {
        for (Tree& tree : trees[1 - self]) {
            if (Tree copy(tree->Clone()); TextOf(*copy) == expected) tree = std::move(copy);
            tree->AddElement(XMLString::Create(std::string(5000, 'x')));
            tree.reset();
        }
    });
    EXPECT_EQ(TextOf(*SmallTree()), expected);
}

TEST(XMLElement, PiecesOfAnySizePassTheBuffer)
{
    const Tree root(XMLElement::Create("r"));
    std::string expected = "<r>";
    for (const unsigned length : {32u * 1024 - 4, 1u, 32u * 1024, 32u * 1024 + 1, 1000000u, 0u, 5u}) {
        const std::string text(length, 'x');
        root->AddElement(XMLString::Create(text));
        expected += text;
    }
    expected += "</r>";
    EXPECT_TRUE(TextOf(*root, Layout(false, false)) == expected);
}

#ifdef __GLIBC__
// Of many nodes in one block a single one that is forgotten keeps the block.
TEST(XMLElement, TreesAndJsonLeaveNothingBehind)
{
    const auto grow = [] {
        const Tree root(XMLElement::Create("r"));
        XMLElement* inner = root.get();
        JsonObject json = 1.5;
        for (int depth = 0; depth < 100; ++depth) {
            for (int i = 0; i < 3; ++i) {
                XMLElement* const child = XMLElement::Create("e");
                child->AddAttribute("a", "a text that is longer than a small string");
                inner->AddElement(child);
                inner = i == 1 ? child : inner;
            }
            JsonObject outer;
            outer.Set("before", "a text that is longer than a small string");
            outer.Set("inner", std::move(json));
            json = JsonObject::NewArray();
            json.Append(depth);
            json.Append(std::move(outer));
        }
    };
    grow();
    const std::size_t before = mallinfo2().uordblks;
    for (int i = 0; i < 50; ++i) grow();
    EXPECT_LT(mallinfo2().uordblks, before + 100000);
}

#endif

TEST(XMLElement, WithoutMemoryTheTreeIsAsItWas)
{
    struct Held {
        Tree tree;
        Held() : tree(SmallTree()) {}
        Held(const Held& other) : tree(other.tree->Clone()) {}
    };
    const Held filled;
    const auto whole = [&filled](auto change) {
        ExpectWholeWhenMemoryRunsOut(
            filled, filled, [&](Held& held) { change(held.tree); },
            [](const Held& held) { return TextOf(*held.tree); });
    };
    const Tree large(XMLElement::Create("large")); // passes the writer's buffer
    for (int i = 0; i < 2000; ++i) large->AddElement(SmallTree().release());
    for (const XMLElement* const root : {filled.tree.get(), large.get()}) {
        ExpectFailureIsTold([&](std::ostream& stream) { return WriteTree(stream, nullptr, root, true) == 0; });
        ExpectFailureIsTold([&](std::ostream& stream) { return WriteTreeUTF8(stream, nullptr, root, false) == 0; });
    }
    const std::string text = "a text that is longer & longer than a small string";
    whole([&](Tree& t) { t->AddAttribute("x", text); });
    whole([&](Tree& t) { t->AddElement(XMLString::Create(text)); });
    whole([&](Tree& t) { t->AddElement(XMLElement::Create(text)); });
    whole([&](Tree& t) { t->AddElement(t->Clone()); });
    whole([&](Tree& t) { t.reset(t->Clone()); });
    ExpectWholeTextOrNone([&] {
        ExportFormat layout;
        std::string out;
        filled.tree->ToString(out, layout);
        return out;
    });
    ExpectWholeTextOrNone([&] {
        std::ostringstream out;
        return WriteTreeUTF8(out, nullptr, filled.tree.get(), true) == 0 && out ? out.str() : std::string();
    });
}
