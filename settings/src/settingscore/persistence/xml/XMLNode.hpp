#pragma once

#include <map>
#include <string>
#include <utility>

#include <boost/enable_shared_from_this.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/persistence/xml/ElementAttributes.hpp>

namespace settings::core {

class SettingsImpl;

/// Handler of one element of a settings file, from its open tag to its close tag. It collects what
/// the element says and hands it to the handler of the enclosing element, or to the node under
/// construction, when the element ends. The nodes that handlers build belong to the parse alone:
/// nothing here takes the tree lock.
class XMLNode : public boost::enable_shared_from_this<XMLNode> {
public:
    using Creator = boost::shared_ptr<XMLNode> (*)(ElementAttributes const& attributes,
                                                   boost::shared_ptr<XMLNode> const& parent);
    using HandlerMap = std::map<std::string, Creator>;

    /// `parent` is empty for the root element.
    explicit XMLNode(boost::shared_ptr<XMLNode> parent) : parentXMLNode_(std::move(parent)) {}
    XMLNode(XMLNode const&) = delete;
    XMLNode& operator=(XMLNode const&) = delete;

    /// The node that the element belongs to.
    virtual boost::shared_ptr<SettingsImpl> getSettings() const;
    /// A piece of the element's text; it may come in several. Refused here.
    virtual void parseText(ustring const& text);
    virtual std::string getTagName() const = 0;
    /// The element has ended. Not called for the root element.
    virtual void closeTag() const {}
    virtual ~XMLNode();
    /// The elements that may stand inside; built once a class.
    virtual HandlerMap const& getHandlerMap() const = 0;

    /// A handler for an element inside this one.
    boost::shared_ptr<XMLNode> subNode(std::string const& tag, ElementAttributes const& attributes);
    boost::shared_ptr<XMLNode> const& getParentXMLNode() const { return parentXMLNode_; }

protected:
    template <class C>
    static boost::shared_ptr<XMLNode> create(ElementAttributes const& attributes,
                                             boost::shared_ptr<XMLNode> const& parent) {
        return boost::make_shared<C>(attributes, parent);
    }
    /// The enclosing handler, whose class the handler maps make certain.
    template <class C>
    C& parentAs() const {
        return static_cast<C&>(*parentXMLNode_);
    }
    /// Name of the node under construction, from the topmost group that it is linked to.
    std::string fullName() const;

private:
    boost::shared_ptr<XMLNode> parentXMLNode_;
};

}  // namespace settings::core
