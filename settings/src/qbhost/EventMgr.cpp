#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstring>
#include <exception>
#include <functional>
#include <iterator>
#include <mutex>
#include <random>
#include <stdexcept>
#include <unordered_map>
#include <utility>

#include <unistd.h>

#include <qbhost/Replaceable.hpp>
#include <settingscore/host/EventMgr.hpp>
#include <settingscore/host/I18n.hpp>

namespace corebus::msg_svc::exchange {
namespace {

/// What sets the ids of this process apart from those of others.
struct ProcessPart {
    std::uint32_t high;
    std::atomic<std::uint64_t> next;

    ProcessPart() {
        std::random_device device;
        auto const now = std::chrono::system_clock::now().time_since_epoch().count();
        high = device() ^ static_cast<std::uint32_t>(::getpid());
        next = (std::uint64_t(device()) << 32) ^ static_cast<std::uint64_t>(now);
    }
};

template <class Number>
char* print(char* to, char* end, Number value) {
    // As a stream does with hex and showbase: zero stands without the base prefix.
    if (value != 0) {
        *to++ = '0';
        *to++ = 'x';
    }
    return std::to_chars(to, end, value, 16).ptr;
}

/// Two prefixes and twice 16 digits.
using IdText = std::array<char, 36>;

}  // namespace

IDType::IDType() {
    auto& process = qbhost::detail::immortal<ProcessPart>();
    high_ = process.high;
    low_ = process.next.fetch_add(1, std::memory_order_relaxed);
}

std::string IDType::toString() const {
    IdText text;
    char* const end = text.data() + text.size();
    return std::string(text.data(), print(print(text.data(), end, high_), end, low_));
}

void IDType::appendTo(qf::ustring& text) const {
    IdText id;
    char* const end = id.data() + id.size();
    auto const length =
        static_cast<std::size_t>(print(print(id.data(), end, high_), end, low_) - id.data());
    std::size_t const before = text.size();
    text.resize(before + length);
    std::copy_n(id.data(), length, text.begin() + static_cast<std::ptrdiff_t>(before));
}

}  // namespace corebus::msg_svc::exchange

namespace corebus::msg_svc::eventmgr {

BaseEvent::BaseEvent(boost::shared_ptr<TypeInformation> type) : type_(std::move(type)) {
    if (!type_) throw std::invalid_argument("An event has type information.");
}

void BaseEvent::fillStream(std::ostream& stream) const {
    for (std::size_t i = 0; i < type_->hierarchySize(); ++i)
        stream << (i == 0 ? "" : ", ") << qf::i18n::to_string(type_->getBaseTag(i));
}

namespace {

/// Tags are long and begin alike, so that bytes are compared in place of characters.
struct IsSameTag {
    bool operator()(qf::ustring const& a, qf::ustring const& b) const {
        return a.size() == b.size() &&
               std::memcmp(a.data(), b.data(), a.size() * sizeof(qf::ustring::value_type)) == 0;
    }
};

}  // namespace

bool BaseEvent::isKindOf(qf::ustring const& tag) const {
    for (std::size_t i = 0; i < type_->hierarchySize(); ++i) {
        if (IsSameTag()(type_->getBaseTag(i), tag)) return true;
    }
    return false;
}

namespace {

struct Subscription {
    EventMgr::Handler handler;
    qf::ustring kind;
    std::vector<qf::ustring> tags;
    std::uint64_t order = 0;
    std::atomic<bool> connected{true};
};

using SubscriptionPtr = std::shared_ptr<Subscription>;

class LocalEventMgr : public EventMgr {
public:
    void disconnect(SubscriptionPtr const& subscription) {
        subscription->connected.store(false, std::memory_order_release);
        std::lock_guard<std::mutex> const lock(mutex_);
        for (qf::ustring const& tag : subscription->tags) {
            auto const found = byTag_.find(tag);
            if (found == byTag_.end()) continue;
            auto& list = found->second;
            list.erase(std::remove(list.begin(), list.end(), subscription), list.end());
            if (list.empty()) byTag_.erase(found);
        }
        --count_;
    }

    bool hasSubscriptions() const override { return count_.load(std::memory_order_acquire) > 0; }

protected:
    std::unique_ptr<Connection> subscribeHandler(Handler handler, qf::ustring kind,
                                                 std::vector<qf::ustring> tags) override;

    void deliver(BaseEvent const& event, DeliverMode) override {
        if (count_.load(std::memory_order_acquire) == 0) return;
        std::exception_ptr first;
        for (SubscriptionPtr const& subscription : matching(event)) {
            if (!subscription->connected.load(std::memory_order_acquire)) continue;
            if (!event.isKindOf(subscription->kind)) continue;
            try {
                subscription->handler(event);
            } catch (...) {
                if (!first) first = std::current_exception();
            }
        }
        if (first) std::rethrow_exception(first);
    }

private:
    /// Each subscription that shares a tag with the event, once, in the order of subscribing.
    std::vector<SubscriptionPtr> matching(BaseEvent const& event) {
        std::vector<SubscriptionPtr> result;
        {
            std::lock_guard<std::mutex> const lock(mutex_);
            for (qf::ustring const& tag : event.typeInformation().userTags()) {
                auto const found = byTag_.find(tag);
                if (found != byTag_.end())
                    result.insert(result.end(), found->second.begin(), found->second.end());
            }
        }
        std::sort(result.begin(), result.end(),
                  [](auto const& a, auto const& b) { return a->order < b->order; });
        result.erase(std::unique(result.begin(), result.end()), result.end());
        return result;
    }

    std::mutex mutex_;
    std::unordered_map<qf::ustring, std::vector<SubscriptionPtr>, std::hash<qf::ustring>, IsSameTag>
        byTag_;
    std::uint64_t nextOrder_ = 0;
    std::atomic<std::size_t> count_{0};
};

class LocalConnection : public Connection {
public:
    LocalConnection(LocalEventMgr& manager, SubscriptionPtr subscription)
        : manager_(manager), subscription_(std::move(subscription)) {}
    // The handler dies with the last holder, outside the manager's mutex: it may own connections.
    ~LocalConnection() override { manager_.disconnect(subscription_); }

private:
    LocalEventMgr& manager_;
    SubscriptionPtr subscription_;
};

std::unique_ptr<Connection> LocalEventMgr::subscribeHandler(Handler handler, qf::ustring kind,
                                                            std::vector<qf::ustring> tags) {
    auto subscription = std::make_shared<Subscription>();
    subscription->handler = std::move(handler);
    subscription->kind = std::move(kind);
    subscription->tags = std::move(tags);
    auto connection = std::make_unique<LocalConnection>(*this, subscription);

    // A failure below ends in the connection's destructor, which finds what is there.
    std::lock_guard<std::mutex> const lock(mutex_);
    ++count_;
    subscription->order = nextOrder_++;
    for (qf::ustring const& tag : subscription->tags)
        byTag_[tag].push_back(subscription);
    return connection;
}

}  // namespace
}  // namespace corebus::msg_svc::eventmgr

namespace zbutil::eventmgr {

boost::shared_ptr<corebus::msg_svc::eventmgr::EventMgr> createLocalEventMgr() {
    using namespace corebus::msg_svc::eventmgr;
    static auto const& manager =
        *new boost::shared_ptr<EventMgr>(boost::make_shared<LocalEventMgr>());
    return manager;
}

}  // namespace zbutil::eventmgr
