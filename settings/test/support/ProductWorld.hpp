#pragma once

#include <settingscore/host/Filesystem.hpp>

#include <support/TreeWorld.hpp>

/// A world with products on disk, and short words for what tests of whole trees do.
namespace qbtest {

using NodePtr = Node;

/// A key with a value on a level that can be modified.
inline NodePtr makeKey(std::string const& name, any const& value, NodePtr const& parent,
                       std::string const& level = "user") {
    NodePtr const node = makeKey(name, parent);
    node->initSetters(value);
    node->setAnyInternal(value, level);
    return node;
}

template <class T>
T valueOf(Parent const& group, std::string const& key, std::string const& level = "") {
    return boost::any_cast<T>(group->getAny(key, level));
}

/// Takes the rights of root away until the end of the scope, so that permissions count.
class Unprivileged {
public:
    Unprivileged() : wasRoot_(::geteuid() == 0) {
        if (wasRoot_ && ::seteuid(65534) != 0) throw std::runtime_error("seteuid");
    }
    ~Unprivileged() {
        if (wasRoot_ && ::seteuid(0) != 0) std::abort();
    }

private:
    bool wasRoot_;
};

class ProductWorld : public TreeWorld {
protected:
    /// The product "plot": width (1..10) is 5, title has no value; below axes: grid is true, and
    /// below its group ticks count is 3.
    void installPlot() const {
        std::string const limits = "<metadata><min>1</min><max>10</max></metadata>";
        std::string const axes =
            keyXml("grid", "bool", valueXml("1")) + groupXml("ticks", intKey("count", "3"));
        factoryFile("plot", "plot.settings",
                    keyXml("width", "int32", limits + valueXml("5")) +
                        keyXml("title", "string", "", " undef=\"true\"") + groupXml("axes", axes),
                    "visible=\"true\" version=\"4\"");
    }
    static boost::shared_ptr<Settings> product(std::string const& name = "plot") {
        return root()->getChild(name);
    }
    static NodePtr productImpl(std::string const& name = "plot") { return nodeAt(name); }
    static NodePtr nodeAt(std::string const& path) { return at(path); }
};

}  // namespace qbtest
