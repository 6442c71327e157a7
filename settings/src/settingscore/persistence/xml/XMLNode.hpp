#pragma once

#include <cstddef>
#include <new>
#include <string>
#include <string_view>

#include <boost/shared_ptr.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/persistence/xml/ElementAttributes.hpp>
#include <settingscore/persistence/xml/FileVocabulary.hpp>

namespace settings::core {

class SettingsImpl;

/// Handler of one element of a settings file, from its open tag to its close tag. It collects what
/// the element says and hands it to the handler of the enclosing element, or to the node under
/// construction, when the element ends. The nodes that handlers build belong to the parse alone:
/// nothing here takes the tree lock.
///
/// A handler lives in the room of its depth (`HandlerStack`), one after the other: an element takes
/// no memory of its own but for what it has to keep.
class XMLNode {
public:
    /// Room for any handler.
    struct Room {
        static constexpr std::size_t size = 160;
        alignas(std::max_align_t) unsigned char bytes[size];
    };
    /// Makes a handler in a room. The handler of the enclosing element is null for the root.
    using Creator = XMLNode* (*)(Room& room, ElementAttributes const& attributes, XMLNode* parent);

    /// `parent` outlives this one.
    explicit XMLNode(XMLNode* parent) : parentXMLNode_(parent) {}
    XMLNode(XMLNode const&) = delete;
    XMLNode& operator=(XMLNode const&) = delete;

    /// The node that the element belongs to.
    virtual boost::shared_ptr<SettingsImpl> const& getSettings() const;
    /// A piece of the element's text; it may come in several. Refused here.
    virtual void parseText(ustring const& text);
    virtual std::string getTagName() const = 0;
    /// The element has ended. Not called for the root element.
    virtual void closeTag() {}
    virtual ~XMLNode();
    /// What makes the handler of an element inside this one; null for one that may not stand there.
    virtual Creator creatorOf(ElementKind kind) const = 0;

    /// A handler for an element inside this one.
    XMLNode* subNode(ElementKind kind, std::string_view tag, ElementAttributes const& attributes,
                     Room& room);
    XMLNode* getParentXMLNode() const { return parentXMLNode_; }

protected:
    template <class C>
    static XMLNode* create(Room& room, ElementAttributes const& attributes, XMLNode* parent) {
        static_assert(sizeof(C) <= Room::size && alignof(C) <= alignof(Room));
        return new (room.bytes) C(attributes, parent);
    }
    /// The enclosing handler, whose class its `creatorOf` makes certain.
    template <class C>
    C& parentAs() const {
        return static_cast<C&>(*parentXMLNode_);
    }
    /// Name of the node under construction, from the topmost group that it is linked to.
    std::string fullName() const;

private:
    XMLNode* parentXMLNode_;
};

}  // namespace settings::core
