#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>
#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/tree/StructureVersion.hpp>
#include <settingscore/tree/ZSettings.hpp>
#include <settingscore/typed/Errors.hpp>
#include <settingscore/typed/Form.hpp>

namespace settingscore::typed::detail {

using Node = boost::shared_ptr<settings::core::Settings>;
using settings::core::ZcrID;

/// The name of a key, and the way from there to its group.
class KeyName {
public:
    KeyName(std::string fullName, ZcrID const& id) : full_(std::move(fullName)), id_(id) {
        std::size_t const dot = full_.rfind('.');
        if (dot != std::string::npos) group_ = full_.substr(0, dot);
        leaf_ = full_.substr(dot == std::string::npos ? 0 : dot + 1);
    }
    std::string const& full() const { return full_; }
    std::string const& leaf() const { return leaf_; }
    ZcrID const& instance() const { return id_; }

    /// The root of the key's instance. @throws MissingKey if there is none
    Node root() const {
        Node root = settings::core::Settings::getSettingsRoot(id_);
        if (!root) throw MissingKey(root, full_, "there is no such instance, or it has ended.");
        return root;
    }

    /// The group below `root` that holds the key. Loads. @throws MissingKey
    Node groupBelow(Node const& root) const {
        Node group = group_.empty() ? Node() : root->getSettingsByFullName(group_);
        if (!group || !group->getChild(leaf_)) fail(root);
        return group;
    }

    [[noreturn]] void fail(Node const& root) const {
        std::string const product = full_.substr(0, full_.find('.'));
        if (group_.empty()) throw MissingKey(root, full_, "a key stands below a product.");
        if (root->getChild(product)) throw MissingKey(root, full_, "there is no such key.");
        std::string const folder =
            qf::i18n::to_string(settings::core::ZSettings::getFactoryDir(id_));
        throw MissingKey(root, full_,
                         "there is no product " + product + "; the products are looked for in '" +
                             folder + "' (SETTINGS_FACTORYDIR).");
    }

private:
    std::string full_;
    std::string group_;
    std::string leaf_;
    ZcrID id_;
};

/// Compares the type of a key in its group with the one that is asked for, by its index. False if
/// the key has none yet. @throws WrongType, MissingKey for a group
inline bool hasType(KeyName const& name, Node const& group, unsigned long asked) {
    Node const key = group->getChild(name.leaf());
    if (!key) throw MissingKey(group, name.full(), "there is no such key.");
    if (!key->isLeafNode()) throw MissingKey(group, name.full(), "this is a group and not a key.");
    settings::core::KeyDescription const description = settings::core::describeKey(key);
    if (!description.typeIndex) return false;
    unsigned long index = *description.typeIndex;
    if (index == 0 || index == boostany::anyTypeIndex) return true;
    // A definition has the type of an element, and the number of them beside it.
    bool const isArray =
        description.arraySize && *description.arraySize != std::make_pair(1UL, 1UL);
    if (isArray && index <= boostany::elementTypeCount) index += boostany::elementTypeCount;
    if (index != asked) throw WrongType(name.full(), typeNameAt(index), typeNameAt(asked));
    return true;
}

/// Finds the group of a key, and keeps it until the structure of a tree changes. Any number of
/// threads may ask.
class KeyPlace {
public:
    KeyPlace(std::string name, ZcrID const& id, unsigned long type)
        : name_(std::move(name), id), type_(type) {}
    KeyPlace(KeyPlace const& other) : name_(other.name_), type_(other.type_) {}
    KeyPlace& operator=(KeyPlace const&) = delete;
    ~KeyPlace() {
        for (Found const* found = found_.load(); found != nullptr;) {
            std::unique_ptr<Found const> const last(found);
            found = last->before;
        }
    }

    KeyName const& name() const { return name_; }

    /// The group, whose key was seen to be of the right type.
    /// @throws MissingKey, WrongType, and what a first use of a product throws
    Node group() const {
        Found const* const found = found_.load(std::memory_order_acquire);
        if (found && isCurrent(*found)) {
            if (Node group = found->group.lock()) return group;
        }
        return find();
    }

private:
    /// The groups that were found, the newest first. An older one is kept until the end: a thread
    /// may be looking at it. It holds no node.
    struct Found {
        boost::weak_ptr<settings::core::Settings> group;
        mutable std::atomic<std::uint64_t> version;
        Found const* before;
        Found(Node const& node, std::uint64_t number, Found const* older)
            : group(node), version(number), before(older) {}
    };

    static bool isCurrent(Found const& found) {
        return found.version.load(std::memory_order_acquire) ==
               settings::core::structureVersion().load(std::memory_order_acquire);
    }

    Node find() const {
        // Before the look: what goes away during it is noticed at the next use.
        std::uint64_t const version = settings::core::structureVersion();
        Node group = name_.groupBelow(name_.root());
        if (!hasType(name_, group, type_)) return group;
        // Without an instance of its own the key is another one on each thread.
        if (name_.instance() < settings::core::BlessedZcrID) return group;
        keep(group, version);
        return group;
    }

    void keep(Node const& group, std::uint64_t version) const {
        Found const* newest = found_.load(std::memory_order_acquire);
        if (newest && newest->group.lock() == group) {
            newest->version.store(version, std::memory_order_release);
            return;
        }
        auto made = std::make_unique<Found>(group, version, newest);
        // If another thread was faster, its finding is as good.
        if (found_.compare_exchange_strong(newest, made.get(), std::memory_order_acq_rel))
            made.release();  // NOLINT(bugprone-unused-return-value): the list owns it.
    }

    KeyName name_;
    unsigned long type_;
    mutable std::atomic<Found const*> found_{nullptr};
};

}  // namespace settingscore::typed::detail
