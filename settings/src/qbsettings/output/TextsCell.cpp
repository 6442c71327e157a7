#include <qbsettings/output/TextsCell.hpp>

#include <nlohmann/json.hpp>

namespace qbsettings {

Cell cellOf(texts::Texts const& texts) {
    Json object;
    auto const add = [&](char const* name, std::string const& text) {
        if (!text.empty()) object[name] = text;
    };
    add("summary", texts.summary);
    add("description", texts.description);
    add("unit", texts.unit);
    for (auto const& [choice, label] : texts.labels)
        object["labels"][choice] = label;
    add("since", texts.since);
    add("deprecated", texts.deprecated);
    return {texts.summary, object};
}

}  // namespace qbsettings
