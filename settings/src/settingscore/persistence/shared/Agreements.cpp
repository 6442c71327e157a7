#include <settingscore/persistence/shared/Agreements.hpp>

#include <iterator>
#include <map>
#include <mutex>

#include <boost/weak_ptr.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

namespace {

struct Known {
    std::mutex mutex;
    std::map<boost::weak_ptr<SettingsImpl const>, Agreement> agreements;
    unsigned long lastVersion = 0;
    std::size_t sizeAtSweep = 64;

    static Known& instance() {
        static auto& known = detail::neverDestroyed<Known>();
        return known;
    }

    /// Products that are gone cost no more than those that live.
    void sweep() {
        if (agreements.size() < sizeAtSweep) return;
        for (auto entry = agreements.begin(); entry != agreements.end();)
            entry = entry->first.expired() ? agreements.erase(entry) : std::next(entry);
        sizeAtSweep = 2 * agreements.size() + 64;
    }
};

}  // namespace

void Agreements::loaded(Product const& product, std::optional<FileStamp> const& stamp) {
    Known& known = Known::instance();
    std::lock_guard<std::mutex> const lock(known.mutex);
    known.sweep();
    known.agreements[product] = {stamp, nullptr, ++known.lastVersion};
}

std::optional<Agreement> Agreements::find(Product const& product) {
    Known& known = Known::instance();
    std::lock_guard<std::mutex> const lock(known.mutex);
    auto const found = known.agreements.find(product);
    if (found == known.agreements.end()) return std::nullopt;
    return found->second;
}

bool Agreements::replace(Product const& product, unsigned long version, Agreement next) {
    Known& known = Known::instance();
    std::lock_guard<std::mutex> const lock(known.mutex);
    auto const found = known.agreements.find(product);
    if (version != (found == known.agreements.end() ? 0 : found->second.version)) return false;
    next.version = ++known.lastVersion;
    if (found == known.agreements.end()) {
        known.sweep();
        known.agreements.emplace(product, std::move(next));
    } else {
        next.report.insert(0, found->second.report);
        next.place = found->second.place;
        found->second = std::move(next);
    }
    return true;
}

bool Agreements::setImage(Product const& product, unsigned long version,
                          std::shared_ptr<FileImage const> image) {
    Known& known = Known::instance();
    std::lock_guard<std::mutex> const lock(known.mutex);
    auto const found = known.agreements.find(product);
    if (found == known.agreements.end() || found->second.version != version) return false;
    if (!found->second.image) found->second.image = std::move(image);
    return true;
}

void Agreements::setPlace(Product const& product, std::shared_ptr<FilePlace const> place) {
    Known& known = Known::instance();
    std::lock_guard<std::mutex> const lock(known.mutex);
    auto const found = known.agreements.find(product);
    if (found != known.agreements.end()) found->second.place = std::move(place);
}

ustring Agreements::takeReport(Product const& product) {
    Known& known = Known::instance();
    std::lock_guard<std::mutex> const lock(known.mutex);
    auto const found = known.agreements.find(product);
    ustring report;
    if (found != known.agreements.end()) report.swap(found->second.report);
    return report;
}

void Agreements::forget(Product const& product) {
    Known& known = Known::instance();
    std::lock_guard<std::mutex> const lock(known.mutex);
    known.agreements.erase(product);
}

void Agreements::forgetAll() {
    Known& known = Known::instance();
    std::lock_guard<std::mutex> const lock(known.mutex);
    known.agreements.clear();
}

}  // namespace settings::core
