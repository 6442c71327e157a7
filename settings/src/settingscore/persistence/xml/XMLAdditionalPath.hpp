#pragma once

#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/xml/XMLLeafNode.hpp>

namespace settings::core {

/// A further file to read, named by the root element.
class XMLAdditionalPath : public XMLLeafNode {
public:
    XMLAdditionalPath(ElementAttributes const&, XMLNode* parent) : XMLLeafNode(parent) {}

    void parseText(ustring const& text) override { path_ = text; }
    std::string getTagName() const override { return "additionalpath"; }
    void closeTag() override;

private:
    qf::filesystem::path path_;
};

}  // namespace settings::core
