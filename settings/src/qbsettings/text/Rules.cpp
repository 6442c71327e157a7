#include <qbsettings/text/Rules.hpp>

#include <algorithm>

#include <boost/variant/apply_visitor.hpp>
#include <boost/variant/static_visitor.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace qbsettings {

using namespace settings::core;

namespace {

constexpr unsigned long stringType = settingscore::boostany::ValueTraits<ustring>::index;

char const* languageOf(ZENBARFunctionInvoker const&) { return "ZENBAR "; }
char const* languageOf(CValidator const&) { return "C "; }
char const* languageOf(CRunTimeDefault const&) { return "C "; }
char const* languageOf(JValidator const&) { return "JAVA "; }
char const* languageOf(JRunTimeDefault const&) { return "JAVA "; }

struct FunctionNamer : boost::static_visitor<std::string> {
    std::string operator()(boost::mpl::void_ const&) const { return {}; }
    template <class Function>
    std::string operator()(Function const& function) const {
        return languageOf(function) + function.getPackageName() + " " + function.getFunctionName();
    }
};

struct LevelNamer : boost::static_visitor<std::string> {
    std::string operator()(boost::mpl::void_ const&) const { return {}; }
    template <class Default>
    std::string operator()(Default const& runTimeDefault) const {
        return runTimeDefault.getBelongingLevel();
    }
};

std::string single(boost::any const& value) {
    std::vector<std::string> const texts = elementTexts(value);
    return texts.empty() ? std::string() : texts.front();
}

/// What a bound is compared with.
template <class T>
T const& measureOf(T const& value) {
    return value;
}
unsigned int measureOf(ustring const& value) { return static_cast<unsigned int>(value.size()); }

template <class T>
bool isAllowed(SettingsKeyMetaData<T> const& rules, T const& value) {
    if (rules.choices &&
        std::find(rules.choices->begin(), rules.choices->end(), value) != rules.choices->end()) {
        return true;
    }
    if (!rules.minimum && !rules.maximum) return !rules.choices;
    auto const& measure = measureOf(value);
    return (!rules.minimum || *rules.minimum <= measure) &&
           (!rules.maximum || measure <= *rules.maximum);
}

}  // namespace

std::string refusedElement(KeyDescription const& description, boost::any const& value) {
    std::string refused;
    if (description.metaData.empty()) return refused;
    settingscore::boostany::forEachElementType([&](auto tag) {
        using T = typename decltype(tag)::Type;
        auto const* const array = boost::any_cast<std::vector<T>>(&value);
        auto const* const one = boost::any_cast<T>(&value);
        if (!array && !one) return;
        SettingsKeyMetaData<T> const rules(description.metaData);
        std::size_t const count = array ? array->size() : 1;
        for (std::size_t i = 0; i < count && refused.empty(); ++i) {
            if (!isAllowed<T>(rules, array ? T((*array)[i]) : *one))
                refused = inQuotes(elementTexts(value)[i]);
        }
    });
    return refused;
}

unsigned long elementOf(KeyDescription const& description) {
    KeyType const type = typeOf(description);
    if (type.element != 0) return type.element;
    auto const& choices = description.metaData.choices;
    if (choices && !choices->empty()) return typeOf(choices->front()).element;
    boost::any const& bound = description.metaData.minimum.empty() ? description.metaData.maximum
                                                                   : description.metaData.minimum;
    return typeOf(bound).element;
}

std::string countText(unsigned long count) {
    return std::to_string(count) + (count == 1 ? " value was given" : " values were given");
}

std::string sizeText(unsigned long least, unsigned long most) {
    auto const values = [](unsigned long count) {
        return std::to_string(count) + (count == 1 ? " value" : " values");
    };
    if (most == 0) return least == 0 ? "any number of values" : "at least " + values(least);
    if (least == most) return "exactly " + values(most);
    if (least == 0) return "at most " + values(most);
    return std::to_string(least) + " to " + values(most);
}

std::string rangeText(KeyDescription const& description) {
    std::string const least = single(description.metaData.minimum);
    std::string const most = single(description.metaData.maximum);
    if (least.empty() && most.empty()) return {};
    std::string range;
    if (most.empty()) {
        range = "at least " + least;
    } else if (least.empty()) {
        range = "at most " + most;
    } else {
        range = least + " to " + most;
    }
    return elementOf(description) == stringType ? "a length of " + range : range;
}

std::vector<std::string> choiceTexts(KeyDescription const& description) {
    std::vector<std::string> texts;
    if (!description.metaData.choices) return texts;
    for (boost::any const& choice : *description.metaData.choices)
        texts.push_back(single(choice));
    return texts;
}

std::string boundsText(KeyDescription const& description) {
    std::string const range = rangeText(description);
    if (!description.metaData.choices) return range;
    std::vector<std::string> const texts = choiceTexts(description);
    if (!range.empty() && texts.size() == 1) return range + " or " + texts.front();
    return (range.empty() ? "one of " : range + " or one of ") + join(texts, ", ");
}

std::string functionText(Validator const& validator) {
    return boost::apply_visitor(FunctionNamer(), validator);
}

std::string functionText(RunTimeDefault const& runTimeDefault) {
    return boost::apply_visitor(FunctionNamer(), runTimeDefault);
}

std::string levelOf(RunTimeDefault const& runTimeDefault) {
    return boost::apply_visitor(LevelNamer(), runTimeDefault);
}

}  // namespace qbsettings
