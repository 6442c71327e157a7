// Several keys set or checked as one action; the single key is a batch of one.

#include <typeinfo>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

using detail::HeldLock;
using detail::UpgradeTreeLock;
using InternalException =
    qf::except::Exception<qf::except::IInternalException, std::exception, void>;

namespace {

/// Why an element was refused, for the report of a batch.
std::string reasonOf(InternalException const& refusal) {
    if (auto const* thrown =
            dynamic_cast<exception::ExceptionFromValidationFunction const*>(&refusal)) {
        return "Validation function throw. Reason: " + qf::i18n::to_string(thrown->getErrorMsg()) +
               " function=" + thrown->getFunctionName() + " libname=" + thrown->getPackageName();
    }
    if (dynamic_cast<exception::ValidationException const*>(&refusal)) return refusal.what();
    return "Unknown Exception";
}

/// The node behind `node`; null if there is none.
SettingsImpl const* implOf(Settings const* node) {
    // All but a root are of this very class, which is told sooner than by a cast.
    if (node && typeid(*node) == typeid(SettingsImpl))
        return static_cast<SettingsImpl const*>(node);
    return dynamic_cast<SettingsImpl const*>(node);
}

}  // namespace

BatchErrors SettingsImpl::multipleSetImpl(NodeValue* first, NodeValue* last,
                                          std::string const& level, bool rethrow) {
    BatchErrors errors;
    validateLevelName(level);
    SettingsLevel const& settingsLevel = checkLevelIsModifiable(level);
    loadIfNotInitializedYet();
    UpgradeTreeLock lock;
    multipleValidateWithLock(lock, first, last, rethrow, errors);
    if (!errors.empty()) return errors;
    for (; first != last; ++first) {
        auto* const node = static_cast<SettingsImpl*>(first->first.get());  // As was checked.
        Stored stored{false, false};
        try {
            stored = node->storeAnyValueWithLock(lock.get(), first->second, settingsLevel);
        } catch (qf::except::IMsgIDException const&) {
            // "setAny caught exception other than FileIO, something is totally  wrong": a runtime
            // default that stands behind the value failed. The write counts as not done, and on
            // purpose nobody is told: the other elements go ahead.
        }
        // Outside the handler: what a listener or a save throws goes on to the caller.
        if (stored.tellListeners) node->fireValueChangeWithLock(lock);
        if (stored.changed) node->updateSettingsFile(level);
    }
    return errors;
}

BatchErrors SettingsImpl::multipleValidateImpl(NodeValue* first, NodeValue* last,
                                               bool rethrow) const {
    loadIfNotInitializedYet();
    UpgradeTreeLock const lock;
    BatchErrors errors;
    multipleValidateWithLock(lock, first, last, rethrow, errors);
    return errors;
}

void SettingsImpl::multipleValidateWithLock(HeldLock const& lock, NodeValue* first,
                                            NodeValue const* last, bool rethrow,
                                            BatchErrors& errors) const {
    for (std::size_t index = 0; first != last; ++first, ++index) {
        SettingsImpl const* const node = implOf(first->first.get());
        if (!node) {
            errors.emplace_back("NULLOBJ",
                                "The obj[" + std::to_string(index) + "] passed in is NULL.");
            continue;
        }
        try {
            node->validateAnyValueWithLock(lock, first->second);
        } catch (InternalException const& refusal) {
            if (rethrow) throw;
            errors.emplace_back(node->getFullNameWithLock(lock, false), reasonOf(refusal));
        }
    }
}

}  // namespace settings::core
