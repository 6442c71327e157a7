#include <settingscore/roots/SettingsFileWatch.hpp>

#include <algorithm>
#include <chrono>
#include <exception>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/shared/DirectoryWatch.hpp>
#include <settingscore/persistence/shared/FileStamp.hpp>
#include <settingscore/persistence/shared/Present.hpp>
#include <settingscore/persistence/shared/SharedSaves.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/tree/FailureOf.hpp>
#include <settingscore/tree/NodeView.hpp>

namespace settings::core {

namespace fs = qf::filesystem;
using detail::NodeView;
using detail::SharedTreeLock;
using Root = boost::shared_ptr<SettingsImplRoot>;

namespace {

SettingsLevel const& userLevel() { return SettingsLevelManager::userLevel(); }

}  // namespace

class SettingsFileWatch::Impl {
public:
    explicit Impl(ZcrID id) : id_(std::move(id)) { follow(); }

    int descriptor() const { return watch_.descriptor(); }

    Refreshed refresh() {
        Refreshed refreshed;
        std::exception_ptr failure;
        auto const keep = [&](auto const& work) {
            std::exception_ptr const own = detail::failureOf(work);
            if (!failure) failure = own;
        };
        Root const root = follow();
        // Before the files are looked at: what changes from here on is told by the descriptor.
        watch_.drain();
        if (!root || !SharedSaves::areOn()) return refreshed;
        bool const isListed = listing_.update(root, directory_);
        for (boost::shared_ptr<SettingsImpl> const& product : productsOf(root)) {
            if (!product->contentInternal().loadOnce.isDone()) {
                if (isListed && !listing_.names().count(product->getName()))
                    keep([&] { refreshed.changedNodes += Present::removeIfGone(*product); });
                continue;
            }
            keep([&] {
                Present::Taken const taken = Present::refresh(*product);
                refreshed.changedNodes += taken.changedNodes;
                refreshed.report += taken.report;
            });
        }
        if (isListed) {
            for (std::string const& name : listing_.names())
                keep([&] { refreshed.changedNodes += Present::addProduct(root, name); });
        }
        if (failure) std::rethrow_exception(failure);
        return refreshed;
    }

private:
    /// The names of the user files in the directory, listed again when that has changed.
    class Listing {
    public:
        /// True if there is a new list.
        bool update(Root const& root, fs::path const& directory) {
            FileStamp stamp;
            try {
                stamp = FileStamp::of(directory);
            } catch (fs::FsysExceptionBase const&) {
                return false;
            }
            if (isTrusted_ && directory == directory_ && stamp == stamp_) return false;
            // The times of a file system have steps, in which more than one change fits.
            constexpr std::chrono::seconds step(1);
            auto const now = std::chrono::system_clock::now().time_since_epoch();
            isTrusted_ = now - std::chrono::nanoseconds(stamp.changed) > step;
            auto const listed = SettingsFile::getSettingsTopLevelNodes(&userLevel(), root);
            names_ = {listed.begin(), listed.end()};
            directory_ = directory;
            stamp_ = stamp;
            return true;
        }
        std::set<std::string> const& names() const { return names_; }

    private:
        fs::path directory_;
        FileStamp stamp_;
        bool isTrusted_ = false;
        std::set<std::string> names_;
    };

    Root follow() {
        Root root = SettingsImpl::getSettingsImplRoot(id_);
        if (!root) return root;
        directory_ = SettingsFile::getRootPathForLevel(&userLevel(), root);
        watch_.follow(directory_);
        return root;
    }

    static std::vector<boost::shared_ptr<SettingsImpl>> productsOf(Root const& root) {
        SharedTreeLock const lock;
        std::vector<boost::shared_ptr<SettingsImpl>> products;
        for (auto const& entry : NodeView(*root, lock).children())
            products.push_back(entry.second);
        return products;
    }

    ZcrID const id_;
    DirectoryWatch watch_;
    fs::path directory_;
    Listing listing_;
};

SettingsFileWatch::SettingsFileWatch(ZcrID id) : impl_(std::make_unique<Impl>(std::move(id))) {}

SettingsFileWatch::~SettingsFileWatch() = default;

int SettingsFileWatch::descriptor() const { return impl_->descriptor(); }

SettingsFileWatch::Refreshed SettingsFileWatch::refresh() { return impl_->refresh(); }

}  // namespace settings::core
