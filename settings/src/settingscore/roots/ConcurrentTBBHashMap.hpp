#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include <tbb/concurrent_hash_map.h>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <settingscore/host/ContextMgr.hpp>
#include <settingscore/roots/ConcurrentMap.hpp>

namespace settings::core {

/// Hash and equality of the keys.
template <class K>
struct Hash {
    static std::size_t hash(K const& key) { return std::hash<std::remove_const_t<K>>()(key); }
    static bool equal(K const& a, K const& b) { return a == b; }
};

template <>
struct Hash<ZcrID const> {
    /// Spreads small numbers over all bits: the table looks at the lowest ones alone.
    static std::size_t hash(ZcrID const& key) {
        auto bits = static_cast<std::uint64_t>(key.value());
        bits = (bits ^ (bits >> 30U)) * 0xbf58476d1ce4e5b9U;
        bits = (bits ^ (bits >> 27U)) * 0x94d049bb133111ebU;
        return static_cast<std::size_t>(bits ^ (bits >> 31U));
    }
    static bool equal(ZcrID const& a, ZcrID const& b) { return a == b; }
};

template <class Interface>
class ConcurrentTBBHashMap;

/// The map over a hash table with a lock for each entry. Work on one entry holds the whole-map
/// mutex shared, only to keep out work on the whole map, which the table itself does not support
/// beside anything else.
template <class K, class V>
class ConcurrentTBBHashMap<ConcurrentMap<K, V>> : public ConcurrentMap<K, V> {
public:
    using typename ConcurrentMap<K, V>::Entry;

    void clear() override {
        Table old;
        {
            WholeMapLock const lock(mutex_);
            table_.swap(old);
        }
    }

    boost::optional<V> erase(K const& key) override {
        SharedLock const lock(mutex_);
        typename Table::accessor entry;
        if (!table_.find(entry, key)) return boost::none;
        boost::optional<V> value(entry->second);
        table_.erase(entry);
        return value;
    }

    boost::optional<V> find(K const& key) const override {
        SharedLock const lock(mutex_);
        typename Table::const_accessor entry;
        if (!table_.find(entry, key) || isNull(entry->second)) return boost::none;
        return entry->second;
    }

    V findOrCreate(K const& key, boost::function<V()> const& factory) override {
        if (boost::optional<V> found = find(key)) return *found;
        SharedLock const lock(mutex_);
        // The entry stays locked while the factory runs, so that nobody sees it half made.
        typename Table::accessor entry;
        bool const inserted = table_.insert(entry, key);
        if (entry.empty()) throw std::logic_error("neither inserted nor found?");
        if (!inserted && !isNull(entry->second)) return entry->second;
        try {
            entry->second = factory();
        } catch (...) {
            table_.erase(entry);
            throw;
        }
        V value = entry->second;
        if (isNull(value)) table_.erase(entry);
        return value;
    }

    void forEachConst(boost::function<void(Entry const&)> const& function) const override {
        WholeMapLock const lock(mutex_);
        for (Entry const& entry : table_)
            function(entry);
    }

    void forEachEntry(boost::function<void(Entry&)> const& function) override {
        WholeMapLock const lock(mutex_);
        for (Entry& entry : table_)
            function(entry);
    }

    bool insert(Entry const& entry) override {
        SharedLock const lock(mutex_);
        return table_.insert(entry);
    }

    std::size_t size() const override {
        WholeMapLock const lock(mutex_);
        return table_.size();
    }

private:
    // The standard allocator, whose memory leak checkers look into: instances that live to the end
    // of the process are not lost.
    using Table = tbb::concurrent_hash_map<K, V, Hash<K>, std::allocator<std::pair<K const, V>>>;
    using SharedLock = boost::shared_lock<boost::shared_mutex>;

    /// Exclusive access, by way of upgrade: a waiter on that road bars no shared holder, so that a
    /// factory can use the map for other keys.
    class WholeMapLock {
    public:
        explicit WholeMapLock(boost::shared_mutex& mutex) : upgrade_(mutex), unique_(upgrade_) {}

    private:
        boost::upgrade_lock<boost::shared_mutex> upgrade_;
        boost::upgrade_to_unique_lock<boost::shared_mutex> unique_;
    };

    template <class T>
    static bool isNull(boost::shared_ptr<T> const& pointer) {
        return !pointer;
    }
    template <class T>
    static bool isNull(T const&) {
        return false;
    }

    mutable boost::shared_mutex mutex_;
    Table table_;
};

}  // namespace settings::core
