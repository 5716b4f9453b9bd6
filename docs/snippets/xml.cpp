// The code of docs/xml.md: a document of two elements.
#include <modelcore/modelcore.h>

#include <iostream>
#include <memory>

int main()
{
    using namespace MCXML_930;
    const std::unique_ptr<XMLElement> root(XMLElement::Create("Model"));
    root->AddAttribute("name", "a < b");
    root->AddAttribute("rSquared", 0.1 + 0.2);

    XMLElement* const note = XMLElement::Create("Note");
    note->AddElement(XMLString::Create("fit & forget"));
    root->AddElement(note);
    WriteTreeUTF8(std::cout, nullptr, root.get(), true);
}
