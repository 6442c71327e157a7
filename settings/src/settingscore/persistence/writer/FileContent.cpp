#include <settingscore/persistence/writer/FileContent.hpp>

#include <type_traits>
#include <vector>

#include <boost/variant/apply_visitor.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/persistence/writer/ValueWriter.hpp>
#include <settingscore/persistence/xml/FileBounds.hpp>
#include <settingscore/rules/ValueType.hpp>
#include <settingscore/tree/NodeWalk.hpp>
#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/StorableText.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace settings::core {

using detail::HeldLock;
using detail::NodeView;
using settingscore::boostany::ValueTraits;

namespace {

/// What would not read back of a text that stands in an attribute without escapes.
std::string unwritableInAttribute(std::string const& text, char const* marks) {
    if (text.find_first_of(marks) != std::string::npos) {
        return text.substr(text.find_first_of(marks), 1);
    }
    ustring const wide = qf::i18n::to_ustring(text);
    if (qf::i18n::to_string(wide) != text) return "bytes that are no UTF-8";
    std::size_t const blank = wide.find_first_of(u"\t\n\r");
    return blank == ustring::npos ? unstorableCharacter(wide) : nameOfUnit(wide[blank]);
}

/// The reader bounds the text that comes out of a file and the bytes that go into it, of which a
/// text can take several a character.
bool isTooLong(ustring const& text) {
    constexpr std::size_t mostBytesOfOne = 5;  // "]]>" is written as 15.
    constexpr std::size_t marks = 12;
    if (text.size() > FileBounds::textLimit) return true;
    if (text.size() * mostBytesOfOne + marks <= FileBounds::writtenTextLimit) return false;
    std::string written;
    ValueWriter(written).output(text);
    return written.size() > FileBounds::writtenTextLimit;
}

/// Why a value can't be written, as the end of a sentence; empty if it can.
class ValueFault {
public:
    using result_type = std::string;

    std::string operator()() const { return {}; }
    template <class T>
    std::string operator()(T const& value) const {
        if constexpr (std::is_same_v<T, ustring>) {
            if (isTooLong(value)) return "is too long a text";
            std::string const character = unstorableCharacter(value);
            if (!character.empty()) return "holds " + character;
        }
        return {};
    }
    template <class T>
    std::string operator()(std::vector<T> const& values) const {
        if constexpr (std::is_same_v<T, ustring>) {
            for (ustring const& value : values) {
                std::string fault = (*this)(value);
                if (!fault.empty()) return fault;
            }
        }
        return {};
    }
};

struct IsArray {
    using result_type = bool;
    bool operator()() const { return false; }
    template <class T>
    bool operator()(T const&) const {
        return ValueTraits<T>::isArray;
    }
};

/// Why a validator or runtime default can't be written, as a part of a sentence.
struct FunctionFault {
    using result_type = std::string;

    std::string operator()(boost::mpl::void_ const&) const { return {}; }
    template <class Function>
    std::string operator()(Function const& function) const {
        for (std::string const& name : {function.getPackageName(), function.getFunctionName()}) {
            std::string const fault = unwritableInAttribute(name, "<&\"'");
            if (!fault.empty()) return "the function '" + name + "' of it has " + fault;
        }
        return {};
    }
};

class ContentCheck {
public:
    ContentCheck(HeldLock const& lock, std::string const& level) : lock_(lock), level_(level) {}

    UnwritableContent const& run(SettingsImpl const& product) {
        std::string const& name = NodeView(product, lock_).name();
        if (name.empty() || name.find('/') != std::string::npos) {
            found(product, "has a name that is none of a file");
        }
        detail::walkTree(
            product, lock_, detail::ChildOrder::keysFirst,
            [this](NodeView const& view, std::size_t below) { return visit(view, below + 1); });
        return found_;
    }

private:
    /// True if what is below the node is to be visited.
    bool visit(NodeView const& view, std::size_t depth) {
        if (found_) return false;
        SettingsImpl const& node = view.node();
        // A key has its type element inside, and that its values.
        if (depth + (view.isLeaf() ? 2 : 0) > FileBounds::nestingLimit) {
            found(node, "is nested too deeply");
            return false;
        }
        std::string const name = unwritableInAttribute(view.name(), "<&\"");
        if (!name.empty()) {
            found(node, "has a name with " + name);
        } else if (view.isLeaf()) {
            checkKey(node);
        } else if (!view.children().empty()) {
            // The validator of a group stands before its children; without any it is left out.
            checkFunction(node, boost::apply_visitor(FunctionFault(), view.validator()));
        }
        return !found_ && !view.isLeaf();
    }

