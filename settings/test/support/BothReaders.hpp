#pragma once

#include <cstring>
#include <iomanip>
#include <sstream>
#include <string>

#include <boost/variant/apply_visitor.hpp>
#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/persistence/xml/SchemaInForce.hpp>
#include <settingscore/persistence/xml/SettingsSaxHandler.hpp>
#include <settingscore/persistence/xml/plain/PlainReader.hpp>
#include <settingscore/persistence/xml/validating/ValidatingParser.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/value/ValueTraits.hpp>

/// The two readers of settings files, each by itself, and all that they have made of a file.
namespace qbtest {

/// Everything that a file can put into a node and the nodes below, in lines.
class WholeTree {
public:
    static std::string text(settings::core::SettingsImpl& top) {
        WholeTree whole;
        whole.add(top, 0);
        return whole.out_.str();
    }

private:
    struct FunctionText {
        using result_type = std::string;
        std::string operator()(boost::mpl::void_ const&) const { return "none"; }
        template <class Function>
        std::string operator()(Function const& function) const {
            return function.getPackageName() + "'" + function.getFunctionName();
        }
    };

    void add(settings::core::SettingsImpl& node, std::size_t depth) {
        auto const& content = node.contentInternal();
        auto const& validator = content.validator.get();
        out_ << std::string(depth, ' ') << (content.isLeaf ? "key " : "group ") << content.name
             << " visible " << (content.visible ? *content.visible : 2) << " readonly "
             << content.readOnly.value << " version "
             << (content.version ? std::to_string(*content.version) : "none") << " validator "
             << validator.which() << " " << boost::apply_visitor(FunctionText(), validator);
        auto const& runtimeDefault = content.runTimeDefault.get();
        out_ << " default " << runtimeDefault.which() << " "
             << boost::apply_visitor(FunctionText(), runtimeDefault);
        addRules(content.rules.copy());
        auto const& metaData = content.metaData.get();
        out_ << " min ";
        addValue(metaData.minimum);
        out_ << " max ";
        addValue(metaData.maximum);
        if (metaData.choices) {
            out_ << " choices";
            for (auto const& choice : *metaData.choices)
                addValue(choice);
        }
        for (std::size_t level = 0; level < content.values.levelCount; ++level) {
            if (boost::any const* const value = content.values.find(level)) {
                out_ << " on " << level;
                addValue(*value);
            }
        }
        out_ << "\n";
        for (auto const& [name, child] : content.visibleChildren()) {
            out_ << name << ":";
            add(*child, depth + 1);
        }
    }

    void addRules(settings::core::detail::SettledRules const& rules) {
        out_ << " type " << (rules.typeIndex ? std::to_string(*rules.typeIndex) : "none");
        if (rules.sizes) {
            out_ << " sizes " << rules.sizes->minArrSize() << "-" << rules.sizes->maxArrSize();
        }
        out_ << " functions "
             << (rules.typeChecker ? reinterpret_cast<void*>(*rules.typeChecker) : 0) << " "
             << (rules.writer ? reinterpret_cast<void*>(*rules.writer) : 0);
    }

    void addValue(boost::any const& value) {
        if (value.empty()) {
            out_ << " -";
            return;
        }
        bool known = false;
        settingscore::boostany::forEachElementType([&](auto wrapper) {
            using T = typename decltype(wrapper)::Type;
            if (auto const* const one = boost::any_cast<T>(&value)) {
                known = true;
                out_ << " " << settingscore::boostany::ValueTraits<T>::name;
                addBits(*one);
            }
            if (auto const* const many = boost::any_cast<std::vector<T>>(&value)) {
                known = true;
                out_ << " array of " << settingscore::boostany::ValueTraits<T>::name;
                for (auto const& each : *many)
                    addBits<T>(each);
            }
        });
        if (!known) out_ << " unknown";
    }
    template <class T>
    void addBits(T const& value) {
        if constexpr (std::is_same_v<T, qf::ustring>) {
            out_ << " '";
            for (char16_t const unit : value)
                out_ << std::hex << static_cast<unsigned>(unit) << "," << std::dec;
        } else {
            unsigned char bytes[sizeof(T)];
            std::memcpy(bytes, &value, sizeof(T));
            out_ << " ";
            for (unsigned const byte : bytes)
                out_ << std::hex << std::setw(2) << std::setfill('0') << byte << std::dec;
        }
    }

    std::ostringstream out_;
};

struct Reading {
    /// False if the reader gave up or refused.
    bool isDone = false;
    /// The tree and the paths of files that are to be read as well; else what was refused.
    std::string text;

    void take(settings::core::SettingsSaxHandler& handler) {
        isDone = true;
        text = WholeTree::text(*handler.getSettings());
        for (qf::filesystem::path path; handler.popNextPaths(path);)
            text += "additional " + qf::i18n::to_string(path.str()) + "\n";
    }
};

inline Reading readPlainly(std::string const& file) {
    Reading result;
    settings::core::SettingsSaxHandler handler;
    if (settings::core::readPlain(file, handler)) result.take(handler);
    return result;
}

inline Reading readValidating(std::string const& file) {
    Reading result;
    settings::core::SettingsSaxHandler handler;
    settings::core::SchemaInForce schema;
    settings::core::TextSource bytes(file);
    qf::filesystem::path const name(u"file");
    try {
        settings::core::parseValidating(schema.source(), {name, bytes}, handler);
        result.take(handler);
    } catch (settings::core::exception::ErrorReadingSettingsData const& error) {
        result.text = qf::i18n::to_string(error.getDetailErrorMsg());
    } catch (std::exception const& error) {
        result.text = error.what();
    }
    return result;
}

}  // namespace qbtest
