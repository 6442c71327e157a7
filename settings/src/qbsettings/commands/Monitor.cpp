#include <poll.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>
#include <set>
#include <string>
#include <vector>

#include <linux/magic.h>
#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/text/Failure.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/roots/SettingsFileWatch.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbsettings {

namespace {

using settings::core::BlessedZcrID;
using settings::core::SettingsAddNodeEvent;
using settings::core::SettingsEvent;
using settings::core::SettingsFileWatch;
using settings::core::SettingsRemoveNodeEvent;

/// True if other machines can write to a directory without this one being told, or if it is not
/// known.
bool isShared(qf::ustring const& directory) {
    struct ::statfs status {};
    if (::statfs(qf::filesystem::path(directory).native().c_str(), &status) != 0) return true;
    constexpr unsigned long smb2 = 0xFE534D42, cifs = 0xFF534D42, fuse = 0x65735546,
                            ceph = 0x00C36400, plan9 = 0x01021997;
    auto const type = static_cast<unsigned long>(status.f_type) & 0xFFFFFFFFUL;
    return type == NFS_SUPER_MAGIC || type == SMB_SUPER_MAGIC || type == AFS_SUPER_MAGIC ||
           type == smb2 || type == cifs || type == fuse || type == ceph || type == plan9;
}

/// What happened to a node.
struct Change {
    char const* what;
    std::string name;
    bool isKey;
    bool isProduct;
};

Change changeOf(SettingsEvent const& event) {
    auto const& node = event.getObj();
    auto const change = [&](char const* what, SettingsPtr::element_type const& parent) {
        bool const isProduct = parent.isRoot();
        std::string const name =
            isProduct ? node->getName() : parent.getFullName() + "." + node->getName();
        return Change{what, name, node->isLeafNode(), isProduct};
    };
    if (auto const* const added = dynamic_cast<SettingsAddNodeEvent const*>(&event)) {
        return change("added", *added->getParentObj());
    }
    if (auto const* const removed = dynamic_cast<SettingsRemoveNodeEvent const*>(&event)) {
        return change("removed", *removed->getParentObj());
    }
    return {"changed", node->getFullName(), true, false};
}

/// `monitor`: a row for each change that any process makes.
class MonitorCommand : public Command {
public:
    void declare(Options& options) override {
        options.names(names_, Options::Is::optional,
                      "Product, group or key; all products if absent");
        options.json();
    }

    int run(Context& context) override {
        // Before anything is read, so that no change falls between.
        SettingsFileWatch watch(BlessedZcrID);
        if (names_.empty()) {
            for (SettingsPtr const& product : context.tree.products())
                context.tree.childrenOf(product);
        }
        for (std::string const& name : names_)
            context.tree.childrenOf(findNode(context.tree, name));
        auto const connection = context.tree.root()->addListener<SettingsEvent>(
            [this](SettingsEvent const& event) { changes_.push_back(changeOf(event)); });
        // An output that nobody reads any more is found by looking, and is no failure.
        std::signal(SIGPIPE, SIG_IGN);
        context.output.beginStream();
        do {
            look(context, watch);
        } while (std::cout && wait(watch, isShared(context.directories.user())));
        if (!isRead(0, nullptr)) std::cout.clear();
        return done;
    }

private:
    /// Takes in what others wrote, and shows it.
    void look(Context& context, SettingsFileWatch& watch) {
        auto const refreshed = watch.refresh();
        if (!refreshed.report.empty()) {
            complainInPieces(qf::i18n::to_string(refreshed.report) + "\n");
        }
        // What is shown can load a product, and that can tell of more.
        while (!changes_.empty()) {
            std::vector<Change> changes;
            changes.swap(changes_);
            // The value that a new key comes with is no change of its own.
            std::set<std::string> added;
            for (Change const& change : changes) {
                if (std::strcmp(change.what, "added") == 0) added.insert(change.name);
                if (std::strcmp(change.what, "changed") == 0 && added.count(change.name)) continue;
                show(context, change);
            }
        }
    }

    static bool wait(SettingsFileWatch const& watch, bool isShared) {
        constexpr int second = 1000;
        return isRead(watch.descriptor() < 0 || isShared ? second : -1, &watch);
    }

    /// Waits for the watch; false if nobody reads the output any more.
    static bool isRead(int milliseconds, SettingsFileWatch const* watch) {
        std::array<::pollfd, 2> polled = {
            {{STDOUT_FILENO, 0, 0}, {watch ? watch->descriptor() : -1, POLLIN, 0}}};
        if (::poll(polled.data(), polled.size(), milliseconds) < 0 && errno != EINTR) {
            throw Failure(std::string("changes cannot be waited for: ") + std::strerror(errno));
        }
        return (static_cast<unsigned>(polled[0].revents) & (POLLERR | POLLHUP)) == 0;
    }

    void show(Context& context, Change const& change) const {
        bool const isGone = std::strcmp(change.what, "removed") == 0;
        SettingsPtr const node = isGone ? SettingsPtr() : nodeAt(context, change.name);
        // One that went meanwhile is told by the next look.
        if (!isGone && !node) return;
        if (!isAskedFor(change.name)) return;
        print(context, change, node);
        if (change.isProduct && !isGone) showContent(context, node);
    }

    /// A product that came is not loaded, so that nothing tells of what it has.
    void showContent(Context& context, SettingsPtr const& group) const {
        for (SettingsPtr const& node : context.tree.childrenOf(group)) {
            if (isAskedFor(node->getFullName())) {
                print(context, {"added", node->getFullName(), node->isLeafNode(), false}, node);
            }
            showContent(context, node);
        }
    }

    static SettingsPtr nodeAt(Context& context, std::string const& name) {
        try {
            return findNode(context.tree, name);
        } catch (Failure const&) {
            return {};
        }
    }

    /// True for what was named, for what lies in it, and for what it lies in and is gone or came.
    bool isAskedFor(std::string const& name) const {
        auto const contains = [](std::string const& group, std::string const& inner) {
            return inner.compare(0, group.size(), group) == 0 &&
                   (inner.size() == group.size() || inner[group.size()] == '.');
        };
        return names_.empty() ||
               std::any_of(names_.begin(), names_.end(), [&](std::string const& named) {
                   return contains(named, name) || contains(name, named);
               });
    }

    static void print(Context& context, Change const& change, SettingsPtr const& node) {
        KeyState const state = node && change.isKey ? readKey(node) : KeyState();
        KeyType const type = node && change.isKey ? typeOf(state.description) : KeyType();
        context.output.row({{"name", change.name},
                            {"change", change.what},
                            {"level", Cell::level(state.level)},
                            {"value", Cell::value(state.value, type)}});
    }

    std::vector<std::string> names_;
    std::vector<Change> changes_;
};

Registration<MonitorCommand> const monitorRegistration(
    {6, "monitor", "Show each change that any process makes, until it is ended",
     "monitor plotter"});

}  // namespace

}  // namespace qbsettings