    void checkKey(SettingsImpl const& key) {
        if (key.shouldWriteRules(lock_, level_)) {
            checkFunction(key,
                          boost::apply_visitor(FunctionFault(), NodeView(key, lock_).validator()));
        }
        auto const writer = NodeView(key, lock_).rules().writer();
        if (!writer) return;
        bool const isAnyTyped = writer == &writeValues<ZenbarAny>;
        boost::any const value =
            NodeView(key, lock_).stored(SettingsLevelManager::findLevel(level_));
        if (isAnyTyped && value.empty()) return;  // Its writer ends before the runtime default.
        if (NodeView(key, lock_).ownsRunTimeDefault(level_)) {
            checkFunction(
                key, boost::apply_visitor(FunctionFault(), NodeView(key, lock_).runTimeDefault()));
            return;
        }
        if (value.empty()) return;
        IsArray isArray;
        if (isAnyTyped && settingscore::boostany::applyVisitor(isArray, value, true)) {
            found(key, "takes values of any type, of which a file holds no arrays");
            return;
        }
        checkShape(key, value, isAnyTyped);
        ValueFault fault;
        std::string const text = settingscore::boostany::applyVisitor(fault, value, true);
        if (!text.empty()) found(key, "has a value that " + text);
    }

    /// A value can differ from its key's definition: the first one of a key comes unchecked in a
    /// merge, and a set converts without looking at how a file says "no elements".
    void checkShape(SettingsImpl const& key, boost::any const& value, bool isAnyTyped) {
        constexpr unsigned long elementTypes = settingscore::boostany::elementTypeCount;
        TypeIndexSetter indexOf;
        ArraySizeGetter sizeOf;
        unsigned long const type = settingscore::boostany::applyVisitor(indexOf, value, true);
        unsigned long const count = settingscore::boostany::applyVisitor(sizeOf, value, true);
        auto const own = NodeView(key, lock_).rules().typeIndex();
        if (!isAnyTyped && own && (type - 1) % elementTypes != (*own - 1) % elementTypes) {
            found(key, "has a value of another type than its own");
            return;
        }
        auto const sizes = NodeView(key, lock_).rules().sizes();
        if (!sizes) return;
        unsigned long const least = sizes->minArrSize();
        unsigned long const most = sizes->maxArrSize();
        if (isAnyTyped) {
            if (most != 1) found(key, "has one value where its definition has an array");
        } else if (count == 0 && least == 0 && most != 0) {
            // Read back, it is a key without a value.
            found(key, "has an empty array, of which only a key of any size has a form in files");
        } else if (count < least || (most != 0 && count > most)) {
            found(key, "has " + std::to_string(count) + " values, which its definition excludes");
        }
    }

    void checkFunction(SettingsImpl const& node, std::string const& fault) {
        if (!fault.empty()) found(node, "cannot be written: " + fault);
    }

    void found(SettingsImpl const& node, std::string const& fault) {
        if (found_) return;
        found_.node = node.shared_from_this();
        found_.reason =
            node.getFullNameWithLock(lock_, false) + " " + fault + ", which would not read back";
    }

    HeldLock lock_;
    std::string const& level_;
    UnwritableContent found_;
};

}  // namespace

UnwritableContent findUnwritable(SaveSettingsFunctor const& functor,
                                 boost::shared_ptr<SettingsImpl const> const& product,
                                 std::string const& level) {
    return ContentCheck(functor.lock(), level).run(*product);
}

}  // namespace settings::core
