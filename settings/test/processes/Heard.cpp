#include "Heard.hpp"

#include <vector>

namespace qbprocesses {

using namespace settings::core;  // NOLINT(google-build-using-namespace)

namespace {

using Seen = boost::shared_ptr<Settings const>;

std::string textOf(boost::any const& value) {
    if (value.empty()) return noValue;
    int const* const number = boost::any_cast<int>(&value);
    return number ? std::to_string(*number) : "of-another-type";
}

void addValuesOf(Seen const& top, std::string const& name, std::string const& level,
                 Values& values) {
    std::vector<std::pair<Seen, std::string>> waiting{{top, name}};
    while (!waiting.empty()) {
        auto const [node, path] = waiting.back();
        waiting.pop_back();
        if (node->isLeafNode()) {
            values[path] = textOf(node->getParent()->getAny(node->getName(), level));
            continue;
        }
        for (Seen const& child : node->getChildren())
            waiting.emplace_back(child, path + "." + child->getName());
    }
}

}  // namespace

Values valuesOf(ZcrID const& id, std::string const& level) {
    Values values;
    for (Seen const product : Settings::getSettingsRoot(id)->getChildren())
        addValuesOf(product, product->getName(), level, values);
    return values;
}

Heard::Heard() : state_(valuesOf(BlessedZcrID, "")) {
    connection_ = Settings::getSettingsRoot(BlessedZcrID)
                      ->addListener<SettingsEvent>([this](SettingsEvent const& e) { hear(e); });
}

Values Heard::state() const {
    std::lock_guard<std::mutex> const lock(mutex_);
    return state_;
}

void Heard::hear(SettingsEvent const& event) {
    Seen const node = event.getObj();
    std::string const name = node->getName();
    std::lock_guard<std::mutex> const lock(mutex_);
    if (auto const* const removal = dynamic_cast<SettingsRemoveNodeEvent const*>(&event)) {
        std::string const path = removal->getParentObj()->getFullName() + "." + name;
        for (auto entry = state_.begin(); entry != state_.end();) {
            bool const isBelow = entry->first == path || entry->first.rfind(path + ".", 0) == 0;
            entry = isBelow ? state_.erase(entry) : std::next(entry);
        }
    } else {
        addValuesOf(node, node->getFullName(), "", state_);
    }
}

}  // namespace qbprocesses
