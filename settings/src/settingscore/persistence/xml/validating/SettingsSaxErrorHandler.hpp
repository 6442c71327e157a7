#pragma once

#include <xercesc/sax/ErrorHandler.hpp>
#include <xercesc/sax/SAXParseException.hpp>

namespace settings::core {

/// Ends the parse at the first error: a file that is not valid is as bad as one that is not
/// well-formed.
class SettingsSaxErrorHandler : public xercesc::ErrorHandler {
public:
    void warning(xercesc::SAXParseException const&) override {}
    void error(xercesc::SAXParseException const& error) override {
        throw xercesc::SAXParseException(error);
    }
    void fatalError(xercesc::SAXParseException const& error) override {
        throw xercesc::SAXParseException(error);
    }
    void resetErrors() override {}
};

}  // namespace settings::core
