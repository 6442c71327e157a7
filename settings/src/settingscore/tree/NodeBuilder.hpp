#pragma once

#include <boost/shared_ptr.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

/// Fills in a node that no other thread can reach: for the reader, and for nodes that are made in
/// code. Takes no lock.
class NodeBuilder {
public:
    explicit NodeBuilder(SettingsImpl& node) : content_(node.contentInternal()) {}

    void setValidator(Validator const& validator) { content_.validator = validator; }
    void setMetaData(SettingsKeyMetaData<boost::any> const& metaData) {
        content_.metaData.edit() = metaData;
    }
    void setRunTimeDefault(RunTimeDefault const& runTimeDefault) {
        content_.runTimeDefault.edit() = runTimeDefault;
    }

private:
    NodeContent& content_;
};

}  // namespace settings::core::detail
