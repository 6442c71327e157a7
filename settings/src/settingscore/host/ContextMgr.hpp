#pragma once

#include <cstdint>
#include <memory>

#include <boost/shared_ptr.hpp>
#include <settingscore/host/HostApi.hpp>

/// Runtime instances of the host, and the registry through which libraries follow their life.
namespace zbutil::contextmgr {

/// Number of a runtime instance.
class ZcrID {
public:
    constexpr ZcrID() = default;
    /// The id of that number; a default one is `UndefinedZcrID`.
    constexpr ZcrID(std::int64_t value) : value_(value) {}  // NOLINT: a number is an id
    /// The number.
    constexpr std::int64_t value() const { return value_; }

    /// @{
    /// Compares the numbers.
    friend constexpr bool operator==(ZcrID a, ZcrID b) { return a.value_ == b.value_; }
    friend constexpr bool operator!=(ZcrID a, ZcrID b) { return a.value_ != b.value_; }
    friend constexpr bool operator<(ZcrID a, ZcrID b) { return a.value_ < b.value_; }
    friend constexpr bool operator>=(ZcrID a, ZcrID b) { return a.value_ >= b.value_; }
    /// @}

private:
    std::int64_t value_ = -2;
};

inline constexpr ZcrID BlessedZcrID{0};     ///< The instance that is always there.
inline constexpr ZcrID AnyZcrID{-1};        ///< Whichever instance the calling thread acts on.
inline constexpr ZcrID UndefinedZcrID{-2};  ///< No instance.

/// What a library does when an instance starts, becomes current, stops being current or ends.
class QBHOST_API ContextBase {
public:
    virtual ~ContextBase() = default;
    virtual void init(bool flag) = 0;     ///< The instance starts.
    virtual void restore() = 0;           ///< The instance becomes current.
    virtual void save() = 0;              ///< The instance stops being current.
    virtual void release(bool flag) = 0;  ///< The instance ends.
};

/// Makes the contexts of a library.
class QBHOST_API ContextFactoryBase {
public:
    virtual ~ContextFactoryBase() = default;
    /// A context for the instance.
    virtual std::unique_ptr<ContextBase> create(ZcrID const& id) = 0;
};

/// Keeps a factory registered; the factory is forgotten when the handle is destroyed.
class QBHOST_API FactoryHandle {
public:
    virtual ~FactoryHandle() = default;
};

/// Where libraries register, and where instances are looked up.
class QBHOST_API ContextRegistry {
public:
    virtual ~ContextRegistry() = default;
    /// The registry of the process.
    static ContextRegistry& getInstance();
    /// From now on the factory's contexts live with every instance that starts. Those of instances
    /// that have been started already are made before this returns. The blessed instance is never
    /// started: its contexts are made when it is first switched to or from, or ended, so that a
    /// library may register before its other statics are initialised. A forgotten factory's
    /// contexts are destroyed without being released.
    virtual std::unique_ptr<FactoryHandle> registerFactory(
        boost::shared_ptr<ContextFactoryBase> factory) = 0;
    /// The instance in use for `id`: `AnyZcrID` gives the one that the calling thread acts on, the
    /// number of a live instance itself, anything else a value below `BlessedZcrID`.
    virtual ZcrID resolveZcrID(ZcrID const& id) const = 0;
};

/// Makes contexts of type T.
template <class T>
struct ContextGenerator {
    /// A context for the instance.
    std::unique_ptr<ContextBase> create(ZcrID const& id) const {
        return std::unique_ptr<ContextBase>(new T(id));
    }
};

/// A global of this type registers T with the registry for as long as it lives.
template <class T, class Generator>
class ContextFactory : public ContextFactoryBase {
public:
    ContextFactory()
        : handle_(ContextRegistry::getInstance().registerFactory(
              boost::shared_ptr<ContextFactoryBase>(this, null_deleter()))) {}
    /// A context for the instance.
    std::unique_ptr<ContextBase> create(ZcrID const& id) override { return generator_.create(id); }

private:
    struct null_deleter {
        void operator()(void const*) const {}
    };
    Generator generator_;
    std::unique_ptr<FactoryHandle> handle_;
};

}  // namespace zbutil::contextmgr

namespace settings::core {
using zbutil::contextmgr::AnyZcrID;
using zbutil::contextmgr::BlessedZcrID;
using zbutil::contextmgr::UndefinedZcrID;
using zbutil::contextmgr::ZcrID;
}  // namespace settings::core
