#pragma once

#include <string>

#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>

namespace settings::core {

inline ustring textOf(XMLCh const* message) { return message ? ustring(message) : ustring(); }

/// Runs work of the parser: its exceptions become the reader's.
template <class Work>
void parsing(Work const& work) {
    using exception::ErrorReadingSettingsData;
    auto const numberOf = [](XMLFileLoc number) {
        return qf::i18n::to_ustring(std::to_string(number));
    };
    try {
        work();
    } catch (xercesc::SAXParseException const& error) {
        throw ErrorReadingSettingsData(
            exception::ParseFailed, u"LineNum=" + numberOf(error.getLineNumber()) + u"  ColNum=" +
                                        numberOf(error.getColumnNumber()) + u"  " +
                                        textOf(error.getMessage()));
    } catch (xercesc::SAXException const& error) {
        throw ErrorReadingSettingsData(exception::ContentRefused, textOf(error.getMessage()));
    } catch (xercesc::XMLException const& error) {
        throw ErrorReadingSettingsData(exception::ContentRefused, textOf(error.getMessage()));
    }
}

inline void startParserOnce() {
    // Never ended: another user of the parser in the process would lose it.
    static bool const started = [] {
        try {
            xercesc::XMLPlatformUtils::Initialize();
        } catch (xercesc::XMLException const&) {
            throw exception::ErrorReadingSettingsData(exception::SaxPlugInNotFound,
                                                      u"Failed to find SAX plug in.");
        }
        return true;
    }();
    static_cast<void>(started);
}

}  // namespace settings::core
