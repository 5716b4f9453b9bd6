// Elements of StatXML documents as objects of Python.
#pragma once

#include "Common.h"

namespace modelcore_python {

/// An element and who owns it. Once it has been added to a parent, the parent's tree does, and is kept alive.
struct Node {
    struct Tree {
        explicit Tree(MCXML_930::XMLElement* root) : element(root) {}
        Tree(const Tree&) = delete;
        Tree& operator=(const Tree&) = delete;
        ~Tree()
        {
            if (!parent) delete element;
        }
        MCXML_930::XMLElement* element;
        std::shared_ptr<Tree> parent;
    };

    explicit Node(MCXML_930::XMLElement* element) : tree(std::make_shared<Tree>(element)) {}
    MCXML_930::XMLElement* Element() const { return tree->element; }

    std::shared_ptr<Tree> tree;
};

} // namespace modelcore_python
