#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/roots/SettingsFileWatch.hpp>
#include <settingscore/tree/ZSettings.hpp>

#include "Hand.hpp"

namespace qbprocesses {

namespace {

using namespace settings::core;  // NOLINT(google-build-using-namespace)
using Node = boost::shared_ptr<Settings>;

class LibraryHand : public Hand {
public:
    explicit LibraryHand(std::string const& ownKey) : own_(ownKey), watch_(BlessedZcrID) {}

    void set(std::string const& key, int value) override {
        Name const name(key);
        group(name)->setAny(name.last, value, "user");
    }
    void unset(std::string const& key) override {
        Name const name(key);
        telling([&] { group(name)->unset(name.last, "user"); });
    }
    void setTogether(std::vector<std::string> const& keys, int value) override {
        std::vector<Settings::NameValue> values;
        for (std::string const& key : keys)
            values.emplace_back(key, value);
        auto const errors = root()->setMultiple(values, "user");
        if (!errors.empty()) throw std::runtime_error(errors[0].first + ": " + errors[0].second);
    }
    void add(std::string const& node, int value) override {
        Name const name(node);
        Node const branch = make(name.last, false);
        asZ(make("k", true)).setParent(branch);
        branch->setAny("k", value, "user");
        telling([&] { asZ(branch).setParent(group(name)); });
    }
    std::string keyOf(std::string const& node) const override { return node + ".k"; }
    void remove(std::string const& node) override {
        Name const name(node);
        telling([&] {
            Node const parent = group(name);
            Node const child = parent->getChild(name.last);
            if (!child) throw Refusal("it is not there");
            if (child->isLeafNode()) {
                asZ(parent).removeKey(name.last);
            } else {
                asZ(parent).removeNode(name.last);
            }
        });
    }
    void refresh() override {
        auto const refreshed = watch_.refresh();
        if (!refreshed.report.empty())
            throw std::runtime_error(qf::i18n::to_string(refreshed.report));
        // What is on "session" stays, whatever comes in.
        auto const keyGroup = group(own_);
        boost::any const now = keyGroup->getAny(own_.last, "session");
        if (session_ != 0 && (now.empty() || boost::any_cast<int>(now) != session_))
            throw std::runtime_error("a value on session is another one");
        keyGroup->setAny(own_.last, ++session_, "session");
    }

private:
    /// A full name in two parts.
    struct Name {
        explicit Name(std::string const& full)
            : group(full.substr(0, full.rfind('.'))), last(full.substr(full.rfind('.') + 1)) {}
        std::string group;
        std::string last;
    };

    static Node root() { return Settings::getSettingsRoot(BlessedZcrID); }
    static Node group(Name const& name) {
        Node const found = root()->getSettingsByFullName(name.group);
        if (!found) throw std::runtime_error("there is no group " + name.group);
        return found;
    }
    static Node make(std::string const& name, bool isLeaf) {
        return ZSettings::createSettingsNode(name, isLeaf, true, Validator(), false);
    }
    static ZSettings& asZ(Node const& node) { return dynamic_cast<ZSettings&>(*node); }

    /// What a tree that others have changed refuses.
    template <class Work>
    static void telling(Work const& work) {
        try {
            work();
        } catch (exception::ValueNotDefinedForGivenLevel const&) {
            throw Refusal("it has no value");
        } catch (exception::ErrorAddingChildNodeOrKey const&) {
            throw Refusal("it is there already");
        } catch (exception::NoSuchNode const&) {
            throw Refusal("there is no such group");
        } catch (exception::NoSuchKey const&) {
            throw Refusal("there is no such key");
        } catch (exception::NotANodeName const&) {
            throw Refusal("it is a key");
        } catch (exception::NotAKeyName const&) {
            throw Refusal("it is a group");
        }
    }

    Name const own_;
    SettingsFileWatch watch_;
    int session_ = 0;
};

}  // namespace

std::unique_ptr<Hand> makeLibraryHand(std::string const& ownKey) {
    return std::make_unique<LibraryHand>(ownKey);
}

}  // namespace qbprocesses
