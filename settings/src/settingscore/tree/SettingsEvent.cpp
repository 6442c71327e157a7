#include <settingscore/tree/SettingsEvent.hpp>

#include <iterator>

#include <settingscore/tree/Settings.hpp>

namespace settings::core {

SettingsEvent::SettingsEvent(boost::shared_ptr<Settings const> const& obj,
                             std::vector<ustring> tags, ZcrID const& id)
    : SettingsEvent(obj,
                    makeTypeInformation<SettingsEvent>(std::make_move_iterator(tags.begin()),
                                                       std::make_move_iterator(tags.end())),
                    id) {}

SettingsEvent::SettingsEvent(
    boost::shared_ptr<Settings const> const& obj,
    boost::shared_ptr<corebus::msg_svc::eventmgr::TypeInformation> const& type, ZcrID const& id)
    : BaseEvent(type), object_(obj), instance_(id) {}

SettingsEvent::~SettingsEvent() = default;

ustring SettingsEvent::typeTag() { return u"settings::core::SettingsEvent"; }

std::vector<ustring> SettingsEvent::publishedTypeTags() {
    return {SettingsValueChangeEvent::typeTag(), SettingsAddNodeEvent::typeTag(),
            SettingsRemoveNodeEvent::typeTag()};
}

SettingsValueChangeEvent::SettingsValueChangeEvent(boost::shared_ptr<Settings const> const& obj,
                                                   std::vector<ustring> tags, ZcrID const& id)
    : SettingsEvent(obj,
                    makeTypeInformation<SettingsValueChangeEvent>(
                        std::make_move_iterator(tags.begin()), std::make_move_iterator(tags.end())),
                    id) {}

SettingsValueChangeEvent::~SettingsValueChangeEvent() = default;

ustring SettingsValueChangeEvent::typeTag() { return u"settings::core::SettingsValueChangeEvent"; }

SettingsAddNodeEvent::SettingsAddNodeEvent(boost::shared_ptr<Settings const> const& parent,
                                           boost::shared_ptr<Settings const> const& obj,
                                           std::vector<ustring> tags, ZcrID const& id)
    : SettingsEvent(obj,
                    makeTypeInformation<SettingsAddNodeEvent>(std::make_move_iterator(tags.begin()),
                                                              std::make_move_iterator(tags.end())),
                    id),
      parent_(parent) {}

SettingsAddNodeEvent::~SettingsAddNodeEvent() = default;

ustring SettingsAddNodeEvent::typeTag() { return u"settings::core::SettingsAddNodeEvent"; }

SettingsRemoveNodeEvent::SettingsRemoveNodeEvent(boost::shared_ptr<Settings const> const& parent,
                                                 boost::shared_ptr<Settings const> const& obj,
                                                 std::vector<ustring> tags, ZcrID const& id)
    : SettingsEvent(obj,
                    makeTypeInformation<SettingsRemoveNodeEvent>(
                        std::make_move_iterator(tags.begin()), std::make_move_iterator(tags.end())),
                    id),
      parent_(parent) {}

SettingsRemoveNodeEvent::~SettingsRemoveNodeEvent() = default;

ustring SettingsRemoveNodeEvent::typeTag() { return u"settings::core::SettingsRemoveNodeEvent"; }

}  // namespace settings::core
