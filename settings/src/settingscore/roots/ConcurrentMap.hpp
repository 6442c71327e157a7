#pragma once

#include <cstddef>
#include <utility>

#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>

namespace settings::core {

/// A map that any thread may use at any time. Values are copied out, so that what a caller got
/// outlives the entry. A null pointer as a value counts as no value: `find` does not give it, and
/// `findOrCreate` replaces it.
///
/// Functions that are passed in run inside the map: those of the operations on the whole map must
/// not come back to it, and a factory must not come back with its own key, nor with an operation on
/// the whole map.
template <class K, class V>
class ConcurrentMap : private boost::noncopyable {
public:
    using Entry = std::pair<K const, V>;

    virtual ~ConcurrentMap() = default;
    /// Removes all entries; values die when the map is free again.
    virtual void clear() = 0;
    /// Removes an entry. @return its value, unset if there was none
    virtual boost::optional<V> erase(K const& key) = 0;
    virtual boost::optional<V> find(K const& key) const = 0;
    /// The value, made by `factory` if there is none: by one call, whose result all who ask
    /// meanwhile wait for. If the factory throws or gives a null pointer, there is no entry
    /// afterwards, and the next caller tries again.
    virtual V findOrCreate(K const& key, boost::function<V()> const& factory) = 0;
    virtual void forEachConst(boost::function<void(Entry const&)> const& function) const = 0;
    virtual void forEachEntry(boost::function<void(Entry&)> const& function) = 0;
    /// False, with the entry left in place, if the key is there already.
    virtual bool insert(Entry const& entry) = 0;
    virtual std::size_t size() const = 0;
};

}  // namespace settings::core
