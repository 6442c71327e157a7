#include <qbsettings/output/Cell.hpp>

#include <nlohmann/json.hpp>
#include <qbsettings/text/Text.hpp>

namespace qbsettings {

Cell::Cell(std::string text, Json const& json)
    : kind_(Kind::json), text_(std::move(text)), json_(std::make_shared<Json const>(json)) {}

Cell Cell::orNothing(std::string text) {
    Cell cell(std::move(text));
    cell.kind_ = Kind::orNothing;
    return cell;
}

Cell Cell::level(std::string name) {
    Cell cell(std::move(name));
    cell.kind_ = Kind::level;
    return cell;
}

Cell Cell::number(unsigned long number) { return {std::to_string(number), Json(number)}; }

Cell Cell::truth(bool value) { return {value ? "yes" : "no", Json(value)}; }

Cell Cell::value(boost::any value, KeyType const& type) {
    Cell cell("");
    cell.kind_ = Kind::value;
    cell.value_ = std::move(value);
    cell.type_ = type;
    return cell;
}

std::string Cell::text() const {
    return kind_ == Kind::value ? join(elementTexts(value_), ", ") : text_;
}

Json Cell::json() const {
    switch (kind_) {
        case Kind::value:
            return jsonOf(value_, type_);
        case Kind::json:
            return *json_;
        case Kind::orNothing:
        case Kind::level:
            if (text_ == "-") return nullptr;
            break;
        case Kind::text:
            break;
    }
    return text_;
}

}  // namespace qbsettings
