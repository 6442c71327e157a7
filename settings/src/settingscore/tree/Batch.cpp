#include <settingscore/tree/Batch.hpp>

#include <algorithm>
#include <exception>
#include <typeinfo>

#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/levels/SettingsLevel.hpp>
#include <settingscore/tree/FailureOf.hpp>
#include <settingscore/tree/KeyChecks.hpp>
#include <settingscore/tree/KeyValues.hpp>
#include <settingscore/tree/LoadAndSave.hpp>
#include <settingscore/tree/NodeEvents.hpp>

namespace settings::core {

namespace detail {

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
    // All but a root are of this very class, which costs less to find out than a cast.
    if (node && typeid(*node) == typeid(SettingsImpl))
        return static_cast<SettingsImpl const*>(node);
    return dynamic_cast<SettingsImpl const*>(node);
}

/// "setAny caught exception other than FileIO, something is totally  wrong": a runtime default that
/// stands behind the value failed with a message of the host's catalogue. The write counts as not
/// done, and on purpose nobody hears of it: the other elements go ahead.
bool isDropped(std::exception_ptr const& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (qf::except::IMsgIDException const&) {
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace

BatchErrors Batch::set(std::string const& levelName) const {
    BatchErrors errors;
    SettingsLevel const& level = modifiableLevelOf(caller_, levelName);
    caller_.loadIfNotInitializedYet();
    bringUpToDate();
    Changed changed;
    std::exception_ptr failure;
    {
        UpgradeTreeLock lock;
        validateWithLock(lock, errors);
        if (!errors.empty()) return errors;
        failure = failureOf([&] {
            for (Element const* element = first_; element != last_; ++element)
                setOne(lock, *element, level, changed);
        });
    }
    // What was stored reaches the file, whatever fails behind it.
    finishDespite(failure, [&] { saveOnce(changed, level); });
    return errors;
}

void Batch::bringUpToDate() const {
    if (!LoadAndSave::isShared()) return;
    LevelAdoption::Kept nodes{&caller_};
    for (Element const* element = first_; element != last_; ++element) {
        if (SettingsImpl const* const node = implOf(element->first.get())) nodes.push_back(node);
    }
    LoadAndSave::bringUpToDate(nodes);
}

void Batch::setOne(UpgradeTreeLock& lock, Element const& element, SettingsLevel const& level,
                   Changed& changed) const {
    auto& node = static_cast<SettingsImpl&>(*element.first);  // As was checked.
    KeyValues::Change change;
    try {
        change = KeyValues::store(node, lock.get(), element.second, level);
    } catch (qf::except::IMsgIDException const&) {
        return;  // Before the value was stored; see isDropped.
    }
    if (!change.made || (change.failure && isDropped(change.failure))) return;
    if (change.tellListeners) change.failure = failureOf([&] { fireValueChange(node, lock); });
    finishDespite(change.failure, [&] {
        if (LoadAndSave::isShared()) {
            changed.push_back(&node);
        } else {
            LoadAndSave::saveChange(level, node);
        }
    });
}

void Batch::saveOnce(Changed const& changed, SettingsLevel const& level) const {
    std::vector<boost::shared_ptr<SettingsImpl const>> saved;
    std::exception_ptr failure;
    for (SettingsImpl* const node : changed) {
        auto const product = node->getTopLevelNode();
        if (std::find(saved.begin(), saved.end(), product) != saved.end()) continue;
        saved.push_back(product);
        // One product that cannot be saved keeps no other from its file.
        std::exception_ptr const own = failureOf([&] { LoadAndSave::saveChange(level, *node); });
        if (!failure) failure = own;
    }
    if (failure) std::rethrow_exception(failure);
}

BatchErrors Batch::validate() const {
    caller_.loadIfNotInitializedYet();
    UpgradeTreeLock const lock;
    BatchErrors errors;
    validateWithLock(lock, errors);
    return errors;
}

void Batch::validateWithLock(HeldLock const& lock, BatchErrors& errors) const {
    std::size_t index = 0;
    for (Element* element = first_; element != last_; ++element, ++index) {
        SettingsImpl const* const node = implOf(element->first.get());
        if (!node) {
            errors.emplace_back("NULLOBJ",
                                "The obj[" + std::to_string(index) + "] passed in is NULL.");
            continue;
        }
        try {
            checkValue(*node, lock, element->second);
        } catch (InternalException const& refusal) {
            if (rethrow_) throw;
            errors.emplace_back(node->getFullNameWithLock(lock, false), reasonOf(refusal));
        }
    }
}

}  // namespace detail

BatchErrors SettingsImpl::multipleSetImpl(NodeValue* first, NodeValue* last,
                                          std::string const& level, bool rethrow) {
    return detail::Batch(*this, first, last, rethrow).set(level);
}

BatchErrors SettingsImpl::multipleValidateImpl(NodeValue* first, NodeValue* last,
                                               bool rethrow) const {
    return detail::Batch(*this, first, last, rethrow).validate();
}

void SettingsImpl::multipleValidateWithLock(detail::HeldLock const& lock, NodeValue* first,
                                            NodeValue const* last, bool rethrow,
                                            BatchErrors& errors) const {
    detail::Batch(*this, first, const_cast<NodeValue*>(last), rethrow)
        .validateWithLock(lock, errors);
}

}  // namespace settings::core
